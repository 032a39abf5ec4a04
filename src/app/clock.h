#pragma once

#include <cstdint>
#include <functional>

// The millisecond clock that progress estimates and temporary names use.
// It counts from an arbitrary start and wraps like a 32-bit tick count.
std::uint32_t millisecond_clock();

// Tests replace the clock; passing an empty function restores the real one.
void set_millisecond_clock(std::function<std::uint32_t()> clock);

// Spins on the millisecond clock until `ms` milliseconds have passed and
// returns the clock value then.
std::uint32_t busy_wait_ms(std::uint32_t ms);

// Nanoseconds of the monotonic clock: the time base of MIDI input stamps and
// of aligned playback starts.
std::int64_t monotonic_ns();
