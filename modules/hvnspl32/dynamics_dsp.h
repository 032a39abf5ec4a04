#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// Compressor and expander: the static curve, and a linked peak detector
// with attack and release that drives it.
struct DynamicsSettings {
    bool expander = false;
    double thresholdDb = -20;
    double ratio = 4;
    double attackMs = 5;
    double releaseMs = 100;
    double makeupDb = 0;
};

// The output level (dB) for an input level (dB): above the threshold a
// compressor divides the excess by the ratio; below it an expander
// multiplies the shortfall by the ratio (no lower than -120 dB).
double dynamics_output_db(double inputDb, const DynamicsSettings& settings);

class DynamicsProcessor {
public:
    DynamicsProcessor(int channels, unsigned rate, const DynamicsSettings& settings);
    void process(float* samples, std::size_t frames);

private:
    int m_channels;
    DynamicsSettings m_settings;
    double m_attack, m_release;
    double m_envelope = 0;
};

// A gain envelope: points "position%:level%" over the selection, joined by
// straight lines ("0:0,10:100,100:100" fades in over the first tenth).
struct EnvelopePoint {
    double position;  // 0..1
    double gain;      // 0..
};
// The points of a text, sorted; the reason when it does not parse.
std::optional<std::string> parse_envelope(const std::string& text, std::vector<EnvelopePoint>& points);
double envelope_gain(const std::vector<EnvelopePoint>& points, double position);
