#include "audio/portaudio_device.h"

#include "app/clock.h"
#include "audio/portaudio_library.h"
#include "audio/spsc_queue.h"
#include "audio/volume.h"
#include "audio/wave_out_device.h"

#include <QTimer>
#include <atomic>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <portaudio.h>

namespace {

std::atomic<int> g_xruns{0};
// Periods in which the engine had no buffer ready in the middle of playing:
// our own starvation, apart from the server's xruns.
std::atomic<int> g_starved{0};

class PortAudioWaveOut : public WaveOutDevice {
public:
    explicit PortAudioWaveOut(PaDeviceIndex device) : m_device(device)
    {
        // Completions reach the engine from this timer, on the user-interface thread.
        m_timer.setInterval(5);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { deliver(); });
    }
    ~PortAudioWaveOut() override
    {
        if (m_stream) {
            Pa_AbortStream(m_stream);
            Pa_CloseStream(m_stream);
        }
    }

    bool prepare(const StreamFormat& format, WaveOutListener* listener) override
    {
        if (m_stream && m_held.load()) {
            // Held open since the last playback: only the format must agree.
            if (format.rate != m_rate || format.channels != m_channels || format.bits != m_bits)
                return false;
            m_listener = listener;
            m_playedBytes = 0;
            m_pendingOpen = true;
            return true;
        }
        m_held = true;
        if (open(format, listener))
            return true;
        m_held = false;
        return false;
    }

    bool hold() override
    {
        if (!m_stream || m_lost)
            return false;
        m_held.store(true, std::memory_order_release);
        dropQueued();
        return true;
    }

    // Only while the callback takes nothing: whatever was still queued is
    // not ours to hand back any more.
    void dropQueued()
    {
        while (m_submitted.pop()) {
        }
        while (m_done.pop()) {
        }
        m_current = {};
        m_outstanding = 0;
        m_pendingOpen = false;
    }

    void go(const StartAlignment& alignment) override
    {
        m_skipBytes = 0;
        m_leadFrames = 0;
        m_alignment = alignment;
        m_alignPending = alignment.enabled;
        m_held.store(false, std::memory_order_release);
    }

    double outputLatency() const override { return m_latency; }
    bool holds() const override { return true; }

    bool open(const StreamFormat& format, WaveOutListener* listener) override
    {
        if (m_stream) {
            // Held open in another format: start afresh.
            Pa_AbortStream(m_stream);
            Pa_CloseStream(m_stream);
            m_stream = nullptr;
            dropQueued();
        }
        m_listener = listener;
        m_frameBytes = static_cast<std::size_t>(format.channels * format.bits / 8);
        m_bits = format.bits;
        m_channels = format.channels;
        // The stream carries the volume (unless the system mixer does).
        m_gain[0] = (software_volume_word & 0xFFFFu) / 65535.0;
        m_gain[1] = ((software_volume_word >> 16) & 0xFFFFu) / 65535.0;
        PaStreamParameters out{};
        out.device = m_device;
        out.channelCount = format.channels;
        out.sampleFormat = format.bits == 8 ? paUInt8 : paInt16;
        out.suggestedLatency = Pa_GetDeviceInfo(m_device)->defaultLowOutputLatency;
        if (Pa_OpenStream(&m_stream, nullptr, &out, format.rate, paFramesPerBufferUnspecified, paNoFlag, &callback,
                          this) != paNoError) {
            m_stream = nullptr;
            return false;
        }
        g_xruns = 0;
        g_starved = 0;
        m_dryPeriods = 0;
        if (const PaStreamInfo* info = Pa_GetStreamInfo(m_stream))
            m_latency = info->outputLatency;
        m_rate = format.rate;
        if (Pa_StartStream(m_stream) != paNoError)
            return false;
        m_pendingOpen = true;
        m_timer.start();
        return true;
    }

    void write(int buffer, const unsigned char* data, std::size_t bytes) override
    {
        ++m_outstanding;
        m_submitted.push({buffer, data, bytes});
    }

