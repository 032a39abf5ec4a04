#include "time_pitch_dsp.h"

#include <rubberband/RubberBandStretcher.h>

#include <algorithm>
#include <cmath>

using RubberBand::RubberBandStretcher;

namespace {

constexpr std::size_t kChunk = 4096;

}  // namespace

TimePitchShifter::TimePitchShifter(int channels, unsigned rate, std::size_t totalFrames,
                                   std::function<double(double)> tempoAt, std::function<double(double)> semitonesAt)
    : m_channels(channels), m_total(totalFrames), m_tempo(std::move(tempoAt)), m_semitones(std::move(semitonesAt)),
      m_planar(static_cast<std::size_t>(channels))
{
    const RubberBandStretcher::Options options = RubberBandStretcher::OptionProcessRealTime |
                                                 RubberBandStretcher::OptionEngineFaster |
                                                 RubberBandStretcher::OptionPitchHighConsistency |
                                                 RubberBandStretcher::OptionThreadingNever;
    m_stretcher = std::make_unique<RubberBandStretcher>(std::max(1u, rate), static_cast<std::size_t>(channels), options,
                                                        1.0 / m_tempo(0), std::pow(2.0, m_semitones(0) / 12));
    m_stretcher->setMaxProcessSize(kChunk);
    // Silence ahead of the sound lets the stretcher settle; what it delays
    // the output by is dropped again.
    const std::size_t pad = m_stretcher->getPreferredStartPad();
    for (auto& ch : m_planar)
        ch.assign(std::max(pad, kChunk), 0.0f);
    std::vector<const float*> ptrs(static_cast<std::size_t>(channels));
    for (std::size_t done = 0; done < pad;) {
        const std::size_t n = std::min(kChunk, pad - done);
        for (std::size_t c = 0; c < ptrs.size(); ++c)
            ptrs[c] = m_planar[c].data();
        m_stretcher->process(ptrs.data(), n, false);
        done += n;
    }
    m_toSkip = m_stretcher->getStartDelay();
}

TimePitchShifter::~TimePitchShifter() = default;

void TimePitchShifter::retrieve(std::vector<float>& out)
{
    const auto channels = static_cast<std::size_t>(m_channels);
    std::vector<float*> ptrs(channels);
    for (int avail = m_stretcher->available(); avail > 0; avail = m_stretcher->available()) {
        const std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(avail), kChunk);
        for (std::size_t c = 0; c < channels; ++c) {
            m_planar[c].resize(std::max(m_planar[c].size(), n));
            ptrs[c] = m_planar[c].data();
        }
        const std::size_t got = m_stretcher->retrieve(ptrs.data(), n);
        for (std::size_t i = 0; i < got; ++i) {
            if (m_toSkip > 0) {
                --m_toSkip;
                continue;
            }
            for (std::size_t c = 0; c < channels; ++c)
                out.push_back(m_planar[c][i]);
            ++m_produced;
        }
    }
}

void TimePitchShifter::process(const float* in, std::size_t frames, bool last, std::vector<float>& out)
{
    const auto channels = static_cast<std::size_t>(m_channels);
    std::vector<const float*> ptrs(channels);
    for (std::size_t done = 0; done < frames;) {
        const std::size_t n = std::min(kChunk, frames - done);
        // The tempo and pitch of this stretch of the selection, taken at its
        // middle.
        const double t = (static_cast<double>(m_consumed) + static_cast<double>(n) / 2) /
                         static_cast<double>(std::max<std::size_t>(m_total, 1));
        const double tempo = m_tempo(t);
        m_stretcher->setTimeRatio(1.0 / tempo);
        m_stretcher->setPitchScale(std::pow(2.0, m_semitones(t) / 12));
        m_expectedOut += static_cast<double>(n) / tempo;
        for (std::size_t c = 0; c < channels; ++c) {
            m_planar[c].resize(std::max(m_planar[c].size(), n));
            for (std::size_t i = 0; i < n; ++i)
                m_planar[c][i] = in[(done + i) * channels + c];
            ptrs[c] = m_planar[c].data();
        }
        const bool final = last && done + n >= frames;
        m_stretcher->process(ptrs.data(), n, final);
        m_consumed += n;
        done += n;
        retrieve(out);
    }
    if (!last)
        return;
    if (frames == 0)
        m_stretcher->process(ptrs.data(), 0, true);
    // Drain what is still inside, then cut or fill to the length the tempo
    // asks for.
    while (m_stretcher->available() >= 0) {
        retrieve(out);
        if (m_stretcher->available() <= 0)
            break;
    }
    const auto wanted = static_cast<std::size_t>(std::llround(m_expectedOut));
    if (m_produced > wanted) {
        const std::size_t excess = std::min(m_produced - wanted, out.size() / channels);
        out.resize(out.size() - excess * channels);
    } else {
        out.resize(out.size() + (wanted - m_produced) * channels, 0.0f);
    }
    m_produced = wanted;
}
