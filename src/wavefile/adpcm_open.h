#pragma once

#include <string>

// Opening a Microsoft ADPCM file: after asking, the helper program "WAVECONV"
// decodes it into "outadpcm.wav" in the user folder and then makes the marker
// file "finished"; the result is renamed to the PCM file the user named and
// becomes szOpenedFileName. 1 when there is a PCM file to open.
int convert_adpcm_file_on_open(const std::string& file);

// Where the helper program is looked for: beside the running program, or
// where ONDRAVA_WAVECONV says.
std::string waveconv_program();
