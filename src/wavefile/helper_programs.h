#pragma once

#include <string>
#include <vector>

// The outside programs the program starts ("WAVECONV.EXE", "CRVCNVRT.EXE",
// "BLADEENC.EXE") and the files they exchange with it.

// Where a helper is looked for: beside the running program, or where the
// environment variable `override` names (tests point there).
std::string helper_program(const std::string& name, const char* environmentOverride);

// The exchange files in the user folder: the converter's output and the
// marker file it makes when it is done.
std::string converter_output_path();   // "outadpcm.wav"
std::string converter_marker_path();   // "finished"

enum class HelperWait { NotStarted, Finished, TimedOut, Escaped, Ended };

// Starts a helper (hidden) and waits for its marker file: first
// `firstWaitMs`, then every `pollMs`, at most `maxPolls` times (0: no limit).
// Escape ends the wait early; a helper that ends without the marker ends it
// too. The marker is deleted afterwards.
HelperWait run_helper_until_finished(const std::string& program, const std::vector<std::string>& arguments,
                                     int firstWaitMs, int pollMs, int maxPolls);

// Starts a helper and does not wait for it (the MP3 encoder). false when it
// could not be started.
bool start_helper_detached(const std::string& program, const std::vector<std::string>& arguments);
