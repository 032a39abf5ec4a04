#pragma once

#include "app/window_handle.h"
#include "edit/edit_operations.h"
#include "edit/mix.h"

// What the edit commands keep while the program runs, in one object: where
// the clipboard was last filled from, the mix settings and the silence
// length of the "SILENCE" dialog. Each value keeps its name (in the headers
// of its command); reset_edit_state() puts all of them back.
struct EditState {
    HWND clipboard_source_frame = nullptr;
    MixSettings mix_settings;
    SilenceLength silence_length;
};
EditState& edit_state();
void reset_edit_state();
