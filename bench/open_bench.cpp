// Opening a large file against copying it: makes a 44.1 kHz stereo 16-bit WAV
// (1 GiB by default), then times `cp` of it and `ondrava-cli open` of it in
// alternating rounds, and reports the ratio of the medians, the peak resident
// memory of the open (all pages, from the kernel's own count) and its peak
// anonymous memory (sampled), which is what the memory goal counts.

#include "bench_support.h"

#include <algorithm>
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

}  // namespace

int main(int argc, char** argv)
{
    std::uint64_t mib = 1024;
    int rounds = 5;
    std::string dir = "bench-open-tmp";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string a = argv[i];
        if (a == "--size-mib")
            mib = std::strtoull(argv[i + 1], nullptr, 10);
        else if (a == "--rounds")
            rounds = std::max(1, std::atoi(argv[i + 1]));
        else if (a == "--dir")
            dir = argv[i + 1];
    }
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    dir = std::filesystem::absolute(dir).string();
    const std::string wave = dir + "/big.wav";
    const std::string copy = dir + "/copy.wav";
    const std::uint64_t dataBytes = mib << 20;
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

    const std::vector<std::string> env = {"HOME=" + dir, "ONDRAVA_HOME=" + dir + "/home",
                                          "XDG_CONFIG_HOME=" + dir + "/config", "PATH=/usr/bin:/bin"};
    std::vector<double> cpTimes, openTimes;
    long maxRss = 0, maxAnon = 0;
    // Each timed run starts with nothing left to write back from the one before.
    for (int r = 0; r < rounds; ++r) {
        sync();
        const Measured c = run({"cp", wave, copy}, env);
        std::filesystem::remove(copy);
        sync();
        const Measured o = run({ONDRAVA_CLI, "open", wave}, env);
        if (c.exitCode != 0 || o.exitCode != 0) {
            std::fprintf(stderr, "a run failed: cp %d, open %d\n", c.exitCode, o.exitCode);
            return 1;
        }
        std::printf("round %d: cp %.3f s, open %.3f s (max RSS %ld KiB, peak anon %ld KiB)\n", r + 1,
                    c.seconds, o.seconds, o.maxRssKiB, o.peakAnonKiB);
        cpTimes.push_back(c.seconds);
        openTimes.push_back(o.seconds);
        maxRss = std::max(maxRss, o.maxRssKiB);
        maxAnon = std::max(maxAnon, o.peakAnonKiB);
    }
    const double ratio = median(openTimes) / median(cpTimes);
    std::printf("cp median: %.3f s\nopen median: %.3f s\nratio open/cp: %.2f (goal <= 1.3)\n",
                median(cpTimes), median(openTimes), ratio);
    std::printf("peak RSS of open: %.1f MiB, peak anonymous: %.1f MiB (goal <= 64 MiB)\n",
                maxRss / 1024.0, maxAnon / 1024.0);
    std::filesystem::remove_all(dir);
    return 0;
}
