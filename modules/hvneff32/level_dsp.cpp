#include "level_dsp.h"

#include <algorithm>
#include <cmath>

float decibels_to_gain(double db) { return static_cast<float>(std::pow(10.0, db / 20.0)); }

float fade_gain(double t, bool fadeIn, bool logarithmic, double rangeDb)
{
    const double x = std::clamp(fadeIn ? t : 1.0 - t, 0.0, 1.0);
    if (!logarithmic)
        return static_cast<float>(x);
    // Silence at the quiet end, then a straight line in decibels.
    return x <= 0.0 ? 0.0f : decibels_to_gain((x - 1.0) * rangeDb);
}

void pan_gains(double position, bool constantPower, float& left, float& right)
{
    const double p = std::clamp(position, -1.0, 1.0);
    if (constantPower) {
        // The sine/cosine law: the two gains' squares always sum to one, so
        // the power stays the same wherever the sound is placed; at the
        // centre each side is at -3 dB.
        const double angle = (p + 1) * M_PI / 4;
        left = static_cast<float>(std::cos(angle));
        right = static_cast<float>(std::sin(angle));
        return;
    }
    // Linear: a balance control, the far side turned down in proportion.
    left = p > 0 ? static_cast<float>(1.0 - p) : 1.0f;
    right = p < 0 ? static_cast<float>(1.0 + p) : 1.0f;
}

float modulator(double t, double frequency, int wave)
{
    const double phase = t * frequency - std::floor(t * frequency);  // 0..1
    switch (wave) {
    case 1: return static_cast<float>(phase < 0.5 ? 4 * phase - 1 : 3 - 4 * phase);
    case 2: return phase < 0.5 ? 1.0f : -1.0f;
    default: return static_cast<float>(std::sin(2 * M_PI * phase));
    }
}

float tremolo_gain(double t, double frequency, double depth, int wave)
{
    // The modulator's -1..1 becomes 1 - depth .. 1.
    return static_cast<float>(1.0 - depth * 0.5 * (1.0 - modulator(t, frequency, wave)));
}
