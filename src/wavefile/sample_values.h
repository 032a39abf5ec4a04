#pragma once

#include "wavefile/byte_order.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

// One PCM sample as a float and back. Full scale is 128 steps for 8-bit
// (unsigned around 128) and 32768 for 16-bit (signed, little-endian), so that
// every sample converts to a float and back exactly; a float is rounded to
// the nearest step and clamped.
inline float pcm_sample_to_float(const unsigned char* p, int bytes)
{
    if (bytes == 1)
        return (static_cast<int>(*p) - 128) / 128.0f;
    return static_cast<std::int16_t>(get_le16(p)) / 32768.0f;
}

inline void float_to_pcm_sample(unsigned char* p, int bytes, float v)
{
    if (bytes == 1) {
        *p = static_cast<unsigned char>(std::clamp<long>(std::lrint(v * 128.0f) + 128, 0, 255));
    } else {
        const long s = std::clamp<long>(std::lrint(v * 32768.0f), -32768, 32767);
        put_le16(p, static_cast<std::uint16_t>(static_cast<std::int16_t>(s)));
    }
}
