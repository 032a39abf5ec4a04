#include "view/save_by_type.h"

#include "app/app_paths.h"
#include "app/atomic_file.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "view/child_frame.h"
#include "view/document_picture.h"
#include "view/document_save.h"
#include "view/mp3_export.h"
#include "wavefile/avi_file.h"
#include "wavefile/file_types.h"
#include "wavefile/foreign_formats.h"
#include "wavefile/helper_programs.h"
#include "wavefile/realmedia_encoder.h"
#include "wavefile/wavefile_dialogs.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace {

std::function<int(const std::string&)>& jafExporter()
{
    static std::function<int(const std::string&)> exporter;
    return exporter;
}

}  // namespace

void set_jaf_exporter(std::function<int(const std::string&)> exporter) { jafExporter() = std::move(exporter); }

int save_by_type(CChildFrame& f, const std::string& name, int type, int selectionOnly)
{
    // Every message of the save names the file.
    const MessageFileScope about(name);
    if (type == kTypeWav || type == kTypeAll)
        return save_wav_by_type(f, name, selectionOnly);
    if (type >= 1 && type <= 15) {
        const std::string exchange = exchange_file_path("CRVCNVRT.WAV");
        if (!save_waveform_file(f, exchange, selectionOnly, 0))
            return 0;
        return run_foreign_converter(exchange, name);
    }
    if (type == kTypeMp3)
        return save_mp3_file(f, name, selectionOnly);
    if (type == kTypeAvi) {
        const std::string wave = exchange_file_path("AVIWAV.WAV");
        if (!save_waveform_file(f, wave, selectionOnly, 0))
            return 0;
        // The video of the AVI the document came from, or a picture of it.
        // The AVI is written beside the target, so saving over the AVI the
        // document came from still reads all of its video.
        const QImage still = f.szAviFileName.empty() ? document_picture(f, 640, 360, 1, 0, 1) : QImage();
        AtomicFile staged;
        if (!staged.begin(name)) {
            ErrMsg("Cannot write the AVI file %s.", name.c_str());
            return 0;
        }
        if (!save_AVI_file(staged.temporaryPath(), wave, f.szAviFileName, still))
            return 0;
        if (!staged.commit()) {
            ErrMsg("Cannot write the AVI file %s.", name.c_str());
            return 0;
        }
        return 1;
    }
    if (type == kTypeJaf) {
        // The document's highlight (or all of it) as JAF.
        set_active_frame(&f);
        return jafExporter() ? jafExporter()(name) : 0;
    }
    if (type == kTypeRealMedia) {
        // Through an AVI: "AVIWAV.WAV", then "TESTAVI.avi", then the encoder.
        const std::string wave = exchange_file_path("AVIWAV.WAV");
        const std::string avi = exchange_file_path("TESTAVI.avi");
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
        AtomicFile staged;
        if (!staged.begin(name)) {
            ErrMsg("Cannot write %s: %s", name.c_str(), std::strerror(errno));
            ::unlink(avi.c_str());
            return 0;
        }
        const int encoded = wavefile_dialogs().runRealMediaDialog(
            settings, channels,
            [&](const RealMediaSettings& chosen, const std::function<void(const std::string&)>& progress) {
                return encode_realmedia(avi, staged.temporaryPath(), chosen, progress);
            });
        ::unlink(avi.c_str());
        if (!encoded)
            return 0;
        if (!staged.commit()) {
            ErrMsg("Cannot write %s: %s", name.c_str(), std::strerror(errno));
            return 0;
        }
        return 1;
    }
    return 0;
}
