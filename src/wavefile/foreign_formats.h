#pragma once

#include <string>

struct SaveRequest;

// Foreign sound formats (file types 1 to 15) go through the converter
// helper "CRVCNVRT.EXE" (SoX's library): it is started with "%s %s %s" (its
// path, the source, the target), and the program waits 1000 ms, then looks
// for the marker "finished" every 100 ms at most 1000 times (Escape ends the
// wait), deletes it, and counts the conversion done when "outadpcm.wav"
// exists (which it then deletes).

std::string crvcnvrt_program();
// 1 when the converter reported success.
[[nodiscard]] int run_foreign_converter(const std::string& source, const std::string& target);
// Opening a foreign file: it is converted into the same name with the
// extension "WAV", which becomes szOpenedFileName when it exists. 1 then.
[[nodiscard]] int open_foreign_file(const std::string& name);
// Saving as a foreign type: the document is written to "CRVCNVRT.WAV" in the
// exchange folder, which the converter turns into the target.
[[nodiscard]] int save_foreign_file(const SaveRequest& request);
