#pragma once

// Test tones and their measurement: a sine written as 8- or 16-bit stereo
// PCM, and where a captured tone starts and ends, its frequency (from its
// interpolated upward zero crossings) and its peak level (from its RMS).

#include "support/wav_builder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

// `frames` frames of a sine of `hz` at `rate`, peak `amplitude` (of full
// scale), both channels the same, as 8-bit or 16-bit PCM data.
inline WavBuilder::Bytes sine_pcm(std::uint32_t rate, int bits, std::size_t frames, double hz, double amplitude)
{
    WavBuilder::Bytes data;
    for (std::size_t i = 0; i < frames; ++i) {
        const double v = amplitude * std::sin(2 * M_PI * hz * static_cast<double>(i) / rate);
        for (int ch = 0; ch < 2; ++ch) {
            if (bits == 8)
                data.push_back(static_cast<std::uint8_t>(128 + std::lround(v * 128)));
            else
                WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 32768))));
        }
    }
    return data;
}

struct ToneMeasurement {
    bool found = false;       // anything above the threshold at all
    std::size_t first = 0;    // the first and last samples above it
    std::size_t last = 0;
    int crossings = 0;        // upward zero crossings in the measured middle
    double frequency = 0;     // Hz, from the first and last crossings
    // Hz, from the middle half of the single periods: a glitch in a captured
    // stream (a skipped or repeated period of a loaded sound server) moves
    // one or two periods and leaves this as it was, where it shifts
    // `frequency` by its whole length.
    double steadyFrequency = 0;
    double peakDb = -1000;    // dBFS, from the RMS of the measured middle
    double steadyPeakDb = -1000;  // dBFS, from the median RMS of its periods
    double length() const { return static_cast<double>(last - first); }
};

// Measures the tone in `samples` (full scale 1.0) at `rate`, leaving out
// `margin` samples at each end of the sounding part.
template <typename Sample>
ToneMeasurement measure_tone(const std::vector<Sample>& samples, std::size_t count, double rate, std::size_t margin)
{
    ToneMeasurement m;
    count = std::min(count, samples.size());
    for (std::size_t i = 0; i < count; ++i)
        if (std::fabs(static_cast<double>(samples[i])) > 1e-3) {
            if (!m.found)
                m.first = i;
            m.found = true;
            m.last = i;
        }
    if (!m.found)
        return m;
    double firstCrossing = -1, lastCrossing = -1, sum = 0;
    std::size_t n = 0;
    std::vector<double> periods, powers;  // each period's length and mean square
    std::size_t lastIndex = 0;
    double lastSum = 0;
    for (std::size_t i = m.first + margin; i + margin < m.last; ++i) {
        const double a = samples[i], b = samples[i + 1];
        sum += a * a;
        ++n;
        if (a < 0.0 && b >= 0.0) {
            const double at = static_cast<double>(i) + a / (a - b);
            if (firstCrossing < 0) {
                firstCrossing = at;
            } else {
                periods.push_back(at - lastCrossing);
                powers.push_back((sum - lastSum) / static_cast<double>(i - lastIndex));
            }
            lastCrossing = at;
            lastIndex = i;
            lastSum = sum;
            ++m.crossings;
        }
    }
    if (m.crossings > 1)
        m.frequency = (m.crossings - 1) * rate / (lastCrossing - firstCrossing);
    // The level of the median period.
    if (!powers.empty()) {
        std::nth_element(powers.begin(), powers.begin() + static_cast<std::ptrdiff_t>(powers.size() / 2), powers.end());
        m.steadyPeakDb = 10 * std::log10(2 * powers[powers.size() / 2]);
    }
    if (periods.size() >= 4) {
        std::sort(periods.begin(), periods.end());
        const std::size_t from = periods.size() / 4, to = periods.size() - periods.size() / 4;
        double total = 0;
        for (std::size_t i = from; i < to; ++i)
            total += periods[i];
        m.steadyFrequency = rate * static_cast<double>(to - from) / total;
    }
    if (n > 0 && sum > 0)
        m.peakDb = 20 * std::log10(std::sqrt(2 * sum / static_cast<double>(n)));
    return m;
}

// A sine of `hz` fitted to s[from, to) (mono samples at `rate`) by least
// squares: its amplitude, and the power of the fit and of what is left.
struct SineFit {
    double amplitude = 0;
    double tonePower = 0;
    double restPower = 0;
};
inline SineFit fit_sine(const std::vector<float>& s, std::size_t from, std::size_t to, double hz, double rate)
{
    double ss = 0, sc = 0, cc = 0, ys = 0, yc = 0;
    for (std::size_t i = from; i < to; ++i) {
        const double a = std::sin(2 * M_PI * hz * static_cast<double>(i) / rate);
        const double b = std::cos(2 * M_PI * hz * static_cast<double>(i) / rate);
        ss += a * a;
        sc += a * b;
        cc += b * b;
        ys += s[i] * a;
        yc += s[i] * b;
    }
    const double det = ss * cc - sc * sc;
    const double ka = (ys * cc - yc * sc) / det, kb = (yc * ss - ys * sc) / det;
    SineFit fit;
    fit.amplitude = std::hypot(ka, kb);
    for (std::size_t i = from; i < to; ++i) {
        const double t = ka * std::sin(2 * M_PI * hz * static_cast<double>(i) / rate) +
                         kb * std::cos(2 * M_PI * hz * static_cast<double>(i) / rate);
        fit.tonePower += t * t;
        fit.restPower += (s[i] - t) * (s[i] - t);
    }
    return fit;
}
