#include "noise_reduction_dsp.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

namespace {

std::vector<float> hann(int n)
{
    std::vector<float> w(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        w[static_cast<std::size_t>(i)] = static_cast<float>(0.5 - 0.5 * std::cos(2 * M_PI * i / n));
    return w;
}

}  // namespace

// One real-to-complex and one complex-to-real plan of a size, with buffers.
struct FftPlans {
    explicit FftPlans(int n) : size(n), window(hann(n))
    {
        time = fftwf_alloc_real(static_cast<std::size_t>(n));
        freq = fftwf_alloc_complex(static_cast<std::size_t>(n / 2 + 1));
        forward = fftwf_plan_dft_r2c_1d(n, time, freq, FFTW_ESTIMATE);
        inverse = fftwf_plan_dft_c2r_1d(n, freq, time, FFTW_ESTIMATE);
    }
    ~FftPlans()
    {
        fftwf_destroy_plan(forward);
        fftwf_destroy_plan(inverse);
        fftwf_free(time);
        fftwf_free(freq);
    }
    int size;
    std::vector<float> window;
    float* time;
    fftwf_complex* freq;
    fftwf_plan forward, inverse;
};

struct NoiseProfiler::Fft : FftPlans {
    using FftPlans::FftPlans;
};
struct NoiseReducer::Fft : FftPlans {
    using FftPlans::FftPlans;
};

bool NoiseProfile::save(const std::string& path) const
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    const int header[2] = {fftSize, channels};
    out.write(reinterpret_cast<const char*>(header), sizeof header);
    out.write(reinterpret_cast<const char*>(magnitude.data()), static_cast<std::streamsize>(magnitude.size() * 4));
    return static_cast<bool>(out);
}

bool NoiseProfile::load(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    int header[2] = {0, 0};
    if (!in.read(reinterpret_cast<char*>(header), sizeof header) || header[0] < 64 || header[0] > 65536 ||
        header[1] < 1 || header[1] > 2)
        return false;
    fftSize = header[0];
    channels = header[1];
    magnitude.assign(static_cast<std::size_t>(channels * (fftSize / 2 + 1)), 0.0f);
    return static_cast<bool>(in.read(reinterpret_cast<char*>(magnitude.data()),
                                     static_cast<std::streamsize>(magnitude.size() * 4)));
}

NoiseProfiler::NoiseProfiler(int channels, int fftSize)
    : m_fft(std::make_unique<Fft>(fftSize)), m_channels(channels), m_size(fftSize),
      m_pending(static_cast<std::size_t>(channels)),
      m_sum(static_cast<std::size_t>(channels * (fftSize / 2 + 1)), 0.0)
{
}

NoiseProfiler::~NoiseProfiler() = default;

void NoiseProfiler::add(const float* s, std::size_t frames)
{
    const auto channels = static_cast<std::size_t>(m_channels);
    const auto size = static_cast<std::size_t>(m_size);
    const std::size_t bins = size / 2 + 1;
    for (std::size_t c = 0; c < channels; ++c) {
        std::vector<float>& p = m_pending[c];
        for (std::size_t i = 0; i < frames; ++i)
            p.push_back(s[i * channels + c]);
        std::size_t used = 0;
        // Windows half overlapping.
        for (; used + size <= p.size(); used += size / 2) {
            for (std::size_t i = 0; i < size; ++i)
                m_fft->time[i] = p[used + i] * m_fft->window[i];
            fftwf_execute(m_fft->forward);
            for (std::size_t k = 0; k < bins; ++k)
                m_sum[c * bins + k] += std::hypot(m_fft->freq[k][0], m_fft->freq[k][1]);
            if (c == 0)
                ++m_windows;
        }
        p.erase(p.begin(), p.begin() + static_cast<long>(used));
    }
}

NoiseProfile NoiseProfiler::result() const
{
    NoiseProfile p;
    p.fftSize = m_size;
    p.channels = m_channels;
    p.magnitude.resize(m_sum.size());
    for (std::size_t i = 0; i < m_sum.size(); ++i)
        p.magnitude[i] = static_cast<float>(m_windows ? m_sum[i] / static_cast<double>(m_windows) : 0.0);
    return p;
}

NoiseReducer::NoiseReducer(const NoiseProfile& profile, const NoiseReductionSettings& settings)
    : m_fft(std::make_unique<Fft>(profile.fftSize)), m_profile(profile), m_s(settings), m_channels(profile.channels),
      m_size(profile.fftSize), m_hop(profile.fftSize / 4)
{
    const auto size = static_cast<std::size_t>(m_size);
    for (int c = 0; c < m_channels; ++c) {
        m_input.emplace_back(size, 0.0f);
        m_output.emplace_back(size, 0.0f);
        m_gain.emplace_back(size / 2 + 1, 1.0f);
        m_clean.emplace_back(size / 2 + 1, 0.0f);
    }
    m_smoothed.assign(size / 2 + 1, 1.0f);
    // Smoothing 0..1 sets how much of the last window's estimate stays:
    // 0.90 to 0.99.
    m_alpha = 0.90 + 0.09 * std::clamp(m_s.smoothing / 0.95, 0.0, 1.0);
    // A window's samples come out once the last window that covers them has
    // run: fftSize - hop samples later.
    m_toSkip = size - static_cast<std::size_t>(m_hop);
}

