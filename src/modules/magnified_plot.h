#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The magnified plot's data: the samples of a short selection (-1..1, one
// vector per channel) that the user redraws sample by sample.
struct MagnifiedPlot {
    std::string title;
    double rate = 44100;
    std::uint64_t firstFrame = 0;  // where the selection starts in the document
    std::vector<std::vector<float>> channels;
    std::size_t frames() const { return channels.empty() ? 0 : channels.front().size(); }

    // Sets the samples of `channel` on the straight line from (fromFrame,
    // fromValue) to (toFrame, toValue): what a mouse drag draws.
    void drawLine(int channel, std::size_t fromFrame, float fromValue, std::size_t toFrame, float toValue);
};

// The longest selection the plot shows, in frames.
constexpr std::size_t kMagnifiedPlotMaxFrames = 8192;
