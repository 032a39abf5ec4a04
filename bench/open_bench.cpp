// Opening large files: a 44.1 kHz stereo 16-bit WAV and a 24-bit one (1 GiB
// each by default) against copying them with cp, and a FLAC file of an hour
// against decoding it to WAV with `flac -d`. Each pair is timed in
// alternating rounds; the ratio of the medians, the peak resident memory of
// the open (all pages, from the kernel's own count) and its peak anonymous
// memory (sampled), which is what the memory goal counts, are printed.

#include "bench_support.h"

#include <algorithm>
#include <cmath>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

struct Measured {
    double seconds = 0;
    long maxRssKiB = 0;
    long peakAnonKiB = 0;
    int exitCode = -1;
};

long readStatusKiB(pid_t pid, const char* key)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    const size_t keyLength = std::strlen(key);
    while (std::getline(in, line))
        if (line.compare(0, keyLength, key) == 0)
            return std::atol(line.c_str() + keyLength + 1);
    return 0;
}

Measured run(const std::vector<std::string>& command, const std::vector<std::string>& env)
{
    std::vector<std::string> args = command;
    std::vector<char*> argv, envp;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<std::string> environment = env;
    for (auto& e : environment)
        envp.push_back(e.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    Measured m;
    const auto start = std::chrono::steady_clock::now();
    pid_t pid = 0;
    if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0) {
        std::perror("spawn");
        std::exit(1);
    }
    int status = 0;
    rusage usage{};
    for (;;) {
        const pid_t done = wait4(pid, &status, WNOHANG, &usage);
        if (done == pid)
            break;
        m.peakAnonKiB = std::max(m.peakAnonKiB, readStatusKiB(pid, "RssAnon"));
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    m.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    m.maxRssKiB = usage.ru_maxrss;
    m.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    posix_spawn_file_actions_destroy(&actions);
    return m;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// A 24-bit stereo WAV in the extensible header, as sox and ffmpeg write
// them, of `dataBytes` bytes of noise.
void writeWave24(const std::string& name, std::uint64_t dataBytes)
{
    dataBytes -= dataBytes % 6;
    FILE* f = std::fopen(name.c_str(), "wb");
    if (!f) {
        std::perror(name.c_str());
        std::exit(1);
    }
    auto le = [](unsigned char* p, std::uint64_t v, int n) {
        for (int i = 0; i < n; ++i)
            p[i] = static_cast<unsigned char>(v >> (8 * i));
    };
    unsigned char h[68] = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ', 40, 0, 0, 0};
    le(h + 4, 60 + dataBytes, 4);
    le(h + 20, 0xFFFE, 2);
    le(h + 22, 2, 2);
    le(h + 24, 44100, 4);
    le(h + 28, 44100 * 6, 4);
    le(h + 32, 6, 2);
    le(h + 34, 24, 2);
    le(h + 36, 22, 2);
    le(h + 38, 24, 2);
    le(h + 40, 3, 4);
    const unsigned char pcm[16] = {1, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
    std::memcpy(h + 44, pcm, 16);
    std::memcpy(h + 60, "data", 4);
    le(h + 64, dataBytes, 4);
    std::fwrite(h, 1, sizeof h, f);
    std::vector<unsigned char> block(6 << 16);
    std::uint64_t x = 88172645463325252ull;
    for (std::uint64_t written = 0; written < dataBytes; written += block.size()) {
        for (std::size_t i = 0; i < block.size(); i += 8) {
            x ^= x << 13;
            x ^= x >> 7;
            x ^= x << 17;
            std::memcpy(block.data() + i, &x, 8);
        }
        std::fwrite(block.data(), 1, std::min<std::uint64_t>(block.size(), dataBytes - written), f);
    }
    std::fflush(f);
    fsync(fileno(f));
    std::fclose(f);
}

// Times the reference and ondrava-cli open in alternating rounds; prints
// the medians, their ratio against the goal, and the open's memory.
void compare(const char* what, const std::vector<std::string>& reference, const std::string& file,
             const std::vector<std::string>& env, int rounds, double goal, const std::string& leftover)
{
    std::vector<double> referenceTimes, openTimes;
    long maxRss = 0, maxAnon = 0;
    // Each timed run starts with nothing left to write back from the one before.
    for (int r = 0; r < rounds; ++r) {
        sync();
        const Measured c = run(reference, env);
        std::filesystem::remove(leftover);
        sync();
        const Measured o = run({ONDRAVA_CLI, "open", file}, env);
        if (c.exitCode != 0 || o.exitCode != 0) {
            std::fprintf(stderr, "a run failed: %s %d, open %d\n", reference[0].c_str(), c.exitCode, o.exitCode);
            std::exit(1);
        }
        std::printf("%s round %d: %s %.3f s, open %.3f s (max RSS %ld KiB, peak anon %ld KiB)\n", what, r + 1,
                    reference[0].c_str(), c.seconds, o.seconds, o.maxRssKiB, o.peakAnonKiB);
        referenceTimes.push_back(c.seconds);
        openTimes.push_back(o.seconds);
        maxRss = std::max(maxRss, o.maxRssKiB);
        maxAnon = std::max(maxAnon, o.peakAnonKiB);
    }
    std::printf("%s: %s median %.3f s, open median %.3f s, ratio %.2f (goal <= %.1f)\n", what, reference[0].c_str(),
                median(referenceTimes), median(openTimes), median(openTimes) / median(referenceTimes), goal);
    std::printf("%s: peak RSS of open %.1f MiB, peak anonymous %.1f MiB (goal <= 64 MiB)\n", what, maxRss / 1024.0,
                maxAnon / 1024.0);
}

}  // namespace

// bench/open [--size-mib N] [--rounds N] [--minutes N] [--only 16|24|flac]
int main(int argc, char** argv)
{
    std::uint64_t mib = 1024;
    int rounds = 5;
    int minutes = 60;
    std::string only;
    std::string dir = "bench-open-tmp";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string a = argv[i];
        if (a == "--size-mib")
            mib = std::strtoull(argv[i + 1], nullptr, 10);
        else if (a == "--rounds")
            rounds = std::max(1, std::atoi(argv[i + 1]));
        else if (a == "--minutes")
            minutes = std::max(1, std::atoi(argv[i + 1]));
        else if (a == "--only")
            only = argv[i + 1];
        else if (a == "--dir")
            dir = argv[i + 1];
    }
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    dir = std::filesystem::absolute(dir).string();
    const std::string copy = dir + "/copy.wav";
    const std::uint64_t dataBytes = mib << 20;
    const std::vector<std::string> env = {"HOME=" + dir, "ONDRAVA_HOME=" + dir + "/home",
                                          "XDG_CONFIG_HOME=" + dir + "/config", "PATH=/usr/bin:/bin"};

    if (only.empty() || only == "16") {
        const std::string wave = dir + "/big.wav";
        std::printf("making %s: %llu MiB of 44.1 kHz stereo 16-bit noise\n", wave.c_str(),
                    static_cast<unsigned long long>(mib));
        // Noise from a xorshift generator: every block different, quickly made.
        std::uint64_t x = 88172645463325252ull;
        write_bench_wave(wave, dataBytes - 44, [&x](std::uint64_t, int) {
            x ^= x << 13;
            x ^= x >> 7;
            x ^= x << 17;
            return static_cast<std::int16_t>(x);
        });
        compare("16-bit WAV", {"cp", wave, copy}, wave, env, rounds, 1.3, copy);
        std::filesystem::remove(wave);
    }
    if (only.empty() || only == "24") {
        const std::string wave = dir + "/big24.wav";
        std::printf("making %s: %llu MiB of 44.1 kHz stereo 24-bit noise (extensible header)\n", wave.c_str(),
                    static_cast<unsigned long long>(mib));
        writeWave24(wave, dataBytes - 68);
        compare("24-bit WAV", {"cp", wave, copy}, wave, env, rounds, 1.3, copy);
        std::filesystem::remove(wave);
    }
    if (only.empty() || only == "flac") {
        // Music-like material (tones that move, some noise) compresses as
        // music does, unlike pure noise.
        const std::string wave = dir + "/hour.wav";
        const std::string flac = dir + "/hour.flac";
        const std::uint64_t frames = 44100ull * 60 * static_cast<std::uint64_t>(minutes);
        std::printf("making %s: %d minutes of 44.1 kHz stereo 16-bit FLAC\n", flac.c_str(), minutes);
        std::uint64_t x = 1234567ull;
        write_bench_wave(wave, frames * 4, [&x](std::uint64_t frame, int ch) {
            x ^= x << 13;
            x ^= x >> 7;
            x ^= x << 17;
            const double t = static_cast<double>(frame) / 44100.0;
            const double tone = 0.3 * std::sin(2 * M_PI * (220.0 + 20 * std::sin(0.1 * t)) * t * (ch ? 1.5 : 1.0)) +
                                0.1 * std::sin(2 * M_PI * 1250.0 * t);
            return static_cast<std::int16_t>(tone * 32767 + static_cast<double>(static_cast<std::int8_t>(x)) * 4);
        });
        if (std::system(("flac -s -f -o '" + flac + "' '" + wave + "'").c_str()) != 0) {
            std::fprintf(stderr, "flac could not make %s\n", flac.c_str());
            return 1;
        }
        std::filesystem::remove(wave);
        const std::string decoded = dir + "/decoded.wav";
        compare("one-hour FLAC", {"flac", "-s", "-f", "-d", "-o", decoded, flac}, flac, env, rounds, 1.2, decoded);
    }
    std::filesystem::remove_all(dir);
    return 0;
}
