#include "wavefile/helper_programs.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/instance_files.h"
#include "app/messages.h"
#include "app/progress.h"
#include "app/ui_host.h"

#include <QProcessEnvironment>
#include <algorithm>
#include <cstdint>

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

std::string exchange_file_path(const char* name)
{
    const std::string folder = exchange_directory();
    make_directories(folder);
    return join_path(folder, name);
}

std::string converter_output_path() { return exchange_file_path("outadpcm.wav"); }

std::string converter_marker_path() { return exchange_file_path("finished"); }

int helper_poll_limit(const std::string& source)
{
    const std::uint64_t mebibytes = get_named_file_length(source) >> 20;
    return static_cast<int>(std::min<std::uint64_t>(600 + 20 * mebibytes, 1000000));
}

void report_helper_wait(HelperWait result, const char* helperName, const std::string& file)
{
    switch (result) {
    case HelperWait::Ended:
        ErrMsg("%s stopped without finishing the conversion of %s.", helperName, file.c_str());
        break;
    case HelperWait::TimedOut:
        ErrMsg("%s did not finish the conversion of %s in time; it was stopped.", helperName, file.c_str());
        break;
    case HelperWait::Escaped:
        ErrMsg("The conversion of %s by %s was cancelled.", file.c_str(), helperName);
        break;
    case HelperWait::Finished:
    case HelperWait::NotStarted:
        break;
    }
}

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
    const std::string marker = converter_marker_path();
    const LongOperation operation;
    QProcess helper;
    helper.setProgram(QString::fromStdString(program));
    helper.setArguments(toArguments(arguments));
    // The helper exchanges its files in this program's folder, never in one
    // that another running copy uses.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(kExchangeDirectoryVariable), QString::fromStdString(exchange_directory()));
    helper.setProcessEnvironment(environment);
    helper.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    helper.setStandardOutputFile(QProcess::nullDevice());
    helper.start();
    if (!helper.waitForStarted(5000))
        return HelperWait::NotStarted;

    HelperWait result = HelperWait::TimedOut;
    helper.waitForFinished(firstWaitMs);
    for (int polls = 0; polls < maxPolls; ++polls) {
        if (file_exists(marker)) {
            result = HelperWait::Finished;
            break;
        }
        if (uiHost().escapePressed() || operation_abort_requested()) {
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

