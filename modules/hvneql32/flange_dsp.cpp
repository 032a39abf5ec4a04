#include "flange_dsp.h"

#include <algorithm>
#include <cmath>

Flanger::Flanger(int channels, unsigned rate, const FlangeSettings& s)
    : m_channels(channels), m_rate(std::max(1u, rate)), m_s(s)
{
    m_size = static_cast<std::size_t>((s.delayMs + s.depthMs) * 0.001 * m_rate) + 4;
    m_line.assign(m_size * static_cast<std::size_t>(channels), 0.0f);
}

void Flanger::process(float* s, std::size_t frames)
{
    const auto channels = static_cast<std::size_t>(m_channels);
    for (std::size_t i = 0; i < frames; ++i, ++m_time) {
        const double sweep = std::sin(2 * M_PI * m_s.rateHz * static_cast<double>(m_time) / m_rate);
        const double delay =
            std::clamp((m_s.delayMs + m_s.depthMs * sweep) * 0.001 * m_rate, 1.0, static_cast<double>(m_size - 2));
        // Read `delay` frames back with linear interpolation.
        const double back = static_cast<double>(m_at) + static_cast<double>(m_size) - delay;
        const auto whole = static_cast<std::size_t>(back);
        const double frac = back - static_cast<double>(whole);
        const std::size_t a = whole % m_size, b = (whole + 1) % m_size;
        for (std::size_t c = 0; c < channels; ++c) {
            const float delayed = static_cast<float>(m_line[a * channels + c] * (1 - frac) + m_line[b * channels + c] * frac);
            const float x = s[i * channels + c];
            m_line[m_at * channels + c] = static_cast<float>(x + m_s.feedback * delayed);
            s[i * channels + c] = static_cast<float>((1 - m_s.mix) * x + m_s.mix * delayed);
        }
        m_at = m_at + 1 == m_size ? 0 : m_at + 1;
    }
}
