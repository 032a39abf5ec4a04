#include "dynamics_dsp.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

double dynamics_output_db(double in, const DynamicsSettings& s)
{
    if (!s.expander)
        return in > s.thresholdDb ? s.thresholdDb + (in - s.thresholdDb) / s.ratio : in;
    return in < s.thresholdDb ? std::max(-120.0, s.thresholdDb + (in - s.thresholdDb) * s.ratio) : in;
}

DynamicsProcessor::DynamicsProcessor(int channels, unsigned rate, const DynamicsSettings& s)
    : m_channels(channels), m_settings(s)
{
    const auto coefficient = [rate](double ms) {
        return std::exp(-1.0 / (std::max(0.01, ms) * 0.001 * std::max(1u, rate)));
    };
    m_attack = coefficient(s.attackMs);
    m_release = coefficient(s.releaseMs);
}

void DynamicsProcessor::process(float* s, std::size_t frames)
{
    const auto channels = static_cast<std::size_t>(m_channels);
    const double makeup = std::pow(10.0, m_settings.makeupDb / 20);
    for (std::size_t i = 0; i < frames; ++i) {
        // Linked: the loudest channel sets the gain of all.
        double peak = 0;
        for (std::size_t c = 0; c < channels; ++c)
            peak = std::max(peak, static_cast<double>(std::fabs(s[i * channels + c])));
        const double k = peak > m_envelope ? m_attack : m_release;
        m_envelope = k * m_envelope + (1 - k) * peak;
        const double levelDb = 20 * std::log10(std::max(m_envelope, 1e-9));
        const double gain = std::pow(10.0, (dynamics_output_db(levelDb, m_settings) - levelDb) / 20) * makeup;
        for (std::size_t c = 0; c < channels; ++c)
            s[i * channels + c] = static_cast<float>(s[i * channels + c] * gain);
    }
}

std::optional<std::string> parse_envelope(const std::string& text, std::vector<EnvelopePoint>& points)
{
    points.clear();
    std::stringstream in(text);
    std::string item;
    while (std::getline(in, item, ',')) {
        const auto colon = item.find(':');
        char* end1 = nullptr;
        char* end2 = nullptr;
        if (colon == std::string::npos)
            return "each point is position%:level%, as in 50:100";
        const std::string a = item.substr(0, colon), b = item.substr(colon + 1);
        const double position = std::strtod(a.c_str(), &end1);
        const double level = std::strtod(b.c_str(), &end2);
        if (a.empty() || b.empty() || *end1 != '\0' || *end2 != '\0')
            return "each point is position%:level%, as in 50:100";
        if (position < 0 || position > 100 || level < 0 || level > 1000)
            return "positions run from 0 to 100, levels from 0 to 1000";
        points.push_back({position / 100, level / 100});
    }
    if (points.empty())
        return "at least one point is needed";
    std::stable_sort(points.begin(), points.end(),
                     [](const EnvelopePoint& x, const EnvelopePoint& y) { return x.position < y.position; });
    return std::nullopt;
}

double envelope_gain(const std::vector<EnvelopePoint>& points, double position)
{
    if (position <= points.front().position)
        return points.front().gain;
    for (std::size_t i = 1; i < points.size(); ++i)
        if (position <= points[i].position) {
            const EnvelopePoint& a = points[i - 1];
            const EnvelopePoint& b = points[i];
            const double span = b.position - a.position;
            return span > 0 ? a.gain + (b.gain - a.gain) * (position - a.position) / span : b.gain;
        }
    return points.back().gain;
}
