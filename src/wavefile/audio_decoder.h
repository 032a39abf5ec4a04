#pragma once

#include "wavefile/audio_tags.h"
#include "wavefile/sample_format.h"

#include <cstdint>
#include <memory>
#include <string>

// A compressed or foreign audio file being decoded by a media library, as
// interleaved float frames. Integer sources of up to 24 bits come out
// exactly (value / 2^(bits-1)), so that stored back in their own width they
// are bit for bit what the file holds.
class AudioDecoder {
public:
    virtual ~AudioDecoder() = default;
    // Up to `frames` frames into `out` (channels() floats each); the frames
    // read, 0 at the end, -1 on a decoding error.
    virtual long read(float* out, long frames) = 0;

    int channels = 0;
    std::uint32_t rate = 0;
    // The width that holds the source without loss: its own PCM width, or
    // float for lossy and floating-point sources.
    SampleFormat format = SampleFormat::S16;
    std::uint64_t frames = 0;        // 0 when the length is not known ahead
    std::uint32_t channelMask = 0;   // WAVE speaker bits, 0 for the usual order
    AudioTags tags;
    std::string library;             // "libsndfile" or "FFmpeg", for messages
};

// The decoders of the two libraries; null when the library cannot read the
// file. libsndfile reads FLAC, Ogg Vorbis, Opus, AIFF, CAF, W64, RF64 and
// the WAVE forms; FFmpeg reads MP3, AAC/M4A and most else.
std::unique_ptr<AudioDecoder> open_sndfile_decoder(const std::string& path);
std::unique_ptr<AudioDecoder> open_ffmpeg_decoder(const std::string& path);
