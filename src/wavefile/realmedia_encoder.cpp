#include "wavefile/realmedia_encoder.h"

#include "app/messages.h"

#include "wavefile/ffmpeg_handles.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstdio>

namespace {

struct AudioChoice {
    const char* name;
    const char* encoder;
    int channels;
    int rate;  // 0: the nearest the encoder takes
    int kbps;
};
// The list in the encoder's order.
constexpr AudioChoice kAudio[] = {
    {"6.5 Kbps Voice", "real_144", 1, 8000, 8},
    {"32 Kbps Music - Mono", "ac3", 1, 0, 32},
    {"40 Kbps Music - Mono", "ac3", 1, 0, 40},
    {"48 Kbps Music - Mono", "ac3", 1, 0, 48},
    {"56 Kbps Music - Mono", "ac3", 1, 0, 56},
    {"64 Kbps Music - Mono", "ac3", 1, 0, 64},
    {"80 Kbps Music - Mono", "ac3", 1, 0, 80},
    {"64 Kbps Music - Stereo", "ac3", 2, 0, 64},
    {"96 Kbps Music - Mono", "ac3", 1, 0, 96},
    {"96 Kbps Music - Stereo", "ac3", 2, 0, 96},
    {"128 Kbps Music - Mono", "ac3", 1, 0, 128},
    {"128 Kbps Music - Stereo", "ac3", 2, 0, 128},
    {"160 Kbps Music - Stereo", "ac3", 2, 0, 160},
    {"192 Kbps Music - Stereo", "ac3", 2, 0, 192},
    {"224 Kbps Music - Stereo", "ac3", 2, 0, 224},
    {"256 Kbps Music - Stereo", "ac3", 2, 0, 256},
    {"320 Kbps Music - Stereo", "ac3", 2, 0, 320},
};

const char* const kMonoTable[] = {
    "Use this option for speech or background music over 28.8 kbps modems.\nFrequency response: 4 kHz",
    "Use this option for speech or background music over 56.6 kbps modems or ISDN lines.\nFrequency response: 4 kHz",
    "Use this option for speech or background music over 28.8 kbps modems.\nFrequency response: 4 kHz",
    "Use this option for speech or background music over 28.8 kbps modems at higher bitrates.\nFrequency response: 8 kHz",
    "Use this option for speech or background music or noisy signals over 28.8 kbps modems.\nFrequency response: 4 kHz",
    "Use this option for speech or music with drums, cymbals and vocals over 28.8 kbps modems.\nFrequency response: 4.7 kHz",
    "Use this option for sharpest sound over 28.8 kbps modems.\nFrequency response: 5.5 kHz",
    "Use this option for mono quasi-CD quality sound over ISDN lines.\nFrequency response: 11 kHz",
    "Use this option for optimal mono CD quality sound over ISDN lines.\nFrequency response: 20 kHz",
    "Use this option for medium-quality musical video content over 28.8 kbps modems.\nFrequency response: 4 kHz",
    "Use this option for higher-quality musical video content over 28.8 kbps modems.\nFrequency response: 4 kHz",
    "Use this option for mono musical video content over 56k analog modems.\nFrequency response: 8 kHz",
    "Use this option for voice or background music over 28.8 Kbps modems for increased intelligibility with high packet losses.\nFrequency response: 4 kHz",
};
const char* const kStereoTable[] = {
    kMonoTable[0], kMonoTable[1], kMonoTable[2], kMonoTable[3], kMonoTable[4], kMonoTable[5], kMonoTable[6],
    "Use this option for stereo CD quality sound over 28.8 kbps modems.\nFrequency response: 4 kHz",
    "Use this option for mono quasi-CD quality sound over ISDN lines.\nFrequency response: 11 kHz",
    "Use this option for stereo quasi-CD quality sound over ISDN lines.\nFrequency response: 8 kHz",
    "Use this option for optimal mono CD quality sound over ISDN lines.\nFrequency response: 20 kHz",
    "Use this option for optimal stereo CD quality sound over ISDN lines.\nFrequency response: 16 kHz",
    "Use this option for medium-quality musical video content over 28.8 kbps modems.\nFrequency response: 4 kHz",
    "Use this option for higher-quality musical video content over 28.8 kbps modems.\nFrequency response: 4 kHz",
    "Use this option for mono musical video content over 56k analog modems.\nFrequency response: 8 kHz",
    "Use this option for stereo musical video content over 56k analog modems.\nFrequency response: 5.5 kHz",
    "Use this option for voice or background music over 28.8 Kbps modems for increased intelligibility with high packet losses.\nFrequency response: 4 kHz",
};

const AudioChoice* audioChoice(const std::string& name)
{
    for (const AudioChoice& a : kAudio)
        if (name == a.name)
            return &a;
    return nullptr;
}

const char* videoEncoder(const std::string& name)
{
    if (name == "RealVideo (Standard)")
        return "rv10";
    if (name == "RealVideo G2")
        return "rv20";
    return nullptr;
}

}  // namespace

