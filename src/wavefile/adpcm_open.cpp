#include "wavefile/adpcm_open.h"

#include "app/app_paths.h"
#include "app/clock.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/ui_host.h"
#include "wavefile/wave_state.h"

#include <QProcess>
#include <QStringList>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <unistd.h>

std::string waveconv_program()
{
    const char* own = std::getenv("ONDRAVA_WAVECONV");
    if (own && *own)
        return own;
    return join_path(program_directory(), "WAVECONV.EXE");
}

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

    const std::string dir = user_directory();
    make_directories(dir);
    const std::string output = join_path(dir, "outadpcm.wav");
    const std::string marker = join_path(dir, "finished");
    ::unlink(output.c_str());
    ::unlink(marker.c_str());
    // The command line "%s %s %d": the helper, the file, and the format tag wanted.
    QProcess helper;
    helper.setProgram(QString::fromStdString(waveconv_program()));
    helper.setArguments({QString::fromStdString(file), QStringLiteral("1")});
    helper.start();
    if (!helper.waitForStarted(5000)) {
        ErrMsg("Compression algorithm not found. Returning.");
        return 0;
    }
    // Poll for the marker every 100 ms; a helper that ends without one has failed.
    while (!file_exists(marker)) {
        if (helper.state() == QProcess::NotRunning && !file_exists(marker))
            break;
        helper.waitForFinished(100);
    }
    helper.waitForFinished(-1);
    ::unlink(marker.c_str());
    if (!file_exists(output))
        return 0;
    ::unlink(target.c_str());
    if (!move_file(target, output))
        return 0;
    szOpenedFileName = target;
    return 1;
}
