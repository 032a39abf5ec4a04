#pragma once

#include "modules/effect_dialog.h"

// The parameter dialogs of the module's effects, with their defaults.
EffectDialog echo_dialog();
EffectDialog reverb_dialog();
EffectDialog compressor_dialog();
EffectDialog envelope_dialog();
EffectDialog spatial_dialog();
EffectDialog tones_dialog(double rate);
