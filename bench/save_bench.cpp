// Saving a large document (1 GiB by default): unchanged against `cp` of the
// same bytes, and converted from 44.1 kHz stereo to 22.05 kHz mono against
// `sox` doing the same conversion. Prints the times and the ratios.

#include "view/child_frame.h"
#include "view/document_open.h"
#include "view/document_save.h"
#include "wavefile/wave_state.h"

#include "bench_session.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

double seconds(const std::chrono::steady_clock::time_point& start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double timeCommand(const std::string& command)
{
    sync();
    const auto start = std::chrono::steady_clock::now();
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "failed: %s\n", command.c_str());
        std::exit(1);
    }
    return seconds(start);
}

}  // namespace

int main(int argc, char** argv)
{
    const BenchArgs args = parse_bench_args(argc, argv, "bench-save-tmp");
    const std::uint64_t mib = args.mib;
    const BenchSession session(args.dir);
    const std::string& dir = session.dir;
    const std::string wave = dir + "/big.wav";
    std::printf("making %llu MiB of 44.1 kHz stereo 16-bit sound\n", static_cast<unsigned long long>(mib));
    write_bench_wave(wave, (mib << 20) - 44, [](std::uint64_t frame, int channel) {
        return static_cast<std::int16_t>(channel == 0 ? 12000 * std::sin(frame * 0.0627) : 9000 * std::sin(frame * 0.041));
    });
    auto frame = open_document_file(wave);
    if (!frame)
        return 1;

    // Alternating rounds; medians, so that writeback from one run weighs on
    // every kind of run alike.
    std::vector<double> cps, plains, soxes, converts;
    for (int round = 0; round < 3; ++round) {
        cps.push_back(timeCommand("cp '" + wave + "' '" + dir + "/cp.wav'"));
        std::filesystem::remove(dir + "/cp.wav");
        sync();
        auto start = std::chrono::steady_clock::now();
        if (!save_waveform_file(*frame, dir + "/plain.wav", 0, 0))
            return 1;
        plains.push_back(seconds(start));
        std::filesystem::remove(dir + "/plain.wav");

        soxes.push_back(timeCommand("sox '" + wave + "' -r 22050 -c 1 '" + dir + "/sox.wav'"));
        std::filesystem::remove(dir + "/sox.wav");
        current_wave_format.nChannels = 1;
        current_wave_format.wBitsPerSample = 16;
        current_wave_format.nBytesPerSample = 2;
        current_wave_format.nSamplesPerSec = 22050;
        sync();
        start = std::chrono::steady_clock::now();
        if (!save_waveform_file(*frame, dir + "/converted.wav", 0, 1))
            return 1;
        converts.push_back(seconds(start));
        std::filesystem::remove(dir + "/converted.wav");
    }
    auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    };
    const double cp = median(cps), plain = median(plains), sox = median(soxes), converted = median(converts);
    std::printf("unchanged: save %.3f s, cp %.3f s, ratio %.2f\n", plain, cp, plain / cp);
    std::printf("44.1 kHz stereo -> 22.05 kHz mono: save %.3f s, sox %.3f s, ratio %.2f\n", converted, sox,
                converted / sox);
    frame.reset();
    std::filesystem::remove_all(dir);
    return 0;
}
