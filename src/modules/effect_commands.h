#pragma once

#include "app/window_handle.h"

#include <string>
#include <vector>

class CChildFrame;

// The effect commands: Clear and the Operations menu. Each handler checks
// that a document with a selection is there, sets the preset context for the
// effects that have presets, and calls its module's entry.
struct EffectCommand {
    int id = 0;
    const char* name = "";      // the command line's name
    const char* menuText = "";
};

const std::vector<EffectCommand>& effect_commands();
const EffectCommand* find_effect_command(const std::string& name);

// Runs effect command `id` on the document; what the module returned, 0
// when nothing ran (no selection, an unknown id).
int run_effect_command(CChildFrame& frame, int id, HWND mainWindow = nullptr);

// Command 393: the magnified plot of the selection; 1 when it was redrawn.
int magnified_plot_command(CChildFrame& frame, HWND mainWindow = nullptr);

// The spectrum display of the document's selection; 1 when it was shown.
int spectrum_command(CChildFrame& frame);

// Which of a command's menu items chose it: Tempo (11500) is also
// Accelerando (1) and Ritardando (2), Change Pitch (11502) also Glissando (1).
// The module's dialog opens on that variant; 0 is the plain command.
int run_effect_variant(CChildFrame& frame, int id, int variant, HWND mainWindow = nullptr);
extern int effect_variant;

// The program-wide integer setting handed to Clear, Amplify and the
// magnified plot (24 unless changed).
extern int effect_setting;
