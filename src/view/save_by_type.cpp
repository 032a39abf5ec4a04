#include "view/save_by_type.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/ui_host.h"
#include "view/child_frame.h"
#include "view/document_picture.h"
#include "view/document_save.h"
#include "view/mp3_export.h"
#include "wavefile/avi_file.h"
#include "wavefile/file_types.h"
#include "wavefile/foreign_formats.h"
#include "wavefile/jaf_file.h"
#include "wavefile/realmedia_encoder.h"

#include <unistd.h>

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
    if (type == kTypeRealMedia) {
        // Through an AVI: "AVIWAV.WAV", then "TESTAVI.avi", then the encoder.
        make_directories(user_directory());
        const std::string wave = join_path(user_directory(), "AVIWAV.WAV");
        const std::string avi = join_path(user_directory(), "TESTAVI.avi");
        if (!save_waveform_file(f, wave, selectionOnly, 0))
            return 0;
        const QImage still = f.szAviFileName.empty() ? document_picture(f, 320, 240, 1, 0, 1) : QImage();
        if (!save_AVI_file(avi, wave, f.szAviFileName, still))
            return 0;
        RealMediaSettings settings;
        const int channels = f.wfx.nChannels;
        const std::vector<std::string> codecs = realmedia_audio_codecs(channels);
        const int preselected = realmedia_preselected_entry(channels);
        if (preselected < static_cast<int>(codecs.size()))
            settings.audioCodec = codecs[static_cast<std::size_t>(preselected)];
        const int encoded = uiHost().runRealMediaDialog(
            settings, channels,
            [&](const RealMediaSettings& chosen, const std::function<void(const std::string&)>& progress) {
                return encode_realmedia(avi, name, chosen, progress);
            });
        ::unlink(avi.c_str());
        return encoded;
    }
    return 0;
}
