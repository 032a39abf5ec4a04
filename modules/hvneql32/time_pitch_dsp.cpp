#include "time_pitch_dsp.h"

#include <rubberband/RubberBandStretcher.h>

#include <algorithm>
#include <cmath>
#include <future>

using RubberBand::RubberBandStretcher;

namespace {

constexpr std::size_t kChunk = 4096;
constexpr std::size_t kHistory = 4 * kChunk;  // samples kept for the end's padding

}  // namespace

// `count` samples that carry `history` on: a linear predictor of order 32
// fitted to its end (autocorrelation method, Levinson-Durbin recursion,
// which gives a stable filter), run on its own output. A steady sound goes
// on as it was, at its level; noise fades.
std::vector<float> extrapolate(const std::vector<float>& history, std::size_t count)
{
    constexpr int kOrder = 32;
    const std::size_t n = history.size();
    if (n <= 4 * kOrder)
        return std::vector<float>(count, 0.0f);
    std::vector<double> r(kOrder + 1, 0.0);
    for (int lag = 0; lag <= kOrder; ++lag)
        for (std::size_t i = static_cast<std::size_t>(lag); i < n; ++i)
            r[static_cast<std::size_t>(lag)] += static_cast<double>(history[i]) * history[i - static_cast<std::size_t>(lag)];
    if (r[0] <= 0)
        return std::vector<float>(count, 0.0f);
    r[0] *= 1.0 + 1e-9;  // a touch of white noise keeps the recursion well behaved
    std::vector<double> a(kOrder + 1, 0.0), previous(kOrder + 1, 0.0);
    a[0] = 1;
    double error = r[0];
    for (int m = 1; m <= kOrder; ++m) {
        double acc = r[static_cast<std::size_t>(m)];
        for (int j = 1; j < m; ++j)
            acc += a[static_cast<std::size_t>(j)] * r[static_cast<std::size_t>(m - j)];
        const double k = -acc / error;
        previous = a;
        for (int j = 1; j < m; ++j)
            a[static_cast<std::size_t>(j)] = previous[static_cast<std::size_t>(j)] + k * previous[static_cast<std::size_t>(m - j)];
        a[static_cast<std::size_t>(m)] = k;
        error *= 1 - k * k;
        if (error <= 0)
            break;
    }
    std::vector<double> line(history.end() - kOrder, history.end());
    std::vector<float> out(count);
    for (std::size_t i = 0; i < count; ++i) {
        double v = 0;
        for (int j = 1; j <= kOrder; ++j)
            v -= a[static_cast<std::size_t>(j)] * line[line.size() - static_cast<std::size_t>(j)];
        v = std::clamp(v, -4.0, 4.0);
        out[i] = static_cast<float>(v);
        line.erase(line.begin());
        line.push_back(v);
    }
    return out;
}

// One channel: its stretcher and what it has produced that is not handed
// out yet.
struct TimePitchShifter::Channel {
    std::unique_ptr<RubberBandStretcher> stretcher;
    std::vector<float> input;
    std::vector<float> ready;
    std::vector<float> scratch = std::vector<float>(kChunk);
    std::size_t toSkip = 0;
    std::vector<float> history;  // the last samples fed, for the end's padding
    std::vector<float> following;  // the sound after the passage

