#include "tone_dsp.h"

#include <algorithm>
#include <cmath>

std::optional<std::pair<double, double>> dtmf_frequencies(char key)
{
    static const char* const kKeys = "123A456B789C*0#D";
    static constexpr double kRows[4] = {697, 770, 852, 941};
    static constexpr double kColumns[4] = {1209, 1336, 1477, 1633};
    for (int i = 0; i < 16; ++i)
        if (kKeys[i] == key)
            return std::make_pair(kRows[i / 4], kColumns[i % 4]);
    return std::nullopt;
}

std::optional<std::string> check_dtmf_digits(const std::string& digits)
{
    if (digits.empty())
        return "at least one key is needed";
    for (char c : digits)
        if (!dtmf_frequencies(c))
            return std::string("the keys are 0-9, A-D, * and #, not ") + c;
    return std::nullopt;
}

ToneGenerator::ToneGenerator(const ToneSettings& s, unsigned rate, std::uint64_t totalFrames)
    : m_s(s), m_rate(std::max(1u, rate)), m_total(std::max<std::uint64_t>(1, totalFrames)),
      m_amplitude(std::pow(10.0, s.amplitudeDb / 20))
{
}

namespace {

double waveform(int wave, double phase)  // phase 0..1
{
    switch (wave) {
    case 1: return phase < 0.5 ? 1 : -1;
    case 2: return phase < 0.5 ? 4 * phase - 1 : 3 - 4 * phase;
    case 3: return 2 * phase - 1;
    default: return std::sin(2 * M_PI * phase);
    }
}

}  // namespace

float ToneGenerator::next()
{
    const double t = static_cast<double>(m_n) / m_rate;
    double v = 0;
    switch (m_s.kind) {
    case ToneSettings::Kind::Tone:
        v = waveform(m_s.wave, m_phase);
        m_phase += m_s.frequency / m_rate;
        break;
    case ToneSettings::Kind::Sweep: {
        const double x = static_cast<double>(m_n) / static_cast<double>(m_total);
        const double f = m_s.logSweep ? m_s.frequency * std::pow(m_s.endFrequency / m_s.frequency, x)
                                      : m_s.frequency + (m_s.endFrequency - m_s.frequency) * x;
        v = waveform(m_s.wave, m_phase);
        m_phase += f / m_rate;
        break;
    }
    case ToneSettings::Kind::Noise: {
        m_seed = m_seed * 1664525u + 1013904223u;
        const double white = static_cast<double>(m_seed >> 8) / 8388608.0 - 1.0;  // -1..1
        if (!m_s.pink) {
            v = white;
            break;
        }
        // Paul Kellet's economy pink filter.
        double* b = m_pink;
        b[0] = 0.99886 * b[0] + white * 0.0555179;
        b[1] = 0.99332 * b[1] + white * 0.0750759;
        b[2] = 0.96900 * b[2] + white * 0.1538520;
        b[3] = 0.86650 * b[3] + white * 0.3104856;
        b[4] = 0.55000 * b[4] + white * 0.5329522;
        b[5] = -0.7616 * b[5] - white * 0.0168980;
        v = (b[0] + b[1] + b[2] + b[3] + b[4] + b[5] + b[6] + white * 0.5362) * 0.11;
        b[6] = white * 0.115926;
        break;
    }
    case ToneSettings::Kind::Dtmf: {
        const double period = (m_s.toneMs + m_s.gapMs) / 1000;
        const auto index = static_cast<std::size_t>(t / period);
        const double within = t - static_cast<double>(index) * period;
        if (index < m_s.digits.size() && within < m_s.toneMs / 1000) {
            const auto f = dtmf_frequencies(m_s.digits[index]);
            v = f ? 0.5 * (std::sin(2 * M_PI * f->first * t) + std::sin(2 * M_PI * f->second * t)) : 0;
        }
        break;
    }
    }
    m_phase -= std::floor(m_phase);
    ++m_n;
    return static_cast<float>(v * m_amplitude);
}

void ToneGenerator::generate(float* s, std::size_t frames, int channels)
{
    for (std::size_t i = 0; i < frames; ++i) {
        const float v = next();
        for (int c = 0; c < channels; ++c)
            s[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)] = v;
    }
}
