#pragma once

#include <cstdint>

// MIDI Time Code as the chase lock reads it: quarter-frame messages (status
// 0xF1) assembled into a complete time, which is only complete at the eighth
// piece (piece 7), about 1.75 frames after the time it names.

// A MIDI short message as one word: status in the low byte, then the two
// data bytes.
constexpr std::uint32_t midi_message(std::uint8_t status, std::uint8_t data1 = 0, std::uint8_t data2 = 0)
{
    return static_cast<std::uint32_t>(status) | static_cast<std::uint32_t>(data1) << 8 |
           static_cast<std::uint32_t>(data2) << 16;
}

struct MtcState {
    std::uint8_t mtc_piece[4] = {0, 0, 0, 0};    // frames, seconds, minutes, hours being assembled
    std::uint8_t mtc_current[4] = {0x60, 0, 0, 0};  // hours (with bits 5 and 6 set), minutes, seconds, frames
    std::uint32_t mtc_packed = 0;
    std::uint32_t mtc_last_packed = 0;
    bool mtc_fresh = false;
    // When the last complete time arrived (monotonic nanoseconds), and how
    // many complete times have arrived.
    std::int64_t completedAtNs = 0;
    std::uint32_t completions = 0;
};

// Takes one MIDI message (arrived at monotonic time `arrivedNs`). A zero
// message clears mtc_fresh; any other sets it. A quarter frame fills its
// slot; piece 7 completes the time. true when it completed one.
bool mtc_take_message(MtcState& state, std::uint32_t message, std::int64_t arrivedNs = 0);

// The complete time: hours masked to five bits.
int mtc_hours(const MtcState& state);
int mtc_minutes(const MtcState& state);
int mtc_seconds(const MtcState& state);
int mtc_frames(const MtcState& state);

// An SMPTE time in seconds: h x 3600 + m x 60 + s + f / fps.
double smpte_seconds(int hours, int minutes, int seconds, int frames, int fps);
// The complete time of `state` in seconds at `fps`.
double mtc_time_seconds(const MtcState& state, int fps);

// One frame later: frames carry into seconds only when they exceed the rate
// (a count equal to the rate is still a frame), seconds and minutes wrap
// after 59, hours after 23.
struct SmpteFields {
    int hours = 0, minutes = 0, seconds = 0, frames = 0;
};
SmpteFields smpte_step_frame(SmpteFields time, int fps);
// `count` frames later; at 30 frames per second a time whose minutes are a
// multiple of ten then gets frame 2.
SmpteFields smpte_advance_frames(SmpteFields time, int count, int fps);
