#include "wavefile/realmedia_export.h"

#include "app/atomic_file.h"
#include "app/messages.h"
#include "wavefile/avi_file.h"
#include "wavefile/helper_programs.h"
#include "wavefile/realmedia_encoder.h"
#include "wavefile/save_request.h"
#include "wavefile/wavefile_dialogs.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

int save_realmedia_export(const SaveRequest& r)
{
    const std::string wave = exchange_file_path("AVIWAV.WAV");
    const std::string avi = exchange_file_path("TESTAVI.avi");
    if (!r.writeWave(wave))
        return 0;
    const QImage still = r.aviSource.empty() ? r.picture(320, 240) : QImage();
    if (!save_AVI_file(avi, wave, r.aviSource, still))
        return 0;
    RealMediaSettings settings;
    const std::vector<std::string> codecs = realmedia_audio_codecs(r.channels);
    const int preselected = realmedia_preselected_entry(r.channels);
    if (preselected < static_cast<int>(codecs.size()))
        settings.audioCodec = codecs[static_cast<std::size_t>(preselected)];
    AtomicFile staged;
    if (!staged.begin(r.target)) {
        ErrMsg("Cannot write %s: %s", r.target.c_str(), std::strerror(errno));
        ::unlink(avi.c_str());
        return 0;
    }
    const int encoded = wavefile_dialogs().runRealMediaDialog(
        settings, r.channels,
        [&](const RealMediaSettings& chosen, const std::function<void(const std::string&)>& progress) {
            return encode_realmedia(avi, staged.temporaryPath(), chosen, progress);
        });
    ::unlink(avi.c_str());
    if (!encoded)
        return 0;
    if (!staged.commit()) {
        ErrMsg("Cannot write %s: %s", r.target.c_str(), std::strerror(errno));
        return 0;
    }
    return 1;
}
