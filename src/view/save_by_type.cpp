#include "view/save_by_type.h"

#include "app/messages.h"
#include "view/child_frame.h"
#include "view/document_picture.h"
#include "view/document_save.h"
#include "wavefile/file_types.h"

int save_by_type(CChildFrame& f, const std::string& name, int type, int selectionOnly, const SaveOptions& options)
{
    if (type < 0 || type >= static_cast<int>(file_types().size()) || !file_types()[static_cast<std::size_t>(type)].canWrite)
        return 0;
    // Every message of the save names the file.
    const MessageFileScope about(name);
    SaveRequest r;
    r.target = name;
    r.options = options;
    r.document = &f;
    // The exporters read the document converted as the dialog asks.
    r.writeWave = [&f, selectionOnly, options](const std::string& path) {
        return save_waveform_file(f, path, selectionOnly, options.bSaveConverts);
    };
    r.saveWave = [&f, selectionOnly](const std::string& path, const SaveOptions& o) {
        return save_wav_by_type(f, path, selectionOnly, o);
    };
    r.picture = [&f](int width, int height) { return document_picture(f, width, height, 1, 0, 1); };
    r.aviSource = f.files.aviSource;
    r.channels = f.wfx.nChannels;
    return file_types()[static_cast<std::size_t>(type)].save(r);
}
