#pragma once

#include <QImage>

#include <functional>
#include <string>

class CChildFrame;

// How the save dialog's WAV type writes: converted to the format chosen in
// the dialog, and compressed (Microsoft ADPCM) through the wave converter.
struct SaveOptions {
    int bSaveConverts = 0;
    int bSaveCompressed = 0;
    // The settings of the compressed types, from the save dialog or the
    // command line.
    int flacCompression = 5;  // FLAC's levels 0 (fastest) .. 8 (smallest)
    int vorbisQuality = 5;    // libvorbis's -1 .. 10 (5 is about 160 kbit/s)
    int opusBitrate = 128;    // kbit/s, 6 .. 510
    int mp3Vbr = 0;           // 0: constant bit rate, 1: variable
    int mp3Bitrate = 320;     // kbit/s of the constant rate
    int mp3VbrQuality = 2;    // LAME's -V 0 (best) .. 9, for the variable rate
};

// What a file type's saver is given: the target and what the document can
// do for it. The document's own layer fills it in; the savers of the file
// types need nothing else of it.
struct SaveRequest {
    std::string target;
    SaveOptions options;
    // The document (its own layer's type, not looked into here): the JAF
    // exporter runs an effect on it.
    CChildFrame* document = nullptr;
    // Writes the document (or its highlight) as a plain PCM WAVE file at
    // `path`, for the exporters that read one; 1 on success.
    std::function<int(const std::string& path)> writeWave;
    // Saves it as the WAV type does (converting and compressing as the
    // options ask); 1 on success.
    std::function<int(const std::string& path, const SaveOptions&)> saveWave;
    // A picture of the document for the video track of a movie.
    std::function<QImage(int width, int height)> picture;
    std::string aviSource;   // the AVI the document came from ("" for none)
    int channels = 1;
};