    void retrieve()
    {
        for (int avail = stretcher->available(); avail > 0; avail = stretcher->available()) {
            const std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(avail), kChunk);
            float* p = scratch.data();
            const std::size_t got = stretcher->retrieve(&p, n);
            const std::size_t skip = std::min(toSkip, got);
            toSkip -= skip;
            ready.insert(ready.end(), scratch.begin() + static_cast<long>(skip), scratch.begin() + static_cast<long>(got));
        }
    }

    // Feeds this channel's samples chunk by chunk with the ratios of each chunk.
    void feed(const std::vector<double>& ratios, const std::vector<double>& scales, std::size_t step)
    {
        for (std::size_t k = 0, done = 0; done < input.size(); ++k) {
            const std::size_t n = std::min(step, input.size() - done);
            // Only a change reaches the stretcher: each setting costs it work.
            if (ratios[k] != stretcher->getTimeRatio())
                stretcher->setTimeRatio(ratios[k]);
            if (scales[k] != stretcher->getPitchScale())
                stretcher->setPitchScale(scales[k]);
            const float* p = input.data() + done;
            done += n;
            stretcher->process(&p, n, false);
            retrieve();
        }
        // The end's padding mirrors what came last.
        history.insert(history.end(), input.begin(), input.end());
        if (history.size() > kHistory)
            history.erase(history.begin(), history.end() - static_cast<long>(kHistory));
    }

    // After the last samples: the stretcher still holds the end of the
    // sound (its output runs its start delay behind its input), and its
    // analysis window reaches past what it has been given. The sound that
    // follows the passage (or, at the file's end, its last samples mirrored)
    // carries on at its level while it pushes the end out, until `wanted` frames are ready; the final call then
    // empties the stretcher. So the end of the passage is the stretched end
    // of the sound at its own level, never cut off, faded or filled with
    // zeros; what the padding makes beyond it is dropped.
    void drain(std::size_t wanted)
    {
        // The sound that follows, then (at the file's end) the sound carried
        // on by linear prediction from its last samples, then silence.
        std::vector<float> pad = following;
        const std::vector<float> predicted = extrapolate(history, kHistory);
        pad.insert(pad.end(), predicted.begin(), predicted.end());
        const std::size_t loopFrom = pad.size();
        pad.insert(pad.end(), kChunk, 0.0f);
        const double outPerIn = std::max(stretcher->getTimeRatio(), 1e-3);
        const double limit = static_cast<double>(wanted) / outPerIn + static_cast<double>(stretcher->getStartDelay()) +
                             static_cast<double>(stretcher->getPreferredStartPad()) + 8.0 * kChunk;
        std::size_t at = 0;
        for (double padded = 0; ready.size() < wanted && padded < limit; padded += kChunk) {
            const std::size_t n = std::min(kChunk, pad.size() - at);
            const float* p = pad.data() + at;
            stretcher->process(&p, n, false);
            retrieve();
            at = at + n >= pad.size() ? loopFrom : at + n;
        }
        const float* p = pad.data();
        stretcher->process(&p, 0, true);
        retrieve();
    }
};

TimePitchShifter::TimePitchShifter(int channels, unsigned rate, std::size_t totalFrames,
                                   std::function<double(double)> tempoAt, std::function<double(double)> semitonesAt,
                                   const std::vector<float>& before, const std::vector<float>& after)
    : m_total(totalFrames), m_tempo(std::move(tempoAt)), m_semitones(std::move(semitonesAt))
{
    // A pitch that glides needs the consistent (slower) resampler; a fixed
    // one takes the fast one.
    const bool gliding = m_semitones(0) != m_semitones(1);
    // A glide or a gradual tempo follows its ramp in steps of about 10 ms
    // (the value at each step's middle); a constant one is set once.
    if (gliding || m_tempo(0) != m_tempo(1))
        m_step = std::max<std::size_t>(64, rate / 100);
    const RubberBandStretcher::Options options =
        RubberBandStretcher::OptionProcessRealTime | RubberBandStretcher::OptionEngineFiner |
        (gliding ? RubberBandStretcher::OptionPitchHighConsistency : RubberBandStretcher::OptionPitchHighSpeed) |
        RubberBandStretcher::OptionThreadingNever;
    for (int c = 0; c < std::max(1, channels); ++c) {
        auto ch = std::make_unique<Channel>();
        ch->stretcher = std::make_unique<RubberBandStretcher>(std::max(1u, rate), 1, options, 1.0 / m_tempo(0),
                                                              std::pow(2.0, m_semitones(0) / 12));
        ch->stretcher->setMaxProcessSize(kChunk);
        // What comes before the passage (silence before the file's start)
        // lets the stretcher settle; what it delays the output by is dropped
        // again.
        const std::size_t stride = static_cast<std::size_t>(std::max(1, channels));
        const std::size_t padFrames = ch->stretcher->getPreferredStartPad();
        const std::size_t known = std::min(padFrames, before.size() / stride);
        std::vector<float> lead(padFrames, 0.0f);
        for (std::size_t i = 0; i < known; ++i)
            lead[padFrames - known + i] = before[(before.size() / stride - known + i) * stride + static_cast<std::size_t>(c)];
        for (std::size_t done = 0; done < padFrames;) {
            const std::size_t n = std::min(kChunk, padFrames - done);
            const float* p = lead.data() + done;
            ch->stretcher->process(&p, n, false);
            done += n;
        }
        ch->following.resize(after.size() / stride);
        for (std::size_t i = 0; i < ch->following.size(); ++i)
            ch->following[i] = after[i * stride + static_cast<std::size_t>(c)];
        ch->toSkip = ch->stretcher->getStartDelay();
        m_pitchLag = gliding ? 2 * ch->toSkip : 0;
        m_channels.push_back(std::move(ch));
    }
}

