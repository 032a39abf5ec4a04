// The main frame's Edit and Operations menu commands.

#include "app/main_frame.h"

#include "app/messages.h"
#include "app/qt_ui_host.h"
#include "modules/effect_commands.h"
#include "view/child_frame.h"
#include "view/child_frame_window.h"
#include "edit/copy_selection_dialog.h"
#include "edit/edit_operations.h"
#include "edit/pseudo_clipboard.h"
#include "edit/undo.h"
#include "view/mouse_selection.h"
#include "view/view_navigation.h"

void CMainFrame::editCommand(int id)
{
    ChildFrameWindow* doc = activeDocument();
    if (!doc)
        return;
    CChildFrame& f = doc->frame();
    f.layout.clientWidth = doc->width();
    f.layout.clientHeight = doc->height();
    const bool inserting = id == kCopy || id == kPaste || id == kReplace || id == kMix;
    // Without a highlight, the clipboard goes in at the caret.
    if (inserting && id != kCopy && !f.bHighlight) {
        const auto at = static_cast<std::uint32_t>(f.pixel_to_sample(static_cast<float>(std::max(0, f.nCaretX))) &
                                                   static_cast<std::uint32_t>(frame_mask(f)));
        set_selection_units(f, std::min(at, f.nTotalSamples), std::min(at, f.nTotalSamples));
    }
    CChildFrame* source = frame_from_handle(clipboard_source_frame);
    // Each command shows the reason when it fails; the window is brought up
    // to date after it either way.
    switch (id) {
    case kCommandUndoList: undo_menu_command(f); break;
    case kUndoCommand:
    case kRedoCommand: undo_redo_toggle(f); break;
    case kCopy: copy_command(f); break;
    case kCut: static_cast<void>(edit_operation(f, f, true, kCut)); break;
    case kPaste:
    case kReplace:
    case kMix: static_cast<void>(edit_operation(source ? *source : f, f, false, id)); break;
    case kCrop: static_cast<void>(edit_operation(f, f, true, kCrop)); break;
    case kTrim: trim_command(f); break;
    case kInsertSilence: {
        SilenceDialog dialog(this);
        const int result = dialog.exec();
        if (result == SilenceDialog::kHighlightLength) {
            if (!f.bHighlight) {
                message_beep();
                break;
            }
            insert_silence_command(f, f.nSelEnd - f.nSelStart);
        } else if (result == SilenceDialog::kTimeEntered) {
            const std::uint32_t seconds = static_cast<std::uint32_t>(silence_length.seconds + silence_length.minutes * 60);
            insert_silence_command(f, seconds * f.wfx.nChannels * f.wfx.nSamplesPerSec);
        }
        break;
    }
    default: break;
    }
    doc->refreshAfterEdit();
    updateCommandStates();
}

void CMainFrame::effectCommand(int id)
{
    ChildFrameWindow* doc = activeDocument();
    if (!doc)
        return;
    if (run_effect_command(doc->frame(), id, handle_of(this)))
        doc->refreshAfterEdit();
    updateCommandStates();
}
