// The wave input device on PortAudio: the realtime callback copies captured
// frames into the buffers the engine handed over and passes full ones back
// through lock-free queues; a 5 ms timer on the user-interface thread
// delivers the completions. A device that cannot run the document's rate
// captures at its own and the frames are converted (libsoxr) on the way in.
#include "audio/portaudio_device.h"
#include "audio/portaudio_library.h"
#include "audio/spsc_queue.h"
#include "audio/wave_in_device.h"
#include "wavefile/resampler.h"
#include "wavefile/sample_format.h"

#include <QTimer>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

// Overflows the host reported, and periods lost because every buffer was
// still with the engine.
std::atomic<int> g_overruns{0};
std::atomic<int> g_dropped{0};

// The connections the user had on our JACK input ports at the end of the
// last take: the next take's ports get exactly these.
JackConnections g_inputConnections;
bool g_inputConnectionsKnown = false;

class PortAudioWaveIn : public WaveInDevice {
public:
    explicit PortAudioWaveIn(PaDeviceIndex device) : m_device(device) {}
    ~PortAudioWaveIn() override
    {
        if (m_stream) {
            Pa_AbortStream(m_stream);
            Pa_CloseStream(m_stream);
        }
    }

    bool open(const StreamFormat& format, WaveInListener* listener) override
    {
        m_listener = listener;
        m_frameBytes = static_cast<std::size_t>(format.channels * format.bits / 8);
        m_bits = format.bits;
        m_channels = format.channels;
        if (!openStream(format, format.rate)) {
            // The device cannot run the document's rate: one it can, converted.
            for (const double rate : portaudio_fallback_rates(m_device, format.rate)) {
                if (!openStream(format, rate))
                    continue;
                if (m_resampler.open(rate, format.rate, format.channels))
                    break;
                Pa_CloseStream(m_stream);
                m_stream = nullptr;
            }
            if (!m_stream)
                return false;
        }
        g_overruns = 0;
        g_dropped = 0;
        m_pendingOpen = true;
        m_timer.setInterval(5);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { deliver(); });
        m_timer.start();
        return true;
    }

    bool openStream(const StreamFormat& format, double rate)
    {
        PaStreamParameters in{};
        in.device = m_device;
        in.channelCount = format.channels;
        // Floats, rounded to the document's samples here (store()).
        in.sampleFormat = paFloat32;
        in.suggestedLatency = Pa_GetDeviceInfo(m_device)->defaultLowInputLatency;
        if (Pa_OpenStream(&m_stream, &in, nullptr, rate, paFramesPerBufferUnspecified, paDitherOff, &callback,
                          this) != paNoError) {
            m_stream = nullptr;
            return false;
        }
        return true;
    }

    void add_buffer(int buffer, unsigned char* data, std::size_t bytes) override
    {
        if (!m_stream || m_lost)
            return;
        ++m_outstanding;
        m_empty.push({buffer, data, bytes, 0});
    }

    void start() override
    {
        if (m_stream && !m_started) {
            m_started = Pa_StartStream(m_stream) == paNoError;
            if (m_started && g_inputConnectionsKnown && portaudio_device_is_jack(m_device))
                restore_jack_port_connections("in_", g_inputConnections);
        }
    }

    // The JACK ports go with the stream: their connections are kept for the
    // next take.
    void keepConnections()
    {
        if (m_stream && m_started && portaudio_device_is_jack(m_device)) {
            g_inputConnections = jack_port_connections("in_");
            g_inputConnectionsKnown = true;
        }
    }

    void reset() override
    {
        keepConnections();
        if (m_stream && m_started)
            Pa_AbortStream(m_stream);
        if (m_started)
            flushConverter();
        m_started = false;
        handBackHeldBuffers();
    }

    void close() override
    {
        keepConnections();
        if (m_stream) {
            if (m_started)
                Pa_AbortStream(m_stream);
            Pa_CloseStream(m_stream);
            m_stream = nullptr;
        }
        if (m_started)
            flushConverter();
        m_started = false;
        handBackHeldBuffers();
        m_pendingClose = true;
    }

    bool lost() const override { return m_lost; }

