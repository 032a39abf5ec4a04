#include "wavefile/jaf_blocks.h"

#include <algorithm>
#include <cstdlib>
#include <vector>


std::uint32_t jaf_average_bytes(float ratio)
{
    return static_cast<std::uint32_t>(44100.0 / static_cast<double>(ratio));
}

std::array<std::int16_t, 32768> jaf_dither_table(unsigned seed)
{
    std::vector<int> a(32768), b(32768), c(32768);
    std::srand(seed);
    for (int& v : a)
        v = std::rand();
    std::srand(seed + 10000);
    for (int& v : b)
        v = std::rand();
    std::srand(seed + 20000);
    for (int& v : c)
        v = std::rand();
    std::array<std::int16_t, 32768> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<std::int16_t>(a[i] > b[i] && a[i] > c[i] ? 0 : b[i] > c[i] ? -8 : 8);
    return table;
}

std::size_t jaf_decimate_block(const std::int16_t* input, std::int16_t* output, int channels, float ratio,
                               const std::array<std::int16_t, 32768>& dither)
{
    // The nearest even index at or below the position, plus the dither; the
    // sum wraps in 16 bits.
    std::size_t k = 0;
    for (float p = 0.0f; p < 32768.0f; p += static_cast<float>(channels) * ratio) {
        const std::size_t j = static_cast<std::size_t>(static_cast<int>(p) / 2 * 2);
        output[k] = static_cast<std::int16_t>(input[j] + dither[k]);
        if (channels == 2)
            output[k + 1] = static_cast<std::int16_t>(input[j + 1] + dither[k + 1]);
        k += static_cast<std::size_t>(channels);
    }
    return k;
}

std::optional<float> jaf_ratio_from_average_bytes(std::uint32_t averageBytes)
{
    if (averageBytes == 0)
        return std::nullopt;
    const float ratio = 44100.0f / static_cast<float>(averageBytes);
    if (!(ratio >= 1.0f && ratio <= 4.0f))
        return std::nullopt;
    return ratio;
}

void jaf_expand_block(const std::uint8_t* input, std::size_t bytes, std::int16_t* output, std::size_t capacity,
                      int channels, float ratio)
{
    // Each frame starts a span of L + 1 samples a channel at its position
    // times the ratio (even for stereo), drawn as a line to the next frame's
    // sample; later spans overwrite earlier ones where they overlap.
    const int span = std::max(1, static_cast<int>(ratio + 0.5f));
    for (std::size_t q = 0; q < bytes; q += static_cast<std::size_t>(channels)) {
        int base = static_cast<int>(static_cast<float>(q) * ratio);
        if (channels == 2)
            base &= ~1;
        for (int c = 0; c < channels; ++c) {
            const int now = (input[q + static_cast<std::size_t>(c)] - 128) * 256;
            const int next = (input[q + static_cast<std::size_t>(c + channels)] - 128) * 256;
            const auto difference = static_cast<std::int16_t>(next - now);
            for (int n = 0; n <= span; ++n) {
                const auto at = static_cast<std::size_t>(base + n * channels + c);
                if (at < capacity)
                    output[at] = static_cast<std::int16_t>(n * difference / span + now);
            }
        }
    }
}