std::vector<std::string> realmedia_audio_codecs(int channels)
{
    std::vector<std::string> names;
    for (const AudioChoice& a : kAudio)
        if (avcodec_find_encoder_by_name(a.encoder) &&
            (channels != 1 || std::string(a.name).find("Stereo") == std::string::npos))
            names.emplace_back(a.name);
    return names;
}

std::vector<std::string> realmedia_video_codecs()
{
    std::vector<std::string> names;
    for (const char* n : {"RealVideo (Standard)", "RealVideo G2"})
        if (avcodec_find_encoder_by_name(videoEncoder(n)))
            names.emplace_back(n);
    names.emplace_back("none");
    return names;
}

int realmedia_preselected_entry(int channels) { return channels == 1 ? 8 : 7; }

std::string realmedia_description(int channels, int index)
{
    if (index < 0)
        return {};
    if (channels == 1)
        return index < static_cast<int>(std::size(kMonoTable)) ? kMonoTable[index] : std::string();
    return index < static_cast<int>(std::size(kStereoTable)) ? kStereoTable[index] : std::string();
}

int encode_realmedia(const std::string& aviName, const std::string& output, const RealMediaSettings& settings,
                     const std::function<void(const std::string&)>& progress)
{
    av_log_set_level(AV_LOG_QUIET);
    const AudioChoice* audioPick = audioChoice(settings.audioCodec);
    if (!audioPick) {
        ErrMsg("%s is not a valid audio codec name.", settings.audioCodec.c_str());
        return 0;
    }
    const bool withVideo = settings.videoCodec != "none";
    const char* videoName = videoEncoder(settings.videoCodec);
    if (withVideo && !videoName) {
        ErrMsg("%s is not a valid video codec name.", settings.videoCodec.c_str());
        return 0;
    }

    const ffmpeg::InputContext input = ffmpeg::open_input(aviName);
    if (!input) {
        ErrMsg("AVIFileGetStream failed for audio");
        return 0;
    }
    AVFormatContext* in = input.get();
    const int audioIndex = av_find_best_stream(in, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (audioIndex < 0) {
        ErrMsg("AVIFileGetStream failed for audio");
        return 0;
    }
    const int videoIndex = withVideo ? av_find_best_stream(in, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0) : -1;
    if (withVideo && videoIndex < 0) {
        ErrMsg("AVIFileGetStream failed for video");
        return 0;
    }
    // The decoders of the intermediate AVI.
    const ffmpeg::CodecContext audioIn = ffmpeg::open_decoder(in->streams[audioIndex]);
    if (!audioIn) {
        ErrMsg("AVIStreamRead failed");
        return 0;
    }
    const ffmpeg::CodecContext videoIn = withVideo ? ffmpeg::open_decoder(in->streams[videoIndex]) : nullptr;
    if (withVideo && !videoIn) {
        ErrMsg("AVIGetFrameOpen failed");
        return 0;
    }

    const ffmpeg::OutputContext outFile = ffmpeg::create_output("rm", output);
    if (!outFile) {
        ErrMsg("Call to PNEngine_Open failed.");
        return 0;
    }
    AVFormatContext* out = outFile.get();
    av_dict_set(&out->metadata, "title", "The Title", 0);
    av_dict_set(&out->metadata, "author", "The Author", 0);
    av_dict_set(&out->metadata, "copyright", "The Copyright", 0);

    // The sound: the codec's own rate and channels.
    const AVCodec* audioCodec = avcodec_find_encoder_by_name(audioPick->encoder);
    AVStream* audioStream = avformat_new_stream(out, nullptr);
    const ffmpeg::CodecContext audioOut(audioCodec ? avcodec_alloc_context3(audioCodec) : nullptr);
    if (!audioOut) {
        ErrMsg("PNEngine_OpenStream failed for audio");
        return 0;
    }
    int rate = audioPick->rate;
    if (rate == 0) {
        const int source = audioIn->sample_rate;
        rate = source >= 48000 ? 48000 : source >= 44100 ? 44100 : 32000;
    }
    audioOut->sample_rate = rate;
    av_channel_layout_default(&audioOut->ch_layout, audioPick->channels);
    audioOut->sample_fmt = audioCodec->sample_fmts ? audioCodec->sample_fmts[0] : AV_SAMPLE_FMT_S16;
    audioOut->bit_rate = audioPick->kbps * 1000;
    audioOut->time_base = AVRational{1, rate};
    if (avcodec_open2(audioOut.get(), audioCodec, nullptr) < 0 ||
        avcodec_parameters_from_context(audioStream->codecpar, audioOut.get()) < 0) {
        ErrMsg("PNEngine_OpenStream failed for audio");
        return 0;
    }
    audioStream->time_base = audioOut->time_base;
    av_dict_set(&audioStream->metadata, "title", "The Audio Stream", 0);

    // The pictures: the AVI's size in whole macroblocks.
    ffmpeg::CodecContext videoOut;
    AVStream* videoStream = nullptr;
    ffmpeg::Scaler sws;
    if (withVideo) {
        const AVCodec* videoCodec = avcodec_find_encoder_by_name(videoName);
        videoStream = avformat_new_stream(out, nullptr);
        videoOut.reset(videoCodec ? avcodec_alloc_context3(videoCodec) : nullptr);
        if (!videoOut) {
            ErrMsg("PNEngine_OpenStream failed for video");
            return 0;
        }
        videoOut->width = std::max(16, videoIn->width / 16 * 16);
        videoOut->height = std::max(16, videoIn->height / 16 * 16);
        videoOut->pix_fmt = AV_PIX_FMT_YUV420P;
        AVRational fps = in->streams[videoIndex]->avg_frame_rate;
        if (fps.num <= 0 || fps.den <= 0)
            fps = AVRational{1, 1};
        videoOut->time_base = av_inv_q(fps);
        videoOut->framerate = fps;
        videoOut->gop_size = std::clamp(settings.keyFrameGap, 8, 100);
        videoOut->flags |= AV_CODEC_FLAG_QSCALE;
        videoOut->global_quality = FF_QP2LAMBDA * (2 + (100 - std::clamp(settings.quality, 1, 100)) * 29 / 99);
        if (avcodec_open2(videoOut.get(), videoCodec, nullptr) < 0 ||
            avcodec_parameters_from_context(videoStream->codecpar, videoOut.get()) < 0) {
            ErrMsg("PNEngine_OpenStream failed for video");
            return 0;
        }
        videoStream->time_base = videoOut->time_base;
        av_dict_set(&videoStream->metadata, "title", "The Video Stream", 0);
    }
    if (avio_open(&out->pb, output.c_str(), AVIO_FLAG_WRITE) < 0 || avformat_write_header(out, nullptr) < 0) {
        ErrMsg("Call to PNEngine_Open failed.");
        return 0;
    }

    // How much there is to do.
    const double seconds = in->duration > 0 ? static_cast<double>(in->duration) / AV_TIME_BASE : 0.0;
    const int audioTotal = static_cast<int>(seconds * rate);
    const int videoTotal =
        withVideo ? static_cast<int>(in->streams[videoIndex]->nb_frames > 0
                                         ? in->streams[videoIndex]->nb_frames
                                         : static_cast<std::int64_t>(seconds * av_q2d(videoOut->framerate)))
                  : 0;
    int audioDone = 0, videoDone = 0;
    char line[96];
    const auto report = [&] {
        std::snprintf(line, sizeof line, "Encoding: Audio(%7d/%7d) Video(%7d/%7d)", audioDone, audioTotal, videoDone,
                      videoTotal);
        if (progress)
            progress(line);
    };

    const ffmpeg::Resampler resampler =
        ffmpeg::make_resampler(&audioOut->ch_layout, audioOut->sample_fmt, rate, &audioIn->ch_layout,
                               audioIn->sample_fmt, audioIn->sample_rate);
    if (!resampler) {
        ErrMsg("AVIStreamRead failed");
        return 0;
    }
    SwrContext* swr = resampler.get();
    const ffmpeg::AudioFifo audioFifo(av_audio_fifo_alloc(audioOut->sample_fmt, audioPick->channels, 4096));
    AVAudioFifo* fifo = audioFifo.get();
    const ffmpeg::Packet packetHandle = ffmpeg::make_packet();
    const ffmpeg::Frame frameHandle = ffmpeg::make_frame();
    const ffmpeg::Frame encodeHandle = ffmpeg::make_frame();
    AVPacket* packet = packetHandle.get();
    AVFrame* frame = frameHandle.get();
    AVFrame* encodeFrame = encodeHandle.get();
    bool ok = true;
    std::int64_t audioPts = 0;

    const auto writeEncoded = [&](AVCodecContext* ctx, AVStream* stream, const char* failure) {
        const ffmpeg::Packet coded = ffmpeg::make_packet();
        int r;
        while ((r = avcodec_receive_packet(ctx, coded.get())) == 0) {
            av_packet_rescale_ts(coded.get(), ctx->time_base, stream->time_base);
            coded->stream_index = stream->index;
            if (av_interleaved_write_frame(out, coded.get()) < 0) {
                ok = false;
                break;
            }
        }
        if (r != AVERROR(EAGAIN) && r != AVERROR_EOF) {
            ErrMsg(failure, r);
            ok = false;
        }
    };
    const auto encodeAudio = [&](bool flush) {
        const int size = audioOut->frame_size > 0 ? audioOut->frame_size : 1024;
        while (ok && (av_audio_fifo_size(fifo) >= size || (flush && av_audio_fifo_size(fifo) > 0))) {
            const int n = std::min(size, av_audio_fifo_size(fifo));
            av_frame_unref(encodeFrame);
            encodeFrame->nb_samples = size;
            encodeFrame->format = audioOut->sample_fmt;
            av_channel_layout_copy(&encodeFrame->ch_layout, &audioOut->ch_layout);
            encodeFrame->sample_rate = rate;
            if (av_frame_get_buffer(encodeFrame, 0) < 0) {
                ok = false;
                break;
            }
            av_samples_set_silence(encodeFrame->extended_data, 0, size, audioPick->channels, audioOut->sample_fmt);
            av_audio_fifo_read(fifo, reinterpret_cast<void**>(encodeFrame->extended_data), n);
            encodeFrame->pts = audioPts;
            audioPts += size;
            const int r = avcodec_send_frame(audioOut.get(), encodeFrame);
            if (r < 0) {
                ErrMsg("Audio Encode failed with code %d", r);
                ok = false;
                break;
            }
            writeEncoded(audioOut.get(), audioStream, "Audio Encode failed with code %d");
            audioDone = std::min(audioTotal, static_cast<int>(audioPts));
        }
    };
    const auto takeAudio = [&](AVFrame* decoded) {
        const int room = swr_get_out_samples(swr, decoded ? decoded->nb_samples : 0);
        if (room <= 0)
            return;
        std::uint8_t** planes = nullptr;
        if (av_samples_alloc_array_and_samples(&planes, nullptr, audioPick->channels, room, audioOut->sample_fmt,
                                               0) < 0) {
            ok = false;
            return;
        }
        const int got = swr_convert(swr, planes, room,
                                    decoded ? const_cast<const std::uint8_t**>(decoded->extended_data) : nullptr,
                                    decoded ? decoded->nb_samples : 0);
        if (got > 0)
            av_audio_fifo_write(fifo, reinterpret_cast<void**>(planes), got);
        av_freep(&planes[0]);
        av_freep(&planes);
        encodeAudio(false);
    };
    const auto takeVideo = [&](AVFrame* decoded) {
        sws.reset(sws_getCachedContext(sws.release(), decoded->width, decoded->height, static_cast<AVPixelFormat>(decoded->format),
                                   videoOut->width, videoOut->height, AV_PIX_FMT_YUV420P, SWS_BICUBIC, nullptr,
                                   nullptr, nullptr));
        const ffmpeg::Frame pictureHandle = ffmpeg::make_frame();
        AVFrame* picture = pictureHandle.get();
        picture->format = AV_PIX_FMT_YUV420P;
        picture->width = videoOut->width;
        picture->height = videoOut->height;
        if (!sws || av_frame_get_buffer(picture, 0) < 0) {
            ok = false;
            return;
        }
        sws_scale(sws.get(), decoded->data, decoded->linesize, 0, decoded->height, picture->data, picture->linesize);
        picture->pts = videoDone;
        const int r = avcodec_send_frame(videoOut.get(), picture);
        if (r < 0) {
            ErrMsg("Video Encode failed with code %d", r);
            ok = false;
            return;
        }
        writeEncoded(videoOut.get(), videoStream, "Video Encode failed with code %d");
        ++videoDone;
    };
    const auto drain = [&](AVCodecContext* dec, bool audio) {
        while (ok && avcodec_receive_frame(dec, frame) == 0) {
            if (audio)
                takeAudio(frame);
            else
                takeVideo(frame);
            av_frame_unref(frame);
        }
    };
    int packets = 0;
    while (ok && av_read_frame(in, packet) >= 0) {
        if (packet->stream_index == audioIndex) {
            if (avcodec_send_packet(audioIn.get(), packet) < 0) {
                ErrMsg("AVIStreamRead failed");
                ok = false;
            } else {
                drain(audioIn.get(), true);
            }
        } else if (withVideo && packet->stream_index == videoIndex) {
            if (avcodec_send_packet(videoIn.get(), packet) < 0) {
                ErrMsg("AVIStreamGetFrame Failed!");
                ok = false;
            } else {
                drain(videoIn.get(), false);
            }
        }
        av_packet_unref(packet);
        if (++packets % 16 == 0)
            report();
    }
    if (ok) {
        avcodec_send_packet(audioIn.get(), nullptr);
        drain(audioIn.get(), true);
        takeAudio(nullptr);
        encodeAudio(true);
        avcodec_send_frame(audioOut.get(), nullptr);
        writeEncoded(audioOut.get(), audioStream, "Audio Encode failed with code %d");
        if (withVideo) {
            avcodec_send_packet(videoIn.get(), nullptr);
            drain(videoIn.get(), false);
            avcodec_send_frame(videoOut.get(), nullptr);
            writeEncoded(videoOut.get(), videoStream, "Video Encode failed with code %d");
        }
    }
    if (!ok)
        return 0;
    if (av_write_trailer(out) < 0) {
        ErrMsg("Call to PNEngine_Open failed.");
        return 0;
    }
    audioDone = audioTotal;
    report();
    if (progress)
        progress("Done.");
    return 1;
}
