#pragma once

#include <string>

// Compresses the active document into `target` as JAF (wavefile/jaf_file.h):
// low-passed through the effect module, decimated with dither, then
// compressed to ADPCM by the wave converter. 1 on success, 0 when cancelled
// or failed (the reason shown).
[[nodiscard]] int compress_to_jaf_file(const std::string& target);
