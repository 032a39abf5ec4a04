#include "wavefile/adpcm_codec.h"

#include "app/messages.h"
#include "wavefile/byte_order.h"
#include "wavefile/sample_format.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace {

// How the step size follows each 4-bit code.
constexpr int kAdaptation[16] = {230, 230, 230, 230, 307, 409, 512, 614, 768, 614, 512, 409, 307, 230, 230, 230};
constexpr int kMinDelta = 16;
constexpr int kLookahead = 5;

struct ChannelState {
    int coef1 = 256;
    int coef2 = 0;
    int delta = kMinDelta;
    int sample1 = 0;  // the newer of the two previous samples
    int sample2 = 0;
};

int clamp16(long v)
{
    return static_cast<int>(std::clamp<long>(v, std::numeric_limits<std::int16_t>::min(),
                                             std::numeric_limits<std::int16_t>::max()));
}

// The prediction of the published definition: divided by 256, towards zero.
long predict(const ChannelState& s) { return (static_cast<long>(s.sample1) * s.coef1 + static_cast<long>(s.sample2) * s.coef2) / 256; }

int decodeNibble(ChannelState& s, int nibble)
{
    const int signedNibble = nibble >= 8 ? nibble - 16 : nibble;
    const int sample = clamp16(predict(s) + static_cast<long>(signedNibble) * s.delta);
    s.delta = std::clamp(kAdaptation[nibble] * s.delta / 256, kMinDelta, kAdpcmMaxDelta);
    s.sample2 = s.sample1;
    s.sample1 = sample;
    return sample;
}

int encodeSample(ChannelState& s, int sample)
{
    const long prediction = predict(s);
    // The nearest code: the difference over the step, rounded half away
    // from zero (a truncating quantiser loses half a step on every sample).
    const long difference = sample - prediction;
    const long half = s.delta / 2;
    long code = difference >= 0 ? (difference + half) / s.delta : -((half - difference) / s.delta);
    code = std::clamp<long>(code, -8, 7);
    const int nibble = static_cast<int>(code) & 0x0F;
    const int decoded = clamp16(prediction + code * s.delta);
    s.delta = std::clamp(kAdaptation[nibble] * s.delta / 256, kMinDelta, kAdpcmMaxDelta);
    s.sample2 = s.sample1;
    s.sample1 = decoded;
    return nibble;
}

// The starting delta for a predictor: a quarter of the mean prediction error
// over the block's first samples (the published encoder's rule).
int firstDelta(int coef1, int coef2, const int* p)
{
    long total = 0;
    for (int i = 2; i < kLookahead; ++i) {
        const long guess = (static_cast<long>(p[i - 1]) * coef1 + static_cast<long>(p[i - 2]) * coef2) / 256;
        total += std::labs(guess - p[i]);
    }
    return std::max(kMinDelta, static_cast<int>(total / 12));
}

// Reads PCM sample `i` (interleaved index) as a 16-bit value.
int pcmSample(const unsigned char* bytes, int bits, std::size_t i)
{
    const SampleFormat format = pcm_format(bits).value_or(SampleFormat::S16);
    return sample_value(format, bytes + i * static_cast<std::size_t>(sample_bytes(format))) * (1 << (16 - bits));
}

}  // namespace

const std::array<std::array<std::int16_t, 2>, 7>& adpcm_standard_coefficients()
{
    static const std::array<std::array<std::int16_t, 2>, 7> set = {
        {{256, 0}, {512, -256}, {0, 0}, {192, 64}, {240, 0}, {460, -208}, {392, -232}}};
    return set;
}

std::uint16_t adpcm_block_align(std::uint16_t channels, std::uint32_t rate)
{
    std::uint32_t align = 256u * channels;
    if (rate > 11025)
        align *= rate / 11000;
    return static_cast<std::uint16_t>(align);
}

std::uint16_t adpcm_samples_per_block(std::uint16_t blockAlign, std::uint16_t channels)
{
    return static_cast<std::uint16_t>(((blockAlign - 7 * channels) * 8) / (4 * channels) + 2);
}

