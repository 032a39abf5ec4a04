#include "wavefile/avi_file.h"

#include "app/file_names.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/unique_fd.h"
#include "wavefile/riff_file.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"
#include "wavefile/sample_format.h"

#include "wavefile/ffmpeg_handles.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
}

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <unistd.h>
#include <vector>


namespace {

// FFmpeg's PCM codec for a sample format.
AVCodecID pcm_codec(SampleFormat format)
{
    switch (format) {
    case SampleFormat::U8: return AV_CODEC_ID_PCM_U8;
    case SampleFormat::S16: return AV_CODEC_ID_PCM_S16LE;
    case SampleFormat::S24: return AV_CODEC_ID_PCM_S24LE;
    case SampleFormat::F32: return AV_CODEC_ID_PCM_F32LE;
    }
    return AV_CODEC_ID_PCM_S16LE;
}

}  // namespace

int make_wave_file_from_AVI_file(const std::string& aviName, const std::string& waveName)
{
    const ffmpeg::InputContext in = ffmpeg::open_input(aviName);
    if (!in) {
        ErrMsg("Cannot read the AVI file %s.", aviName.c_str());
        return 0;
    }
    const int index = av_find_best_stream(in.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (index < 0) {
        ErrMsg("AVIFileGetStream failed for audio");
        return 0;
    }
    const ffmpeg::CodecContext dec = ffmpeg::open_decoder(in->streams[index]);
    if (!dec) {
        ErrMsg("Cannot decode the sound track of %s.", aviName.c_str());
        return 0;
    }
    const int channels = std::min(2, std::max(1, dec->ch_layout.nb_channels));
    const bool narrow = dec->sample_fmt == AV_SAMPLE_FMT_U8 || dec->sample_fmt == AV_SAMPLE_FMT_U8P;
    const AVSampleFormat outFormat = narrow ? AV_SAMPLE_FMT_U8 : AV_SAMPLE_FMT_S16;
    const int rate = dec->sample_rate;
    AVChannelLayout outLayout;
    av_channel_layout_default(&outLayout, channels);
    const ffmpeg::Resampler swr =
        ffmpeg::make_resampler(&outLayout, outFormat, rate, &dec->ch_layout, dec->sample_fmt, rate);
    if (!swr) {
        ErrMsg("Cannot decode the sound track of %s.", aviName.c_str());
        return 0;
    }

    RiffFile out;
    if (!out.open(waveName, RiffFile::Mode::Create)) {
        NewErrMsg(5031);
        return 0;
    }
    const int bytesPerFrame = channels * (narrow ? 1 : 2);
    if (!create_plain_waveform_header(out, channels, static_cast<std::uint32_t>(rate), narrow ? 8 : 16))
        return 0;
    std::vector<std::uint8_t> buffer;
    bool ok = true;
    const auto drain = [&](AVFrame* frame) {
        const int room = swr_get_out_samples(swr.get(), frame ? frame->nb_samples : 0);
        if (room <= 0)
            return;
        buffer.resize(static_cast<std::size_t>(room * bytesPerFrame));
        std::uint8_t* planes[1] = {buffer.data()};
        const int got = swr_convert(swr.get(), planes, room, frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr,
                                    frame ? frame->nb_samples : 0);
        if (got < 0) {
            ok = false;
            return;
        }
        const long long n = static_cast<long long>(got) * bytesPerFrame;
        if (out.write(buffer.data(), n) != n)
            ok = false;
    };
    const ffmpeg::Packet packet = ffmpeg::make_packet();
    const ffmpeg::Frame frame = ffmpeg::make_frame();
    const auto receive = [&] {
        while (ok && avcodec_receive_frame(dec.get(), frame.get()) == 0) {
            drain(frame.get());
            av_frame_unref(frame.get());
        }
    };
    while (ok && av_read_frame(in.get(), packet.get()) >= 0) {
        if (packet->stream_index == index && avcodec_send_packet(dec.get(), packet.get()) >= 0)
            receive();
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(dec.get(), nullptr);
    receive();
    drain(nullptr);
    if (!ok || ascend_and_update_waveform_file(out) != MMSYSERR_NOERROR || !out.close()) {
        NewErrMsg(5031);
        return 0;
    }
    return 1;
}

namespace {

// A still picture as the video of an AVI: Motion JPEG, one frame a second.
struct StillEncoder {
    ffmpeg::CodecContext codec;
    ffmpeg::Frame picture;
    bool open(const QImage& image, AVFormatContext* out, AVStream* stream)
    {
        const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
        if (!encoder)
            return false;
        codec.reset(avcodec_alloc_context3(encoder));
        AVCodecContext* ctx = codec.get();
        if (!ctx)
            return false;
        const int width = std::max(16, image.width() / 2 * 2);
        const int height = std::max(16, image.height() / 2 * 2);
        ctx->width = width;
        ctx->height = height;
        ctx->pix_fmt = AV_PIX_FMT_YUVJ420P;
        ctx->time_base = AVRational{1, 1};
        ctx->framerate = AVRational{1, 1};
        ctx->global_quality = FF_QP2LAMBDA * 3;
        ctx->flags |= AV_CODEC_FLAG_QSCALE;
        if (out->oformat->flags & AVFMT_GLOBALHEADER)
            ctx->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        if (avcodec_open2(ctx, encoder, nullptr) < 0 || avcodec_parameters_from_context(stream->codecpar, ctx) < 0)
            return false;
        stream->time_base = ctx->time_base;
        picture = ffmpeg::make_frame();
        AVFrame* frame = picture.get();
        frame->format = ctx->pix_fmt;
        frame->width = width;
        frame->height = height;
        if (av_frame_get_buffer(frame, 0) < 0)
            return false;
        const QImage rgb = image.convertToFormat(QImage::Format_RGB32).scaled(width, height);
        const ffmpeg::Scaler sws(sws_getContext(width, height, AV_PIX_FMT_BGRA, width, height, AV_PIX_FMT_YUVJ420P,
                                                SWS_BICUBIC, nullptr, nullptr, nullptr));
        if (!sws)
            return false;
        const std::uint8_t* src[1] = {rgb.constBits()};
        const int stride[1] = {static_cast<int>(rgb.bytesPerLine())};
        sws_scale(sws.get(), src, stride, 0, height, frame->data, frame->linesize);
        return true;
    }
};

}  // namespace

int save_AVI_file(const std::string& aviName, const std::string& waveName, const std::string& videoSource,
                  const QImage& still)
{
    if (!ReadInputWaveformHeader(waveName, 1))
        return 0;
    const WaveFormat wave = current_wave_format;
    const std::uint32_t dataBytes = data_chunk_size;
    const auto dataStart = static_cast<long long>(data_chunk_offset);
    const int frameBytes = wave.nChannels * wave.wBitsPerSample / 8;
    if (frameBytes <= 0)
        return 0;
    const double seconds = static_cast<double>(dataBytes) / frameBytes / wave.nSamplesPerSec;

    const ffmpeg::OutputContext output = ffmpeg::create_output("avi", aviName);
    if (!output) {
        ErrMsg("Cannot write the AVI file %s.", aviName.c_str());
        return 0;
    }
    AVFormatContext* out = output.get();

    // The video: copied from the AVI the document came from, or the still.
    const ffmpeg::InputContext source = videoSource.empty() ? nullptr : ffmpeg::open_input(videoSource);
    int sourceVideo = -1;
    if (source)
        sourceVideo = av_find_best_stream(source.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    AVStream* video = avformat_new_stream(out, nullptr);
    StillEncoder stillEncoder;
    if (sourceVideo >= 0) {
        avcodec_parameters_copy(video->codecpar, source->streams[sourceVideo]->codecpar);
        video->codecpar->codec_tag = 0;
        video->time_base = source->streams[sourceVideo]->time_base;
        video->avg_frame_rate = source->streams[sourceVideo]->avg_frame_rate;
    } else if (!stillEncoder.open(still.isNull() ? QImage(320, 240, QImage::Format_RGB32) : still, out, video)) {
        ErrMsg("Cannot write the AVI file %s.", aviName.c_str());
        return 0;
    }

    AVStream* audio = avformat_new_stream(out, nullptr);
    audio->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    audio->codecpar->codec_id = pcm_codec(sample_format_of(wave.wFormatTag, wave.wBitsPerSample).value_or(SampleFormat::S16));
    audio->codecpar->sample_rate = static_cast<int>(wave.nSamplesPerSec);
    av_channel_layout_default(&audio->codecpar->ch_layout, wave.nChannels);
    audio->codecpar->bits_per_coded_sample = wave.wBitsPerSample;
    audio->codecpar->block_align = frameBytes;
    audio->codecpar->bit_rate = static_cast<std::int64_t>(wave.nSamplesPerSec) * frameBytes * 8;
    audio->time_base = AVRational{1, static_cast<int>(wave.nSamplesPerSec)};

    if (avio_open(&out->pb, aviName.c_str(), AVIO_FLAG_WRITE) < 0 || avformat_write_header(out, nullptr) < 0) {
        ErrMsg("Cannot write the AVI file %s.", aviName.c_str());
        return 0;
    }
    const UniqueFd waveFile(::open(waveName.c_str(), O_RDONLY | O_CLOEXEC));
    const int in = waveFile.get();
    if (in < 0) {
        NewErrMsg(5009);
        return 0;
    }
    bool ok = true;
    const ffmpeg::Packet packet = ffmpeg::make_packet();
    // Audio and video alternate second by second, as the muxer interleaves.
    const std::uint32_t blockFrames = wave.nSamplesPerSec / 4;
    std::uint64_t framesDone = 0;
    const std::uint64_t totalFrames = dataBytes / static_cast<std::uint32_t>(frameBytes);
    std::int64_t stillIndex = 0;
    const ffmpeg::Packet sourcePacket = ffmpeg::make_packet();
    bool sourceDone = sourceVideo < 0;
    const auto writeVideoUpTo = [&](double until) {
        if (sourceVideo >= 0) {
            while (!sourceDone && ok) {
                if (av_read_frame(source.get(), sourcePacket.get()) < 0) {
                    sourceDone = true;
                    break;
                }
                if (sourcePacket->stream_index != sourceVideo) {
                    av_packet_unref(sourcePacket.get());
                    continue;
                }
                const AVRational tb = source->streams[sourceVideo]->time_base;
                const double at = sourcePacket->pts == AV_NOPTS_VALUE
                                      ? 0.0
                                      : static_cast<double>(sourcePacket->pts) * av_q2d(tb);
                if (at > seconds) {
                    sourceDone = true;
                    av_packet_unref(sourcePacket.get());
                    break;
                }
                av_packet_rescale_ts(sourcePacket.get(), tb, video->time_base);
                sourcePacket->stream_index = video->index;
                sourcePacket->pos = -1;
                ok = av_interleaved_write_frame(out, sourcePacket.get()) >= 0;
                if (at > until)
                    break;
            }
            return;
        }
        // One picture a second, the last one covering the sound's end.
        const auto pictures = std::max<std::int64_t>(1, static_cast<std::int64_t>(std::ceil(seconds)));
        while (ok && stillIndex <= static_cast<std::int64_t>(until) && stillIndex < pictures) {
            stillEncoder.picture->pts = stillIndex++;
            if (avcodec_send_frame(stillEncoder.codec.get(), stillEncoder.picture.get()) < 0) {
                ok = false;
                break;
            }
            while (avcodec_receive_packet(stillEncoder.codec.get(), packet.get()) == 0) {
                av_packet_rescale_ts(packet.get(), stillEncoder.codec->time_base, video->time_base);
                packet->stream_index = video->index;
                ok = ok && av_interleaved_write_frame(out, packet.get()) >= 0;
            }
        }
    };
    std::vector<std::uint8_t> block(static_cast<std::size_t>(blockFrames) * static_cast<std::size_t>(frameBytes));
    while (ok && framesDone < totalFrames) {
        const std::uint64_t frames = std::min<std::uint64_t>(blockFrames, totalFrames - framesDone);
        const long long got = read_fully(in, block.data(), static_cast<long long>(frames) * frameBytes,
                                         dataStart + static_cast<long long>(framesDone) * frameBytes);
        if (got <= 0)
            break;
        writeVideoUpTo(static_cast<double>(framesDone) / wave.nSamplesPerSec);
        if (av_new_packet(packet.get(), static_cast<int>(got)) < 0) {
            ok = false;
            break;
        }
        std::copy(block.begin(), block.begin() + got, packet->data);
        packet->stream_index = audio->index;
        packet->pts = packet->dts = static_cast<std::int64_t>(framesDone);
        packet->duration = got / frameBytes;
        av_packet_rescale_ts(packet.get(), AVRational{1, static_cast<int>(wave.nSamplesPerSec)}, audio->time_base);
        ok = av_interleaved_write_frame(out, packet.get()) >= 0;
        framesDone += static_cast<std::uint64_t>(got / frameBytes);
    }
    writeVideoUpTo(seconds);
    if (!ok || av_write_trailer(out) < 0) {
        ErrMsg("Cannot write the AVI file %s.", aviName.c_str());
        return 0;
    }
    return 1;
}

struct AviFrames::Impl {
    ffmpeg::InputContext in;
    ffmpeg::CodecContext dec;
    int stream = -1;
    ffmpeg::Scaler sws;
};

AviFrames::AviFrames() : m(std::make_unique<Impl>()) {}
AviFrames::~AviFrames() = default;

bool AviFrames::open(const std::string& aviName)
{
    m = std::make_unique<Impl>();
    m->in = ffmpeg::open_input(aviName);
    if (!m->in)
        return false;
    m->stream = av_find_best_stream(m->in.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (m->stream >= 0)
        m->dec = ffmpeg::open_decoder(m->in->streams[m->stream]);
    if (m->stream < 0 || !m->dec) {
        m->stream = -1;
        return false;
    }
    return true;
}

bool AviFrames::isOpen() const { return m->stream >= 0; }

double AviFrames::duration() const
{
    return m->in && m->in->duration > 0 ? static_cast<double>(m->in->duration) / AV_TIME_BASE : 0.0;
}

QImage AviFrames::frameAt(double seconds, int width, int height)
{
    if (m->stream < 0 || width <= 0 || height <= 0)
        return {};
    AVStream* st = m->in->streams[m->stream];
    const auto target = static_cast<std::int64_t>(seconds / av_q2d(st->time_base));
    if (av_seek_frame(m->in.get(), m->stream, target, AVSEEK_FLAG_BACKWARD) < 0)
        av_seek_frame(m->in.get(), m->stream, 0, AVSEEK_FLAG_BACKWARD);
    avcodec_flush_buffers(m->dec.get());
    const ffmpeg::Packet packet = ffmpeg::make_packet();
    const ffmpeg::Frame frame = ffmpeg::make_frame();
    AVFrame* best = nullptr;
    const ffmpeg::Frame kept = ffmpeg::make_frame();
    while (av_read_frame(m->in.get(), packet.get()) >= 0) {
        if (packet->stream_index != m->stream) {
            av_packet_unref(packet.get());
            continue;
        }
        avcodec_send_packet(m->dec.get(), packet.get());
        av_packet_unref(packet.get());
        bool reached = false;
        while (avcodec_receive_frame(m->dec.get(), frame.get()) == 0) {
            av_frame_unref(kept.get());
            av_frame_move_ref(kept.get(), frame.get());
            best = kept.get();
            if (best->best_effort_timestamp != AV_NOPTS_VALUE && best->best_effort_timestamp >= target)
                reached = true;
        }
        if (reached)
            break;
    }
    if (!best)
        return {};
    // Keep the picture's proportions inside the box.
    const double scale = std::min(static_cast<double>(width) / best->width, static_cast<double>(height) / best->height);
    const int w = std::max(1, static_cast<int>(best->width * scale));
    const int h = std::max(1, static_cast<int>(best->height * scale));
    m->sws.reset(sws_getCachedContext(m->sws.release(), best->width, best->height, static_cast<AVPixelFormat>(best->format), w, h,
                                      AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!m->sws)
        return {};
    QImage image(w, h, QImage::Format_RGB32);
    std::uint8_t* dst[1] = {image.bits()};
    const int stride[1] = {static_cast<int>(image.bytesPerLine())};
    sws_scale(m->sws.get(), best->data, best->linesize, 0, best->height, dst, stride);
    return image;
}

void display_AVI_file(AviFrames& frames, double seconds, QImage& image)
{
    image.fill(Qt::black);
    if (!frames.isOpen())
        return;
    const QImage frame = frames.frameAt(seconds, image.width(), image.height());
    if (frame.isNull())
        return;
    QPainter p(&image);
    p.drawImage((image.width() - frame.width()) / 2, (image.height() - frame.height()) / 2, frame);
}
