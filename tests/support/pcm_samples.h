#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

// The 16-bit samples of raw bytes (a working file) on the -1..1 scale.
inline std::vector<float> pcm16_samples(const std::vector<std::uint8_t>& bytes)
{
    std::vector<float> out(bytes.size() / 2);
    for (std::size_t i = 0; i < out.size(); ++i) {
        std::int16_t v;
        std::memcpy(&v, bytes.data() + 2 * i, 2);
        out[i] = v / 32768.0f;
    }
    return out;
}
