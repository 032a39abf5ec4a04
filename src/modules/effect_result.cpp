#include "modules/effect_result.h"

#include "app/instance_files.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "modules/effect_commands.h"
#include "modules/module_dialogs.h"
#include "view/child_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <cstring>
#include <unistd.h>

bool channel_selected(const CChildFrame& f, int channel)
{
    if (f.wfx.nChannels != 2)
        return true;
    return channel == 0 ? f.bLeftChannel != 0 : f.bRightChannel != 0;
}

EffectResult::EffectResult(const CChildFrame& f, int shown, int out)
    : m_frame(f), m_shown(shown), m_out(out), m_channels(std::max<int>(1, f.wfx.nChannels)), m_format(f.sampleFormat()),
      m_frameBytes(static_cast<std::size_t>(sample_bytes(m_format)) * static_cast<std::size_t>(m_channels)),
      m_shownBytes(static_cast<std::uint64_t>(f.nTotalSamples) * static_cast<std::uint64_t>(f.bytesPerSample())),
      m_integer(m_format != SampleFormat::F32)
{
}

EffectResult::~EffectResult()
{
    if (m_spill >= 0) {
        ::close(m_spill);
        ::unlink(m_spillName.c_str());
    }
}

bool EffectResult::encode(const float* values, std::size_t frames, std::uint64_t at, bool keepOthers)
{
    m_raw.resize(frames * m_frameBytes);
    float_to_samples(m_format, values, m_raw.data(), frames * static_cast<std::size_t>(m_channels));
    return writeBytes(m_raw.data(), frames, at, keepOthers);
}

bool EffectResult::writeBytes(unsigned char* bytes, std::size_t frames, std::uint64_t at, bool keepOthers)
{
    const std::size_t size = frames * m_frameBytes;
    bool allSelected = true;
    for (int ch = 0; ch < m_channels; ++ch)
        allSelected = allSelected && channel_selected(m_frame, ch);
    if (keepOthers && !allSelected) {
        // The shown version's bytes here (silence past its end).
        m_kept.assign(size, silence_byte(m_format));
        const std::uint64_t there = at < m_shownBytes ? std::min<std::uint64_t>(size, m_shownBytes - at) : 0;
        if (there > 0 && read_fully(m_shown, m_kept.data(), static_cast<long long>(there), static_cast<long long>(at)) !=
                             static_cast<long long>(there)) {
            NewErrMsg(5038);
            return false;
        }
        const std::size_t sampleBytes = static_cast<std::size_t>(sample_bytes(m_format));
        for (int ch = 0; ch < m_channels; ++ch)
            if (!channel_selected(m_frame, ch))
                for (std::size_t i = 0; i < frames; ++i)
                    std::memcpy(bytes + i * m_frameBytes + static_cast<std::size_t>(ch) * sampleBytes,
                                m_kept.data() + i * m_frameBytes + static_cast<std::size_t>(ch) * sampleBytes, sampleBytes);
    }
    if (!write_fully(m_out, bytes, static_cast<long long>(size), static_cast<long long>(at))) {
        NewErrMsg(5031);
        return false;
    }
    return true;
}

bool EffectResult::write(const float* values, std::size_t frames, std::uint64_t at, bool keepOthers)
{
    if (frames == 0)
        return true;
    if (m_integer) {
        // What the conversion will clip, in the channels that change.
        std::uint64_t clipped = 0;
        for (std::size_t i = 0; i < frames; ++i)
            for (int ch = 0; ch < m_channels; ++ch) {
                if (keepOthers && !channel_selected(m_frame, ch))
                    continue;
                const float v = std::fabs(values[i * static_cast<std::size_t>(m_channels) + static_cast<std::size_t>(ch)]);
                m_peak = std::max(m_peak, v);
                clipped += v > 1.0f;
            }
        m_clipped += clipped;
        // A piece that clips keeps its exact values; one that does not can
        // be read back from what was written.
        Piece piece{at, frames, keepOthers, kNotSpilled};
        if (clipped > 0) {
            const std::size_t bytes = frames * static_cast<std::size_t>(m_channels) * sizeof(float);
            // Made at the first piece that clips, in this program's own
            // folder: a run that is killed leaves it where the next start
            // clears it away.
            if (m_spill < 0 && m_spillName.empty()) {
                m_spillName = instance_directory() + "/effect-result-XXXXXX.f32";
                m_spill = ::mkostemps(m_spillName.data(), 4, O_CLOEXEC);
            }
            if (m_spill < 0 ||
                !write_fully(m_spill, values, static_cast<long long>(bytes), static_cast<long long>(m_spilled))) {
                NewErrMsg(5031);
                return false;
            }
            piece.spilledAt = m_spilled;
            m_spilled += bytes;
        }
        m_pieces.push_back(piece);
    }
    return encode(values, frames, at, keepOthers);
}

bool EffectResult::rewrite(float gain)
{
    for (const Piece& piece : m_pieces) {
        const std::size_t samples = piece.frames * static_cast<std::size_t>(m_channels);
        m_scaled.resize(samples);
        if (piece.spilledAt != kNotSpilled) {
            if (read_fully(m_spill, m_scaled.data(), static_cast<long long>(samples * sizeof(float)),
                           static_cast<long long>(piece.spilledAt)) != static_cast<long long>(samples * sizeof(float))) {
                NewErrMsg(5038);
                return false;
            }
        } else {
            // Within full scale, as written: the written samples are those
            // values rounded.
            m_raw.resize(piece.frames * m_frameBytes);
            if (read_fully(m_out, m_raw.data(), static_cast<long long>(m_raw.size()), static_cast<long long>(piece.at)) !=
                static_cast<long long>(m_raw.size())) {
                NewErrMsg(5038);
                return false;
            }
            samples_to_float(m_format, m_raw.data(), m_scaled.data(), samples);
        }
        for (float& v : m_scaled)
            v *= gain;
        if (!encode(m_scaled.data(), piece.frames, piece.at, piece.keepOthers))
            return false;
    }
    return true;
}

bool settle_clipping(EffectResult& result, int code)
{
    if (result.clipped() == 0)
        return true;
    const EffectCommand* command = find_effect_command(code);
    const std::string name = command && *command->undoName ? command->undoName : "The effect";
    const std::uint64_t n = result.clipped();
    char over[32];
    std::snprintf(over, sizeof over, "%.1f", 20 * std::log10(result.peak()));
    const std::string text = name + " would clip " + std::to_string(n) + (n == 1 ? " sample" : " samples") +
                             ": its peak is " + over + " dB over full scale.";
    switch (module_dialogs().askClipping(text)) {
    case ModuleDialogs::ClipAnswer::Clip: return true;
    case ModuleDialogs::ClipAnswer::Normalize:
        // The peak at -0.1 dBFS.
        return result.rewrite(static_cast<float>(std::pow(10.0, -0.1 / 20) / result.peak()));
    case ModuleDialogs::ClipAnswer::Cancel: break;
    }
    return false;
}
