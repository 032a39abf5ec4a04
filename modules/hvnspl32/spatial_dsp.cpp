#include "spatial_dsp.h"

#include <mysofa.h>

#include <algorithm>
#include <cmath>

double interaural_time_difference(double azimuthDegrees)
{
    const double a = std::clamp(azimuthDegrees, -180.0, 180.0);
    // Beyond the side the sound comes from behind: the same lateral angle.
    const double lateral = a > 90 ? 180 - a : a < -90 ? -180 - a : a;
    const double theta = lateral * M_PI / 180;
    return 0.0875 / 343.0 * (theta + std::sin(theta));
}

std::optional<std::string> SpatialRenderer::create(const std::string& sofaFile, unsigned rate, double azimuth,
                                                   double elevation, SpatialRenderer& r)
{
    if (sofaFile.empty()) {
        r.useCues(rate, azimuth);
        return std::nullopt;
    }
    int length = 0;
    int error = 0;
    MYSOFA_EASY* hrtf = mysofa_open(sofaFile.c_str(), static_cast<float>(rate), &length, &error);
    if (!hrtf || error != MYSOFA_OK || length <= 0) {
        if (hrtf)
            mysofa_close(hrtf);
        return "the HRTF set " + sofaFile + " cannot be read";
    }
    // SOFA counts azimuth anticlockwise (90 = left); ours runs to the right.
    float position[3] = {static_cast<float>(-azimuth), static_cast<float>(elevation), 1.0f};
    mysofa_s2c(position);
    std::vector<float> left(static_cast<std::size_t>(length)), right(static_cast<std::size_t>(length));
    float delayLeft = 0, delayRight = 0;
    mysofa_getfilter_float(hrtf, position[0], position[1], position[2], left.data(), right.data(), &delayLeft,
                           &delayRight);
    mysofa_close(hrtf);
    const auto dl = static_cast<std::size_t>(std::lround(delayLeft * rate));
    const auto dr = static_cast<std::size_t>(std::lround(delayRight * rate));
    r.m_left.assign(dl, 0.0f);
    r.m_left.insert(r.m_left.end(), left.begin(), left.end());
    r.m_right.assign(dr, 0.0f);
    r.m_right.insert(r.m_right.end(), right.begin(), right.end());
    const std::size_t taps = std::max(r.m_left.size(), r.m_right.size());
    r.m_left.resize(taps, 0.0f);
    r.m_right.resize(taps, 0.0f);
    r.m_history.assign(taps, 0.0f);
    return std::nullopt;
}

void SpatialRenderer::useCues(unsigned rate, double azimuth)
{
    const double itd = interaural_time_difference(azimuth);
    const auto delay = static_cast<std::size_t>(std::lround(std::fabs(itd) * rate));
    const double lateral = std::fabs(std::sin(azimuth * M_PI / 180));
    // The far ear: up to 10 dB quieter, and duller through a short smoothing
    // filter (the head's shadow) whose length grows with the angle.
    const double gain = std::pow(10.0, -10 * lateral / 20);
    const std::size_t shadow = 1 + static_cast<std::size_t>(std::lround(3 * lateral * rate / 44100.0));
    std::vector<float> near(1, 1.0f), far(delay + shadow, 0.0f);
    for (std::size_t i = 0; i < shadow; ++i)
        far[delay + i] = static_cast<float>(gain / static_cast<double>(shadow));
    const bool right = azimuth > 0 && azimuth < 180;
    m_left = right ? far : near;
    m_right = right ? near : far;
    const std::size_t taps = std::max(m_left.size(), m_right.size());
    m_left.resize(taps, 0.0f);
    m_right.resize(taps, 0.0f);
    m_history.assign(taps, 0.0f);
}

void SpatialRenderer::process(float* s, std::size_t frames)
{
    const std::size_t taps = m_history.size();
    for (std::size_t i = 0; i < frames; ++i) {
        m_history[m_at] = 0.5f * (s[2 * i] + s[2 * i + 1]);
        float l = 0, r = 0;
        // Tap k reads the input k samples ago.
        std::size_t at = m_at;
        for (std::size_t k = 0; k < taps; ++k) {
            l += m_left[k] * m_history[at];
            r += m_right[k] * m_history[at];
            at = at == 0 ? taps - 1 : at - 1;
        }
        s[2 * i] = l;
        s[2 * i + 1] = r;
        m_at = m_at + 1 == taps ? 0 : m_at + 1;
    }
}
