#pragma once

#include <QImage>
#include <memory>
#include <string>

// AVI files through FFmpeg: the sound track of any AVI FFmpeg reads (any
// codec, decoded to PCM), AVI files written with a sound track and a video
// stream, and the video frames of an AVI for display.

// The AVI a document is opened from (set by the open dispatch, taken by the
// next document that opens).
extern std::string& szOpenedAviFileName;

// Writes the AVI's sound track as a RIFF WAVE file: 16-bit (8-bit sources
// stay 8-bit), mono or stereo (more channels are mixed to two), the track's
// rate. Failures say so ("AVIFileGetStream failed for audio" when there is no
// sound track) and return 0.
[[nodiscard]] int make_wave_file_from_AVI_file(const std::string& aviName, const std::string& waveName);

// Writes an AVI whose sound track is the RIFF WAVE file (as PCM) and whose
// video is the video of `videoSource` (an AVI the document came from, copied
// as it is) or, without one, `still` shown for the whole length. 1 on success.
[[nodiscard]] int save_AVI_file(const std::string& aviName, const std::string& waveName, const std::string& videoSource,
                  const QImage& still);

// The video frames of an AVI, for showing above a document that came from it.
class AviFrames {
public:
    AviFrames();
    ~AviFrames();
    AviFrames(const AviFrames&) = delete;
    AviFrames& operator=(const AviFrames&) = delete;

    // false when the file has no video FFmpeg can decode.
    bool open(const std::string& aviName);
    bool isOpen() const;
    // The frame shown at `seconds`, scaled to fit `width` x `height`; null
    // when none can be read.
    QImage frameAt(double seconds, int width, int height);
    double duration() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m;
};

// Draws the video frame of the document's AVI at `seconds` into the strip
// `image` (the view's video band); nothing when the document has no AVI.
void display_AVI_file(AviFrames& frames, double seconds, QImage& image);
