#include "wavefile/sample_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

constexpr SampleFormat kAll[] = {SampleFormat::U8, SampleFormat::S16, SampleFormat::S24, SampleFormat::F32};

}  // namespace

TEST(SampleFormat, SizesTagsAndSilence)
{
    EXPECT_EQ(sample_bytes(SampleFormat::U8), 1);
    EXPECT_EQ(sample_bytes(SampleFormat::S16), 2);
    EXPECT_EQ(sample_bytes(SampleFormat::S24), 3);
    EXPECT_EQ(sample_bytes(SampleFormat::F32), 4);
    EXPECT_EQ(sample_format_of(1, 8), SampleFormat::U8);
    EXPECT_EQ(sample_format_of(1, 16), SampleFormat::S16);
    EXPECT_EQ(sample_format_of(1, 24), SampleFormat::S24);
    EXPECT_EQ(sample_format_of(3, 32), SampleFormat::F32);
    EXPECT_FALSE(sample_format_of(3, 16).has_value());
    EXPECT_FALSE(sample_format_of(1, 12).has_value());
    EXPECT_FALSE(sample_format_of(2, 4).has_value());  // ADPCM is not a sample format
    for (SampleFormat f : kAll) {
        std::vector<unsigned char> bytes(5 * static_cast<std::size_t>(sample_bytes(f)), 0x55);
        fill_silence(f, bytes.data(), 5);
        std::vector<float> values(5, 1.0f);
        samples_to_float(f, bytes.data(), values.data(), 5);
        for (float v : values)
            EXPECT_EQ(v, 0.0f) << sample_bits(f) << " bits";
    }
    EXPECT_EQ(silence_byte(SampleFormat::U8), 128);
}

// Every integer sample goes to float and back unchanged, one at a time and in
// runs alike, and the float is the sample over 2^(bits-1).
TEST(SampleFormat, EveryIntegerSampleRoundTripsExactly)
{
    for (SampleFormat f : {SampleFormat::U8, SampleFormat::S16, SampleFormat::S24}) {
        const int bytes = sample_bytes(f);
        const long half = 1L << (8 * bytes - 1);
        // All of 8 and 16 bits; for 24 bits every 97th value and the ends.
        std::vector<long> values;
        for (long v = -half; v < half; v += (bytes == 3 ? 97 : 1))
            values.push_back(v);
        values.push_back(half - 1);
        std::vector<unsigned char> raw(values.size() * static_cast<std::size_t>(bytes));
        for (std::size_t i = 0; i < values.size(); ++i) {
            // Little-endian two's complement (8-bit offset by 128), written out
            // byte by byte.
            const unsigned long u = bytes == 1 ? static_cast<unsigned long>(values[i] + 128)
                                               : static_cast<unsigned long>(values[i]) & ((1UL << (8 * bytes)) - 1);
            for (int b = 0; b < bytes; ++b)
                raw[i * static_cast<std::size_t>(bytes) + static_cast<std::size_t>(b)] =
                    static_cast<unsigned char>(u >> (8 * b));
        }
        std::vector<float> run(values.size());
        samples_to_float(f, raw.data(), run.data(), values.size());
        std::vector<unsigned char> back(raw.size());
        float_to_samples(f, run.data(), back.data(), values.size());
        EXPECT_EQ(back, raw) << sample_bits(f) << " bits";
        for (std::size_t i = 0; i < values.size(); i += 101) {
            const unsigned char* p = raw.data() + i * static_cast<std::size_t>(bytes);
            EXPECT_EQ(sample_value(f, p), values[i]);
            EXPECT_EQ(sample_to_float(f, p), static_cast<float>(static_cast<double>(values[i]) / half));
            EXPECT_EQ(run[i], sample_to_float(f, p));
        }
    }
}

// Floats go to the nearest step, ties to the even one, and are clamped; one
// sample and a run agree.
TEST(SampleFormat, FloatsRoundToTheNearestStepAndClamp)
{
    struct Case {
        SampleFormat format;
        float in;
        long expected;  // in the format's steps
    };
    const Case cases[] = {
        {SampleFormat::S16, 2.5f / 32768.0f, 2},    {SampleFormat::S16, 3.5f / 32768.0f, 4},
        {SampleFormat::S16, -2.5f / 32768.0f, -2},  {SampleFormat::S16, 1.0f, 32767},
        {SampleFormat::S16, -1.0f, -32768},          {SampleFormat::S16, -7.0f, -32768},
        {SampleFormat::U8, 0.5f / 128.0f, 0},        {SampleFormat::U8, 1.5f / 128.0f, 2},
        {SampleFormat::U8, 2.0f, 127},               {SampleFormat::U8, -1.0f, -128},
        {SampleFormat::S24, 0.25f, 2097152},         {SampleFormat::S24, 1.0f, 8388607},
        {SampleFormat::S24, -1.5f, -8388608},        {SampleFormat::S24, 10.5f / 8388608.0f, 10},
    };
    for (const Case& c : cases) {
        unsigned char one[4] = {};
        float_to_sample(c.format, one, c.in);
        EXPECT_EQ(sample_value(c.format, one), c.expected) << sample_bits(c.format) << " bits, " << c.in;
        unsigned char run[4] = {};
        float_to_samples(c.format, &c.in, run, 1);
        EXPECT_EQ(0, std::memcmp(one, run, static_cast<std::size_t>(sample_bytes(c.format))));
    }
    // Float samples are stored as they are, little-endian.
    unsigned char f32[4];
    float_to_sample(SampleFormat::F32, f32, -0.75f);
    EXPECT_EQ(f32[3], 0xBF);
    EXPECT_EQ(f32[2], 0x40);
    EXPECT_EQ(sample_to_float(SampleFormat::F32, f32), -0.75f);
    float wide = 1.5f;  // not clamped: float documents keep what is over full scale
    float_to_samples(SampleFormat::F32, &wide, f32, 1);
    EXPECT_EQ(sample_to_float(SampleFormat::F32, f32), 1.5f);
}
