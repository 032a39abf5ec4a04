#include "wavefile/compressed_export.h"

#include "app/app_paths.h"
#include "app/atomic_file.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "app/unique_fd.h"
#include "wavefile/audio_tags.h"
#include "wavefile/dither.h"
#include "wavefile/ffmpeg_handles.h"
#include "wavefile/riff_info.h"
#include "wavefile/sample_format.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace {

enum class Codec { Flac, Vorbis, Opus };

// The WAVE file the document was written to for the encoder: its format,
// where its samples are, and its tags.
struct Source {
    SampleFormat format = SampleFormat::S16;
    int channels = 0;
    std::uint32_t rate = 0;
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
    AudioTags tags;
};

// Reads the header without disturbing the format the save was asked in,
// which the program's state holds for the rest of the save.
bool readSource(const std::string& path, Source& s)
{
    const WaveState kept = wave_state();
    const bool read = ReadInputWaveformHeader(path, 0) != 0;
    if (read) {
        s.format = stream_sample_format(current_wave_format.wBitsPerSample);
        s.channels = current_wave_format.nChannels;
        s.rate = current_wave_format.nSamplesPerSec;
        s.offset = data_chunk_offset;
        s.bytes = data_chunk_size;
    }
    wave_state() = kept;
    const std::shared_ptr<InfoList> info = read_info_list(path);
    s.tags = tags_from_info_list(info.get());
    return read && (s.channels == 1 || s.channels == 2);
}

struct Target {
    const char* muxer;
    const char* encoder;
};
Target targetOf(Codec c)
{
    switch (c) {
    case Codec::Flac: return {"flac", "flac"};
    case Codec::Vorbis: return {"ogg", "libvorbis"};
    case Codec::Opus: return {"opus", "libopus"};
    }
    return {"flac", "flac"};
}

// The rates Opus encodes; any other goes to 48 kHz.
bool opusRate(std::uint32_t rate)
{
    return rate == 48000 || rate == 24000 || rate == 16000 || rate == 12000 || rate == 8000;
}

void setTags(AVDictionary** dict, const AudioTags& t)
{
    const std::pair<const char*, const std::string*> keys[] = {{"title", &t.title},     {"artist", &t.artist},
                                                               {"album", &t.album},     {"comment", &t.comment},
                                                               {"date", &t.date},       {"track", &t.track}};
    for (const auto& [key, value] : keys)
        if (!value->empty())
            av_dict_set(dict, key, value->c_str(), 0);
}

class Encoder {
public:
    // Sets everything up; false with `error` set when FFmpeg refuses.
    bool open(Codec codec, const Source& s, const SaveOptions& o, const std::string& path, std::string& error)
    {
        const Target t = targetOf(codec);
        m_codec = codec;
        m_channels = s.channels;
        const AVCodec* encoder = avcodec_find_encoder_by_name(t.encoder);
        if (!encoder) {
            error = std::string("this FFmpeg has no ") + t.encoder + " encoder";
            return false;
        }
        m_output = ffmpeg::create_output(t.muxer, path);
        if (!m_output) {
            error = std::string("this FFmpeg cannot write ") + t.muxer + " files";
            return false;
        }
        m_context.reset(avcodec_alloc_context3(encoder));
        if (!m_context)
            return false;
        AVCodecContext& c = *m_context;
        av_channel_layout_default(&c.ch_layout, s.channels);
        c.sample_rate = static_cast<int>(codec == Codec::Opus && !opusRate(s.rate) ? 48000 : s.rate);
        c.time_base = AVRational{1, c.sample_rate};
        switch (codec) {
        case Codec::Flac:
            // 16-bit FLAC for 8- and 16-bit documents, 24-bit for the others.
            m_wide = sample_bytes(s.format) > 2;
            c.sample_fmt = m_wide ? AV_SAMPLE_FMT_S32 : AV_SAMPLE_FMT_S16;
            c.bits_per_raw_sample = m_wide ? 24 : 16;
            c.compression_level = std::clamp(o.flacCompression, 0, 8);
            break;
        case Codec::Vorbis:
            c.sample_fmt = AV_SAMPLE_FMT_FLTP;
            c.flags |= AV_CODEC_FLAG_QSCALE;
            c.global_quality = std::clamp(o.vorbisQuality, -1, 10) * FF_QP2LAMBDA;
            break;
        case Codec::Opus:
            c.sample_fmt = AV_SAMPLE_FMT_FLT;
            c.bit_rate = static_cast<std::int64_t>(std::clamp(o.opusBitrate, 6, 510)) * 1000;
            break;
        }
        if (m_output->oformat->flags & AVFMT_GLOBALHEADER)
            c.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        if (avcodec_open2(&c, encoder, nullptr) < 0) {
            error = std::string("the ") + t.encoder + " encoder refuses this format";
            return false;
        }
        m_stream = avformat_new_stream(m_output.get(), nullptr);
        if (!m_stream || avcodec_parameters_from_context(m_stream->codecpar, &c) < 0)
            return false;
        m_stream->time_base = c.time_base;
        setTags(&m_output->metadata, s.tags);
        setTags(&m_stream->metadata, s.tags);
        // From the document's interleaved float to what the encoder takes,
        // at its rate.
        AVChannelLayout in{};
        av_channel_layout_default(&in, s.channels);
        m_resampler = ffmpeg::make_resampler(&c.ch_layout, c.sample_fmt, c.sample_rate, &in, AV_SAMPLE_FMT_FLT,
                                             static_cast<int>(s.rate));
        if (!m_resampler)
            return false;
        // FLAC's samples skip the resampler: this program rounds them
        // (dithered from float), so that integers pass unchanged.
        m_fifo.reset(av_audio_fifo_alloc(c.sample_fmt, s.channels, 1));
        m_frame = ffmpeg::make_frame();
        m_packet = ffmpeg::make_packet();
        if (!m_fifo || !m_frame || !m_packet)
            return false;
        if (avio_open(&m_output->pb, path.c_str(), AVIO_FLAG_WRITE) < 0) {
            error = std::strerror(errno ? errno : EACCES);
            return false;
        }
        if (avformat_write_header(m_output.get(), nullptr) < 0) {
            error = "the file's header cannot be written";
            return false;
        }
        m_frameSize = c.frame_size > 0 ? c.frame_size : 4096;
        return true;
    }

