#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

// The arithmetic of JAF files, block by block: the ratios and the field that
// records them, the dither, the decimation of the compression and the
// linear stretch of the expansion. No files and no messages here.

// The ratios of the dialog's buttons 2000..2004.
constexpr std::array<float, 5> kJafRatios = {1.47f, 1.764f, 2.0f, 2.205f, 2.8224f};
// The button that is on (persisting through the program's run).
extern int& jaf_button;
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
// Samples past `capacity` are never written.
void jaf_expand_block(const std::uint8_t* input, std::size_t bytes, std::int16_t* output, std::size_t capacity,
                      int channels, float ratio);
// The ratio a JAF file's average-bytes field records (44100 / the field),
// when it is one the reader can expand: between 1 and 4, around the five
// the compression offers (1.47 to 2.8224). Nothing for any other value.
std::optional<float> jaf_ratio_from_average_bytes(std::uint32_t averageBytes);
