#pragma once

#include "app/window_handle.h"

class CChildFrame;

// One level of undo through version files. Before an operation writes,
// setup_for_undo makes a fresh newest version file (with `copy`, holding the
// shown file up to the end of the selection); after it has written,
// setup_for_redo completes and shows it. Undo and Redo then switch between
// the previous and the newest version without copying anything.

[[nodiscard]] int setup_for_undo(HWND window, int copy);
[[nodiscard]] int setup_for_redo(HWND window, int code, int copy);
[[nodiscard]] int setup_for_undo(CChildFrame& frame, int copy);
// Gives up the new version an operation began with setup_for_undo (after a
// Cancel or a failure): its file goes, the shown version stays.
void abandon_new_version(CChildFrame& frame);
[[nodiscard]] int setup_for_redo(CChildFrame& frame, int code, int copy);

// One operation's new version: begun (setup_for_undo) when made, shown by
// commit (setup_for_redo), and given up (abandon_new_version) when the
// transaction goes without a commit that succeeded, however the operation
// ends. A begin that failed has nothing to give up.
class UndoTransaction {
public:
    explicit UndoTransaction(CChildFrame& frame, int copy = 0);
    ~UndoTransaction();
    UndoTransaction(const UndoTransaction&) = delete;
    UndoTransaction& operator=(const UndoTransaction&) = delete;

    // Whether the new version was begun.
    [[nodiscard]] bool begun() const { return m_begun; }
    // Completes and shows the new version (setup_for_redo); its result.
    [[nodiscard]] int commit(int code, int copy = 0);

private:
    CChildFrame& m_frame;
    bool m_begun;
    bool m_committed = false;
};

// Commands 11600 and 11601 (one handler that toggles) and 11602 (the menu
// item: Undo when it is available, else Redo when that is).
void undo_redo_toggle(CChildFrame& frame);
void undo_menu_command(CChildFrame& frame);
