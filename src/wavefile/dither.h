#pragma once

#include "wavefile/sample_format.h"

#include <cstddef>
#include <cstdint>

// Triangular (TPDF) dither for reducing samples to fewer bits: before the
// rounding to the narrower form, each sample gets the sum of two independent
// uniform values of up to one step each (a triangular distribution over
// two steps), which turns the rounding's distortion into a steady, signal-
// independent hiss one step wide. The generator is a small xorshift, seeded
// the same each time, so that a reduction repeated gives the same bytes.
class TpdfDither {
public:
    // Adds the dither for rounding to `target` to `count` float samples.
    // Nothing is added for float targets, which need no rounding.
    void apply(SampleFormat target, float* samples, std::size_t count)
    {
        if (is_float_format(target))
            return;
        const float step = 1.0f / full_scale(target);
        for (std::size_t i = 0; i < count; ++i)
            samples[i] += (uniform() + uniform() - 1.0f) * step;
    }

private:
    // A uniform value in [0, 1).
    float uniform()
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return static_cast<float>(m_state >> 8) * (1.0f / 16777216.0f);
    }
    std::uint32_t m_state = 0x9E3779B9u;
};

// Whether going from `source` to `target` loses resolution, so that the
// reduction should be dithered: to fewer integer bits, or from float to any
// integer form.
constexpr bool reduces_resolution(SampleFormat source, SampleFormat target)
{
    if (is_float_format(target))
        return false;
    return is_float_format(source) || sample_bits(target) < sample_bits(source);
}
