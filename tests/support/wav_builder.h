#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

// Builds RIFF files byte by byte, so tests can make exactly the file they
// mean, broken ones included.
class WavBuilder {
public:
    using Bytes = std::vector<std::uint8_t>;

    static void put16(Bytes& b, std::uint16_t v)
    {
        b.push_back(static_cast<std::uint8_t>(v));
        b.push_back(static_cast<std::uint8_t>(v >> 8));
    }
    static void put32(Bytes& b, std::uint32_t v)
    {
        for (int i = 0; i < 4; ++i)
            b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    }
    static void putId(Bytes& b, const char* id) { b.insert(b.end(), id, id + 4); }

    // A chunk with the given id and body; odd bodies get their pad byte.
    // `sizeOverride` writes a different size field than the body's length.
    static Bytes chunk(const char* id, const Bytes& body, long long sizeOverride = -1)
    {
        Bytes b;
        putId(b, id);
        put32(b, static_cast<std::uint32_t>(sizeOverride >= 0 ? sizeOverride : body.size()));
        b.insert(b.end(), body.begin(), body.end());
        if (body.size() & 1)
            b.push_back(0);
        return b;
    }

    static Bytes fmtBody(std::uint16_t tag, std::uint16_t channels, std::uint32_t rate,
                         std::uint16_t bits, size_t size = 16)
    {
        Bytes b;
        put16(b, tag);
        put16(b, channels);
        put32(b, rate);
        put32(b, rate * channels * bits / 8);
        put16(b, static_cast<std::uint16_t>(channels * bits / 8));
        put16(b, bits);
        b.resize(size, 0);
        return b;
    }

    // "RIFF" + size + form + the chunks; `riffSizeOverride` lies about the size.
    static Bytes riff(const std::vector<Bytes>& chunks, const char* form = "WAVE",
                      long long riffSizeOverride = -1)
    {
        Bytes inner;
        putId(inner, form);
        for (const auto& c : chunks)
            inner.insert(inner.end(), c.begin(), c.end());
        Bytes b;
        putId(b, "RIFF");
        put32(b, static_cast<std::uint32_t>(riffSizeOverride >= 0 ? riffSizeOverride : inner.size()));
        b.insert(b.end(), inner.begin(), inner.end());
        return b;
    }

    static Bytes pcm(std::uint16_t channels, std::uint32_t rate, std::uint16_t bits,
                     const Bytes& data)
    {
        return riff({chunk("fmt ", fmtBody(1, channels, rate, bits)), chunk("data", data)});
    }

    // 16-bit stereo frames that each hold their own index (the low half on
    // the left, the high half on the right): what is played tells where it
    // came from.
    static Bytes indexedFrames(std::uint32_t frames)
    {
        Bytes data;
        data.reserve(static_cast<std::size_t>(frames) * 4);
        for (std::uint32_t i = 0; i < frames; ++i) {
            put16(data, static_cast<std::uint16_t>(i & 0xFFFF));
            put16(data, static_cast<std::uint16_t>(i >> 16));
        }
        return data;
    }
    // The index held by the frame at byte `at` of such data; all ones when
    // there is no whole frame there.
    static std::uint32_t frameIndexAt(const Bytes& data, std::size_t at)
    {
        if (data.size() < at + 4)
            return 0xFFFFFFFF;
        return static_cast<std::uint32_t>(data[at + 2] | data[at + 3] << 8) << 16 |
               static_cast<std::uint32_t>(data[at] | data[at + 1] << 8);
    }

    static Bytes randomBytes(size_t count, std::uint32_t seed)
    {
        std::mt19937 gen(seed);
        std::uniform_int_distribution<int> dist(0, 255);
        Bytes b(count);
        for (auto& v : b)
            v = static_cast<std::uint8_t>(dist(gen));
        return b;
    }
};
