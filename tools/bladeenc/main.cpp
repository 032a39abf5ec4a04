// BLADEENC.EXE [-BITRATE | -VQUALITY] [-quit] FILE.wav ...: the MP3 encoder
// the program starts when it saves MP3, on LAME. Each RIFF WAVE file (8-,
// 16- or 24-bit PCM or float, mono or stereo) becomes an MP3 file beside it:
// the name with its ".wav" replaced by ".mp3". -320 (or another number) is
// the constant bit rate in kbit/s, 128 by default; -V0 .. -V9 asks for a
// variable bit rate of that LAME quality instead; -quit is accepted (the
// encoder never waits for a key). Every file starts with a Xing/LAME header
// frame (its length, seek table and encoder delay, for players and gapless
// decoding) and carries the WAVE file's title, artist, album, comment, date
// and track as ID3 tags.

#include "app/terminal_ui_host.h"
#include "app/file_names.h"
#include "app/posix_io.h"
#include "wavefile/audio_tags.h"
#include "wavefile/riff_info.h"
#include "wavefile/sample_format.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include <lame/lame.h>

#include <QCoreApplication>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

bool endsWith(const std::string& name, const char* suffix)
{
    const std::size_t k = std::strlen(suffix);
    if (name.size() <= k)
        return false;
    for (std::size_t i = 0; i < k; ++i)
        if (std::tolower(static_cast<unsigned char>(name[name.size() - k + i])) != suffix[i])
            return false;
    return true;
}

// "song.wav" becomes "song.mp3"; "song.mp3.wav" (the program's temporary
// name for song.mp3) becomes "song.mp3"; anything else gets ".mp3" added.
std::string mp3NameFor(const std::string& wav)
{
    if (!endsWith(wav, ".wav"))
        return wav + ".mp3";
    const std::string stem = wav.substr(0, wav.size() - 4);
    return endsWith(stem, ".mp3") ? stem : stem + ".mp3";
}

struct Rate {
    int kbps = 128;
    int vbrQuality = -1;  // 0..9 for a variable bit rate
};

void setTags(lame_global_flags* lame, const std::string& wav)
{
    const std::shared_ptr<InfoList> info = read_info_list(wav);
    const AudioTags t = tags_from_info_list(info.get());
    if (t.empty())
        return;
    id3tag_init(lame);
    id3tag_add_v2(lame);
    if (!t.title.empty())
        id3tag_set_title(lame, t.title.c_str());
    if (!t.artist.empty())
        id3tag_set_artist(lame, t.artist.c_str());
    if (!t.album.empty())
        id3tag_set_album(lame, t.album.c_str());
    if (!t.comment.empty())
        id3tag_set_comment(lame, t.comment.c_str());
    if (!t.date.empty())
        id3tag_set_year(lame, t.date.c_str());
    if (!t.track.empty())
        id3tag_set_track(lame, t.track.c_str());
}

