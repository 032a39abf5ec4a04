#include "wavefile/audio_decoder.h"

#include "wavefile/ffmpeg_handles.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

// The document width that holds the decoder's output without loss.
SampleFormat formatOf(const AVCodecContext& c)
{
    switch (av_get_packed_sample_fmt(c.sample_fmt)) {
    case AV_SAMPLE_FMT_U8: return SampleFormat::U8;
    case AV_SAMPLE_FMT_S16: return SampleFormat::S16;
    case AV_SAMPLE_FMT_S32:
        return c.bits_per_raw_sample > 0 && c.bits_per_raw_sample <= 24 ? SampleFormat::S24 : SampleFormat::F32;
    default: return SampleFormat::F32;
    }
}

class FfmpegDecoder : public AudioDecoder {
public:
    long read(float* out, long count) override
    {
        long got = 0;
        while (got < count) {
            if (m_pendingAt < m_pending.size()) {
                const std::size_t c = static_cast<std::size_t>(channels);
                const std::size_t take =
                    std::min<std::size_t>((m_pending.size() - m_pendingAt) / c, static_cast<std::size_t>(count - got));
                std::memcpy(out + static_cast<std::size_t>(got) * c, m_pending.data() + m_pendingAt,
                            take * c * sizeof(float));
                m_pendingAt += take * c;
                got += static_cast<long>(take);
                continue;
            }
            const int decoded = decodeMore();
            if (decoded < 0)
                return got > 0 ? got : -1;
            if (decoded == 0)
                break;
        }
        return got;
    }

    ffmpeg::InputContext input;
    ffmpeg::CodecContext codec;
    ffmpeg::Resampler converter;
    int stream = -1;

private:
    // Decodes the next frame into m_pending; 1 when there is more, 0 at the
    // end, -1 on an error.
    int decodeMore()
    {
        if (!m_packet)
            m_packet.reset(av_packet_alloc());
        if (!m_frame)
            m_frame.reset(av_frame_alloc());
        if (!m_packet || !m_frame)
            return -1;
        for (;;) {
            const int r = avcodec_receive_frame(codec.get(), m_frame.get());
            if (r == 0)
                return convert();
            if (r == AVERROR_EOF)
                return 0;
            if (r != AVERROR(EAGAIN))
                return -1;
            if (m_flushed)
                return 0;
            const int read = av_read_frame(input.get(), m_packet.get());
            if (read < 0) {
                m_flushed = true;
                if (avcodec_send_packet(codec.get(), nullptr) < 0)
                    return 0;
                continue;
            }
            if (m_packet->stream_index == stream) {
                // A damaged packet is skipped, as players do.
                static_cast<void>(avcodec_send_packet(codec.get(), m_packet.get()));
            }
            av_packet_unref(m_packet.get());
        }
    }

    int convert()
    {
        const int n = m_frame->nb_samples;
        m_pending.resize(static_cast<std::size_t>(n) * static_cast<std::size_t>(channels));
        auto* dst = reinterpret_cast<uint8_t*>(m_pending.data());
        const int made = swr_convert(converter.get(), &dst, n, const_cast<const uint8_t**>(m_frame->extended_data), n);
        av_frame_unref(m_frame.get());
        if (made < 0)
            return -1;
        m_pending.resize(static_cast<std::size_t>(made) * static_cast<std::size_t>(channels));
        m_pendingAt = 0;
        return 1;
    }

    ffmpeg::Packet m_packet;
    ffmpeg::Frame m_frame;
    std::vector<float> m_pending;
    std::size_t m_pendingAt = 0;
    bool m_flushed = false;
};

}  // namespace

std::unique_ptr<AudioDecoder> open_ffmpeg_decoder(const std::string& path)
{
    auto d = std::make_unique<FfmpegDecoder>();
    d->input = ffmpeg::open_input(path);
    if (!d->input)
        return nullptr;
    d->stream = av_find_best_stream(d->input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (d->stream < 0)
        return nullptr;
    AVStream* s = d->input->streams[d->stream];
    d->codec = ffmpeg::open_decoder(s);
    if (!d->codec)
        return nullptr;
    AVCodecContext& c = *d->codec;
    if (c.ch_layout.nb_channels <= 0 || c.sample_rate <= 0)
        return nullptr;
    d->channels = c.ch_layout.nb_channels;
    d->rate = static_cast<std::uint32_t>(c.sample_rate);
    d->format = formatOf(c);
    d->channelMask = c.ch_layout.order == AV_CHANNEL_ORDER_NATIVE ? static_cast<std::uint32_t>(c.ch_layout.u.mask) : 0;
    if (s->duration > 0 && s->time_base.den > 0)
        d->frames = static_cast<std::uint64_t>(av_rescale_q(s->duration, s->time_base, AVRational{1, c.sample_rate}));
    d->library = "FFmpeg";
    // Every sample format to interleaved float, same channels and rate: no
    // mixing and no resampling, only the scaling (exact for integers of up
    // to 24 bits).
    d->converter = ffmpeg::make_resampler(&c.ch_layout, AV_SAMPLE_FMT_FLT, c.sample_rate, &c.ch_layout, c.sample_fmt,
                                          c.sample_rate);
    if (!d->converter)
        return nullptr;
    // Tags of the container, then of the stream (Ogg keeps them there).
    for (AVDictionary* dict : {d->input->metadata, s->metadata}) {
        const AVDictionaryEntry* e = nullptr;
        while ((e = av_dict_get(dict, "", e, AV_DICT_IGNORE_SUFFIX)))
            set_tag_by_key(d->tags, e->key, e->value);
    }
    return d;
}
