#include "wavefile/pcm_converter.h"

#include "wavefile/dither.h"
#include "wavefile/resampler.h"
#include "wavefile/sample_format.h"

#include <algorithm>
#include <vector>


namespace {

Resampler g_resampler;
TpdfDither g_dither;
std::vector<float> g_in;
std::vector<float> g_out;

std::size_t encode(float* samples, std::size_t frames, unsigned char* out, std::size_t capacity)
{
    const PcmConversionParameters& c = conversion_parameters;
    const std::size_t frameBytes = static_cast<std::size_t>(c.destinationBytes) * c.destinationChannels;
    frames = std::min(frames, capacity / frameBytes);
    const SampleFormat target = stream_sample_format(static_cast<int>(8 * c.destinationBytes));
    if (c.dither && reduces_resolution(stream_sample_format(static_cast<int>(8 * c.sourceBytes)), target))
        g_dither.apply(target, samples, frames * c.destinationChannels);
    float_to_samples(target, samples, out, frames * c.destinationChannels);
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
    g_dither = TpdfDither{};
    const PcmConversionParameters& c = conversion_parameters;
    if (c.sourceRate == c.destinationRate)
        return true;
    return g_resampler.open(c.sourceRate, c.destinationRate, static_cast<int>(c.destinationChannels));
}

std::size_t convert_pcm_block(const unsigned char* in, std::size_t count, unsigned char* out, std::size_t capacity)
{
    const PcmConversionParameters& c = conversion_parameters;
    const std::size_t inFrameBytes = static_cast<std::size_t>(c.sourceBytes) * c.sourceChannels;
    const std::size_t frames = inFrameBytes ? count / inFrameBytes : 0;
    const SampleFormat source = stream_sample_format(static_cast<int>(8 * c.sourceBytes));
    // Channels first, at the source rate.
    g_in.resize(frames * c.destinationChannels);
    for (std::size_t f = 0; f < frames; ++f) {
        const unsigned char* frame = in + f * inFrameBytes;
        const float left = sample_to_float(source, frame);
        const float right = c.sourceChannels > 1 ? sample_to_float(source, frame + c.sourceBytes) : left;
        if (c.destinationChannels == 1) {
            g_in[f] = c.sourceChannels > 1 ? (left + right) * 0.5f : left;
        } else {
            g_in[2 * f] = left;
            g_in[2 * f + 1] = right;
        }
    }
    if (!g_resampler.isOpen())
        return encode(g_in.data(), frames, out, capacity);
    const std::size_t room = capacity / (static_cast<std::size_t>(c.destinationBytes) * c.destinationChannels);
    g_out.resize(room * c.destinationChannels);
    const std::size_t produced = g_resampler.process(g_in.data(), frames, nullptr, g_out.data(), room);
    return encode(g_out.data(), produced, out, capacity);
}

std::size_t finish_pcm_conversion(unsigned char* out, std::size_t capacity)
{
    if (!g_resampler.isOpen())
        return 0;
    const PcmConversionParameters& c = conversion_parameters;
    const std::size_t room = capacity / (static_cast<std::size_t>(c.destinationBytes) * c.destinationChannels);
    g_out.resize(room * c.destinationChannels);
    const std::size_t produced = g_resampler.flush(g_out.data(), room);
    return encode(g_out.data(), produced, out, capacity);
}

void end_pcm_conversion() { g_resampler.close(); }
