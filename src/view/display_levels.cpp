#include "view/display_levels.h"

#include "app/instance_files.h"
#include "app/clock.h"
#include "app/file_names.h"
#include "app/progress.h"
#include "view/child_frame.h"
#include "wavefile/sample_format.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace {

int g_screenWidth = 1920;

// Running minimum and maximum of one channel over a block.
struct Extremes {
    int min = 32767;
    int max = -32767;
};

// Minimum and maximum of channel `Ch` over frames [0, frames) of a block.
// The channel count is a constant here so that the loop vectorizes: this scan
// is most of the work of opening a long file.
template <int Channels, int Ch, typename Sample>
Extremes scanChannel(const Sample* block, long frames)
{
    int lo = 32767;
    int hi = -32767;
    for (long k = 0; k < frames; ++k) {
        const int v = block[k * Channels + Ch];
        lo = v < lo ? v : lo;
        hi = v > hi ? v : hi;
    }
    return {lo, hi};
}

// Every 256 frames of each channel make one overview entry.
constexpr long kFramesPerBlock = 256;

// How many frames of each channel the overview reads: unit indexes above
// n - channels - 1 (first channel) and n - 3 (second channel) are never
// read, so the document's last frame is left out.
struct ChannelFrames {
    std::int64_t first;
    std::int64_t second;
};
ChannelFrames channel_frames(std::int64_t n, int channels)
{
    return {n - channels - 1 >= 0 ? (n - channels - 1) / channels + 1 : 0, n - 4 >= 0 ? (n - 4) / 2 + 1 : 0};
}

// The frames of the block starting at frame `blockStart` below a channel's limit.
long frames_in(std::int64_t limit, std::int64_t blockStart)
{
    const std::int64_t frames = limit - blockStart;
    return static_cast<long>(frames < 0 ? 0 : frames > kFramesPerBlock ? kFramesPerBlock : frames);
}

// After every tenth block the progress box shows how far the fill is;
// false when its Cancel was pressed.
bool report_progress(HWND box, std::int64_t block, long blockUnits, std::int64_t n)
{
    if (block % 10 != 9)
        return true;
    if (cancel_button_pressed(box))
        return false;
    show_percent_done(box, static_cast<int>(static_cast<double>((block + 1) * blockUnits) * 100.0 /
                                            static_cast<double>(n)));
    return true;
}

// The finest level's file, read from start to end.
int sequential_finest_file(CChildFrame& f)
{
    const int fd = f.levels[f.nMaxZoomLevel].file.get();
    posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    return fd;
}

// Fills the overview from the working file. Sample is the stored type of
// both levels: unsigned bytes for 8-bit data, signed words for 16-bit data.
// The file is read in large chunks rather than through its map, which spares
// a page fault for every few kilobytes of a long document.
template <int Channels, typename Sample>
int fillOverview(CChildFrame& f, int fd, Sample* overview, std::size_t capacity, HWND box)
{
    constexpr long kBlockUnits = kFramesPerBlock * Channels;
    constexpr long kBlocksPerChunk = (1L << 20) / (kBlockUnits * static_cast<long>(sizeof(Sample)));
    const std::int64_t n = f.nTotalSamples;
    const ChannelFrames limits = channel_frames(n, Channels);

    std::vector<Sample> chunk(static_cast<std::size_t>(kBlocksPerChunk * kBlockUnits));
    std::size_t written = 0;
    std::int64_t block = 0;
    const std::int64_t wholeBlocks = n / kBlockUnits;
    while (block < wholeBlocks) {
        const long blocks = static_cast<long>(std::min<std::int64_t>(kBlocksPerChunk, wholeBlocks - block));
        const std::size_t bytes = static_cast<std::size_t>(blocks * kBlockUnits) * sizeof(Sample);
        const off_t offset = static_cast<off_t>(block * kBlockUnits * static_cast<std::int64_t>(sizeof(Sample)));
        if (pread(fd, chunk.data(), bytes, offset) != static_cast<ssize_t>(bytes))
            return 0;
        for (long b = 0; b < blocks; ++b, ++block) {
            if (written + 2 * Channels > capacity)
                return 1;
            const Sample* data = chunk.data() + b * kBlockUnits;
            const std::int64_t blockStart = block * kFramesPerBlock;
            const Extremes first = scanChannel<Channels, 0>(data, frames_in(limits.first, blockStart));
            if constexpr (Channels == 2) {
                const Extremes second =
                    scanChannel<Channels, 1>(data, frames_in(limits.second, blockStart));
                overview[written++] = static_cast<Sample>(first.min);
                overview[written++] = static_cast<Sample>(second.min);
                overview[written++] = static_cast<Sample>(first.max);
                overview[written++] = static_cast<Sample>(second.max);
            } else {
                overview[written++] = static_cast<Sample>(first.min);
                overview[written++] = static_cast<Sample>(first.max);
            }
            f.nLevelLength[1] = static_cast<std::uint32_t>(written);
            if (!report_progress(box, block, kBlockUnits, n))
                return 0;
        }
    }
    return 1;
}

