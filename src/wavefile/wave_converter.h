#pragma once

#include "app/window_handle.h"
#include "wavefile/adpcm_codec.h"

#include <optional>
#include <string>

// Converts a PCM WAVE file into Microsoft ADPCM or an ADPCM file into 8-bit
// PCM, one block at a time, under a box that shows the progress and can be
// aborted. Copies the source's "DISP" and "plst" chunks and its INFO list.

// The destination format for a source format, or nothing (with the reason
// shown) when the pair is not one the converter handles: PCM of 8 or 16 bits,
// 1 or 2 channels at exactly 11025, 22050 or 44100 Hz; ADPCM of 4 bits with
// exactly the standard seven coefficient pairs.
// When a JAF file is being made (`jafRatio` above 0), the destination's
// average bytes per second is 44100 / jafRatio instead.
std::optional<AdpcmFormat> conversion_destination(const AdpcmFormat& source, float jafRatio = 0.0f);

// 1 when the conversion completed, 0 otherwise (the reason has been shown).
[[nodiscard]] int convert_wave_file(HWND owner, const std::string& source, const std::string& destination, float jafRatio = 0.0f);

// The ratio of the JAF file being made or read (wave_state.h).
extern float& jaf_ratio;
