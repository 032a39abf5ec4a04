#pragma once

#include "app/progress.h"
#include "audio/volume.h"
#include "edit/edit_state.h"
#include "edit/presets.h"
#include "modules/effect_context.h"
#include "sync/chase_lock.h"
#include "wavefile/wave_state.h"

// Every state object of the program back to its start values, as a fresh
// run has them: each test begins from there whatever the one before it did.
inline void reset_program_state()
{
    reset_wave_state();
    reset_progress_state();
    reset_edit_state();
    reset_preset_context();
    reset_effect_context();
    reset_volume_state();
    reset_chase_settings();
}