    void reset() override
    {
        // Nothing held: leave the stream running so the sound already handed
        // to the host is still heard.
        if (m_outstanding.load() == 0)
            return;
        if (m_stream)
            Pa_AbortStream(m_stream);
        handBackHeldBuffers();
        if (m_stream)
            Pa_StartStream(m_stream);
    }

    void pause() override { m_paused = true; }
    void restart() override { m_paused = false; }

    void close() override
    {
        if (m_stream) {
            // Stopping (not aborting) lets the host play out its own buffer,
            // so the end of the range is not cut off.
            Pa_StopStream(m_stream);
            Pa_CloseStream(m_stream);
            m_stream = nullptr;
        }
        m_pendingClose = true;
    }

    DevicePosition position() const override { return {PositionUnit::Bytes, m_playedBytes.load()}; }
    bool lost() const override { return m_lost; }

private:
    struct Buffer {
        int index = -1;
        const unsigned char* data = nullptr;
        std::size_t bytes = 0;
    };

    void deliver()
    {
        checkAlive();
        if (m_pendingOpen) {
            m_pendingOpen = false;
            m_listener->on_wave_out_open();
        }
        while (auto index = m_done.pop())
            m_listener->on_wave_out_done(*index);
        if (m_pendingClose) {
            m_pendingClose = false;
            m_timer.stop();
            m_listener->on_wave_out_close();  // may destroy this device: nothing after it
        }
    }

    // A stream that stopped by itself (the JACK server went away) or stalled
    // while holding buffers is gone: its buffers come back so the engine ends
    // playback instead of waiting for ever.
    void checkAlive()
    {
        if (m_lost || !m_watch.gone(m_stream, m_playedBytes.load(),
                                    !m_paused && !m_held.load() && m_outstanding.load() > 0,
                                    m_timer.interval()))
            return;
        // The stream is left as it is: stopping or closing it waits on a
        // server that no longer answers. The callback no longer runs, so its
        // buffers are ours to hand back.
        m_lost = true;
        portaudio_stream_lost();
        m_stream = nullptr;
        handBackHeldBuffers();
    }

    // Only while the callback is not running: every buffer it held or had
    // queued comes back as done.
    void handBackHeldBuffers()
    {
        if (m_current.data)
            m_done.push(m_current.index);
        m_current = {};
        while (auto b = m_submitted.pop())
            m_done.push(b->index);
        m_outstanding = 0;
    }

    // The realtime side: copies queued bytes out with the stream gain, hands
    // finished buffers back, plays silence when nothing is queued.
    static int callback(const void*, void* output, unsigned long frames, const PaStreamCallbackTimeInfo*,
                        PaStreamCallbackFlags flags, void* user)
    {
        auto* self = static_cast<PortAudioWaveOut*>(user);
        auto* out = static_cast<unsigned char*>(output);
        std::size_t needed = frames * self->m_frameBytes;
        if (flags & paOutputUnderflow)
            ++g_xruns;
        if (self->m_held.load(std::memory_order_acquire)) {
            std::memset(out, self->m_bits == 8 ? 128 : 0, needed);
            return paContinue;
        }
        // The alignment is taken when the first data is there to play, so
        // that its moment is the moment the data starts.
        if (self->m_alignPending && self->m_outstanding.load() > 0) {
            self->m_alignPending = false;
            self->align();
        }
        // A late start still owes silence: the first frames wait for it.
        if (self->m_leadFrames > 0 && needed > 0) {
            const std::size_t lead = std::min<std::size_t>(needed, self->m_leadFrames * self->m_frameBytes);
            std::memset(out, self->m_bits == 8 ? 128 : 0, lead);
            out += lead;
            needed -= lead;
            self->m_leadFrames -= lead / self->m_frameBytes;
        }
        // Paused: nothing is taken, the whole period is silence.
        const bool playing = !self->m_paused;
        while (needed > 0 && !self->m_paused) {
            if (!self->m_current.data) {
                auto next = self->m_submitted.pop();
                if (!next)
                    break;
                self->m_current = *next;
                self->m_offset = 0;
                // Data again after periods that had none: those were starved
                // (a gap at the very end, with nothing after it, is not).
                g_starved += self->m_dryPeriods;
                self->m_dryPeriods = 0;
            }
            // An aligned start passes over what it is too late for.
            const bool skipping = self->m_skipBytes > 0;
            const std::size_t take =
                std::min(skipping ? self->m_skipBytes : needed, self->m_current.bytes - self->m_offset);
            if (skipping) {
                self->m_skipBytes -= take;
            } else {
                self->copyWithGain(out, self->m_current.data + self->m_offset, take);
                out += take;
                needed -= take;
            }
            self->m_offset += take;
            self->m_playedBytes += take;
            if (self->m_offset >= self->m_current.bytes) {
                self->m_done.push(self->m_current.index);
                --self->m_outstanding;
                self->m_current = {};
            }
        }
        if (needed > 0) {
            if (playing && self->m_playedBytes.load() > 0)
                ++self->m_dryPeriods;
            std::memset(out, self->m_bits == 8 ? 128 : 0, needed);
        }
        return paContinue;
    }

