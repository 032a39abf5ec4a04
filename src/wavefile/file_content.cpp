#include "wavefile/file_content.h"

#include "app/app_paths.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <vector>

namespace {

bool startsWith(const unsigned char* head, std::size_t size, const char* magic, std::size_t at = 0)
{
    const std::size_t n = std::strlen(magic);
    return size >= at + n && std::memcmp(head + at, magic, n) == 0;
}

bool contains(const unsigned char* head, std::size_t size, const char* text, std::size_t n)
{
    return std::search(head, head + size, text, text + n) != head + size;
}

// MPEG audio frame header: eleven sync bits, a layer, a bit rate index that
// is neither free nor bad and a sampling rate index that is not reserved.
bool mpegFrame(const unsigned char* p, std::size_t size)
{
    return size >= 4 && p[0] == 0xFF && (p[1] & 0xE0) == 0xE0 && (p[1] & 0x06) != 0 && (p[2] & 0xF0) != 0xF0 &&
           (p[2] & 0x0C) != 0x0C;
}

// ADTS (raw AAC): twelve sync bits, layer 0.
bool adtsFrame(const unsigned char* p, std::size_t size)
{
    return size >= 7 && p[0] == 0xFF && (p[1] & 0xF6) == 0xF0;
}

}  // namespace

FileContent content_of_bytes(const unsigned char* h, std::size_t n)
{
    if (startsWith(h, n, "RIFF") && startsWith(h, n, "WAVE", 8))
        return FileContent::Wave;
    if (startsWith(h, n, "RIFF") && startsWith(h, n, "AVI ", 8))
        return FileContent::Avi;
    if ((startsWith(h, n, "RF64") || startsWith(h, n, "BW64")) && startsWith(h, n, "WAVE", 8))
        return FileContent::Rf64;
    if (startsWith(h, n, "riff") && n >= 16 && h[4] == 0x2E && h[5] == 0x91 && h[6] == 0xCF && h[7] == 0x11)
        return FileContent::Wave64;
    if (startsWith(h, n, "FORM") && (startsWith(h, n, "AIFF", 8) || startsWith(h, n, "AIFC", 8)))
        return FileContent::Aiff;
    if (startsWith(h, n, "FORM") && startsWith(h, n, "8SVX", 8))
        return FileContent::Svx;
    if (startsWith(h, n, ".snd"))
        return FileContent::SunAu;
    if (startsWith(h, n, "Creative Voice File"))
        return FileContent::Voc;
    if (n >= 4 && ((h[0] == 0x64 && h[1] == 0xA3 && h[3] == 0x00) || (h[3] == 0x64 && h[2] == 0xA3 && h[0] == 0x00)))
        return FileContent::Ircam;
    if (startsWith(h, n, "SOUND SAMPLE DATA"))
        return FileContent::SampleVision;
    if (startsWith(h, n, "fLaC"))
        return FileContent::Flac;
    if (startsWith(h, n, "OggS")) {
        if (contains(h, n, "OpusHead", 8))
            return FileContent::OggOpus;
        if (contains(h, n, "\x7f" "FLAC", 5))
            return FileContent::OggFlac;
        return FileContent::OggVorbis;
    }
    if (startsWith(h, n, "ftyp", 4))
        return FileContent::Mp4;
    if (startsWith(h, n, "caff"))
        return FileContent::Caf;
    if (n >= 4 && h[0] == 0x1A && h[1] == 0x45 && h[2] == 0xDF && h[3] == 0xA3)
        return FileContent::Matroska;
    if (startsWith(h, n, "wvpk"))
        return FileContent::WavPack;
    if (startsWith(h, n, "MAC "))
        return FileContent::MonkeysAudio;
    if (startsWith(h, n, "MThd"))
        return FileContent::Midi;
    if (startsWith(h, n, "ID3"))
        return FileContent::Mp3;
    if (mpegFrame(h, n))
        return (h[1] & 0x06) == 0x02 ? FileContent::Mp3 : FileContent::MpegAudio;
    if (adtsFrame(h, n))
        return FileContent::Adts;
    if (startsWith(h, n, "\x89PNG") || startsWith(h, n, "\xFF\xD8\xFF") || startsWith(h, n, "GIF8") ||
        startsWith(h, n, "%PDF") || startsWith(h, n, "PK\x03\x04") || startsWith(h, n, "\x7F" "ELF"))
        return FileContent::NotAudio;
    return FileContent::Unknown;
}

FileContent file_content_of(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return FileContent::Unknown;
    std::vector<unsigned char> head(4096);
    in.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    return content_of_bytes(head.data(), head.size());
}

std::string content_name(FileContent c)
{
    switch (c) {
    case FileContent::Unknown: return "data of no known audio type";
    case FileContent::Wave: return "WAVE audio";
    case FileContent::Rf64: return "RF64 WAVE audio";
    case FileContent::Wave64: return "Wave64 audio";
    case FileContent::Avi: return "an AVI movie";
    case FileContent::Aiff: return "AIFF audio";
    case FileContent::Svx: return "Amiga 8SVX audio";
    case FileContent::SunAu: return "Sun/NeXT audio";
    case FileContent::Voc: return "Creative Voice audio";
    case FileContent::Ircam: return "IRCAM sound file audio";
    case FileContent::SampleVision: return "SampleVision audio";
    case FileContent::Flac: return "FLAC audio";
    case FileContent::OggVorbis: return "Ogg Vorbis audio";
    case FileContent::OggOpus: return "Opus audio";
    case FileContent::OggFlac: return "Ogg FLAC audio";
    case FileContent::Mp3: return "MP3 audio";
    case FileContent::MpegAudio: return "MPEG audio";
    case FileContent::Mp4: return "MP4/M4A audio";
    case FileContent::Adts: return "AAC audio";
    case FileContent::Caf: return "Core Audio (CAF) audio";
    case FileContent::Matroska: return "Matroska/WebM media";
    case FileContent::WavPack: return "WavPack audio";
    case FileContent::MonkeysAudio: return "Monkey's Audio";
    case FileContent::Midi: return "a MIDI sequence";
    case FileContent::NotAudio: return "no sound (a picture, an archive or a program)";
    }
    return "data of no known audio type";
}

bool content_needs_library(FileContent c)
{
    switch (c) {
    case FileContent::Wave64:
    case FileContent::Flac:
    case FileContent::OggVorbis:
    case FileContent::OggOpus:
    case FileContent::OggFlac:
    case FileContent::Mp3:
    case FileContent::MpegAudio:
    case FileContent::Mp4:
    case FileContent::Adts:
    case FileContent::Caf:
    case FileContent::Matroska:
    case FileContent::WavPack:
        return true;
    default:
        return false;
    }
}

std::string unopenable_content_description(const std::string& path)
{
    const FileContent c = file_content_of(path);
    // Neither library reads these; anything else that is sound opens.
    if (c != FileContent::MonkeysAudio && c != FileContent::Midi && c != FileContent::NotAudio)
        return {};
    return file_name_part(path) + " holds " + content_name(c) + ", which this version cannot open.";
}
