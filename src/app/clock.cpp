#include "app/clock.h"

#include <thread>
#include <time.h>

namespace {
std::function<std::uint32_t()> g_clock;
}

std::uint32_t millisecond_clock()
{
    if (g_clock)
        return g_clock();
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    const std::uint64_t ms = static_cast<std::uint64_t>(ts.tv_sec) * 1000u +
                             static_cast<std::uint64_t>(ts.tv_nsec) / 1000000u;
    return static_cast<std::uint32_t>(ms);
}

void set_millisecond_clock(std::function<std::uint32_t()> clock) { g_clock = std::move(clock); }

std::uint32_t busy_wait_ms(std::uint32_t ms)
{
    const std::uint32_t start = millisecond_clock();
    std::uint32_t now = start;
    while (now - start < ms) {
        std::this_thread::yield();
        now = millisecond_clock();
    }
    return now;
}

std::int64_t monotonic_ns()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}
