#include "edit/undo.h"
#include "edit/timemarks.h"

#include "app/instance_files.h"
#include "app/clock.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/edit_menu_state.h"
#include "edit/undo_labels.h"
#include "view/child_frame.h"
#include "view/document_journal.h"
#include "view/display_levels.h"
#include "view/view_navigation.h"

#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <unistd.h>

namespace {

void notifyCommitted(CChildFrame& f)
{
    // The journal follows the shown version, for recovery after a crash.
    journal_document(f);
}

// Keeps the view's zoom and position where they still make sense after the
// shown version changed.
void fitView(CChildFrame& f, int level, std::uint32_t first)
{
    f.nZoomLevel = std::clamp(level, 1, f.nMaxZoomLevel);
    f.fZoom = std::ldexp(1.0f, f.nZoomLevel - 1);
    f.nFirstSample = std::min(first, f.nTotalSamples);
    f.layout.redrawAll = true;
    compute_scroll_range(f);
    update_highlight_pixels(f);
}

std::uint32_t bytesPerSample(const CChildFrame& f) { return static_cast<std::uint32_t>(f.bytesPerSample()); }

}  // namespace

int setup_for_undo(HWND window, int copy)
{
    CChildFrame* f = frame_from_handle(window);
    return f ? setup_for_undo(*f, copy) : 0;
}

int setup_for_redo(HWND window, int code, int copy)
{
    CChildFrame* f = frame_from_handle(window);
    return f ? setup_for_redo(*f, code, copy) : 0;
}

int setup_for_undo(CChildFrame& f, int copy)
{
    if (f.szFileName != f.szRedoFileName) {
        // No operation yet, or the user undid: a newest version that was
        // undone is given up for good.
        if (f.szFileName == f.szUndoFileName && !f.szRedoFileName.empty()) {
            f.versions.other.release();
            f.versions.other = VersionState{};
            ::unlink(f.szRedoFileName.c_str());
        }
        f.szUndoFileName = f.szFileName;
    } else {
        // The shown file is the newest version: the one before it goes.
        f.versions.other.release();
        f.versions.other = VersionState{};
        if (!f.szUndoFileName.empty())
            ::unlink(f.szUndoFileName.c_str());
        f.szUndoFileName = f.szRedoFileName;
    }
    const bool created = create_work_file(f.szRedoFileName, ".tmp").valid();
    busy_wait_ms(20);
    if (!created) {
        NewErrMsg(5031);
        return 0;
    }
    journal_document(f);
    if (!copy)
        return 1;
    return f.copy_file_to_file(f.szRedoFileName, f.szFileName, f.nSelEnd * bytesPerSample(f), 0, -1, 0,
                               "Copying file...");
}

UndoTransaction::UndoTransaction(CChildFrame& frame, int copy) : m_frame(frame), m_begun(setup_for_undo(frame, copy) != 0)
{
    frame.versions.change.reset();  // each operation says its own
}

UndoTransaction::~UndoTransaction()
{
    if (m_begun && !m_committed)
        abandon_new_version(m_frame);
}

int UndoTransaction::commit(int code, int copy)
{
    const int done = setup_for_redo(m_frame, code, copy);
    m_committed = done != 0;
    return done;
}

void abandon_new_version(CChildFrame& f)
{
    if (f.szRedoFileName.empty() || f.szRedoFileName == f.szFileName)
        return;
    ::unlink(f.szRedoFileName.c_str());
    f.szRedoFileName.clear();
    // Where starting the operation gave up the version before, nothing is
    // left to undo.
    if (f.versions.other.empty()) {
        f.bUndoAvailable = 0;
        f.bRedoAvailable = 0;
    }
}

int setup_for_redo(CChildFrame& f, int code, int copy)
{
    const std::uint32_t bps = bytesPerSample(f);
    if (copy && code == 1881 &&
        !f.copy_file_to_file(f.szRedoFileName, f.szFileName, f.nSelStart * bps, 0, -1, 0, "Copying file..."))
        return 0;
    if (copy && !f.copy_file_to_file(f.szRedoFileName, f.szFileName, (f.nTotalSamples - f.nSelEnd) * bps,
                                     f.nSelEnd * bps, -1, 0, "Copying file..."))
        return 0;
    const std::uint32_t length = changes_length(code) ? f.versions.newLength : f.nTotalSamples;

    // Build the newest version in the frame's place; on failure the shown
    // version comes back untouched.
    const int level = f.nZoomLevel;
    const std::uint32_t first = f.nFirstSample;
    VersionState shown;
    swap_version(f, shown);
    // The marks of the new version: those of the shown one, moved as the
    // operation moved the positions.
    f.timemarks = shown.timemarks;
    int marksRemoved = 0;
    if (f.versions.change)
        marksRemoved = apply_position_change(f.timemarks, *f.versions.change);
    f.versions.change.reset();
    f.szFileName = f.szRedoFileName;
    f.wfx = shown.wfx;
    f.nTotalSamples = length;
    f.nSelStart = std::min(shown.nSelStart, length);
    f.nSelEnd = std::min(shown.nSelEnd, length);
    compute_display_levels(f, screen_width_pixels());
    bool built = true;
    if (length * bps >= 9) {
        built = map_finest_level(f) != 0;
        if (built && f.nMaxZoomLevel >= 2)
            built = build_overview_level(f, "Processing file %s...") != 0;
    }
    if (!built) {
        f.release_levels();
        if (!f.files.overview.empty())
            ::unlink(f.files.overview.c_str());
        swap_version(f, shown);
        return 0;
    }
    f.versions.other = std::move(shown);
    if (const auto labels = undo_labels(code)) {
        f.szUndoLabel = labels->first;
        f.szRedoLabel = labels->second;
    }
    edit_menu_state().undoCommand = kUndoCommand;
    edit_menu_state().undoText = f.szUndoLabel.empty() ? kPlainUndoText : f.szUndoLabel;
    f.bRedoAvailable = 0;
    f.bUndoAvailable = 1;
    f.bModified = 1;
    fitView(f, level, first);
    notifyCommitted(f);
    tell_removed_timemarks(marksRemoved);
    return 1;
}

void undo_redo_toggle(CChildFrame& f)
{
    if (f.versions.other.empty())
        return;
    const int level = f.nZoomLevel;
    const std::uint32_t first = f.nFirstSample;
    swap_version(f, f.versions.other);
    if (f.bUndoAvailable) {
        f.bUndoAvailable = 0;
        f.bRedoAvailable = 1;
        edit_menu_state().undoCommand = kRedoCommand;
        edit_menu_state().undoText = f.szRedoLabel;
    } else {
        f.bUndoAvailable = 1;
        f.bRedoAvailable = 0;
        edit_menu_state().undoCommand = kUndoCommand;
        edit_menu_state().undoText = f.szUndoLabel;
    }
    fitView(f, level, first);
    notifyCommitted(f);
}

void undo_menu_command(CChildFrame& f)
{
    if (f.bUndoAvailable || f.bRedoAvailable)
        undo_redo_toggle(f);
}
