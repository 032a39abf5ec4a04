#pragma once

#include <cstdint>
#include <string>

class CChildFrame;

// Time formats: 1 = seconds, 24/25/30 = SMPTE with that many frames per
// second (drop-frame is stored as 30 and counted as 30). Two internal modes
// show raw numbers: 6 = frames, 7 = the unit index.
constexpr int kTimeFormatFrames = 6;
constexpr int kTimeFormatUnits = 7;

// "%7.3f sec"
std::string seconds_text(double seconds);
// "hh:mm:ss:ff" with `fps` frames per second.
std::string smpte_text(double seconds, int fps);
// " hh:mm:ss.mmm"
std::string hms_millis_text(double seconds);

// Seconds of `units` sample units, as seen from the current level (the
// conversion every level agrees on: units / (rate x channels)).
double units_to_seconds(const CChildFrame& frame, double units);

// The text of a position display for document units in a time format.
std::string position_text(const CChildFrame& frame, std::uint32_t units, int timeFormat);

// The ruler's label interval for a window spanning `seconds`: the first of
// 0.001 .. 2000 s that, six (then five, four, three) times over, comes within
// a fifth of the span; one second when none does.
double ruler_interval(double seconds);
// The printf format of the ruler labels in seconds mode: "%6.3f" below
// 0.1 s intervals, "%6.2f" otherwise.
std::string ruler_seconds_format(double interval);
