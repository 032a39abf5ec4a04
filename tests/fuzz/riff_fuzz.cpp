// Feeds arbitrary bytes as a file to the header check, the chunk walker and
// the INFO parser and the cue reader, and writes back any INFO list and cue
// points it parsed to check that they read again the same.

#include "app/headless_ui_host.h"
#include "wavefile/cue_chunk.h"
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

namespace {

std::string scratch(const char* suffix)
{
    return "/tmp/ondrava-fuzz-" + std::to_string(getpid()) + suffix;
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static HeadlessUiHost host;
    host.setQuiet(true);
    setUiHost(&host);
    host.clearShown();
    // Questions get Yes or No from the first byte, so both paths are walked.
    host.setDefaultAgree(size > 0 && (data[0] & 1));

    const std::string input = scratch(".wav");
    writeAll(input, data, size);
    reset_wave_state();
    ReadInputWaveformHeader(input, 1);

    std::unique_ptr<wave_io_info> info;
    if (wioFileOpen(&info, input.c_str(), 0) == WIOERR_NOERROR && info->pInfo) {
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
