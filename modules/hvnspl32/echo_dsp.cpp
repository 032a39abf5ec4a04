#include "echo_dsp.h"

#include <algorithm>

FeedbackEcho::FeedbackEcho(int channels, std::size_t delayFrames, float feedback, float level, float dry)
    : m_channels(channels), m_delay(std::max<std::size_t>(1, delayFrames)), m_feedback(feedback), m_level(level),
      m_dry(dry), m_line(m_delay * static_cast<std::size_t>(channels), 0.0f)
{
}

void FeedbackEcho::process(float* s, std::size_t frames)
{
    const auto channels = static_cast<std::size_t>(m_channels);
    for (std::size_t i = 0; i < frames; ++i) {
        float* line = m_line.data() + m_at * channels;
        for (std::size_t c = 0; c < channels; ++c) {
            const float x = s[i * channels + c];
            const float delayed = line[c];  // the sum of all earlier echoes due now
            s[i * channels + c] = m_dry * x + m_level * delayed;
            line[c] = x + m_feedback * delayed;
        }
        m_at = m_at + 1 == m_delay ? 0 : m_at + 1;
    }
}

namespace {

constexpr int kCombTuning[8] = {1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617};
constexpr int kAllpassTuning[4] = {556, 441, 341, 225};
constexpr int kStereoSpread = 23;
constexpr float kFixedGain = 0.015f;
constexpr float kScaleRoom = 0.28f;
constexpr float kOffsetRoom = 0.7f;
constexpr float kScaleDamp = 0.4f;
constexpr float kAllpassFeedback = 0.5f;

}  // namespace

Reverb::Reverb(int channels, unsigned rate, const Settings& s) : m_channels(std::clamp(channels, 1, 2))
{
    const double scale = rate / 44100.0;
    for (int ch = 0; ch < m_channels; ++ch) {
        const int spread = ch == 1 ? kStereoSpread : 0;
        for (int t : kCombTuning)
            m_combs[ch].push_back({std::vector<float>(static_cast<std::size_t>(std::max(1.0, (t + spread) * scale)), 0.0f)});
        for (int t : kAllpassTuning)
            m_allpasses[ch].push_back(
                {std::vector<float>(static_cast<std::size_t>(std::max(1.0, (t + spread) * scale)), 0.0f)});
    }
    m_feedback = std::clamp(s.roomSize, 0.0f, 1.0f) * kScaleRoom + kOffsetRoom;
    m_damp = std::clamp(s.damping, 0.0f, 1.0f) * kScaleDamp;
    const float wet = s.wet * 3.0f;  // the classic wet scale
    m_wet1 = wet * (s.width / 2 + 0.5f);
    m_wet2 = wet * ((1 - s.width) / 2);
    m_dry = s.dry;
}

float Reverb::run(int ch, float input)
{
    float out = 0;
    for (Comb& c : m_combs[ch]) {
        const float y = c.buffer[c.at];
        c.store = y * (1 - m_damp) + c.store * m_damp;
        c.buffer[c.at] = input + c.store * m_feedback;
        c.at = c.at + 1 == c.buffer.size() ? 0 : c.at + 1;
        out += y;
    }
    for (Allpass& a : m_allpasses[ch]) {
        const float b = a.buffer[a.at];
        const float y = -out + b;
        a.buffer[a.at] = out + b * kAllpassFeedback;
        a.at = a.at + 1 == a.buffer.size() ? 0 : a.at + 1;
        out = y;
    }
    return out;
}

void Reverb::process(float* s, std::size_t frames)
{
    for (std::size_t i = 0; i < frames; ++i) {
        if (m_channels == 1) {
            const float x = s[i];
            s[i] = x * m_dry + run(0, x * kFixedGain) * (m_wet1 + m_wet2);
            continue;
        }
        const float l = s[2 * i], r = s[2 * i + 1];
        const float input = (l + r) * kFixedGain;
        const float outL = run(0, input), outR = run(1, input);
        s[2 * i] = outL * m_wet1 + outR * m_wet2 + l * m_dry;
        s[2 * i + 1] = outR * m_wet1 + outL * m_wet2 + r * m_dry;
    }
}
