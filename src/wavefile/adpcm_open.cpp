#include "wavefile/adpcm_open.h"

#include "app/app_paths.h"
#include "app/atomic_file.h"
#include "app/clock.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/ui_host.h"
#include "wavefile/helper_programs.h"
#include "wavefile/wave_state.h"

#include <cstdio>
#include <unistd.h>

std::string waveconv_program() { return helper_program("WAVECONV.EXE", "ONDRAVA_WAVECONV"); }

int convert_adpcm_file_on_open(const std::string& file)
{
    char question[600];
    std::snprintf(question, sizeof question, "%s is a compressed ADPCM file.\nConvert to PCM?", file.c_str());
    if (message_box(nullptr, question, "File Conversion", MB_YESNO | MB_ICONQUESTION) != IDYES)
        return 0;
    std::string suggestion = file;
    ReplaceExt(suggestion, "pcm.wav");
    const std::string target = uiHost().askSaveFileName("Compress Waveform File", suggestion);
    if (target.empty())
        return 0;

    const std::string output = converter_output_path();
    ::unlink(output.c_str());
    ::unlink(converter_marker_path().c_str());
    // The command line "%s %s %d": the helper, the file, and the format tag
    // wanted; the marker is polled for every 100 ms, for as long as a file
    // of this size may take.
    const HelperWait wait = run_helper_until_finished(waveconv_program(), {file, "1"}, 0, 100, helper_poll_limit(file));
    if (wait == HelperWait::NotStarted) {
        ErrMsg("Compression algorithm not found. Returning.");
        return 0;
    }
    if (!file_exists(output)) {
        report_helper_wait(wait, "WAVECONV.EXE", file);
        return 0;
    }
    // The chosen file is replaced only by the finished conversion.
    if (!install_file_atomically(target, output)) {
        ErrMsg("Failed to rename file");
        ::unlink(output.c_str());
        return 0;
    }
    szOpenedFileName = target;
    return 1;
}
