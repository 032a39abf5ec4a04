#include "wavefile/helper_programs.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/ui_host.h"

#include <QProcess>
#include <QStringList>
#include <cstdlib>
#include <unistd.h>

std::string helper_program(const std::string& name, const char* environmentOverride)
{
    const char* own = environmentOverride ? std::getenv(environmentOverride) : nullptr;
    if (own && *own)
        return own;
    return join_path(program_directory(), name);
}

std::string converter_output_path() { return join_path(user_directory(), "outadpcm.wav"); }

std::string converter_marker_path() { return join_path(user_directory(), "finished"); }

namespace {

QStringList toArguments(const std::vector<std::string>& arguments)
{
    QStringList list;
    for (const std::string& a : arguments)
        list << QString::fromStdString(a);
    return list;
}

}  // namespace

HelperWait run_helper_until_finished(const std::string& program, const std::vector<std::string>& arguments,
                                     int firstWaitMs, int pollMs, int maxPolls)
{
    make_directories(user_directory());
    const std::string marker = converter_marker_path();
    QProcess helper;
    helper.setProgram(QString::fromStdString(program));
    helper.setArguments(toArguments(arguments));
    helper.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    helper.setStandardOutputFile(QProcess::nullDevice());
    helper.start();
    if (!helper.waitForStarted(5000))
        return HelperWait::NotStarted;

    HelperWait result = HelperWait::TimedOut;
    helper.waitForFinished(firstWaitMs);
    for (int polls = 0; maxPolls == 0 || polls < maxPolls; ++polls) {
        if (file_exists(marker)) {
            result = HelperWait::Finished;
            break;
        }
        if (uiHost().escapePressed()) {
            result = HelperWait::Escaped;
            break;
        }
        if (helper.state() == QProcess::NotRunning) {
            // One last look: the marker may have come with the end.
            result = file_exists(marker) ? HelperWait::Finished : HelperWait::Ended;
            break;
        }
        helper.waitForFinished(pollMs);
    }
    if (helper.state() != QProcess::NotRunning && result != HelperWait::Finished) {
        helper.kill();
        helper.waitForFinished(2000);
    } else {
        helper.waitForFinished(5000);
    }
    ::unlink(marker.c_str());
    return result;
}

bool start_helper_detached(const std::string& program, const std::vector<std::string>& arguments)
{
    if (::access(program.c_str(), X_OK) != 0)
        return false;
    return QProcess::startDetached(QString::fromStdString(program), toArguments(arguments));
}
