#pragma once

#include "wavefile/jaf_blocks.h"

#include <string>

// JAF: the program's own lossy form for 16-bit waveforms. The document is
// low-passed, decimated by a chosen ratio with a little dither into a RIFF
// WAVE file whose average-bytes field holds 44100 / ratio, and that file is
// compressed to Microsoft ADPCM by the wave converter. Reading runs the
// converter helper the other way and stretches the result back by linear
// interpolation.

// The block arithmetic (ratios, dither, decimation, expansion) is in
// jaf_blocks.h.

// Compressing a document is modules/jaf_export.h (it runs the low-pass
// effect).
// Decompresses a JAF file; on success `name` becomes the expanded ".wav"
// file's name. 1 on success.
[[nodiscard]] int decompress_jaf_file(std::string& name);
// The JAF type's opening: expanded into NAME.wav, which opens.
int open_jaf_file(const std::string& name);
// Runs "WAVECONV.EXE" on `source` ("%s %s %d") and waits for it: 1 when
// "outadpcm.wav" exists afterwards. "Decompression algorithm not found.
// Returning." when it cannot be started.
int run_wave_converter(const std::string& source);