std::vector<unsigned char> AdpcmFormat::toBytes() const
{
    std::vector<unsigned char> b(formatTag == 2 ? 50 : 16, 0);
    put_le16(&b[0], formatTag);
    put_le16(&b[2], channels);
    put_le32(&b[4], samplesPerSec);
    put_le32(&b[8], avgBytesPerSec);
    put_le16(&b[12], blockAlign);
    put_le16(&b[14], bitsPerSample);
    if (formatTag == 2) {
        put_le16(&b[16], extraSize);
        put_le16(&b[18], samplesPerBlock);
        put_le16(&b[20], static_cast<std::uint16_t>(coefficients.size()));
        for (std::size_t i = 0; i < coefficients.size() && 22 + 4 * i + 4 <= b.size(); ++i) {
            put_le16(&b[22 + 4 * i], static_cast<std::uint16_t>(coefficients[i][0]));
            put_le16(&b[24 + 4 * i], static_cast<std::uint16_t>(coefficients[i][1]));
        }
    }
    return b;
}

AdpcmFormat AdpcmFormat::fromBytes(const unsigned char* b, std::size_t size)
{
    AdpcmFormat f;
    f.formatTag = get_le16(b);
    f.channels = get_le16(b + 2);
    f.samplesPerSec = get_le32(b + 4);
    f.avgBytesPerSec = get_le32(b + 8);
    f.blockAlign = get_le16(b + 12);
    f.bitsPerSample = get_le16(b + 14);
    f.extraSize = size >= 18 ? get_le16(b + 16) : 0;
    f.samplesPerBlock = size >= 20 ? get_le16(b + 18) : 0;
    f.coefficients.clear();
    if (f.formatTag == 2 && size >= 22) {
        const std::size_t count = get_le16(b + 20);
        for (std::size_t i = 0; i < count && 22 + 4 * i + 4 <= size; ++i)
            f.coefficients.push_back({static_cast<std::int16_t>(get_le16(b + 22 + 4 * i)),
                                      static_cast<std::int16_t>(get_le16(b + 24 + 4 * i))});
    }
    return f;
}

bool adpcm_format_is_sound(const AdpcmFormat& f)
{
    if (f.channels < 1 || f.channels > 2 || f.bitsPerSample != 4 || f.coefficients.empty())
        return false;
    if (f.blockAlign <= 7 * f.channels)
        return false;
    // Every byte after the headers holds two codes.
    const std::size_t codes = static_cast<std::size_t>(f.blockAlign - 7 * f.channels) * 2;
    const std::size_t room = 2 + codes / f.channels;
    return f.samplesPerBlock >= 2 && f.samplesPerBlock <= room;
}

std::size_t decode_adpcm_block(const AdpcmFormat& source, const unsigned char* bytes, const AdpcmFormat& destination,
                               unsigned char* out, std::size_t count, std::size_t capacity)
{
    if (!adpcm_format_is_sound(source) || (destination.bitsPerSample != 8 && destination.bitsPerSample != 16))
        return 0;
    const int c = source.channels;
    const std::size_t align = source.blockAlign;
    const int bits = destination.bitsPerSample;
    const std::size_t blockOutput =
        static_cast<std::size_t>(source.samplesPerBlock) * static_cast<std::size_t>(c) * static_cast<std::size_t>(bits / 8);
    unsigned char* write = out;
    const SampleFormat format = pcm_format(bits).value_or(SampleFormat::S16);
    auto emit = [&](int v) {
        // 16-bit values, shifted down (toward minus infinity) for 8 bits.
        put_sample_value(format, write, v >> (16 - bits));
        write += sample_bytes(format);
    };
    for (std::size_t block = 0; block + align <= count; block += align) {
        if (static_cast<std::size_t>(write - out) + blockOutput > capacity)
            break;
        const unsigned char* p = bytes + block;
        ChannelState state[2];
        for (int ch = 0; ch < c; ++ch) {
            const unsigned predictor = p[ch];
            if (predictor >= source.coefficients.size()) {
                message_box(nullptr, "Predictor out of range", "CONVERT", MB_OK | MB_ICONEXCLAMATION);
                return 0;
            }
            state[ch].coef1 = source.coefficients[predictor][0];
            state[ch].coef2 = source.coefficients[predictor][1];
            // A hostile step size is brought into the range the adaptation keeps.
            state[ch].delta = std::clamp<int>(static_cast<std::int16_t>(get_le16(p + c + 2 * ch)), kMinDelta, kAdpcmMaxDelta);
            state[ch].sample1 = static_cast<std::int16_t>(get_le16(p + 3 * c + 2 * ch));
            state[ch].sample2 = static_cast<std::int16_t>(get_le16(p + 5 * c + 2 * ch));
        }
        // The two header samples come first, the older one first.
        for (int ch = 0; ch < c; ++ch)
            emit(state[ch].sample2);
        for (int ch = 0; ch < c; ++ch)
            emit(state[ch].sample1);
        // Then the codes: high nibble first; in stereo left, then right;
        // as many as the block's samples per block call for.
        std::size_t left = (static_cast<std::size_t>(source.samplesPerBlock) - 2) * static_cast<std::size_t>(c);
        int ch = 0;
        for (const unsigned char* q = p + 7 * c; q < p + align && left > 0; ++q) {
            for (int nibble : {*q >> 4, *q & 0x0F}) {
                if (left == 0)
                    break;
                emit(decodeNibble(state[ch], nibble));
                ch = (ch + 1) % c;
                --left;
            }
        }
    }
    return static_cast<std::size_t>(write - out);
}

