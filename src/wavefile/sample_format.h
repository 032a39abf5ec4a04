#pragma once

#include "wavefile/byte_order.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

// How samples are stored, in documents and in the files and streams around
// them: 8-bit unsigned (silence is 128), 16- and 24-bit signed little-endian,
// 32-bit IEEE float little-endian.
//
// One conversion to and from float serves every user of samples (effects,
// plug-ins, the format converter, the devices): an integer sample of n bits
// is value / 2^(n-1), so every integer sample goes to a float and back
// exactly; a float goes to an integer form rounded to the nearest step (ties
// to even, as std::lrint rounds) and clamped to the form's range. Float
// samples are stored as they are.
enum class SampleFormat : std::uint8_t { U8, S16, S24, F32 };

constexpr int sample_bytes(SampleFormat f)
{
    switch (f) {
    case SampleFormat::U8: return 1;
    case SampleFormat::S16: return 2;
    case SampleFormat::S24: return 3;
    case SampleFormat::F32: return 4;
    }
    return 2;
}
constexpr int sample_bits(SampleFormat f) { return 8 * sample_bytes(f); }
constexpr bool is_float_format(SampleFormat f) { return f == SampleFormat::F32; }
// The WAVE format tag of the form: 1 (PCM) or 3 (IEEE float).
constexpr int wave_format_tag(SampleFormat f) { return is_float_format(f) ? 3 : 1; }

// The integer PCM form of `bits` bits (8, 16 or 24).
constexpr std::optional<SampleFormat> pcm_format(int bits)
{
    switch (bits) {
    case 8: return SampleFormat::U8;
    case 16: return SampleFormat::S16;
    case 24: return SampleFormat::S24;
    default: return std::nullopt;
    }
}
// The form of a WAVE format tag (1 PCM, 3 float) and its bits per sample.
constexpr std::optional<SampleFormat> sample_format_of(int formatTag, int bits)
{
    if (formatTag == 3)
        return bits == 32 ? std::optional<SampleFormat>(SampleFormat::F32) : std::nullopt;
    return formatTag == 1 ? pcm_format(bits) : std::nullopt;
}

// The form of a device stream or a document of `bits` bits: 32 bits are
// float (the program has no 32-bit integer form), the others PCM.
constexpr SampleFormat stream_sample_format(int bits)
{
    return bits == 32 ? SampleFormat::F32 : pcm_format(bits).value_or(SampleFormat::S16);
}

// Whether samples of that tag, channel count and width can be a document:
// one or two channels of 8-, 16- or 24-bit PCM or 32-bit float.
constexpr bool is_document_format(int formatTag, int channels, int bits)
{
    return (channels == 1 || channels == 2) && sample_format_of(formatTag, bits).has_value();
}

// A byte position in a document's samples, moved back to a boundary the
// program keeps: for frames of 1, 2 or 4 bytes (8- and 16-bit documents) a
// 4-byte boundary, as the program always kept, which is a frame boundary for
// them too; larger or 3-byte frames (24-bit, float stereo) are kept whole.
constexpr std::uint64_t align_position(std::uint64_t bytes, int frameBytes)
{
    if (frameBytes == 1 || frameBytes == 2 || frameBytes == 4)
        return bytes & ~std::uint64_t{3};
    return frameBytes > 0 ? bytes - bytes % static_cast<std::uint64_t>(frameBytes) : bytes;
}

// The byte that silence is made of: 128 for 8-bit samples, 0 for the others.
constexpr unsigned char silence_byte(SampleFormat f) { return f == SampleFormat::U8 ? 128 : 0; }
inline void fill_silence(SampleFormat f, unsigned char* p, std::size_t samples)
{
    std::memset(p, silence_byte(f), samples * static_cast<std::size_t>(sample_bytes(f)));
}

// The value of the integer forms counted in their own steps (8-bit samples
// as -128..127 around their middle), for arithmetic written per width.
inline int sample_value(SampleFormat f, const unsigned char* p)
{
    switch (f) {
    case SampleFormat::U8: return static_cast<int>(p[0]) - 128;
    case SampleFormat::S16: return static_cast<std::int16_t>(get_le16(p));
    case SampleFormat::S24: {
        const std::uint32_t u = static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
                                static_cast<std::uint32_t>(p[2]) << 16;
        return static_cast<int>(u ^ 0x800000u) - 0x800000;
    }
    case SampleFormat::F32: break;
    }
    return 0;
}
// Stores an integer value in the form's steps, clamped to its range.
inline void put_sample_value(SampleFormat f, unsigned char* p, long v)
{
    switch (f) {
    case SampleFormat::U8: p[0] = static_cast<unsigned char>(std::clamp(v, -128L, 127L) + 128); return;
    case SampleFormat::S16:
        put_le16(p, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::clamp(v, -32768L, 32767L))));
        return;
    case SampleFormat::S24: {
        const auto u = static_cast<std::uint32_t>(std::clamp(v, -8388608L, 8388607L));
        p[0] = static_cast<unsigned char>(u);
        p[1] = static_cast<unsigned char>(u >> 8);
        p[2] = static_cast<unsigned char>(u >> 16);
        return;
    }
    case SampleFormat::F32: return;
    }
}

