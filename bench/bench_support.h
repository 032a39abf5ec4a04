#pragma once

// What the benchmarks share: their arguments, their scratch folder, and the
// large stereo 16-bit WAV files (44.1 kHz unless said) they work on.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

// Ends the benchmark when a step it times did not do its work: a figure of
// a failed edit would measure nothing.
inline void require(int result, const char* step)
{
    if (!result) {
        std::fprintf(stderr, "%s failed\n", step);
        std::exit(1);
    }
}

// `frameValue(frame, channel)` gives each sample; the file is synced to disk
// so that the timed runs do not pay for writing it.
inline void write_bench_wave(const std::string& name, std::uint64_t dataBytes,
                             const std::function<std::int16_t(std::uint64_t, int)>& frameValue,
                             std::uint32_t rate = 44100)
{
    FILE* f = std::fopen(name.c_str(), "wb");
    if (!f) {
        std::perror(name.c_str());
        std::exit(1);
    }
    unsigned char h[44] = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ',
                           16, 0, 0, 0, 1, 0, 2, 0, 0x44, 0xAC, 0, 0, 0x10, 0xB1, 2, 0,
                           4, 0, 16, 0, 'd', 'a', 't', 'a', 0, 0, 0, 0};
    for (int i = 0; i < 4; ++i) {
        h[24 + i] = static_cast<unsigned char>(rate >> (8 * i));
        h[28 + i] = static_cast<unsigned char>((rate * 4) >> (8 * i));
        h[4 + i] = static_cast<unsigned char>((36 + dataBytes) >> (8 * i));
        h[40 + i] = static_cast<unsigned char>(dataBytes >> (8 * i));
    }
    std::fwrite(h, 1, 44, f);
    std::vector<std::int16_t> block(1 << 18);
    std::uint64_t frame = 0;
    for (std::uint64_t written = 0; written < dataBytes; written += block.size() * 2) {
        for (std::size_t i = 0; i < block.size(); i += 2, ++frame) {
            block[i] = frameValue(frame, 0);
            block[i + 1] = frameValue(frame, 1);
        }
        std::fwrite(block.data(), 1, std::min<std::uint64_t>(block.size() * 2, dataBytes - written), f);
    }
    std::fflush(f);
    fsync(fileno(f));
    std::fclose(f);
}

// --size-mib N (default 1024) and --dir DIR.
struct BenchArgs {
    std::uint64_t mib = 1024;
    std::string dir;
};
inline BenchArgs parse_bench_args(int argc, char** argv, const std::string& defaultDir)
{
    BenchArgs args;
    args.dir = defaultDir;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string a = argv[i];
        if (a == "--size-mib")
            args.mib = std::strtoull(argv[i + 1], nullptr, 10);
        else if (a == "--dir")
            args.dir = argv[i + 1];
    }
    return args;
}

// Empties the scratch folder, makes its "work" folder, and returns the
// folder's absolute path.
inline std::string prepare_bench_dir(const std::string& dir)
{
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir + "/work");
    return std::filesystem::absolute(dir).string();
}
