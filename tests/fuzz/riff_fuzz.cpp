// Feeds arbitrary bytes as a file to the header check, the chunk walker, the
// INFO parser, the cue reader, the ADPCM codec, the wave converter and the
// JAF expansion, and writes back any INFO list and cue points it parsed to
// check that they read again the same.

#include "app/terminal_ui_host.h"
#include "wavefile/adpcm_codec.h"
#include "wavefile/cue_chunk.h"
#include "wavefile/jaf_blocks.h"
#include "wavefile/wave_converter.h"
#include "wavefile/riff_file.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_io.h"
#include "wavefile/wave_state.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// Scratch files live in memory when the machine has a memory file system:
// every run writes a few.
std::string scratch(const char* suffix)
{
    static const std::string folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    return folder + "/ondrava-fuzz-" + std::to_string(getpid()) + suffix;
}

void writeAll(const std::string& name, const uint8_t* data, size_t size)
{
    FILE* f = std::fopen(name.c_str(), "wb");
    if (!f)
        abort();
    if (size && std::fwrite(data, 1, size, f) != size)
        abort();
    std::fclose(f);
}

// The ADPCM codec straight on the file's format and data: whatever the
// header says, the decoder and the encoder stay inside the room they are
// given (the sanitizers watch every write).
void exerciseCodec(const wave_io_info& info, const uint8_t* data, size_t size)
{
    const AdpcmFormat format = AdpcmFormat::fromBytes(info.fmt.data(), info.fmt.size());
    const size_t offset = std::min<size_t>(info.dwDataOffset, size);
    const size_t bytes = std::min<size_t>(info.dwDataBytes, size - offset);
    const uint8_t* samples = data + offset;
    std::vector<unsigned char> out(4096 + static_cast<size_t>(data[size - 1]) * 16);
    AdpcmFormat pcm;
    pcm.formatTag = 1;
    pcm.channels = format.channels;
    pcm.bitsPerSample = (data[0] & 2) ? 16 : 8;
    pcm.coefficients.clear();
    const size_t decoded = decode_adpcm_block(format, samples, pcm, out.data(), bytes, out.size());
    if (decoded > out.size())
        abort();
    if (adpcm_format_is_sound(format) && format.channels >= 1 && format.channels <= 2) {
        AdpcmFormat destination = format;
        destination.coefficients.assign(adpcm_standard_coefficients().begin(), adpcm_standard_coefficients().end());
        const size_t encoded = encode_adpcm_block(pcm, samples, destination, out.data(), bytes, out.size());
        if (encoded > out.size())
            abort();
    }
    // The JAF expansion at the ratio the average-bytes field records.
    if (const auto ratio = jaf_ratio_from_average_bytes(info.fmt.size() >= 12 ? static_cast<uint32_t>(
                                                             info.fmt[8] | info.fmt[9] << 8 | info.fmt[10] << 16 |
                                                             static_cast<uint32_t>(info.fmt[11]) << 24)
                                                                              : 0)) {
        const int channels = format.channels == 2 ? 2 : 1;
        std::vector<uint8_t> input(bytes + 4, 128);
        std::copy(samples, samples + bytes, input.begin());
        std::vector<int16_t> expanded(2048);
        jaf_expand_block(input.data(), bytes / static_cast<size_t>(channels) * static_cast<size_t>(channels),
                         expanded.data(), expanded.size(), channels, *ratio);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static TerminalUiHost host;
    host.setQuiet(true);
    setUiHost(&host);
    host.clearShown();
    // Questions get Yes or No from the first byte, so both paths are walked.
    host.setDefaultAgree(size > 0 && (data[0] & 1));

    const std::string input = scratch(".wav");
    writeAll(input, data, size);
    reset_wave_state();
    static_cast<void>(ReadInputWaveformHeader(input, 1));

    std::unique_ptr<wave_io_info> info;
    const int walked = wioFileOpen(&info, input.c_str(), 0);
    if (walked == WIOERR_NOERROR && size > 0) {
        exerciseCodec(*info, data, size);
        // The whole wave converter, file to file, as the program runs it.
        const std::string converted = scratch(".conv");
        static_cast<void>(convert_wave_file(nullptr, input, converted));
        std::remove(converted.c_str());
    }
    if (walked == WIOERR_NOERROR && info->pInfo) {
        const std::string copy = scratch(".info");
        RiffFile out;
        if (!out.open(copy, RiffFile::Mode::Create))
            abort();
        ChunkInfo riff;
        riff.fccType = kWave;
        out.createChunk(riff, MMIO_CREATERIFF);
        if (write_info_list(&out, info->pInfo.get()) != INFO_OK)
            abort();
        out.ascend(riff);
        out.close();

        std::unique_ptr<wave_io_info> again;
        RiffFile in;
        in.open(copy, RiffFile::Mode::Read);
        ChunkInfo wave;
        wave.fccType = kWave;
        ChunkInfo list;
        list.fccType = make_fourcc("INFO");
        std::shared_ptr<InfoList> reread;
        create_info_list(reread);
        if (in.descend(wave, nullptr, MMIO_FINDRIFF) == 0 &&
            in.descend(list, &wave, MMIO_FINDLIST) == 0) {
            if (riffParseINFO(in, list, *reread) != INFO_OK)
                abort();
        }
        // Values up to their first zero byte come back as they were written;
        // empty ones are not written at all.
        for (int i = 0; i < kInfoItemCount; ++i) {
            auto before = info_item_value(*info->pInfo, i);
            auto after = info_item_value(*reread, i);
            if (before && before->empty())
                before.reset();
            if (before != after)
                abort();
        }
        std::remove(copy.c_str());
        wioFileClose(&info);
    }
    // Cue points and their labels: whatever is read writes back and reads
    // again the same.
    const std::vector<CuePoint> cues = read_cue_points(input);
    if (!cues.empty()) {
        const std::string copy = scratch(".cue");
        RiffFile out;
        if (!out.open(copy, RiffFile::Mode::Create))
            abort();
        ChunkInfo riff;
        riff.fccType = kWave;
        out.createChunk(riff, MMIO_CREATERIFF);
        if (!write_cue_chunks(out, cues))
            abort();
        out.ascend(riff);
        out.close();
        const std::vector<CuePoint> again = read_cue_points(copy);
        if (again.size() != cues.size())
            abort();
        for (std::size_t i = 0; i < cues.size(); ++i)
            if (again[i].id != cues[i].id || again[i].frame != cues[i].frame || again[i].label != cues[i].label ||
                again[i].length != cues[i].length || again[i].note != cues[i].note)
                abort();
        std::remove(copy.c_str());
    }
    std::remove(input.c_str());
    return 0;
}
