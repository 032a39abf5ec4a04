#include "biquad.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace {

struct Prototype {
    double w0, cosw, alpha;
};

Prototype prototype(double rate, double frequency, double q)
{
    const double f = std::clamp(frequency, 1.0, rate * 0.499);
    const double w0 = 2 * M_PI * f / rate;
    return {w0, std::cos(w0), std::sin(w0) / (2 * std::max(q, 1e-3))};
}

BiquadCoefficients normalized(double b0, double b1, double b2, double a0, double a1, double a2)
{
    return {b0 / a0, b1 / a0, b2 / a0, a1 / a0, a2 / a0};
}

}  // namespace

BiquadCoefficients BiquadCoefficients::lowPass(double rate, double frequency, double q)
{
    const Prototype p = prototype(rate, frequency, q);
    return normalized((1 - p.cosw) / 2, 1 - p.cosw, (1 - p.cosw) / 2, 1 + p.alpha, -2 * p.cosw, 1 - p.alpha);
}

BiquadCoefficients BiquadCoefficients::highPass(double rate, double frequency, double q)
{
    const Prototype p = prototype(rate, frequency, q);
    return normalized((1 + p.cosw) / 2, -(1 + p.cosw), (1 + p.cosw) / 2, 1 + p.alpha, -2 * p.cosw, 1 - p.alpha);
}

BiquadCoefficients BiquadCoefficients::bandPass(double rate, double frequency, double q)
{
    const Prototype p = prototype(rate, frequency, q);  // 0 dB peak gain
    return normalized(p.alpha, 0, -p.alpha, 1 + p.alpha, -2 * p.cosw, 1 - p.alpha);
}

BiquadCoefficients BiquadCoefficients::bandStop(double rate, double frequency, double q)
{
    const Prototype p = prototype(rate, frequency, q);
    return normalized(1, -2 * p.cosw, 1, 1 + p.alpha, -2 * p.cosw, 1 - p.alpha);
}

BiquadCoefficients BiquadCoefficients::peaking(double rate, double frequency, double q, double gainDb)
{
    const Prototype p = prototype(rate, frequency, q);
    const double a = std::pow(10.0, gainDb / 40);
    return normalized(1 + p.alpha * a, -2 * p.cosw, 1 - p.alpha * a, 1 + p.alpha / a, -2 * p.cosw, 1 - p.alpha / a);
}

double BiquadCoefficients::magnitude(double rate, double frequency) const
{
    const std::complex<double> z = std::polar(1.0, -2 * M_PI * frequency / rate);  // z^-1
    const std::complex<double> num = b0 + b1 * z + b2 * z * z;
    const std::complex<double> den = 1.0 + a1 * z + a2 * z * z;
    return std::abs(num / den);
}

namespace {

// The magnitude of a cascade at a frequency.
double cascade_magnitude(const std::vector<BiquadCoefficients>& sections, double rate, double frequency)
{
    double m = 1;
    for (const BiquadCoefficients& c : sections)
        m *= c.magnitude(rate, frequency);
    return m;
}

// The width between the frequencies either side of `centre` where a band
// cascade's response crosses -3 dB (half power), found by bisection; an edge
// that does not cross before 0 Hz or half the rate is taken there.
double band_width(const std::vector<BiquadCoefficients>& sections, double rate, double centre, bool stop)
{
    const double half = 1 / std::sqrt(2.0);
    // Inside the band: above half power for a pass band, below for a stop band.
    const auto inside = [&](double f) { return (cascade_magnitude(sections, rate, f) > half) != stop; };
    const auto edge = [&](double in, double out) {
        if (inside(out))
            return out;
        for (int i = 0; i < 60; ++i) {
            const double mid = (in + out) / 2;
            (inside(mid) ? in : out) = mid;
        }
        return (in + out) / 2;
    };
    return edge(centre, rate / 2 * 0.9999) - edge(centre, 1e-6 * rate);
}

}  // namespace

