// Cut, paste and mix in the middle of a large document (1 GiB by default),
// each timed against `cp` of the same file in the same run; and the peak
// memory while they run (anonymous memory sampled, and the kernel's peak
// resident size, which includes mapped file pages).

#include "edit/edit_operations.h"
#include "edit/undo.h"
#include "view/child_frame.h"
#include "view/document_open.h"
#include "view/mouse_selection.h"

#include "bench_session.h"
#include "bench_support.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

long statusKiB(const char* key)
{
    std::ifstream in("/proc/self/status");
    std::string line;
    const std::size_t n = std::strlen(key);
    while (std::getline(in, line))
        if (line.compare(0, n, key) == 0)
            return std::atol(line.c_str() + n + 1);
    return 0;
}

double timeIt(const std::function<void()>& work)
{
    sync();
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv)
{
    const BenchArgs args = parse_bench_args(argc, argv, "bench-edit-tmp");
    const std::uint64_t mib = args.mib;
    const BenchSession session(args.dir);
    const std::string& dir = session.dir;
    const std::string wave = dir + "/big.wav";
    std::printf("making %llu MiB of 44.1 kHz stereo 16-bit sound\n", static_cast<unsigned long long>(mib));
    write_bench_wave(wave, (mib << 20) - 44, [](std::uint64_t frame, int channel) {
        return static_cast<std::int16_t>(10000 * std::sin(frame * (channel ? 0.031 : 0.047)));
    });
    auto frame = open_document_file(wave);
    if (!frame)
        return 1;
    CChildFrame& f = *frame;

    std::atomic<bool> sampling{true};
    std::atomic<long> peakAnon{0};
    std::thread sampler([&] {
        while (sampling) {
            peakAnon = std::max(peakAnon.load(), statusKiB("RssAnon:"));
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });

    const std::uint32_t middle = f.nTotalSamples / 2 & ~3u;
    const std::uint32_t span = 44100 * 2 * 60;  // one minute of sound
    auto select = [&](std::uint32_t start, std::uint32_t end) {
        f.bHighlight = 1;
        set_selection_units(f, start, end);
    };
    auto cp = [&] {
        const double t = timeIt([&] { std::system(("cp '" + wave + "' '" + dir + "/cp.wav'").c_str()); });
        std::filesystem::remove(dir + "/cp.wav");
        return t;
    };
    struct Result {
        const char* name;
        double seconds;
        double cp;
    };
    // Three rounds; medians, since cp's own time varies a lot between runs.
    std::vector<double> cut, paste, mix, cps;
    for (int round = 0; round < 3; ++round) {
        select(middle, middle + span);
        cut.push_back(timeIt([&] { require(edit_operation(f, f, true, kCut), "cut"); }));
        undo_redo_toggle(f);
        cps.push_back(cp());
        select(middle, middle);
        paste.push_back(timeIt([&] { require(edit_operation(f, f, false, kPaste), "paste"); }));
        undo_redo_toggle(f);
        cps.push_back(cp());
        select(middle, middle + span);
        mix.push_back(timeIt([&] { require(edit_operation(f, f, false, kMix), "mix"); }));
        undo_redo_toggle(f);
        cps.push_back(cp());
    }
    auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    };
    const double cpMedian = median(cps);
    const std::vector<Result> results = {{"cut", median(cut), cpMedian}, {"paste", median(paste), cpMedian},
                                         {"mix", median(mix), cpMedian}};
    sampling = false;
    sampler.join();

    for (const Result& r : results)
        std::printf("%-6s %.3f s, cp %.3f s, ratio %.2f (goal <= 1.5)\n", r.name, r.seconds, r.cp, r.seconds / r.cp);
    std::printf("peak anonymous memory %.1f MiB (goal <= 64 MiB), peak resident %.1f MiB\n", peakAnon / 1024.0,
                statusKiB("VmHWM:") / 1024.0);
    frame.reset();
    std::filesystem::remove_all(dir);
    return 0;
}