// Full scale of the integer forms: the step count that maps to 1.0.
constexpr float full_scale(SampleFormat f)
{
    return f == SampleFormat::U8 ? 128.0f : f == SampleFormat::S16 ? 32768.0f : f == SampleFormat::S24 ? 8388608.0f : 1.0f;
}

inline float sample_to_float(SampleFormat f, const unsigned char* p)
{
    if (f == SampleFormat::F32) {
        const std::uint32_t bits = get_le32(p);
        float v;
        std::memcpy(&v, &bits, 4);
        return v;
    }
    return static_cast<float>(sample_value(f, p)) / full_scale(f);
}

inline void float_to_sample(SampleFormat f, unsigned char* p, float v)
{
    if (f == SampleFormat::F32) {
        std::uint32_t bits;
        std::memcpy(&bits, &v, 4);
        put_le32(p, bits);
        return;
    }
    put_sample_value(f, p, std::lrint(v * full_scale(f)));
}

// Runs of `samples` samples (frames times channels, interleaved). Written
// per form, so that each loop vectorizes.
inline void samples_to_float(SampleFormat f, const unsigned char* in, float* out, std::size_t samples)
{
    constexpr bool little = std::endian::native == std::endian::little;
    if (f == SampleFormat::U8) {
        for (std::size_t i = 0; i < samples; ++i)
            out[i] = (static_cast<int>(in[i]) - 128) * (1.0f / 128.0f);
    } else if (f == SampleFormat::S16 && little) {
        for (std::size_t i = 0; i < samples; ++i) {
            std::int16_t v;
            std::memcpy(&v, in + 2 * i, 2);
            out[i] = v * (1.0f / 32768.0f);
        }
    } else if (f == SampleFormat::S24) {
        // The three bytes go to the top of a 32-bit word, whose arithmetic
        // shift back keeps the sign.
        for (std::size_t i = 0; i < samples; ++i) {
            const unsigned char* p = in + 3 * i;
            const auto word = static_cast<std::int32_t>(static_cast<std::uint32_t>(p[0]) << 8 |
                                                        static_cast<std::uint32_t>(p[1]) << 16 |
                                                        static_cast<std::uint32_t>(p[2]) << 24);
            out[i] = static_cast<float>(word >> 8) * (1.0f / 8388608.0f);
        }
    } else if (f == SampleFormat::F32 && little) {
        std::memcpy(out, in, samples * 4);
    } else {
        const std::size_t step = static_cast<std::size_t>(sample_bytes(f));
        for (std::size_t i = 0; i < samples; ++i)
            out[i] = sample_to_float(f, in + i * step);
    }
}

// `x` clamped to [lo, hi] and rounded to the nearest integer, ties to
// even, as std::lrint rounds, without a library call: adding 1.5 * 2^52 to
// a double leaves the rounded value in its low bits. The clamp comes first,
// which gives the same result as rounding first for integer bounds (and
// keeps NaN from the sum: it goes to `hi`).
inline std::int32_t round_clamped(float x, float lo, float hi)
{
    const double clamped = std::max<double>(lo, std::min<double>(hi, x));
    const double shifted = clamped + 6755399441055744.0;
    std::int64_t bits;
    std::memcpy(&bits, &shifted, 8);
    return static_cast<std::int32_t>(bits);
}

inline void float_to_samples(SampleFormat f, const float* in, unsigned char* out, std::size_t samples)
{
    constexpr bool little = std::endian::native == std::endian::little;
    if (f == SampleFormat::U8) {
        for (std::size_t i = 0; i < samples; ++i)
            out[i] = static_cast<unsigned char>(round_clamped(in[i] * 128.0f, -128.0f, 127.0f) + 128);
    } else if (f == SampleFormat::S16 && little) {
        for (std::size_t i = 0; i < samples; ++i) {
            const auto v = static_cast<std::int16_t>(round_clamped(in[i] * 32768.0f, -32768.0f, 32767.0f));
            std::memcpy(out + 2 * i, &v, 2);
        }
    } else if (f == SampleFormat::S24 && little) {
        for (std::size_t i = 0; i < samples; ++i) {
            const std::int32_t v = round_clamped(in[i] * 8388608.0f, -8388608.0f, 8388607.0f);
            std::memcpy(out + 3 * i, &v, 3);
        }
    } else if (f == SampleFormat::F32 && little) {
        std::memcpy(out, in, samples * 4);
    } else {
        const std::size_t step = static_cast<std::size_t>(sample_bytes(f));
        for (std::size_t i = 0; i < samples; ++i)
            float_to_sample(f, out + i * step, in[i]);
    }
}