std::vector<BiquadCoefficients> design_filter(FilterType type, double rate, double frequency, double bandwidth,
                                              int order)
{
    const int sections = std::max(1, order / 2);
    std::vector<BiquadCoefficients> out;
    if (type == FilterType::BandPass || type == FilterType::BandStop) {
        // Equal sections whose cascade is `bandwidth` wide between its
        // half-power points. For analog sections of quality Q the cascade's
        // width is centre * k / Q with k = sqrt(2^(1/n) - 1) for a pass band
        // and 1 / k for a stop band; the bilinear transform bends that a
        // little, which a few corrections of Q by the width measured on the
        // digital response take out.
        const bool stop = type == FilterType::BandStop;
        const double want = std::clamp(bandwidth, 1.0, rate / 2);
        const double k = std::sqrt(std::pow(2.0, 1.0 / sections) - 1);
        double q = frequency * (stop ? 1 / k : k) / want;
        const auto make = [&](double quality) {
            const BiquadCoefficients c = stop ? BiquadCoefficients::bandStop(rate, frequency, quality)
                                              : BiquadCoefficients::bandPass(rate, frequency, quality);
            return std::vector<BiquadCoefficients>(static_cast<std::size_t>(sections), c);
        };
        for (int i = 0; i < 6; ++i) {
            const double got = band_width(make(q), rate, frequency, stop);
            if (got <= 0 || std::fabs(got - want) < 1e-4 * want)
                break;
            q *= got / want;
        }
        return make(q);
    }
    for (int k = 1; k <= sections; ++k) {
        // Butterworth: the Q of each pole pair of an order-2n filter.
        const double q = 1.0 / (2 * std::cos((2 * k - 1) * M_PI / (4.0 * sections)));
        out.push_back(type == FilterType::LowPass ? BiquadCoefficients::lowPass(rate, frequency, q)
                                                  : BiquadCoefficients::highPass(rate, frequency, q));
    }
    return out;
}

BiquadCascade::BiquadCascade(std::vector<BiquadCoefficients> sections, int channels)
    : m_sections(std::move(sections)), m_channels(channels),
      m_state(m_sections.size() * static_cast<std::size_t>(channels))
{
}

void BiquadCascade::process(float* s, std::size_t frames)
{
    const auto channels = static_cast<std::size_t>(m_channels);
    for (std::size_t k = 0; k < m_sections.size(); ++k) {
        const BiquadCoefficients& c = m_sections[k];
        State* st = m_state.data() + k * channels;
        if (channels == 2) {
            // The two channels' chains side by side: independent work for
            // the processor to overlap.
            double l1 = st[0].z1, l2 = st[0].z2, r1 = st[1].z1, r2 = st[1].z2;
            for (std::size_t i = 0; i < frames; ++i) {
                const double xl = s[2 * i], xr = s[2 * i + 1];
                const double yl = c.b0 * xl + l1, yr = c.b0 * xr + r1;
                l1 = c.b1 * xl - c.a1 * yl + l2;
                r1 = c.b1 * xr - c.a1 * yr + r2;
                l2 = c.b2 * xl - c.a2 * yl;
                r2 = c.b2 * xr - c.a2 * yr;
                s[2 * i] = static_cast<float>(yl);
                s[2 * i + 1] = static_cast<float>(yr);
            }
            st[0] = {l1, l2};
            st[1] = {r1, r2};
            continue;
        }
        for (std::size_t ch = 0; ch < channels; ++ch) {
            double z1 = st[ch].z1, z2 = st[ch].z2;
            for (std::size_t i = 0; i < frames; ++i) {
                float& x = s[i * channels + ch];
                // Transposed direct form II.
                const double y = c.b0 * x + z1;
                z1 = c.b1 * x - c.a1 * y + z2;
                z2 = c.b2 * x - c.a2 * y;
                x = static_cast<float>(y);
            }
            st[ch] = {z1, z2};
        }
    }
}