TimePitchShifter::~TimePitchShifter() = default;

void TimePitchShifter::process(const float* in, std::size_t frames, bool last, std::vector<float>& out)
{
    const std::size_t channels = m_channels.size();
    // The tempo and pitch of each step, taken at its middle.
    std::vector<double> ratios, scales;
    for (std::size_t done = 0; done < frames; done += m_step) {
        const std::size_t n = std::min(m_step, frames - done);
        // A new pitch reaches the output the stretcher is making now, which
        // lags the input: the pitch set with these samples is the one due
        // that much earlier (twice the start delay, as a glide measured on
        // the output shows).
        const double t = std::max(0.0, static_cast<double>(m_consumed + done) + static_cast<double>(n) / 2 -
                                           static_cast<double>(m_pitchLag)) /
                         static_cast<double>(std::max<std::size_t>(m_total, 1));
        const double tempo = m_tempo(t);
        ratios.push_back(1.0 / tempo);
        scales.push_back(std::pow(2.0, m_semitones(t) / 12));
        m_expectedOut += static_cast<double>(n) / tempo;
    }
    m_consumed += frames;
    for (std::size_t c = 0; c < channels; ++c) {
        std::vector<float>& input = m_channels[c]->input;
        input.resize(frames);
        for (std::size_t i = 0; i < frames; ++i)
            input[i] = in[i * channels + c];
    }
    // What the whole passage gives, for the last block: the length the
    // tempo asks for, less what has gone out.
    const auto wanted = static_cast<std::size_t>(std::llround(m_expectedOut));
    const std::size_t still = wanted > m_produced ? wanted - m_produced : 0;
    // The channels run side by side.
    const auto work = [&](std::size_t c) {
        m_channels[c]->feed(ratios, scales, m_step);
        if (last)
            m_channels[c]->drain(still);
    };
    std::vector<std::future<void>> others;
    for (std::size_t c = 1; c < channels; ++c)
        others.push_back(std::async(std::launch::async, work, c));
    work(0);
    for (auto& f : others)
        f.get();

    // Frames that every channel has, interleaved; the last block gives
    // exactly the length the tempo asks for.
    std::size_t give = m_channels[0]->ready.size();
    for (const auto& ch : m_channels)
        give = std::min(give, ch->ready.size());
    if (last) {
        // Drained, every channel has them; a stretcher that gave less than
        // asked (it cannot when drained) would leave silence, not a gap.
        for (auto& ch : m_channels)
            ch->ready.resize(std::max(ch->ready.size(), still), 0.0f);
        give = still;
    }
    const std::size_t base = out.size();
    out.resize(base + give * channels);
    for (std::size_t c = 0; c < channels; ++c) {
        std::vector<float>& ready = m_channels[c]->ready;
        for (std::size_t i = 0; i < give; ++i)
            out[base + i * channels + c] = ready[i];
        ready.erase(ready.begin(), ready.begin() + static_cast<long>(give));
    }
    m_produced += give;
}
