#include "wavefile/avi_export.h"

#include "app/atomic_file.h"
#include "app/messages.h"
#include "wavefile/avi_file.h"
#include "wavefile/helper_programs.h"
#include "wavefile/save_request.h"
#include "wavefile/wave_state.h"

int open_avi_sound(const std::string& name)
{
    const std::string wave = exchange_file_path("TESTAVI.WAV");
    if (!make_wave_file_from_AVI_file(name, wave))
        return 0;
    szOpenedFileName = wave;
    szOpenedAviFileName = name;
    return 1;
}

int save_avi_export(const SaveRequest& r)
{
    const std::string wave = exchange_file_path("AVIWAV.WAV");
    if (!r.writeWave(wave))
        return 0;
    // The video of the AVI the document came from, or a picture of it. The
    // AVI is written beside the target, so saving over the AVI the document
    // came from still reads all of its video.
    const QImage still = r.aviSource.empty() ? r.picture(640, 360) : QImage();
    AtomicFile staged;
    if (!staged.begin(r.target)) {
        ErrMsg("Cannot write the AVI file %s.", r.target.c_str());
        return 0;
    }
    if (!save_AVI_file(staged.temporaryPath(), wave, r.aviSource, still))
        return 0;
    if (!staged.commit()) {
        ErrMsg("Cannot write the AVI file %s.", r.target.c_str());
        return 0;
    }
    return 1;
}
