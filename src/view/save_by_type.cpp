#include "view/save_by_type.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "view/child_frame.h"
#include "view/document_picture.h"
#include "view/document_save.h"
#include "view/mp3_export.h"
#include "wavefile/avi_file.h"
#include "wavefile/file_types.h"
#include "wavefile/foreign_formats.h"
#include "wavefile/jaf_file.h"

int save_by_type(CChildFrame& f, const std::string& name, int type, int selectionOnly)
{
    if (type == kTypeWav || type == kTypeAll)
        return save_wav_by_type(f, name, selectionOnly);
    if (type >= 1 && type <= 15) {
        make_directories(user_directory());
        const std::string exchange = join_path(user_directory(), "CRVCNVRT.WAV");
        if (!save_waveform_file(f, exchange, selectionOnly, 0))
            return 0;
        return run_foreign_converter(exchange, name);
    }
    if (type == kTypeMp3)
        return save_mp3_file(f, name, selectionOnly);
    if (type == kTypeAvi) {
        make_directories(user_directory());
        const std::string wave = join_path(user_directory(), "AVIWAV.WAV");
        if (!save_waveform_file(f, wave, selectionOnly, 0))
            return 0;
        // The video of the AVI the document came from, or a picture of it.
        const QImage still = f.szAviFileName.empty() ? document_picture(f, 640, 360, 1, 0, 1) : QImage();
        return save_AVI_file(name, wave, f.szAviFileName, still);
    }
    if (type == kTypeJaf) {
        // The document's highlight (or all of it) as JAF.
        set_active_frame(&f);
        return compress_to_jaf_file(name);
    }
    ErrMsg("%s cannot be saved: RealMedia files are not supported yet.", name.c_str());
    return 0;
}
