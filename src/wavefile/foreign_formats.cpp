#include "wavefile/foreign_formats.h"

#include "app/atomic_file.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "wavefile/helper_programs.h"
#include "wavefile/save_request.h"
#include "wavefile/wave_state.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

std::string crvcnvrt_program() { return helper_program("CRVCNVRT.EXE", "ONDRAVA_CRVCNVRT"); }

namespace {

// Runs the converter from `source` into `written`, a file that nobody knows
// by name yet. 1 when the converter reports success.
int convert_into(const std::string& source, const std::string& written)
{
    const std::string output = converter_output_path();
    ::unlink(output.c_str());
    ::unlink(converter_marker_path().c_str());
    const HelperWait wait = run_helper_until_finished(crvcnvrt_program(), {source, written}, 1000, 100, 1000);
    if (wait == HelperWait::NotStarted) {
        ErrMsg("CRVCNVRT.EXE missing.");
        return 0;
    }
    // Success is judged by the output whatever ended the wait.
    if (!file_exists(output)) {
        report_helper_wait(wait, "CRVCNVRT.EXE", source);
        return 0;
    }
    ::unlink(output.c_str());
    return 1;
}

}  // namespace

int run_foreign_converter(const std::string& source, const std::string& target)
{
    // The converter writes beside the target; the target takes the result
    // only when the conversion is complete.
    AtomicFile staged;
    if (!staged.begin(target)) {
        ErrMsg("Cannot write %s: %s", target.c_str(), std::strerror(errno));
        return 0;
    }
    if (!convert_into(source, staged.temporaryPath()))
        return 0;
    if (!staged.commit()) {
        ErrMsg("Cannot write %s: %s", target.c_str(), std::strerror(errno));
        return 0;
    }
    return 1;
}

int open_foreign_file(const std::string& name)
{
    std::string target = name;
    ReplaceExt(target, "WAV");
    // An existing file of that name is replaced only with the user's yes.
    target = name_for_converted_file(name, target);
    if (target.empty())
        return 0;
    // A conversion that leaves no target opens nothing, without a message.
    if (!run_foreign_converter(name, target))
        return 0;
    szOpenedFileName = target;
    return 1;
}

int save_foreign_file(const SaveRequest& r)
{
    const std::string exchange = exchange_file_path("CRVCNVRT.WAV");
    if (!r.writeWave(exchange))
        return 0;
    return run_foreign_converter(exchange, r.target);
}
