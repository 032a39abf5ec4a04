#pragma once

#include <string>

// What the open dialog hands on: the file and its type (file_types.h). Each
// type makes a PCM WAVE file of it to open: for WAV files, PCM opens as it
// is, Microsoft ADPCM is decoded first, and any other format is refused; a
// type that cannot be read is refused with what the file holds. 1 when
// szOpenedFileName names a PCM WAVE file to open, 0 otherwise (the reason
// has been shown).
[[nodiscard]] int open_by_type(const std::string& name, int type);

// The WAV type's opening (file types 0 and 20).
[[nodiscard]] int open_wave_file(const std::string& name);