std::size_t encode_adpcm_block(const AdpcmFormat& source, const unsigned char* bytes, const AdpcmFormat& destination,
                               unsigned char* out, std::size_t count, std::size_t capacity)
{
    if (!adpcm_format_is_sound(destination) || (source.bitsPerSample != 8 && source.bitsPerSample != 16) ||
        source.channels != destination.channels || destination.coefficients.size() < 7)
        return 0;
    const int c = destination.channels;
    const int bits = source.bitsPerSample;
    const std::size_t bytesPerFrame = static_cast<std::size_t>(c) * (bits / 8);
    const std::size_t totalFrames = bytesPerFrame ? count / bytesPerFrame : 0;
    const std::size_t perBlock = destination.samplesPerBlock;
    const auto& coefficients = adpcm_standard_coefficients();
    unsigned char* write = out;

    std::vector<int> samples(perBlock * static_cast<std::size_t>(c));
    for (std::size_t first = 0; first < totalFrames; first += perBlock) {
        if (static_cast<std::size_t>(write - out) + destination.blockAlign > capacity)
            break;
        // The block's samples as 16-bit values; past the end, silence.
        for (std::size_t i = 0; i < perBlock; ++i)
            for (int ch = 0; ch < c; ++ch)
                samples[i * c + ch] = first + i < totalFrames
                                          ? pcmSample(bytes, bits, (first + i) * c + static_cast<std::size_t>(ch))
                                          : 0;
        // Each channel's predictor and starting step: every coefficient pair,
        // each with steps around the one its first samples suggest, encodes
        // the whole block, and the one that ends nearest the samples (the
        // least squared error) is kept.
        ChannelState state[2];
        int chosen[2] = {0, 0};
        for (int ch = 0; ch < c; ++ch) {
            int head[kLookahead];
            for (int i = 0; i < kLookahead; ++i)
                head[i] = samples[std::min<std::size_t>(i, perBlock - 1) * c + ch];
            double best = std::numeric_limits<double>::max();
            for (int k = 0; k < 7; ++k) {
                const int suggested = firstDelta(coefficients[k][0], coefficients[k][1], head);
                for (const int numerator : {2, 3, 4, 6, 8}) {  // a half to twice the suggestion
                    const ChannelState start{coefficients[k][0], coefficients[k][1],
                                             std::clamp(suggested * numerator / 4, kMinDelta, kAdpcmMaxDelta), head[1],
                                             head[0]};
                    ChannelState trial = start;
                    double error = 0;
                    for (std::size_t i = 2; i < perBlock && error < best; ++i) {
                        const int want = samples[i * c + ch];
                        encodeSample(trial, want);
                        const double e = trial.sample1 - want;
                        error += e * e;
                    }
                    if (error < best) {
                        best = error;
                        chosen[ch] = k;
                        state[ch] = start;
                    }
                }
            }
        }
        unsigned char* block = write;
        for (int ch = 0; ch < c; ++ch) {
            block[ch] = static_cast<unsigned char>(chosen[ch]);
            put_le16(block + c + 2 * ch, static_cast<std::uint16_t>(state[ch].delta));
            put_le16(block + 3 * c + 2 * ch, static_cast<std::uint16_t>(static_cast<std::int16_t>(state[ch].sample1)));
            put_le16(block + 5 * c + 2 * ch, static_cast<std::uint16_t>(static_cast<std::int16_t>(state[ch].sample2)));
        }
        unsigned char* q = block + 7 * c;
        bool high = true;
        for (std::size_t i = 2; i < perBlock; ++i) {
            for (int ch = 0; ch < c; ++ch) {
                const int nibble = encodeSample(state[ch], samples[i * c + ch]);
                if (high)
                    *q = static_cast<unsigned char>(nibble << 4);
                else
                    *q++ |= static_cast<unsigned char>(nibble);
                high = !high;
            }
        }
        write += destination.blockAlign;
    }
    return static_cast<std::size_t>(write - out);
}
