#include "edit/edit_state.h"

#include "edit/pseudo_clipboard.h"

namespace {
EditState g_editState;
}  // namespace

EditState& edit_state() { return g_editState; }
void reset_edit_state() { g_editState = EditState{}; }

HWND& clipboard_source_frame = g_editState.clipboard_source_frame;
MixSettings& mix_settings = g_editState.mix_settings;
SilenceLength& silence_length = g_editState.silence_length;
