#pragma once

#include <string>

// What the open dialog hands on: the file and its type (file_types.h). For
// WAV files, PCM opens as it is, Microsoft ADPCM is decoded first, and any
// other format is refused. 1 when szOpenedFileName names a PCM WAVE file to
// open, 0 otherwise (the reason has been shown).
int open_by_type(const std::string& name, int type);