template <typename Sample>
int fillOverview(CChildFrame& f, Sample* overview, std::size_t capacity, HWND box)
{
    const int fd = sequential_finest_file(f);
    if (f.wfx.nChannels == 2)
        return fillOverview<2>(f, fd, overview, capacity, box);
    return fillOverview<1>(f, fd, overview, capacity, box);
}

// The overview of a 24-bit or float document: the same entries (minimum and
// maximum of every 256 frames per channel, the last frame left out as
// above), stored as 16-bit values, which is all a picture of the sound
// needs: the 24-bit value shifted down 8 bits, the float one scaled to
// 32768 and rounded down (the same entry for the same sound). Each chunk of
// the working file is decoded first.
struct Wide24 {
    // A 24-bit value shifted down 8 bits is its top two bytes, read as a
    // signed little-endian word: nothing else needs decoding.
    using Value = std::int16_t;
    static void decode(const unsigned char* in, Value* out, std::size_t n)
    {
        for (std::size_t i = 0; i < n; ++i)
            out[i] = static_cast<std::int16_t>(static_cast<std::uint16_t>(in[3 * i + 1] | in[3 * i + 2] << 8));
    }
    static std::int16_t entry(Value v) { return v; }
};
struct WideFloat {
    using Value = float;
    static void decode(const unsigned char* in, Value* out, std::size_t n)
    {
        samples_to_float(SampleFormat::F32, in, out, n);
    }
    static std::int16_t entry(Value v)
    {
        return static_cast<std::int16_t>(std::clamp(std::floor(v * 32768.0f), -32768.0f, 32767.0f));
    }
};

