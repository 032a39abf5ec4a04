#include "wavefile/file_content.h"

#include "app/app_paths.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <vector>

namespace {

std::uint16_t le16(const unsigned char* p) { return static_cast<std::uint16_t>(p[0] | (p[1] << 8)); }
std::uint32_t le32(const unsigned char* p)
{
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

bool startsWith(const std::vector<unsigned char>& head, const char* magic, std::size_t at = 0)
{
    const std::size_t n = std::strlen(magic);
    return head.size() >= at + n && std::memcmp(head.data() + at, magic, n) == 0;
}

bool contains(const std::vector<unsigned char>& head, const char* text)
{
    const std::size_t n = std::strlen(text);
    return std::search(head.begin(), head.end(), text, text + n) != head.end();
}

// The format chunk of a RIFF WAVE file: what it holds when that is not 8- or
// 16-bit PCM (or the ADPCM the program reads) in one or two channels.
std::string waveDescription(const std::vector<unsigned char>& head)
{
    std::size_t at = 12;
    while (at + 8 <= head.size()) {
        const std::uint32_t size = le32(head.data() + at + 4);
        if (std::memcmp(head.data() + at, "fmt ", 4) == 0) {
            if (at + 8 + 16 > head.size())
                return {};
            const unsigned char* fmt = head.data() + at + 8;
            std::uint16_t tag = le16(fmt);
            const std::uint16_t channels = le16(fmt + 2);
            const std::uint16_t bits = le16(fmt + 14);
            const bool extensible = tag == 0xFFFE;
            if (extensible && size >= 40 && at + 8 + 26 <= head.size())
                tag = le16(fmt + 24);  // the sub-format's first two bytes are the tag
            const std::string where = extensible ? " in the extensible WAVE header" : " in a WAVE file";
            const std::string layout = channels > 2 ? std::to_string(channels) + "-channel " : std::string();
            if (tag == 3)
                return layout + std::to_string(bits) + "-bit floating-point samples" + where;
            if (tag == 1 && (bits != 8 && bits != 16))
                return layout + std::to_string(bits) + "-bit PCM" + where;
            if ((tag == 1 || tag == 2 || tag == 0x11) && channels > 2)
                return std::to_string(channels) + "-channel audio" + where;
            if (tag == 1 && extensible)
                return layout + std::to_string(bits) + "-bit PCM" + where;
            if (tag == 0x55)
                return "MP3 audio in a WAVE file";
            return {};
        }
        at += 8 + size + (size & 1);
    }
    return {};
}

std::string describe(const std::vector<unsigned char>& head)
{
    if (startsWith(head, "RIFF") && startsWith(head, "WAVE", 8))
        return waveDescription(head);
    if (startsWith(head, "RF64") || startsWith(head, "BW64"))
        return "RF64 WAVE audio (for files over 4 GiB)";
    if (startsWith(head, "fLaC"))
        return "FLAC audio";
    if (startsWith(head, "OggS"))
        return contains(head, "OpusHead") ? "Opus audio" : contains(head, "\x7f" "FLAC") ? "Ogg FLAC audio"
                                                                                        : "Ogg Vorbis audio";
    if (startsWith(head, "ftyp", 4))
        return "MP4/M4A (AAC or ALAC) audio";
    if (startsWith(head, "caff"))
        return "Core Audio (CAF) audio";
    if (startsWith(head, "wvpk"))
        return "WavPack audio";
    if (startsWith(head, "MAC "))
        return "Monkey's Audio";
    if (startsWith(head, "ID3"))
        return "MP3 audio";
    // An MPEG audio frame: eleven sync bits, layer bits not zero.
    if (head.size() >= 2 && head[0] == 0xFF && (head[1] & 0xE0) == 0xE0 && (head[1] & 0x06) != 0)
        return (head[1] & 0x06) == 0x02 ? "MP3 audio" : "MPEG audio";
    return {};
}

}  // namespace

std::string unopenable_content_description(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return {};
    std::vector<unsigned char> head(4096);
    in.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    const std::string what = describe(head);
    if (what.empty())
        return {};
    const std::string name = file_name_part(path);
    const bool wave = what.find("WAVE") != std::string::npos;
    return name + " holds " + what + ", which this version cannot open" +
           (wave ? " (it opens 8- and 16-bit PCM and ADPCM in mono or stereo)." : ".");
}
