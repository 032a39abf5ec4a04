#pragma once

// A MIDI Time Code source for tests: quarter frame q (counted from the start
// of the code) names the frame at the start of its eight-piece cycle,
// counted from `startFrame`, as a time code generator sends them.

#include "sync/mtc.h"

#include <cstdint>

struct MtcSource {
    int fps = 24;
    long startFrame = 0;

    std::uint32_t piece(long q) const
    {
        const long frame = startFrame + (q - q % 8) / 4;
        const int f = static_cast<int>(frame % fps);
        const long secondsTotal = frame / fps;
        const int s = static_cast<int>(secondsTotal % 60);
        const int m = static_cast<int>(secondsTotal / 60 % 60);
        const int h = static_cast<int>(secondsTotal / 3600 % 24);
        const int rate = fps == 24 ? 0 : fps == 25 ? 1 : 3;
        const int nibbles[8] = {f & 15, f >> 4, s & 15, s >> 4, m & 15, m >> 4, h & 15, rate << 1 | h >> 4};
        const int k = static_cast<int>(q % 8);
        return midi_message(0xF1, static_cast<std::uint8_t>(k << 4 | nibbles[k]));
    }
};
