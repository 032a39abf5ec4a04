#include "view/display_levels.h"

#include "app/clock.h"
#include "app/file_names.h"
#include "app/progress.h"
#include "view/child_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

int g_screenWidth = 1920;

// Running minimum and maximum of one channel over a block.
struct Extremes {
    int min = 32767;
    int max = -32767;
    void add(int v)
    {
        min = std::min(min, v);
        max = std::max(max, v);
    }
};

// Scans units [begin, end) with stride `step` starting at `first`.
template <typename Sample>
Extremes scan(const Sample* data, std::int64_t first, std::int64_t end, int step)
{
    Extremes e;
    for (std::int64_t u = first; u < end; u += step)
        e.add(data[u]);
    return e;
}

// Fills the overview from the finest level. Sample is the stored type of both
// levels: unsigned bytes for 8-bit data, signed words for 16-bit data.
template <typename Sample>
int fillOverview(CChildFrame& f, const Sample* data, Sample* overview, std::size_t capacity,
                 HWND box)
{
    const std::int64_t n = f.nTotalSamples;
    const int c = f.wfx.nChannels;
    const std::int64_t blockUnits = 256LL * c;
    const std::size_t entriesPerBlock = 2u * static_cast<std::size_t>(c);
    // The last frame is never read: these are the highest unit indexes that are.
    const std::int64_t lastFirst = n - c - 1;
    const std::int64_t lastSecond = n - 3;
    // Let go of source pages every 16 MiB so that resident memory stays small
    // however long the document is.
    const std::int64_t releaseUnits = (16LL << 20) / static_cast<std::int64_t>(sizeof(Sample));
    std::int64_t released = 0;

    std::size_t written = 0;
    std::int64_t block = 0;
    for (std::int64_t start = 0; start + blockUnits <= n; start += blockUnits, ++block) {
        if (written + entriesPerBlock > capacity)
            break;
        const std::int64_t end = start + blockUnits;
        const Extremes first = scan(data, start, std::min(end, lastFirst + 1), c);
        if (c == 2) {
            const Extremes second = scan(data, start + 1, std::min(end, lastSecond + 1), 2);
            overview[written++] = static_cast<Sample>(first.min);
            overview[written++] = static_cast<Sample>(second.min);
            overview[written++] = static_cast<Sample>(first.max);
            overview[written++] = static_cast<Sample>(second.max);
        } else {
            overview[written++] = static_cast<Sample>(first.min);
            overview[written++] = static_cast<Sample>(first.max);
        }
        f.nLevelLength[1] = static_cast<std::uint32_t>(written);
        if (end - released >= releaseUnits) {
            f.levels[f.nMaxZoomLevel].mapping.release(released * sizeof(Sample),
                                                      (end - released) * sizeof(Sample));
            released = end;
        }
        if (block % 10 == 9) {
            if (cancel_button_pressed(box))
                return 0;
            show_percent_done(box, static_cast<int>(static_cast<double>(end) * 100.0 / n));
        }
    }
    return 1;
}

}  // namespace

int screen_width_pixels() { return g_screenWidth; }
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

int build_overview_level(CChildFrame& f)
{
    const std::size_t bytesPerSample = static_cast<std::size_t>(f.bytesPerSample());
    const std::size_t size = (bytesPerSample * f.nTotalSamples) >> 7;
    f.nLevelLength[1] = 0;

    make_unique_file_name(f.szOverviewFileName, ".ovr");
    busy_wait_ms(20);
    DisplayLevel& level = f.levels[1];
    level.file.reset(::open(f.szOverviewFileName.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!level.file.valid() || ftruncate(level.file.get(), static_cast<off_t>(size)) != 0)
        return 0;
    if (size > 0 && !level.mapping.map(level.file.get(), size))
        return 0;

    char text[600];
    std::snprintf(text, sizeof text, "Opening file %s...", f.szDisplayName.c_str());
    HWND box = display_message_dialog(text, 1);
    current_progress_box = box;
    show_percent_done(box, 0);

    int complete = 1;
    const std::size_t capacity = size / bytesPerSample;
    if (size > 0) {
        if (bytesPerSample == 1)
            complete = fillOverview(f, f.level8(f.nMaxZoomLevel),
                                    static_cast<std::uint8_t*>(level.mapping.data()), capacity, box);
        else
            complete = fillOverview(f, f.level16(f.nMaxZoomLevel),
                                    static_cast<std::int16_t*>(level.mapping.data()), capacity, box);
    }
    terminate_message_dialog(box);
    restore_wait_cursor();
    f.fZoom = f.fMaxZoom;
    f.nZoomLevel = f.nMaxZoomLevel;
    return complete;
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
