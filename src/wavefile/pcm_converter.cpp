#include "wavefile/pcm_converter.h"

#include "wavefile/byte_order.h"

#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <vector>

PcmConversionParameters conversion_parameters;

namespace {

soxr_t g_resampler = nullptr;
std::vector<float> g_in;
std::vector<float> g_out;

float readSample(const unsigned char* p, std::uint32_t bytes)
{
    if (bytes == 1)
        return (static_cast<int>(*p) - 128) / 128.0f;
    return static_cast<std::int16_t>(get_le16(p)) / 32768.0f;
}

void writeSample(unsigned char* p, std::uint32_t bytes, float v)
{
    if (bytes == 1) {
        const long s = std::lrint(v * 128.0f) + 128;
        *p = static_cast<unsigned char>(std::clamp<long>(s, 0, 255));
    } else {
        const long s = std::clamp<long>(std::lrint(v * 32768.0f), -32768, 32767);
        put_le16(p, static_cast<std::uint16_t>(static_cast<std::int16_t>(s)));
    }
}

std::size_t encode(const float* samples, std::size_t frames, unsigned char* out, std::size_t capacity)
{
    const PcmConversionParameters& c = conversion_parameters;
    const std::size_t frameBytes = static_cast<std::size_t>(c.destinationBytes) * c.destinationChannels;
    frames = std::min(frames, capacity / frameBytes);
    for (std::size_t i = 0; i < frames * c.destinationChannels; ++i)
        writeSample(out + i * c.destinationBytes, c.destinationBytes, samples[i]);
    return frames * frameBytes;
}

}  // namespace

std::size_t converted_buffer_size(std::size_t blockBytes)
{
    const PcmConversionParameters& c = conversion_parameters;
    const double ratio = static_cast<double>(c.destinationRate) * c.destinationBytes * c.destinationChannels /
                         (static_cast<double>(c.sourceRate) * c.sourceBytes * c.sourceChannels);
    return 4 * static_cast<std::size_t>(blockBytes * ratio);
}

bool begin_pcm_conversion()
{
    end_pcm_conversion();
    const PcmConversionParameters& c = conversion_parameters;
    if (c.sourceRate == c.destinationRate)
        return true;
    soxr_error_t error = nullptr;
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    g_resampler = soxr_create(c.sourceRate, c.destinationRate, c.destinationChannels, &error, &io, &quality, nullptr);
    return g_resampler && !error;
}

std::size_t convert_pcm_block(const unsigned char* in, std::size_t count, unsigned char* out, std::size_t capacity)
{
    const PcmConversionParameters& c = conversion_parameters;
    const std::size_t inFrameBytes = static_cast<std::size_t>(c.sourceBytes) * c.sourceChannels;
    const std::size_t frames = inFrameBytes ? count / inFrameBytes : 0;
    // Channels first, at the source rate.
    g_in.resize(frames * c.destinationChannels);
    for (std::size_t f = 0; f < frames; ++f) {
        const unsigned char* frame = in + f * inFrameBytes;
        const float left = readSample(frame, c.sourceBytes);
        const float right = c.sourceChannels > 1 ? readSample(frame + c.sourceBytes, c.sourceBytes) : left;
        if (c.destinationChannels == 1) {
            g_in[f] = c.sourceChannels > 1 ? (left + right) * 0.5f : left;
        } else {
            g_in[2 * f] = left;
            g_in[2 * f + 1] = right;
        }
    }
    if (!g_resampler)
        return encode(g_in.data(), frames, out, capacity);
    const std::size_t room = capacity / (static_cast<std::size_t>(c.destinationBytes) * c.destinationChannels);
    g_out.resize(room * c.destinationChannels);
    std::size_t used = 0, produced = 0;
    soxr_process(g_resampler, g_in.data(), frames, &used, g_out.data(), room, &produced);
    return encode(g_out.data(), produced, out, capacity);
}

std::size_t finish_pcm_conversion(unsigned char* out, std::size_t capacity)
{
    if (!g_resampler)
        return 0;
    const PcmConversionParameters& c = conversion_parameters;
    const std::size_t room = capacity / (static_cast<std::size_t>(c.destinationBytes) * c.destinationChannels);
    g_out.resize(room * c.destinationChannels);
    std::size_t produced = 0;
    soxr_process(g_resampler, nullptr, 0, nullptr, g_out.data(), room, &produced);
    return encode(g_out.data(), produced, out, capacity);
}

void end_pcm_conversion()
{
    if (g_resampler)
        soxr_delete(g_resampler);
    g_resampler = nullptr;
}
