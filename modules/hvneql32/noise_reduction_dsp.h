#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// Noise reduction. A noise profile is the mean magnitude spectrum of a
// passage that holds only the noise; reduction then runs a short-time
// Fourier transform (Hann window, three-quarter overlap) over the sound and
// gives every bin the Wiener gain of its decision-directed clean-to-noise
// estimate, smoothed over neighbouring bins and held above a floor (the
// reduction asked): the noise is turned down by that much and stays noise,
// without the warbling tones of plain spectral subtraction.

struct NoiseProfile {
    int fftSize = 2048;
    int channels = 1;
    std::vector<float> magnitude;  // channels x (fftSize / 2 + 1)

    bool save(const std::string& path) const;
    bool load(const std::string& path);
};

class NoiseProfiler {
public:
    NoiseProfiler(int channels, int fftSize);
    ~NoiseProfiler();
    void add(const float* samples, std::size_t frames);
    // The mean magnitudes; frames counts the analysed windows.
    NoiseProfile result() const;
    std::size_t windows() const { return m_windows; }

private:
    struct Fft;
    std::unique_ptr<Fft> m_fft;
    int m_channels, m_size;
    std::vector<std::vector<float>> m_pending;  // per channel, samples not yet analysed
    std::vector<double> m_sum;
    std::size_t m_windows = 0;
};

struct NoiseReductionSettings {
    double reductionDb = 18;  // how far noise-only bins are turned down
    double oversubtraction = 1.5;  // the noise taken as this much stronger than profiled
    double smoothing = 0.6;        // 0..0.95: how much the estimate follows the window before
};

class NoiseReducer {
public:
    NoiseReducer(const NoiseProfile& profile, const NoiseReductionSettings& settings);
    ~NoiseReducer();
    // Streams interleaved frames; the output has the input's length (the
    // analysis delay is taken out).
    void process(const float* in, std::size_t frames, bool last, std::vector<float>& out);

private:
    void runWindow();
    struct Fft;
    std::unique_ptr<Fft> m_fft;
    NoiseProfile m_profile;
    NoiseReductionSettings m_s;
    int m_channels, m_size, m_hop;
    std::vector<std::vector<float>> m_input;   // per channel, a ring of the last fftSize samples
    std::size_t m_ringAt = 0;
    std::vector<std::vector<float>> m_output;  // per channel, overlap-add accumulator
    std::vector<std::vector<float>> m_gain;    // per channel, this window's gains
    std::vector<std::vector<float>> m_clean;   // per channel, the last window's clean power per bin
    std::vector<float> m_smoothed;
    double m_alpha = 0.96;
    std::size_t m_filled = 0;    // new samples since the last window
    std::size_t m_toSkip = 0;    // the delay still to drop from the output
    std::size_t m_pendingOut = 0;
    std::size_t m_in = 0, m_out = 0;
    std::vector<float> m_ready;  // interleaved frames ready to hand out
};
