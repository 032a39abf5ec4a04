#pragma once

// FFmpeg objects owned the C++ way: each handle frees its object however the
// routine that holds it ends. Every use of FFmpeg in the program goes
// through these.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

namespace ffmpeg {

struct InputCloser {
    void operator()(AVFormatContext* c) const { avformat_close_input(&c); }
};
struct OutputCloser {
    void operator()(AVFormatContext* c) const
    {
        if (c->pb && !(c->oformat->flags & AVFMT_NOFILE))
            avio_closep(&c->pb);
        avformat_free_context(c);
    }
};
struct CodecFreer {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameFreer {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketFreer {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct ResamplerFreer {
    void operator()(SwrContext* s) const { swr_free(&s); }
};
struct ScalerFreer {
    void operator()(SwsContext* s) const { sws_freeContext(s); }
};
struct FifoFreer {
    void operator()(AVAudioFifo* f) const { av_audio_fifo_free(f); }
};

using InputContext = std::unique_ptr<AVFormatContext, InputCloser>;
using OutputContext = std::unique_ptr<AVFormatContext, OutputCloser>;
using CodecContext = std::unique_ptr<AVCodecContext, CodecFreer>;
using Frame = std::unique_ptr<AVFrame, FrameFreer>;
using Packet = std::unique_ptr<AVPacket, PacketFreer>;
using Resampler = std::unique_ptr<SwrContext, ResamplerFreer>;
using Scaler = std::unique_ptr<SwsContext, ScalerFreer>;
using AudioFifo = std::unique_ptr<AVAudioFifo, FifoFreer>;

// A media file opened for reading with its streams known; null when it
// cannot be read.
inline InputContext open_input(const std::string& name)
{
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* c = nullptr;
    if (avformat_open_input(&c, name.c_str(), nullptr, nullptr) != 0)
        return nullptr;
    InputContext input(c);
    if (avformat_find_stream_info(c, nullptr) < 0)
        return nullptr;
    return input;
}

// A file of the named container format to be written (nothing opened yet);
// null when the format is unknown.
inline OutputContext create_output(const char* format, const std::string& name)
{
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* c = nullptr;
    if (avformat_alloc_output_context2(&c, nullptr, format, name.c_str()) < 0 || !c)
        return nullptr;
    return OutputContext(c);
}

// A decoder opened for a stream; null when there is none for its codec.
inline CodecContext open_decoder(const AVStream* stream)
{
    const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!codec)
        return nullptr;
    CodecContext c(avcodec_alloc_context3(codec));
    if (!c || avcodec_parameters_to_context(c.get(), stream->codecpar) < 0 || avcodec_open2(c.get(), codec, nullptr) != 0)
        return nullptr;
    return c;
}

inline Frame make_frame() { return Frame(av_frame_alloc()); }
inline Packet make_packet() { return Packet(av_packet_alloc()); }

// A resampler between two layouts, formats and rates; null when it cannot
// be made.
inline Resampler make_resampler(AVChannelLayout* outLayout, AVSampleFormat outFormat, int outRate,
                                AVChannelLayout* inLayout, AVSampleFormat inFormat, int inRate)
{
    SwrContext* s = nullptr;
    if (swr_alloc_set_opts2(&s, outLayout, outFormat, outRate, inLayout, inFormat, inRate, 0, nullptr) < 0) {
        swr_free(&s);
        return nullptr;
    }
    Resampler r(s);
    if (swr_init(s) < 0)
        return nullptr;
    return r;
}

}  // namespace ffmpeg
