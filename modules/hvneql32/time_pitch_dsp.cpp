#include "time_pitch_dsp.h"

#include <rubberband/RubberBandStretcher.h>

#include <algorithm>
#include <cmath>
#include <future>

using RubberBand::RubberBandStretcher;

namespace {

constexpr std::size_t kChunk = 4096;

}  // namespace

// One channel: its stretcher and what it has produced that is not handed
// out yet.
struct TimePitchShifter::Channel {
    std::unique_ptr<RubberBandStretcher> stretcher;
    std::vector<float> input;
    std::vector<float> ready;
    std::vector<float> scratch = std::vector<float>(kChunk);
    std::size_t toSkip = 0;

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
    void feed(const std::vector<double>& ratios, const std::vector<double>& scales, bool last)
    {
        for (std::size_t k = 0, done = 0; done < input.size(); ++k) {
            const std::size_t n = std::min(kChunk, input.size() - done);
            // Only a change reaches the stretcher: each setting costs it work.
            if (ratios[k] != stretcher->getTimeRatio())
                stretcher->setTimeRatio(ratios[k]);
            if (scales[k] != stretcher->getPitchScale())
                stretcher->setPitchScale(scales[k]);
            const float* p = input.data() + done;
            done += n;
            stretcher->process(&p, n, last && done >= input.size());
            retrieve();
        }
        if (last) {
            if (input.empty()) {
                const float* p = scratch.data();
                stretcher->process(&p, 0, true);
            }
            // Drain what is still inside.
            while (stretcher->available() > 0)
                retrieve();
        }
    }
};

TimePitchShifter::TimePitchShifter(int channels, unsigned rate, std::size_t totalFrames,
                                   std::function<double(double)> tempoAt, std::function<double(double)> semitonesAt)
    : m_total(totalFrames), m_tempo(std::move(tempoAt)), m_semitones(std::move(semitonesAt))
{
    // A pitch that glides needs the consistent (slower) resampler; a fixed
    // one takes the fast one.
    const bool gliding = m_semitones(0) != m_semitones(1);
    const RubberBandStretcher::Options options =
        RubberBandStretcher::OptionProcessRealTime | RubberBandStretcher::OptionEngineFaster |
        (gliding ? RubberBandStretcher::OptionPitchHighConsistency : RubberBandStretcher::OptionPitchHighSpeed) |
        RubberBandStretcher::OptionThreadingNever;
    for (int c = 0; c < std::max(1, channels); ++c) {
        auto ch = std::make_unique<Channel>();
        ch->stretcher = std::make_unique<RubberBandStretcher>(std::max(1u, rate), 1, options, 1.0 / m_tempo(0),
                                                              std::pow(2.0, m_semitones(0) / 12));
        ch->stretcher->setMaxProcessSize(kChunk);
        // Silence ahead of the sound lets the stretcher settle; what it delays
        // the output by is dropped again.
        std::vector<float> silence(kChunk, 0.0f);
        for (std::size_t pad = ch->stretcher->getPreferredStartPad(); pad > 0;) {
            const std::size_t n = std::min(kChunk, pad);
            const float* p = silence.data();
            ch->stretcher->process(&p, n, false);
            pad -= n;
        }
        ch->toSkip = ch->stretcher->getStartDelay();
        m_channels.push_back(std::move(ch));
    }
}

TimePitchShifter::~TimePitchShifter() = default;

void TimePitchShifter::process(const float* in, std::size_t frames, bool last, std::vector<float>& out)
{
    const std::size_t channels = m_channels.size();
    // The tempo and pitch of each chunk, taken at its middle.
    std::vector<double> ratios, scales;
    for (std::size_t done = 0; done < frames; done += kChunk) {
        const std::size_t n = std::min(kChunk, frames - done);
        const double t = (static_cast<double>(m_consumed + done) + static_cast<double>(n) / 2) /
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
    // The channels run side by side.
    std::vector<std::future<void>> others;
    for (std::size_t c = 1; c < channels; ++c)
        others.push_back(std::async(std::launch::async, [&, c] { m_channels[c]->feed(ratios, scales, last); }));
    m_channels[0]->feed(ratios, scales, last);
    for (auto& f : others)
        f.get();

    // Frames that every channel has, interleaved.
    std::size_t give = m_channels[0]->ready.size();
    for (const auto& ch : m_channels)
        give = std::min(give, ch->ready.size());
    if (last) {
        // Cut or fill to the length the tempo asks for.
        const auto wanted = static_cast<std::size_t>(std::llround(m_expectedOut));
        give = wanted > m_produced ? std::min(give, wanted - m_produced) : 0;
        const std::size_t fill = wanted > m_produced + give ? wanted - m_produced - give : 0;
        for (auto& ch : m_channels)
            ch->ready.resize(std::max(ch->ready.size(), give + fill), 0.0f);
        give += fill;
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
