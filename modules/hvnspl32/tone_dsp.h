#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

// The tone and effect generators: what they write replaces the highlight.
struct ToneSettings {
    enum class Kind { Tone, Sweep, Noise, Dtmf } kind = Kind::Tone;
    int wave = 0;  // 0 sine, 1 square, 2 triangle, 3 sawtooth
    double frequency = 440;
    double endFrequency = 4000;  // sweep
    bool logSweep = true;
    bool pink = false;  // noise
    double amplitudeDb = -6;
    std::string digits = "0123456789*#";  // DTMF
    double toneMs = 100, gapMs = 100;      // DTMF
};

// The row and column frequencies of a DTMF key; nothing for another character.
std::optional<std::pair<double, double>> dtmf_frequencies(char key);
std::optional<std::string> check_dtmf_digits(const std::string& digits);

class ToneGenerator {
public:
    ToneGenerator(const ToneSettings& settings, unsigned rate, std::uint64_t totalFrames);
    // Fills interleaved frames (every channel alike).
    void generate(float* samples, std::size_t frames, int channels);

private:
    float next();
    // The wave at `frequency` and phase 0..1: a sine, or the square,
    // triangle or sawtooth from a band-limited cycle (only the harmonics
    // below half the rate).
    double waveAt(double frequency, double phase);
    const std::vector<float>& cycle(int harmonics);
    ToneSettings m_s;
    double m_rate;
    std::uint64_t m_total;
    std::uint64_t m_n = 0;
    double m_phase = 0, m_phase2 = 0;
    double m_amplitude;
    std::uint32_t m_seed = 22222;
    double m_pink[7] = {0, 0, 0, 0, 0, 0, 0};
    std::map<int, std::vector<float>> m_cycles;  // by the highest harmonic they hold
};
