#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace RubberBand {
class RubberBandStretcher;
}

// Tempo and pitch through Rubber Band: the tempo changes without the pitch,
// or the pitch without the tempo, constant or gliding from one value to
// another over the selection. Streams: blocks go in, finished frames come
// out, and the output has the length the tempo gives it. Each channel has a
// stretcher of its own (Rubber Band treats channels apart by default) and the
// channels of a block run at the same time on their own threads.
class TimePitchShifter {
public:
    // `tempoAt(t)` and `semitonesAt(t)` give the tempo factor (2 = twice as
    // fast) and the pitch shift at position t (0..1) of `totalFrames`.
    // `before` and `after`: the sound around the passage (interleaved, as
    // much as there is), which the stretcher's window takes in at the
    // passage's edges so that they keep the sound's level.
    TimePitchShifter(int channels, unsigned rate, std::size_t totalFrames, std::function<double(double)> tempoAt,
                     std::function<double(double)> semitonesAt, const std::vector<float>& before = {},
                     const std::vector<float>& after = {});
    ~TimePitchShifter();
    void process(const float* in, std::size_t frames, bool last, std::vector<float>& out);

private:
    struct Channel;
    std::vector<std::unique_ptr<Channel>> m_channels;
    std::size_t m_total;
    std::size_t m_consumed = 0;
    double m_expectedOut = 0;  // frames the input should give
    std::size_t m_produced = 0;
    std::function<double(double)> m_tempo, m_semitones;
    std::size_t m_step = 4096;  // frames between changes of the tempo and pitch
    std::size_t m_pitchLag = 0;  // frames a glide's pitch is set behind the input
};
