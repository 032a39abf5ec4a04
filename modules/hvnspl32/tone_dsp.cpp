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

// Points of a stored cycle: read with linear interpolation, the error a
// harmonic makes is below -110 dB of full scale even at 1000 harmonics.
constexpr std::size_t kCyclePoints = 65536;

}  // namespace

const std::vector<float>& ToneGenerator::cycle(int harmonics)
{
    auto found = m_cycles.find(harmonics);
    if (found != m_cycles.end())
        return found->second;
    // The Fourier series of the wave up to `harmonics`, each point's sines
    // and cosines of k times its angle by the Chebyshev recurrence:
    // square (4/pi) sum sin(k x)/k over odd k; sawtooth rising from -1 to 1,
    // -(2/pi) sum sin(k x)/k; triangle from -1 up to 1 and back,
    // -(8/pi^2) sum cos(k x)/k^2 over odd k. The cycle is scaled so that its
    // peak is one, like the wave it stands for.
    std::vector<double> wave(kCyclePoints + 1);
    for (std::size_t j = 0; j < kCyclePoints; ++j) {
        const double x = 2 * M_PI * static_cast<double>(j) / kCyclePoints;
        const double c = 2 * std::cos(x);
        double s0 = 0, s1 = std::sin(x), k0 = 1, k1 = std::cos(x), sum = 0;
        for (int k = 1; k <= harmonics; ++k) {
            switch (m_s.wave) {
            case 1: sum += k % 2 ? 4 / M_PI * s1 / k : 0; break;
            case 2: sum += k % 2 ? -8 / (M_PI * M_PI) * k1 / (static_cast<double>(k) * k) : 0; break;
            default: sum += -2 / M_PI * s1 / k; break;
            }
            const double s2 = c * s1 - s0, k2 = c * k1 - k0;
            s0 = s1;
            s1 = s2;
            k0 = k1;
            k1 = k2;
        }
        wave[j] = sum;
    }
    wave[kCyclePoints] = wave[0];
    double peak = 0;
    for (double v : wave)
        peak = std::max(peak, std::fabs(v));
    std::vector<float> table(kCyclePoints + 1);
    for (std::size_t j = 0; j <= kCyclePoints; ++j)
        table[j] = static_cast<float>(peak > 0 ? wave[j] / peak : 0);
    return m_cycles.emplace(harmonics, std::move(table)).first->second;
}

double ToneGenerator::waveAt(double frequency, double phase)
{
    if (m_s.wave == 0)
        return std::sin(2 * M_PI * phase);
    // The harmonics below half the rate (2048 at the most: below 11 Hz the
    // highest ones, inaudible, are left out); a sweep takes the cycles of
    // powers of two (fewer harmonics, never more), so that few are made.
    int harmonics = std::clamp(static_cast<int>(std::ceil(m_rate / 2 / std::max(frequency, 1.0))) - 1, 1, 2048);
    if (m_s.kind == ToneSettings::Kind::Sweep)
        harmonics = 1 << static_cast<int>(std::floor(std::log2(harmonics)));
    const std::vector<float>& table = cycle(harmonics);
    const double at = phase * kCyclePoints;
    const auto i = std::min(static_cast<std::size_t>(at), kCyclePoints - 1);
    const double frac = at - static_cast<double>(i);
    return table[i] + (table[i + 1] - table[i]) * frac;
}

float ToneGenerator::next()
{
    const double t = static_cast<double>(m_n) / m_rate;
    double v = 0;
    switch (m_s.kind) {
    case ToneSettings::Kind::Tone:
        v = waveAt(m_s.frequency, m_phase);
        m_phase += m_s.frequency / m_rate;
        break;
    case ToneSettings::Kind::Sweep: {
        const double x = static_cast<double>(m_n) / static_cast<double>(m_total);
        const double f = m_s.logSweep ? m_s.frequency * std::pow(m_s.endFrequency / m_s.frequency, x)
                                      : m_s.frequency + (m_s.endFrequency - m_s.frequency) * x;
        v = waveAt(f, m_phase);
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