    // Takes interleaved float frames of the document; null with no frames
    // at the end, to empty the resampler.
    bool push(const float* samples, int frames)
    {
        const AVCodecContext& c = *m_context;
        if (m_codec == Codec::Flac) {
            // Integers straight into the FIFO: 16-bit words, or 24-bit
            // values in the top of 32-bit words.
            const std::size_t n = static_cast<std::size_t>(frames) * static_cast<std::size_t>(m_channels);
            if (m_wide) {
                m_words32.resize(n);
                for (std::size_t i = 0; i < n; ++i)
                    m_words32[i] = static_cast<std::int32_t>(
                                       std::clamp(std::lrint(samples[i] * 8388608.0f), -8388608L, 8388607L))
                                   * 256;
                void* planes[] = {m_words32.data()};
                return av_audio_fifo_write(m_fifo.get(), planes, frames) == frames && drain(false);
            }
            m_words16.resize(n);
            for (std::size_t i = 0; i < n; ++i)
                m_words16[i] =
                    static_cast<std::int16_t>(std::clamp(std::lrint(samples[i] * 32768.0f), -32768L, 32767L));
            void* planes[] = {m_words16.data()};
            return av_audio_fifo_write(m_fifo.get(), planes, frames) == frames && drain(false);
        }
        const int room = swr_get_out_samples(m_resampler.get(), frames);
        if (room < 0)
            return false;
        uint8_t** out = nullptr;
        if (av_samples_alloc_array_and_samples(&out, nullptr, m_channels, std::max(room, 1), c.sample_fmt, 0) < 0)
            return false;
        const auto* in = reinterpret_cast<const uint8_t*>(samples);
        const int made = swr_convert(m_resampler.get(), out, room, samples ? &in : nullptr, frames);
        const bool ok = made >= 0 && av_audio_fifo_write(m_fifo.get(), reinterpret_cast<void**>(out), made) == made;
        av_freep(&out[0]);
        av_freep(&out);
        return ok && drain(false);
    }

    bool finish()
    {
        if (m_codec != Codec::Flac && !push(nullptr, 0))
            return false;
        if (!drain(true) || !send(nullptr))
            return false;
        return av_write_trailer(m_output.get()) == 0 && avio_closep(&m_output->pb) == 0;
    }

private:
    // Sends whole frames from the FIFO (and the rest at the end).
    bool drain(bool last)
    {
        while (av_audio_fifo_size(m_fifo.get()) >= m_frameSize || (last && av_audio_fifo_size(m_fifo.get()) > 0)) {
            const int n = std::min(m_frameSize, av_audio_fifo_size(m_fifo.get()));
            av_frame_unref(m_frame.get());
            m_frame->nb_samples = n;
            m_frame->format = m_context->sample_fmt;
            m_frame->sample_rate = m_context->sample_rate;
            if (av_channel_layout_copy(&m_frame->ch_layout, &m_context->ch_layout) < 0 ||
                av_frame_get_buffer(m_frame.get(), 0) < 0 ||
                av_audio_fifo_read(m_fifo.get(), reinterpret_cast<void**>(m_frame->data), n) != n)
                return false;
            m_frame->pts = m_pts;
            m_pts += n;
            if (!send(m_frame.get()))
                return false;
        }
        return true;
    }

