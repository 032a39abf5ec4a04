#pragma once

#include "app/command_ids.h"

#include <string>

// The Edit menu's undo item as the program shows it: which command it sends
// (Undo 11600 or Redo 11601) and its text. Opening a document resets it; the
// main frame puts both on the menu whenever it refreshes the menu.
constexpr const char* kPlainUndoText = "&Undo\tCtrl+Z";

struct EditMenuState {
    int undoCommand = kUndoCommand;
    std::string undoText = kPlainUndoText;
};

EditMenuState& edit_menu_state();
