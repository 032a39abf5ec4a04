#pragma once

#include <cstddef>
#include <vector>

// Second-order IIR sections ("biquads") after the Audio EQ Cookbook, and
// cascades of them per channel: the filters and the graphic equalizer.
struct BiquadCoefficients {
    double b0 = 1, b1 = 0, b2 = 0, a1 = 0, a2 = 0;  // normalized: a0 = 1

    static BiquadCoefficients lowPass(double rate, double frequency, double q);
    static BiquadCoefficients highPass(double rate, double frequency, double q);
    static BiquadCoefficients bandPass(double rate, double frequency, double q);
    static BiquadCoefficients bandStop(double rate, double frequency, double q);
    static BiquadCoefficients peaking(double rate, double frequency, double q, double gainDb);

    // The magnitude response at a frequency (for tests and displays).
    double magnitude(double rate, double frequency) const;
};

enum class FilterType { LowPass, HighPass, BandPass, BandStop };

// The sections of a Butterworth filter of even `order` (low- and high-pass),
// or `order`/2 equal sections of the band filters, whose cascade is
// `bandwidth` Hz wide between its half-power (-3 dB) points.
std::vector<BiquadCoefficients> design_filter(FilterType type, double rate, double frequency, double bandwidth,
                                              int order);

// Runs a cascade over interleaved frames, keeping each channel's state
// from block to block.
class BiquadCascade {
public:
    BiquadCascade(std::vector<BiquadCoefficients> sections, int channels);
    void process(float* samples, std::size_t frames);

private:
    struct State {
        double z1 = 0, z2 = 0;
    };
    std::vector<BiquadCoefficients> m_sections;
    int m_channels;
    std::vector<State> m_state;  // sections x channels
};