bool encode(const std::string& wav, const Rate& rate)
{
    if (!ReadInputWaveformHeader(wav, 0)) {
        std::cerr << "BLADEENC: " << wav << " is not a PCM WAVE file\n";
        return false;
    }
    const WaveFormat format = current_wave_format;
    const std::uint32_t bytes = data_chunk_size;
    const int channels = format.nChannels;
    const int bits = format.wBitsPerSample;
    if (!is_document_format(format.wFormatTag, channels, bits)) {
        std::cerr << "BLADEENC: only 8-, 16- and 24-bit and float mono or stereo files are encoded\n";
        return false;
    }
    const int in = ::open(wav.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return false;
    auto position = static_cast<long long>(data_chunk_offset);

    lame_global_flags* lame = lame_init();
    lame_set_num_channels(lame, channels);
    lame_set_in_samplerate(lame, static_cast<int>(format.nSamplesPerSec));
    lame_set_mode(lame, channels == 2 ? JOINT_STEREO : MONO);
    if (rate.vbrQuality >= 0) {
        lame_set_VBR(lame, vbr_default);
        lame_set_VBR_quality(lame, static_cast<float>(rate.vbrQuality));
    } else {
        lame_set_brate(lame, rate.kbps);
        lame_set_VBR(lame, vbr_off);
    }
    lame_set_quality(lame, 2);
    lame_set_bWriteVbrTag(lame, 1);
    setTags(lame, wav);
    if (lame_init_params(lame) < 0) {
        std::cerr << "BLADEENC: LAME refuses this rate or bit rate\n";
        lame_close(lame);
        ::close(in);
        return false;
    }
    const std::string mp3 = mp3NameFor(wav);
    FILE* out = std::fopen(mp3.c_str(), "w+b");
    if (!out) {
        lame_close(lame);
        ::close(in);
        return false;
    }
    const int frameBytes = channels * bits / 8;
    const int framesPerBlock = 8192;
    std::vector<unsigned char> raw(static_cast<std::size_t>(framesPerBlock * frameBytes));
    const SampleFormat sampleFormat = stream_sample_format(bits);
    std::vector<float> floats;
    std::vector<unsigned char> coded(static_cast<std::size_t>(1.25 * framesPerBlock + 7200));
    bool ok = true;
    std::uint32_t left = bytes / static_cast<std::uint32_t>(frameBytes) * static_cast<std::uint32_t>(frameBytes);
    while (ok && left > 0) {
        const std::uint32_t want = std::min<std::uint32_t>(left, static_cast<std::uint32_t>(raw.size()));
        const long long got = read_fully(in, raw.data(), want, position);
        if (got <= 0)
            break;
        position += got;
        left -= static_cast<std::uint32_t>(got);
        const int frames = static_cast<int>(got / frameBytes);
        // LAME takes the samples as floats of full scale 1, whatever their
        // width.
        const std::size_t samples = static_cast<std::size_t>(frames * channels);
        floats.resize(samples);
        samples_to_float(sampleFormat, raw.data(), floats.data(), samples);
        const int n = channels == 2
                          ? lame_encode_buffer_interleaved_ieee_float(lame, floats.data(), frames, coded.data(),
                                                                      static_cast<int>(coded.size()))
                          : lame_encode_buffer_ieee_float(lame, floats.data(), floats.data(), frames, coded.data(),
                                                          static_cast<int>(coded.size()));
        ok = n >= 0 && std::fwrite(coded.data(), 1, static_cast<std::size_t>(n), out) == static_cast<std::size_t>(n);
    }
    if (ok) {
        const int n = lame_encode_flush(lame, coded.data(), static_cast<int>(coded.size()));
        ok = n >= 0 && std::fwrite(coded.data(), 1, static_cast<std::size_t>(n), out) == static_cast<std::size_t>(n);
    }
    // The header frame, now that the length and seek table are known.
    if (ok)
        lame_mp3_tags_fid(lame, out);
    ok = std::fclose(out) == 0 && ok;
    lame_close(lame);
    ::close(in);
    if (!ok) {
        std::remove(mp3.c_str());
        std::cerr << "BLADEENC: could not write " << mp3 << "\n";
    }
    return ok;
}

}  // namespace

int main(int argc, char** argv)
{
    // The arguments are file names, read as they are: Qt is given none of
    // them, so a name that looks like one of its options stays a name.
    int qtArgc = 1;
    QCoreApplication app(qtArgc, argv);
    TerminalUiHost host;
    host.setQuiet(true);
    setUiHost(&host);
    Rate rate;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a.size() > 1 && a[0] == '-' && std::isdigit(static_cast<unsigned char>(a[1])))
            rate.kbps = std::atoi(a.c_str() + 1);
        else if (a.size() == 3 && a[0] == '-' && a[1] == 'V' && std::isdigit(static_cast<unsigned char>(a[2])))
            rate.vbrQuality = a[2] - '0';
        else if (a.size() > 1 && a[0] == '-')
            continue;  // -quit and the other switches
        else
            files.push_back(a);
    }
    if (files.empty()) {
        std::cerr << "usage: BLADEENC.EXE [-BITRATE | -VQUALITY] [-quit] FILE.wav ...\n";
        return 2;
    }
    int failed = 0;
    for (const std::string& f : files)
        failed += encode(f, rate) ? 0 : 1;
    setUiHost(nullptr);
    return failed ? 1 : 0;
}
