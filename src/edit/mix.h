#pragma once

#include <cstdint>
#include <string>

class CChildFrame;

// The mix settings: kept while the program runs, never stored.
enum class MixTarget { Both, Left, Right };
struct MixSettings {
    double clipLevel = 1.0;  // 0.0 .. 2.0
    double destLevel = 1.0;
    int crossfadeCurve = 1;  // 1 linear, 0 exponential
    MixTarget target = MixTarget::Both;
};
extern MixSettings& mix_settings;

// Mixes `length` bytes of the insert source with the destination passage that
// starts at byte `start` of the destination's file, writing the result at the
// end of `out` (the new version). `crossfadeBytes` is the passage the
// cross-fade runs over; 0 mixes. 1 on success.
int mix_into(const CChildFrame& destination, const std::string& insertSource, std::uint64_t length,
             std::uint64_t start, const std::string& out, bool crossfade, std::uint64_t crossfadeBytes);
