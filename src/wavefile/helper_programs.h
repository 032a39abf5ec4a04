#pragma once

#include <string>
#include <vector>

// The outside programs the program starts ("WAVECONV.EXE", "CRVCNVRT.EXE",
// "BLADEENC.EXE") and the files they exchange with it.

// Where a helper is looked for: beside the running program, or where the
// environment variable `override` names (tests point there).
std::string helper_program(const std::string& name, const char* environmentOverride);

// The exchange files in this program's own exchange folder (see
// instance_files.h): the converter's output and the marker file it makes
// when it is done. Helpers started by the program find the same folder.
std::string converter_output_path();   // "outadpcm.wav"
std::string converter_marker_path();   // "finished"
// Any other exchange file by its fixed name ("CRVCNVRT.WAV", "DRXIN.WAV" ...).
std::string exchange_file_path(const char* name);

enum class HelperWait { NotStarted, Finished, TimedOut, Escaped, Ended };

// Starts a helper (hidden) and waits for its marker file: first
// `firstWaitMs`, then every `pollMs`, at most `maxPolls` times. Escape (Ctrl+C
// on a terminal) ends the wait early; a helper that ends without the marker
// ends it too. A helper still running when the wait ends is stopped. The
// marker is deleted afterwards. The helper's arguments are plain file names:
// nothing is parsed out of them on either side.
HelperWait run_helper_until_finished(const std::string& program, const std::vector<std::string>& arguments,
                                     int firstWaitMs, int pollMs, int maxPolls);
// How many 100 ms polls a conversion of `source` may take: a minute, and two
// seconds more for every MiB of it.
int helper_poll_limit(const std::string& source);
// Tells the user why a wait for the helper `helperName` on `file` did not
// end with its marker (it stopped, took too long, or was cancelled). Nothing
// is shown for Finished and NotStarted (the callers have their own text).
void report_helper_wait(HelperWait result, const char* helperName, const std::string& file);
