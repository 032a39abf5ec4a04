#include "wavefile/foreign_formats.h"

#include "app/file_names.h"
#include "wavefile/helper_programs.h"
#include "wavefile/wave_state.h"

#include <unistd.h>

std::string crvcnvrt_program() { return helper_program("CRVCNVRT.EXE", "ONDRAVA_CRVCNVRT"); }

int run_foreign_converter(const std::string& source, const std::string& target)
{
    const std::string output = converter_output_path();
    ::unlink(output.c_str());
    ::unlink(converter_marker_path().c_str());
    run_helper_until_finished(crvcnvrt_program(), {source, target}, 1000, 100, 1000);
    // Success is judged by the output whatever ended the wait.
    if (!file_exists(output))
        return 0;
    ::unlink(output.c_str());
    return 1;
}

int open_foreign_file(const std::string& name)
{
    std::string target = name;
    ReplaceExt(target, "WAV");
    run_foreign_converter(name, target);
    // A conversion that leaves no target opens nothing, without a message.
    if (!file_exists(target))
        return 0;
    szOpenedFileName = target;
    return 1;
}
