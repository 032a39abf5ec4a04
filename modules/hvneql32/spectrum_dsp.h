#pragma once

#include "view/spectrogram.h"

#include <cstddef>
#include <memory>
#include <vector>

// Builds a spectrogram while the selection streams past: the channels mixed,
// a Hann-windowed FFT at each of `columns` evenly spaced moments.
class SpectrogramBuilder {
public:
    SpectrogramBuilder(std::uint64_t totalFrames, double rate, int columns, int fftSize);
    ~SpectrogramBuilder();
    void add(const float* samples, std::size_t frames, int channels);
    Spectrogram result() const { return m_result; }

private:
    void analyse(int column);
    struct Fft;
    std::unique_ptr<Fft> m_fft;
    int m_size;
    std::uint64_t m_total;
    std::uint64_t m_seen = 0;
    std::vector<float> m_ring;
    std::size_t m_at = 0;
    int m_next = 0;  // the next column to analyse
    Spectrogram m_result;
};
