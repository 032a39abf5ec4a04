#pragma once

#include <cstddef>
#include <vector>

// Flanger: the sound mixed with a copy delayed by a short time that a slow
// sine sweeps, fed back for a sharper comb.
struct FlangeSettings {
    double delayMs = 2;     // the centre of the sweep
    double depthMs = 1.5;   // how far the sweep goes either side
    double rateHz = 0.25;
    double feedback = 0.5;  // -0.95..0.95
    double mix = 0.5;       // 0 dry .. 1 delayed only
};

class Flanger {
public:
    Flanger(int channels, unsigned rate, const FlangeSettings& settings);
    void process(float* samples, std::size_t frames);

private:
    int m_channels;
    unsigned m_rate;
    FlangeSettings m_s;
    std::vector<float> m_line;  // frames x channels
    std::size_t m_size;
    std::size_t m_at = 0;
    std::size_t m_time = 0;
};
