#include "spectrum_dsp.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>

struct SpectrogramBuilder::Fft {
    explicit Fft(int n)
    {
        time = fftwf_alloc_real(static_cast<std::size_t>(n));
        freq = fftwf_alloc_complex(static_cast<std::size_t>(n / 2 + 1));
        plan = fftwf_plan_dft_r2c_1d(n, time, freq, FFTW_ESTIMATE);
    }
    ~Fft()
    {
        fftwf_destroy_plan(plan);
        fftwf_free(time);
        fftwf_free(freq);
    }
    float* time;
    fftwf_complex* freq;
    fftwf_plan plan;
};

SpectrogramBuilder::SpectrogramBuilder(std::uint64_t totalFrames, double rate, int columns, int fftSize)
    : m_fft(std::make_unique<Fft>(fftSize)), m_size(fftSize), m_total(totalFrames),
      m_ring(static_cast<std::size_t>(fftSize), 0.0f)
{
    m_result.columns = std::max(1, columns);
    m_result.bins = fftSize / 2 + 1;
    m_result.rate = rate;
    m_result.seconds = static_cast<double>(totalFrames) / rate;
    m_result.levels.assign(static_cast<std::size_t>(m_result.columns * m_result.bins), -120.0f);
}

SpectrogramBuilder::~SpectrogramBuilder() = default;

void SpectrogramBuilder::analyse(int column)
{
    const auto size = static_cast<std::size_t>(m_size);
    double windowSum = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const double w = 0.5 - 0.5 * std::cos(2 * M_PI * static_cast<double>(i) / static_cast<double>(size));
        m_fft->time[i] = static_cast<float>(m_ring[(m_at + i) % size] * w);
        windowSum += w;
    }
    fftwf_execute(m_fft->plan);
    for (int b = 0; b < m_result.bins; ++b) {
        // A full-scale sine reads 0 dB at its bin.
        const double magnitude = 2 * std::hypot(m_fft->freq[b][0], m_fft->freq[b][1]) / windowSum;
        m_result.levels[static_cast<std::size_t>(column * m_result.bins + b)] =
            static_cast<float>(20 * std::log10(std::max(magnitude, 1e-6)));
    }
}

void SpectrogramBuilder::add(const float* s, std::size_t frames, int channels)
{
    const auto size = static_cast<std::size_t>(m_size);
    for (std::size_t i = 0; i < frames; ++i) {
        float mono = 0;
        for (int c = 0; c < channels; ++c)
            mono += s[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)];
        m_ring[m_at] = mono / static_cast<float>(channels);
        m_at = m_at + 1 == size ? 0 : m_at + 1;
        ++m_seen;
        // Column k's window ends at its share of the stretch (the first one
        // when the window is full).
        while (m_next < m_result.columns) {
            const std::uint64_t end =
                std::max<std::uint64_t>(size, (m_total * static_cast<std::uint64_t>(m_next + 1)) /
                                                  static_cast<std::uint64_t>(m_result.columns));
            if (m_seen < std::min(end, m_total))
                break;
            analyse(m_next++);
        }
    }
}
