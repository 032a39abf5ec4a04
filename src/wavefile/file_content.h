#pragma once

#include <string>

// What a file holds, judged by its first bytes rather than its name.
enum class FileContent {
    Unknown,     // no signature this program knows (raw samples, say)
    Wave,        // RIFF WAVE
    Rf64,        // RF64 or BW64 WAVE, for files over 4 GiB
    Wave64,      // Sony Wave64
    Avi,         // RIFF AVI movie
    Aiff,        // FORM AIFF or AIFC
    Svx,         // FORM 8SVX (Amiga)
    SunAu,       // Sun/NeXT ".snd"
    Voc,         // Creative Voice File
    Ircam,       // IRCAM / Berkeley sound file
    SampleVision,
    Flac,        // native FLAC
    OggVorbis,
    OggOpus,
    OggFlac,
    Mp3,         // ID3 tag or MPEG layer III frames
    MpegAudio,   // MPEG layer I or II frames
    Mp4,         // ISO media ("ftyp"): AAC or ALAC in M4A/MP4
    Adts,        // raw AAC frames
    Caf,         // Apple Core Audio Format
    Matroska,    // Matroska / WebM
    WavPack,
    MonkeysAudio,
    Midi,        // not audio: a MIDI sequence
    NotAudio,    // a picture, an archive, a document: known, and not sound
};

// The content of the file at `path`; Unknown when it cannot be read.
FileContent file_content_of(const std::string& path);
// The same judgement of a file's first bytes.
FileContent content_of_bytes(const unsigned char* head, std::size_t size);

// What the content is called in messages: "FLAC audio", "a MIDI sequence".
std::string content_name(FileContent content);

// Whether audio of this content is decoded by a media library (libsndfile
// or FFmpeg) rather than by the program's own WAVE reader or the converter.
bool content_needs_library(FileContent content);

// What a file holds when it is audio this program cannot open, as a
// sentence naming the file ("tune.ape holds Monkey's Audio, which this
// version cannot open."). Empty for files it opens and for contents it does
// not recognise, which keep the messages of the formats that try them.
std::string unopenable_content_description(const std::string& path);
