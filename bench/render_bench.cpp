// Full repaints of a 1920 x 600 view of a large stereo document (1 GiB by
// default) at every zoom level and at several scroll positions. Prints the
// median and the worst time of a repaint per level and the most sample values
// read for one column.

#include "app/app_paths.h"
#include "app/headless_ui_host.h"
#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/document_open.h"
#include "view/view_navigation.h"
#include "view/waveform_renderer.h"

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

void makeWave(const std::string& name, std::uint64_t dataBytes)
{
    FILE* f = std::fopen(name.c_str(), "wb");
    if (!f) {
        std::perror(name.c_str());
        std::exit(1);
    }
    unsigned char h[44] = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ',
                           16, 0, 0, 0, 1, 0, 2, 0, 0x44, 0xAC, 0, 0, 0x10, 0xB1, 2, 0,
                           4, 0, 16, 0, 'd', 'a', 't', 'a', 0, 0, 0, 0};
    const auto riff = static_cast<std::uint32_t>(36 + dataBytes);
    const auto data = static_cast<std::uint32_t>(dataBytes);
    for (int i = 0; i < 4; ++i) {
        h[4 + i] = static_cast<unsigned char>(riff >> (8 * i));
        h[40 + i] = static_cast<unsigned char>(data >> (8 * i));
    }
    std::fwrite(h, 1, 44, f);
    // A slow sweep under noise, so that every column has something to draw.
    std::vector<std::int16_t> block(1 << 18);
    std::uint64_t x = 88172645463325252ull;
    std::uint64_t frame = 0;
    for (std::uint64_t written = 0; written < dataBytes; written += block.size() * 2) {
        for (size_t i = 0; i < block.size(); i += 2, ++frame) {
            x ^= x << 13;
            x ^= x >> 7;
            x ^= x << 17;
            const double s = std::sin(frame * 0.001 * (1 + frame % 1000000 / 100000.0));
            block[i] = static_cast<std::int16_t>(s * 12000 + static_cast<int>(x % 4000) - 2000);
            block[i + 1] = static_cast<std::int16_t>(-s * 8000);
        }
        std::fwrite(block.data(), 1, std::min<std::uint64_t>(block.size() * 2, dataBytes - written), f);
    }
    std::fclose(f);
}

}  // namespace

int main(int argc, char** argv)
{
    std::uint64_t mib = 1024;
    std::string dir = "bench-render-tmp";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string a = argv[i];
        if (a == "--size-mib")
            mib = std::strtoull(argv[i + 1], nullptr, 10);
        else if (a == "--dir")
            dir = argv[i + 1];
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    std::filesystem::remove_all(dir);
    ensure_runtime_directory();
    QGuiApplication app(argc, argv);
    HeadlessUiHost host;
    host.setQuiet(true);
    setUiHost(&host);

    std::filesystem::create_directories(dir + "/work");
    set_data_directory(dir + "/work");
    const std::string wave = dir + "/big.wav";
    std::printf("making %llu MiB of 44.1 kHz stereo 16-bit sound\n", static_cast<unsigned long long>(mib));
    makeWave(wave, (mib << 20) - 44);

    set_screen_width_pixels(1920);
    auto frame = open_document_file(wave);
    if (!frame) {
        std::fprintf(stderr, "cannot open %s\n", wave.c_str());
        return 1;
    }
    CChildFrame& f = *frame;
    f.nClientWidth = 1920;
    f.nClientHeight = 600;
    WaveformRenderer renderer(1920);
    QImage client;
    std::printf("%llu units, %d levels\n", static_cast<unsigned long long>(f.nTotalSamples), f.nMaxZoomLevel);
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
                f.bRedrawAll = true;
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
    std::printf("worst median repaint: %.2f ms (goal <= 5 ms); most values read for a column: %ld\n", worstMedian,
                worstValues);
    frame.reset();
    std::filesystem::remove_all(dir);
    return 0;
}
