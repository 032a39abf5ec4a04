#pragma once

#include "modules/effect_dialog.h"

// The parameter dialogs of the module's effects, with their defaults.
EffectDialog filter_dialog(double rate);
EffectDialog equalizer_dialog();
EffectDialog flange_dialog();
EffectDialog tempo_dialog();
EffectDialog noise_reduction_dialog();
EffectDialog shift_dialog();
EffectDialog pitch_dialog();

// The graphic equalizer's bands (Hz).
constexpr double kEqualizerBands[10] = {31.25, 62.5, 125, 250, 500, 1000, 2000, 4000, 8000, 16000};
