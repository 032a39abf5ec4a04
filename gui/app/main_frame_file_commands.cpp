// The main frame's File menu commands: new, open, save.

#include "app/main_frame.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/preference_store.h"
#include "app/timing_trace.h"
#include "app/startup_files.h"
#include "view/child_frame.h"
#include "view/child_frame_window.h"
#include "view/document_open.h"
#include "view/document_save.h"
#include "wavefile/wave_file_dialogs.h"
#include "view/save_by_type.h"
#include "wavefile/file_types.h"
#include "wavefile/wave_header.h"

bool CMainFrame::openFile(const QString& path)
{
    timing_trace(QStringLiteral("open"), path);
    auto frame = open_document_file(path.toStdString());
    if (!frame)
        return false;
    addDocument(new ChildFrameWindow(std::move(frame)));
    add_recent_file(preferences().recentFiles, path.toStdString());
    // The open and save dialogs start where the user last opened from.
    preferences().openFolder = QFileInfo(path).absolutePath().toStdString();
    write_preferences();
    rebuildRecentFiles();
    updatePositionDisplays();
    return true;
}

void CMainFrame::newFile()
{
    if (!create_new_empty_waveform_file(1))
        return;
    auto frame = std::make_unique<CChildFrame>();
    if (!open_document(*frame, true))
        return;
    addDocument(new ChildFrameWindow(std::move(frame)));
}

void CMainFrame::openWithDialog()
{
    OpenWaveDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    last_file_type = dialog.selectedType();
    openFile(dialog.selectedFiles().first());
}

void CMainFrame::save(bool askName, bool selectionOnly)
{
    ChildFrameWindow* doc = activeDocument();
    if (!doc)
        return;
    CChildFrame& f = doc->frame();
    std::string target = f.files.path;
    int type = kTypeWav;
    SaveOptions options;
    if (askName || target.empty()) {
        SaveWaveDialog dialog(f, this);
        if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
            return;
        target = dialog.selectedFiles().first().toStdString();
        // The name's extension, when it has one, says the type: a file
        // never holds one type's bytes under another's name.
        type = written_type_of(target, dialog.selectedType());
        options = dialog.options();
        if (type < 0) {
            ErrMsg("Cannot save %s: %s is not a file type this program writes.", file_name_part(target).c_str(),
                   last_extension(target).c_str());
            return;
        }
    }
    const bool saved = save_by_type(f, target, type, selectionOnly ? 1 : 0, options) != 0;
    // Only a WAVE file becomes the document's own file.
    if (!saved || selectionOnly || (type != kTypeWav && type != kTypeAll))
        return;
    if (askName) {
        // The document now belongs to the file it was saved as.
        f.files.path = target;
        f.szDisplayName = file_name_part(target);
        doc->updateTitle();
        add_recent_file(preferences().recentFiles, target);
        write_preferences();
        rebuildRecentFiles();
    }
}

void CMainFrame::newFromSelection()
{
    // A failure has said why.
    if (ChildFrameWindow* doc = activeDocument())
        static_cast<void>(new_file_from_selection(doc->frame()));
}