template <int Channels, typename Wide>
int fillWideOverview(CChildFrame& f, int fd, std::int16_t* overview, std::size_t capacity, HWND box)
{
    using Value = typename Wide::Value;
    constexpr long kBlockUnits = kFramesPerBlock * Channels;
    constexpr long kBlocksPerChunk = 64;
    const std::size_t unitBytes = static_cast<std::size_t>(f.bytesPerSample());
    const std::int64_t n = f.nTotalSamples;
    const ChannelFrames limits = channel_frames(n, Channels);
    // An empty block keeps the marks the narrow overview gives it.
    auto scan = [](const Value* data, int ch, long frames, std::int16_t& lo, std::int16_t& hi) {
        if (frames <= 0) {
            lo = 32767;
            hi = -32767;
            return;
        }
        Value mn = data[ch];
        Value mx = data[ch];
        for (long k = 1; k < frames; ++k) {
            const Value v = data[k * Channels + ch];
            mn = v < mn ? v : mn;
            mx = v > mx ? v : mx;
        }
        lo = Wide::entry(mn);
        hi = Wide::entry(mx);
    };

    std::vector<unsigned char> raw(static_cast<std::size_t>(kBlocksPerChunk * kBlockUnits) * unitBytes);
    std::vector<Value> chunk(static_cast<std::size_t>(kBlocksPerChunk * kBlockUnits));
    std::size_t written = 0;
    std::int64_t block = 0;
    const std::int64_t wholeBlocks = n / kBlockUnits;
    while (block < wholeBlocks) {
        const long blocks = static_cast<long>(std::min<std::int64_t>(kBlocksPerChunk, wholeBlocks - block));
        const std::size_t units = static_cast<std::size_t>(blocks * kBlockUnits);
        const off_t offset = static_cast<off_t>(block * kBlockUnits * static_cast<std::int64_t>(unitBytes));
        if (pread(fd, raw.data(), units * unitBytes, offset) != static_cast<ssize_t>(units * unitBytes))
            return 0;
        Wide::decode(raw.data(), chunk.data(), units);
        for (long b = 0; b < blocks; ++b, ++block) {
            if (written + 2 * Channels > capacity)
                return 1;
            const Value* data = chunk.data() + b * kBlockUnits;
            const std::int64_t blockStart = block * kFramesPerBlock;
            std::int16_t lo[2] = {};
            std::int16_t hi[2] = {};
            scan(data, 0, frames_in(limits.first, blockStart), lo[0], hi[0]);
            if constexpr (Channels == 2)
                scan(data, 1, frames_in(limits.second, blockStart), lo[1], hi[1]);
            for (int ch = 0; ch < Channels; ++ch)
                overview[written++] = lo[ch];
            for (int ch = 0; ch < Channels; ++ch)
                overview[written++] = hi[ch];
            f.nLevelLength[1] = static_cast<std::uint32_t>(written);
            if (!report_progress(box, block, kBlockUnits, n))
                return 0;
        }
    }
    return 1;
}

int fillWideOverview(CChildFrame& f, std::int16_t* overview, std::size_t capacity, HWND box)
{
    const int fd = sequential_finest_file(f);
    const bool isFloat = f.sampleFormat() == SampleFormat::F32;
    if (f.wfx.nChannels == 2)
        return isFloat ? fillWideOverview<2, WideFloat>(f, fd, overview, capacity, box)
                       : fillWideOverview<2, Wide24>(f, fd, overview, capacity, box);
    return isFloat ? fillWideOverview<1, WideFloat>(f, fd, overview, capacity, box)
                   : fillWideOverview<1, Wide24>(f, fd, overview, capacity, box);
}

}  // namespace

int screen_width_pixels() { return g_screenWidth; }

std::size_t overview_entry_bytes(const CChildFrame& f) { return f.bytesPerSample() == 1 ? 1 : 2; }
void set_screen_width_pixels(int width) { g_screenWidth = width > 0 ? width : 1920; }

int display_level_search(std::uint64_t units, int screenWidth)
{
    const double limit = static_cast<double>(screenWidth * 3 / 4);
    int i = 0;
    while (i < 999 && std::ldexp(static_cast<double>(units), -i) >= limit)
        ++i;
    return i;
}

void compute_display_levels(CChildFrame& f, int screenWidth)
{
    const std::uint64_t units =
        static_cast<std::uint64_t>(f.nTotalSamples) * (f.wfx.nChannels == 1 ? 2 : 1);
    int i = display_level_search(units, screenWidth);
    // Level numbers index fixed arrays; a document too long for them keeps
    // the coarsest levels it can have.
    i = std::min(i, kLevelSlots - 1);
    if (i < 2) {
        i = 1;
        f.fZoom = 1.0f;
    } else {
        f.fZoom = std::ldexp(1.0f, i - 1);
    }
    f.fMaxZoom = f.fZoom;
    f.nMaxZoomLevel = i;
    f.nLevelLength[i] = f.nTotalSamples;
}

int map_finest_level(CChildFrame& f)
{
    DisplayLevel& level = f.levels[f.nMaxZoomLevel];
    level.file.reset(::open(f.szFileName.c_str(), O_RDWR | O_CLOEXEC));
    if (!level.file.valid())
        return 0;
    const off_t size = lseek(level.file.get(), 0, SEEK_END);
    if (size <= 0 || !level.mapping.map(level.file.get(), static_cast<std::size_t>(size)))
        return 0;
    level.mapping.adviseSequential();
    for (int l = f.nMaxZoomLevel - 1; l >= 1; --l)
        f.nLevelLength[l] = f.nTotalSamples;
    return 1;
}