    // On the first period after an aligned go(): how far into the data the
    // first frame of this period, heard one output latency from now, lies.
    void align()
    {
        const double heard = static_cast<double>(monotonic_ns()) + m_latency * 1e9;
        const double seconds = m_alignment.referenceSeconds + (heard - static_cast<double>(m_alignment.referenceNs)) / 1e9;
        const auto frames = static_cast<long long>(std::llround(seconds * m_rate));
        if (frames >= 0)
            m_skipBytes = static_cast<std::size_t>(frames) * m_frameBytes;
        else
            m_leadFrames = static_cast<std::size_t>(-frames);
    }

    void copyWithGain(unsigned char* out, const unsigned char* in, std::size_t bytes) const
    {
        if (m_gain[0] >= 1.0 && m_gain[1] >= 1.0) {
            std::memcpy(out, in, bytes);
            return;
        }
        const std::size_t sampleBytes = static_cast<std::size_t>(m_bits / 8);
        for (std::size_t i = 0; i < bytes / sampleBytes; ++i) {
            const double gain = m_gain[m_channels == 2 ? i % 2 : 0];
            // Rounded, so that a level near unity keeps small signals.
            if (m_bits == 8) {
                out[i] = static_cast<unsigned char>(128 + std::lround((in[i] - 128) * gain));
            } else {
                std::int16_t v;
                std::memcpy(&v, in + 2 * i, 2);
                const auto scaled = static_cast<std::int16_t>(std::clamp(std::lround(v * gain), -32768L, 32767L));
                std::memcpy(out + 2 * i, &scaled, 2);
            }
        }
    }

    PaDeviceIndex m_device;
    PaStream* m_stream = nullptr;
    WaveOutListener* m_listener = nullptr;
    SpscQueue<Buffer, 16> m_submitted;
    SpscQueue<int, 16> m_done;
    Buffer m_current;
    std::size_t m_offset = 0;
    std::size_t m_frameBytes = 4;
    int m_bits = 16;
    int m_channels = 2;
    double m_gain[2] = {1.0, 1.0};
    int m_dryPeriods = 0;  // realtime side only
    std::atomic<bool> m_paused{false};
    std::atomic<std::uint64_t> m_playedBytes{0};
    // Buffers written and not yet handed back by the callback.
    std::atomic<int> m_outstanding{0};
    bool m_lost = false;
    // A prepared stream holds its buffers until go(); its start may be aligned.
    std::atomic<bool> m_held{false};
    StartAlignment m_alignment;
    bool m_alignPending = false;
    std::size_t m_skipBytes = 0;
    std::size_t m_leadFrames = 0;
    double m_latency = 0.0;
    std::uint32_t m_rate = 44100;
    StreamWatch m_watch;
    bool m_pendingOpen = false;
    bool m_pendingClose = false;
    QTimer m_timer;
};

std::unique_ptr<WaveOutDevice> makePortAudioOutput()
{
    const PaDeviceIndex device = portaudio_preferred_device(true);
    if (device == paNoDevice)
        return nullptr;
    return std::make_unique<PortAudioWaveOut>(device);
}

}  // namespace

void use_portaudio_output() { set_wave_out_factory(makePortAudioOutput); }
int portaudio_output_xruns() { return g_xruns.load(); }

int portaudio_output_starved() { return g_starved.load(); }
