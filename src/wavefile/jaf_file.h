#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

// JAF: the program's own lossy form for 16-bit waveforms. The document is
// low-passed, decimated by a chosen ratio with a little dither into a RIFF
// WAVE file whose average-bytes field holds 44100 / ratio, and that file is
// compressed to Microsoft ADPCM by the wave converter. Reading runs the
// converter helper the other way and stretches the result back by linear
// interpolation.

// The ratios of the dialog's buttons 2000..2004.
constexpr std::array<float, 5> kJafRatios = {1.47f, 1.764f, 2.0f, 2.205f, 2.8224f};
// The button that is on (persisting through the program's run).
extern int jaf_button;
// The average-bytes field a ratio is recorded as: 44100 / ratio in double
// precision from the single-precision ratio, truncated.
std::uint32_t jaf_average_bytes(float ratio);

// The dither table: 32768 values of 0, +8 or -8 from three runs of the C
// library's generator seeded with `seed`, seed + 10000 and seed + 20000.
std::array<std::int16_t, 32768> jaf_dither_table(unsigned seed);

// One block of the compression: 32768 input samples (16-bit, interleaved)
// taken at the ratio by the even-index rule plus the dither; the number of
// output samples.
std::size_t jaf_decimate_block(const std::int16_t* input, std::int16_t* output, int channels, float ratio,
                               const std::array<std::int16_t, 32768>& dither);
// One block of the expansion: `bytes` 8-bit unsigned samples (the input
// buffer must hold a frame more) stretched by the ratio with linear
// interpolation into 16-bit output.
void jaf_expand_block(const std::uint8_t* input, std::size_t bytes, std::int16_t* output, int channels, float ratio);

// Compresses the active document into `target`. 1 on success, 0 when
// cancelled or failed (the reason shown).
int compress_to_jaf_file(const std::string& target);
// Decompresses a JAF file; on success `name` becomes the expanded ".wav"
// file's name. 1 on success.
int decompress_jaf_file(std::string& name);
// Runs "WAVECONV.EXE" on `source` ("%s %s %d") and waits for it: 1 when
// "outadpcm.wav" exists afterwards. "Decompression algorithm not found.
// Returning." when it cannot be started.
int run_wave_converter(const std::string& source);