    bool send(AVFrame* frame)
    {
        if (avcodec_send_frame(m_context.get(), frame) < 0)
            return false;
        for (;;) {
            const int r = avcodec_receive_packet(m_context.get(), m_packet.get());
            if (r == AVERROR(EAGAIN) || r == AVERROR_EOF)
                return true;
            if (r < 0)
                return false;
            av_packet_rescale_ts(m_packet.get(), m_context->time_base, m_stream->time_base);
            m_packet->stream_index = m_stream->index;
            if (av_interleaved_write_frame(m_output.get(), m_packet.get()) < 0)
                return false;
        }
    }

    Codec m_codec = Codec::Flac;
    int m_channels = 0;
    bool m_wide = false;
    int m_frameSize = 4096;
    std::int64_t m_pts = 0;
    ffmpeg::OutputContext m_output;
    ffmpeg::CodecContext m_context;
    AVStream* m_stream = nullptr;
    ffmpeg::Resampler m_resampler;
    ffmpeg::AudioFifo m_fifo;
    ffmpeg::Frame m_frame;
    ffmpeg::Packet m_packet;
    std::vector<std::int16_t> m_words16;
    std::vector<std::int32_t> m_words32;
};

int saveCompressed(const SaveRequest& r, Codec codec)
{
    const std::string& name = r.target;
    AtomicFile staged;
    if (!staged.begin(name)) {
        ErrMsg("Cannot write %s: %s", name.c_str(), std::strerror(errno));
        return 0;
    }
    // The document as a WAVE file first, converted as the dialog asks.
    const std::string wave = staged.temporaryPath() + ".wav";
    struct Remove {
        std::string path;
        ~Remove() { ::unlink(path.c_str()); }
    } removeWave{wave};
    if (!r.writeWave(wave))
        return 0;
    Source s;
    if (!readSource(wave, s)) {
        ErrMsg("Cannot write %s: the document could not be prepared for the encoder.", name.c_str());
        return 0;
    }
    std::string error;
    Encoder encoder;
    if (!encoder.open(codec, s, r.options, staged.temporaryPath(), error)) {
        ErrMsg("Cannot write %s: %s.", name.c_str(), error.empty() ? "FFmpeg cannot encode it" : error.c_str());
        return 0;
    }
    const UniqueFd in(::open(wave.c_str(), O_RDONLY | O_CLOEXEC));
    if (!in.valid())
        return 0;
    const std::size_t frameBytes = static_cast<std::size_t>(s.channels * sample_bytes(s.format));
    constexpr std::size_t kFrames = 16384;
    std::vector<unsigned char> raw(kFrames * frameBytes);
    std::vector<float> samples(kFrames * static_cast<std::size_t>(s.channels));
    // Float documents are dithered to FLAC's 24 bits.
    TpdfDither dither;
    const bool dithered = codec == Codec::Flac && s.format == SampleFormat::F32;
    const ProgressScope progress("Saving file ...", true);
    std::uint64_t done = 0;
    while (done < s.bytes) {
        const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(raw.size(), s.bytes - done));
        const long long got = read_fully(in.get(), raw.data(), static_cast<long long>(want),
                                         static_cast<long long>(s.offset + done));
        if (got <= 0)
            break;
        done += static_cast<std::uint64_t>(got);
        const std::size_t frames = static_cast<std::size_t>(got) / frameBytes;
        samples_to_float(s.format, raw.data(), samples.data(), frames * static_cast<std::size_t>(s.channels));
        if (dithered)
            dither.apply(SampleFormat::S24, samples.data(), frames * static_cast<std::size_t>(s.channels));
        if (!encoder.push(samples.data(), static_cast<int>(frames))) {
            ErrMsg("Cannot write %s: the encoder failed.", name.c_str());
            return 0;
        }
        progress.show(static_cast<int>(done * 100 / std::max<std::uint64_t>(1, s.bytes)));
        if (progress.cancelled())
            return 0;
    }
    if (!encoder.finish()) {
        ErrMsg("Cannot write %s: %s", name.c_str(), std::strerror(errno ? errno : ENOSPC));
        return 0;
    }
    if (!staged.commit()) {
        ErrMsg("Cannot write %s: %s", name.c_str(), std::strerror(errno));
        return 0;
    }
    return 1;
}

}  // namespace

int save_flac_export(const SaveRequest& r) { return saveCompressed(r, Codec::Flac); }
int save_vorbis_export(const SaveRequest& r) { return saveCompressed(r, Codec::Vorbis); }
int save_opus_export(const SaveRequest& r) { return saveCompressed(r, Codec::Opus); }
