#pragma once

#include <cstddef>
#include <vector>

// Echo: a feedback delay line per channel. The first echo comes `delay`
// frames after the sound at `level`, every further one `delay` later again,
// multiplied by `feedback`; the direct sound stays at `dry`.
class FeedbackEcho {
public:
    FeedbackEcho(int channels, std::size_t delayFrames, float feedback, float level, float dry);
    // Processes interleaved frames in place.
    void process(float* samples, std::size_t frames);

private:
    int m_channels;
    std::size_t m_delay;
    float m_feedback, m_level, m_dry;
    std::vector<float> m_line;  // delay frames x channels
    std::size_t m_at = 0;
};

// Reverb: eight damped feedback comb filters in parallel and four all-pass
// filters in series per channel (the classic Schroeder-Moorer structure with
// the well-known "Freeverb" tunings, scaled to the sample rate); the right
// channel's lines are a little longer, which makes the stereo image wide.
class Reverb {
public:
    struct Settings {
        float roomSize = 0.5f;  // 0..1
        float damping = 0.5f;   // 0..1
        float wet = 0.33f;
        float dry = 1.0f;
        float width = 1.0f;  // 0..1
    };
    Reverb(int channels, unsigned rate, const Settings& settings);
    void process(float* samples, std::size_t frames);

private:
    struct Comb {
        std::vector<float> buffer;
        std::size_t at = 0;
        float store = 0;
    };
    struct Allpass {
        std::vector<float> buffer;
        std::size_t at = 0;
    };
    float run(int channel, float input);

    int m_channels;
    float m_feedback, m_damp, m_wet1, m_wet2, m_dry;
    std::vector<Comb> m_combs[2];
    std::vector<Allpass> m_allpasses[2];
};
