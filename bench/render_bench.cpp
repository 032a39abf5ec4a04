// Full repaints of a 1920 x 600 view of a large stereo document (1 GiB of
// 16-bit samples by default, then the same sound as 24-bit and as float
// samples) at every zoom level and at several scroll positions. Prints the
// median and the worst time of a repaint per level and the most sample values
// read for one column.

#include "app/app_paths.h"
#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/document_open.h"
#include "view/document_save.h"
#include "view/view_navigation.h"
#include "view/waveform_renderer.h"
#include "wavefile/wave_state.h"

#include "bench_session.h"

#include <QGuiApplication>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>


namespace {

// Repaints of the document in `wave` at every level; the worst median.
double measure(const std::string& label, const std::string& wave)
{
    auto frame = open_document_file(wave);
    if (!frame) {
        std::fprintf(stderr, "cannot open %s\n", wave.c_str());
        std::exit(1);
    }
    CChildFrame& f = *frame;
    f.layout.clientWidth = 1920;
    f.layout.clientHeight = 600;
    WaveformRenderer renderer(1920);
    QImage client;
    std::printf("%s: %llu units, %d levels\n", label.c_str(), static_cast<unsigned long long>(f.nTotalSamples),
                f.nMaxZoomLevel);
    std::printf("level  fZoom    median ms  worst ms  values/column\n");
    double worstMedian = 0;
    long worstValues = 0;
    for (int level = 1; level <= f.nMaxZoomLevel; ++level) {
        f.nZoomLevel = level;
        f.fZoom = std::ldexp(1.0f, level - 1);
        f.nFirstSample = 0;
        compute_scroll_range(f);
        std::vector<double> times;
        long values = 0;
        // Several scroll positions across the document, a few repaints each.
        for (int position = 0; position < 8; ++position) {
            scroll(f, ScrollRequest::Thumb, scroll_bar_maximum(f) * position / 8);
            for (int repeat = 0; repeat < 3; ++repeat) {
                f.layout.redrawAll = true;
                const auto start = std::chrono::steady_clock::now();
                renderer.paint(f, client, 1);
                times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
                values = std::max(values, renderer.maxValuesPerColumn());
            }
        }
        std::sort(times.begin(), times.end());
        const double median = times[times.size() / 2];
        std::printf("%5d  %7.0f  %9.2f  %8.2f  %13ld\n", level, f.fZoom, median, times.back(), values);
        worstMedian = std::max(worstMedian, median);
        worstValues = std::max(worstValues, values);
    }
    std::printf("%s: worst median repaint %.2f ms (goal <= 5 ms); most values read for a column: %ld\n",
                label.c_str(), worstMedian, worstValues);
    return worstMedian;
}

// The same sound saved as 24-bit or float samples beside it.
std::string converted(const std::string& wave, int bits)
{
    auto frame = open_document_file(wave);
    const std::string out = wave.substr(0, wave.size() - 4) + (bits == 32 ? "-float.wav" : "-24.wav");
    current_wave_format.nChannels = 2;
    current_wave_format.nSamplesPerSec = 44100;
    current_wave_format.wFormatTag = bits == 32 ? 3 : 1;
    current_wave_format.wBitsPerSample = static_cast<std::uint16_t>(bits);
    current_wave_format.nBytesPerSample = static_cast<std::uint16_t>(bits / 8);
    if (!frame || !save_waveform_file(*frame, out, 0, 1)) {
        std::fprintf(stderr, "cannot make %s\n", out.c_str());
        std::exit(1);
    }
    return out;
}

}  // namespace

int main(int argc, char** argv)
{
    const BenchArgs args = parse_bench_args(argc, argv, "bench-render-tmp");
    const std::uint64_t mib = args.mib;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    ensure_runtime_directory();
    QGuiApplication app(argc, argv);
    const BenchSession session(args.dir);
    const std::string& dir = session.dir;
    const std::string wave = dir + "/big.wav";
    std::printf("making %llu MiB of 44.1 kHz stereo 16-bit sound\n", static_cast<unsigned long long>(mib));
    // A slow sweep under noise, so that every column has something to draw.
    std::uint64_t x = 88172645463325252ull;
    write_bench_wave(wave, (mib << 20) - 44, [&x](std::uint64_t frame, int channel) {
        const double s = std::sin(frame * 0.001 * (1 + frame % 1000000 / 100000.0));
        if (channel == 1)
            return static_cast<std::int16_t>(-s * 8000);
        x ^= x << 13;
        x ^= x >> 7;
        x ^= x << 17;
        return static_cast<std::int16_t>(s * 12000 + static_cast<int>(x % 4000) - 2000);
    });

    set_screen_width_pixels(1920);
    measure("16-bit", wave);
    for (int bits : {24, 32}) {
        const std::string deep = converted(wave, bits);
        measure(bits == 32 ? "float" : "24-bit", deep);
        std::filesystem::remove(deep);
    }
    std::filesystem::remove_all(dir);
    return 0;
}