int build_overview_level(CChildFrame& f, const char* progressFormat)
{
    // Entries of the overview: bytes for 8-bit documents, 16-bit words for
    // the others.
    const std::size_t bytesPerSample = overview_entry_bytes(f);
    const std::size_t size = (bytesPerSample * f.nTotalSamples) >> 7;
    f.nLevelLength[1] = 0;

    DisplayLevel& level = f.levels[1];
    level.file = create_work_file(f.files.overview, ".ovr");
    busy_wait_ms(20);
    if (!level.file.valid() || ftruncate(level.file.get(), static_cast<off_t>(size)) != 0)
        return 0;
    if (size > 0 && !level.mapping.map(level.file.get(), size))
        return 0;

    char text[600];
    std::snprintf(text, sizeof text, progressFormat, f.szDisplayName.c_str());
    int complete = 1;
    {
        const ProgressScope progress(text, true);
        const std::size_t capacity = size / bytesPerSample;
        if (size > 0) {
            if (bytesPerSample == 1)
                complete = fillOverview(f, static_cast<std::uint8_t*>(level.mapping.data()), capacity, progress.box());
            else if (f.bytesPerSample() > 2)
                complete = fillWideOverview(f, static_cast<std::int16_t*>(level.mapping.data()), capacity,
                                            progress.box());
            else
                complete = fillOverview(f, static_cast<std::int16_t*>(level.mapping.data()), capacity, progress.box());
        }
    }
    if (complete)
        build_coarse_overview(f);
    f.fZoom = f.fMaxZoom;
    f.nZoomLevel = f.nMaxZoomLevel;
    return complete;
}

void build_coarse_overview(CChildFrame& f)
{
    f.coarseOverview.clear();
    const int c = f.wfx.nChannels;
    const std::size_t perBlock = 2u * static_cast<std::size_t>(c);
    const std::size_t blocks = f.nLevelLength[1] / perBlock;
    const bool bytes = f.bytesPerSample() == 1;
    auto entry = [&](std::size_t i) -> int {
        return bytes ? f.level8(1)[i] : f.level16(1)[i];
    };
    for (std::size_t group = 0; (group + 1) * kCoarseGroupBlocks <= blocks; ++group) {
        int lo[2] = {32767, 32767};
        int hi[2] = {-32767, -32767};
        for (std::size_t b = group * kCoarseGroupBlocks; b < (group + 1) * kCoarseGroupBlocks; ++b) {
            for (int ch = 0; ch < c; ++ch) {
                lo[ch] = std::min(lo[ch], entry(b * perBlock + static_cast<std::size_t>(ch)));
                hi[ch] = std::max(hi[ch], entry(b * perBlock + static_cast<std::size_t>(c + ch)));
            }
        }
        for (int ch = 0; ch < c; ++ch)
            f.coarseOverview.push_back(static_cast<std::int16_t>(lo[ch]));
        for (int ch = 0; ch < c; ++ch)
            f.coarseOverview.push_back(static_cast<std::int16_t>(hi[ch]));
    }
}

void apply_initial_zoom(CChildFrame& f, bool zoomed, int screenWidth)
{
    int level = 1;
    if (zoomed && f.nMaxZoomLevel > 1) {
        // At level L one column covers 2^(max - L) frames.
        const double frames = 10.0 * f.wfx.nSamplesPerSec;
        const double perColumn = std::max(1.0, frames / std::max(1, screenWidth));
        level = f.nMaxZoomLevel - static_cast<int>(std::ceil(std::log2(perColumn)));
    }
    f.nZoomLevel = std::clamp(level, 1, f.nMaxZoomLevel);
    f.fZoom = std::ldexp(1.0f, f.nZoomLevel - 1);
}