private:
    struct Buffer {
        int index = -1;
        unsigned char* data = nullptr;
        std::size_t bytes = 0;
        std::size_t filled = 0;
    };

    void deliver()
    {
        checkAlive();
        if (m_pendingOpen) {
            m_pendingOpen = false;
            m_listener->on_wave_in_open();
        }
        while (auto b = m_full.pop())
            m_listener->on_wave_in_data(b->index, b->filled);
        if (m_pendingClose) {
            m_pendingClose = false;
            m_timer.stop();
            m_listener->on_wave_in_close();  // may destroy this device: nothing after it
        }
    }

    void checkAlive()
    {
        if (m_lost || !m_watch.gone(m_stream, m_capturedBytes.load(), m_started && m_outstanding.load() > 0,
                                    m_timer.interval()))
            return;
        // Left as it is: stopping or closing it would wait on a server that no
        // longer answers. What was captured so far comes back.
        m_lost = true;
        portaudio_stream_lost();
        m_stream = nullptr;
        m_started = false;
        handBackHeldBuffers();
    }

    // Only while the callback is not running: the buffer being filled comes
    // back with what it holds, the empty ones with nothing.
    void handBackHeldBuffers()
    {
        if (m_current.data)
            m_full.push(m_current);
        m_current = {};
        while (auto b = m_empty.pop())
            m_full.push(*b);
        m_outstanding = 0;
    }

    // The realtime side: captured frames go into the current buffer; a full
    // buffer goes back; with no buffer to fill the frames are lost (counted).
    static int callback(const void* input, void*, unsigned long frames, const PaStreamCallbackTimeInfo*,
                        PaStreamCallbackFlags flags, void* user)
    {
        auto* self = static_cast<PortAudioWaveIn*>(user);
        if (flags & paInputOverflow)
            ++g_overruns;
        const auto* samples = static_cast<const float*>(input);
        if (!samples)
            return paContinue;
        if (!self->m_resampler.isOpen()) {
            self->store(samples, frames);
            return paContinue;
        }
        // Converted a piece at a time, as much as the scratch holds.
        std::size_t left = frames;
        const std::size_t piece = std::max<std::size_t>(
            1, static_cast<std::size_t>(static_cast<double>(kConvertedFrames - 16) * self->m_resampler.ratio()));
        while (left > 0) {
            std::size_t used = 0;
            const std::size_t n = std::min(left, piece);
            const std::size_t made =
                self->m_resampler.process(samples, n, &used, self->m_converted, kConvertedFrames);
            if (!self->store(self->m_converted, made) || used == 0)
                break;
            samples += used * static_cast<std::size_t>(self->m_channels);
            left -= used;
        }
        return paContinue;
    }

    // What the converter still holds at the end of a take (the callback no
    // longer runs).
    void flushConverter()
    {
        if (!m_resampler.isOpen())
            return;
        const std::size_t made = m_resampler.flush(m_converted, kConvertedFrames);
        store(m_converted, made);
        m_resampler.clear();
    }

    // Captured float frames, rounded to the document's samples: full scale
    // is 32768 (or 128) steps, so that a 16-bit source through a float host
    // (JACK) records bit for bit. (PortAudio's own conversion scales by 32767
    // and truncates: one step off on nearly every sample.) False when frames
    // were lost for want of a buffer.
    bool store(const float* samples, std::size_t frames)
    {
        const SampleFormat format = stream_sample_format(m_bits);
        const int sampleBytes = sample_bytes(format);
        unsigned char scratch[4096];
        const std::size_t perScratch =
            sizeof scratch / static_cast<std::size_t>(sampleBytes * m_channels) * static_cast<std::size_t>(m_channels);
        std::size_t count = frames * static_cast<std::size_t>(m_channels);
        while (count > 0) {
            // A whole number of frames at a time.
            const std::size_t n = std::min(count, perScratch);
            float_to_samples(format, samples, scratch, n);
            if (!take(scratch, n * static_cast<std::size_t>(sampleBytes)))
                return false;
            samples += n;
            count -= n;
        }
        return true;
    }

    // Puts captured bytes into the buffers; false when there was no buffer
    // to fill (the rest is lost, counted).
    bool take(const unsigned char* in, std::size_t bytes)
    {
        std::size_t left = bytes;
        while (left > 0) {
            if (!m_current.data) {
                auto next = m_empty.pop();
                if (!next) {
                    ++g_dropped;
                    return false;
                }
                m_current = *next;
            }
            Buffer& b = m_current;
            const std::size_t chunk = std::min(left, b.bytes - b.filled);
            std::memcpy(b.data + b.filled, in, chunk);
            b.filled += chunk;
            in += chunk;
            left -= chunk;
            m_capturedBytes += chunk;
            if (b.filled >= b.bytes) {
                m_full.push(b);
                --m_outstanding;
                m_current = {};
            }
        }
        return true;
    }

    PaDeviceIndex m_device;
    PaStream* m_stream = nullptr;
    WaveInListener* m_listener = nullptr;
    SpscQueue<Buffer, 16> m_empty;
    SpscQueue<Buffer, 16> m_full;
    Buffer m_current;
    static constexpr std::size_t kConvertedFrames = 4096;
    std::size_t m_frameBytes = 4;
    int m_bits = 16;
    int m_channels = 2;
    Resampler m_resampler;
    float m_converted[kConvertedFrames * 2] = {};
    std::atomic<std::uint64_t> m_capturedBytes{0};
    std::atomic<int> m_outstanding{0};
    bool m_started = false;
    bool m_lost = false;
    StreamWatch m_watch;
    bool m_pendingOpen = false;
    bool m_pendingClose = false;
    QTimer m_timer;
};

std::unique_ptr<WaveInDevice> makePortAudioInput()
{
    const PaDeviceIndex device = portaudio_preferred_device(false);
    if (device == paNoDevice)
        return nullptr;
    return std::make_unique<PortAudioWaveIn>(device);
}

}  // namespace

void use_portaudio_input() { set_wave_in_factory(makePortAudioInput); }
int portaudio_input_overruns() { return g_overruns.load() + g_dropped.load(); }
int portaudio_input_dropped() { return g_dropped.load(); }