NoiseReducer::~NoiseReducer() = default;

void NoiseReducer::runWindow()
{
    const auto size = static_cast<std::size_t>(m_size);
    const auto hop = static_cast<std::size_t>(m_hop);
    const std::size_t bins = size / 2 + 1;
    const float floor = static_cast<float>(std::pow(10.0, -m_s.reductionDb / 20));
    // Hann analysis and synthesis at 75 % overlap add up to 1.5.
    const float scale = 1.0f / (1.5f * static_cast<float>(size));
    for (std::size_t c = 0; c < m_input.size(); ++c) {
        // The ring's oldest sample sits at the write position.
        for (std::size_t i = 0; i < size; ++i)
            m_fft->time[i] = m_input[c][(m_ringAt + i) % size] * m_fft->window[i];
        fftwf_execute(m_fft->forward);
        const float* noise = m_profile.magnitude.data() + c * bins;
        // The decision-directed estimate of each bin's clean-to-noise ratio
        // (Ephraim and Malah): mostly the clean power estimated in the
        // window before, a little of what this window holds above the
        // noise. Its Wiener gain follows a sound steadily and stays down,
        // smoothly, where there is only noise: the leftover noise is the
        // noise turned down, not scattered tones.
        std::vector<float>& clean = m_clean[c];
        std::vector<float>& gains = m_gain[c];
        for (std::size_t k = 0; k < bins; ++k) {
            const double power = static_cast<double>(m_fft->freq[k][0]) * m_fft->freq[k][0] +
                                 static_cast<double>(m_fft->freq[k][1]) * m_fft->freq[k][1];
            // The profile holds mean magnitudes; noise magnitudes are
            // Rayleigh distributed, whose mean power is 4/pi times the
            // square of their mean.
            const double noisePower =
                std::max(1e-20, 4 / M_PI * static_cast<double>(noise[k]) * noise[k] * m_s.oversubtraction);
            const double posterior = power / noisePower;
            const double prior = m_alpha * clean[k] / noisePower + (1 - m_alpha) * std::max(posterior - 1, 0.0);
            gains[k] = static_cast<float>(prior / (1 + prior));
        }
        // Smoothed over neighbouring bins, never below the floor.
        for (std::size_t k = 0; k < bins; ++k) {
            const float below = gains[k > 0 ? k - 1 : k], above = gains[k + 1 < bins ? k + 1 : k];
            m_smoothed[k] = std::max(floor, 0.25f * below + 0.5f * gains[k] + 0.25f * above);
        }
        for (std::size_t k = 0; k < bins; ++k) {
            const float g = m_smoothed[k];
            m_fft->freq[k][0] *= g;
            m_fft->freq[k][1] *= g;
            clean[k] = static_cast<float>(static_cast<double>(m_fft->freq[k][0]) * m_fft->freq[k][0] +
                                          static_cast<double>(m_fft->freq[k][1]) * m_fft->freq[k][1]);
        }
        fftwf_execute(m_fft->inverse);
        std::vector<float>& acc = m_output[c];
        for (std::size_t i = 0; i < size; ++i)
            acc[i] += m_fft->time[i] * m_fft->window[i] * scale;
    }
    // The first hop of the accumulator is finished.
    for (std::size_t i = 0; i < hop; ++i)
        for (std::size_t c = 0; c < m_output.size(); ++c)
            m_ready.push_back(m_output[c][i]);
    for (auto& acc : m_output) {
        std::copy(acc.begin() + static_cast<long>(hop), acc.end(), acc.begin());
        std::fill(acc.end() - static_cast<long>(hop), acc.end(), 0.0f);
    }
}

void NoiseReducer::process(const float* in, std::size_t frames, bool last, std::vector<float>& out)
{
    const auto channels = static_cast<std::size_t>(m_channels);
    const auto size = static_cast<std::size_t>(m_size);
    const auto hop = static_cast<std::size_t>(m_hop);
    const auto push = [&](const float* frame) {
        for (std::size_t c = 0; c < channels; ++c)
            m_input[c][m_ringAt] = frame ? frame[c] : 0.0f;
        m_ringAt = m_ringAt + 1 == size ? 0 : m_ringAt + 1;
        if (++m_filled == hop) {
            m_filled = 0;
            runWindow();
        }
    };
    for (std::size_t i = 0; i < frames; ++i)
        push(in + i * channels);
    m_in += frames;
    if (last) {
        // Silence after the end pushes the last samples through.
        for (std::size_t i = 0; i < size; ++i)
            push(nullptr);
    }
    // Hand out what is ready, without the delay, never more than came in.
    std::size_t at = 0;
    const std::size_t readyFrames = m_ready.size() / channels;
    while (at < readyFrames && m_toSkip > 0) {
        ++at;
        --m_toSkip;
    }
    const std::size_t give = std::min(readyFrames - at, m_in - m_out);
    out.insert(out.end(), m_ready.begin() + static_cast<long>(at * channels),
               m_ready.begin() + static_cast<long>((at + give) * channels));
    m_out += give;
    m_ready.erase(m_ready.begin(), m_ready.begin() + static_cast<long>((at + give) * channels));
}
