#pragma once

#include "modules/effect_dialog.h"

// The parameter dialogs of the module's effects, with their defaults.
EffectDialog amplify_dialog();
EffectDialog fade_dialog();
EffectDialog pan_dialog();
EffectDialog modulate_dialog();
