#pragma once

#include "app/window_handle.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

class CChildFrame;

// The names a preset dialog of an effect works with (presets.h).
struct EffectPresets {
    std::string file;          // "HVNECHO.INI"
    std::string title;         // the select dialog's title
    std::string section;       // the section of the names
    std::string keyPrefix;     // "Echo Preset" + number
    std::string valuePrefix;   // the section prefix of the values
};

// A further menu item of an effect, whose dialog opens on that variant.
struct EffectVariant {
    int which = 0;
    const char* menuText = "";
};

// What an effect's entry is run on.
struct EffectRun {
    CChildFrame& document;
    HWND frame;        // the document's window, as the module entries take it
    HWND mainWindow;
    int variant = 0;   // 0, or the EffectVariant chosen
};

// One effect, described once: the command table, the Operations menu, its
// keys, the undo labels and the command line's effects are all made from
// this. Clear (on the Edit menu) runs through here too.
struct EffectCommand {
    int id = 0;
    const char* name = "";       // the command line's name
    const char* menuText = "";
    const char* shortcut = "";   // the menu item's key ("" for none)
    const char* undoName = "";   // "&Undo <name>..." and "&Redo <name>..."
    bool changesLength = false;  // the new version's length is the effect's own
    std::optional<EffectPresets> presets;
    std::vector<EffectVariant> variants;
    // Calls the module's entry; what it returned (or 1 when an entry that
    // returns nothing made a new version).
    std::function<int(const EffectRun&)> run;
};

const std::vector<EffectCommand>& effect_commands();
// Makes an effect's preset names the ones the preset dialogs work with.
void use_effect_presets(const EffectPresets& presets);
const EffectCommand* find_effect_command(const std::string& name);
const EffectCommand* find_effect_command(int id);

// Runs effect command `id` on the document; what the module returned, 0
// when nothing ran (no selection, an unknown id).
int run_effect_command(CChildFrame& frame, int id, HWND mainWindow = nullptr);

// Command 393: the magnified plot of the selection; 1 when it was redrawn.
int magnified_plot_command(CChildFrame& frame, HWND mainWindow = nullptr);

// The spectrum display of the document's selection; 1 when it was shown.
int spectrum_command(CChildFrame& frame);

// Which of a command's menu items chose it (the description's variants:
// Tempo is also Accelerando and Ritardando, Change Pitch also Glissando).
// The module's dialog opens on that variant; 0 is the plain command.
int run_effect_variant(CChildFrame& frame, int id, int variant, HWND mainWindow = nullptr);
