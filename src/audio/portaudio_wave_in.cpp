// The wave input device on PortAudio: the realtime callback copies captured
// frames into the buffers the engine handed over and passes full ones back
// through lock-free queues; a 5 ms timer on the user-interface thread
// delivers the completions.
#include "audio/portaudio_device.h"
#include "audio/portaudio_library.h"
#include "audio/spsc_queue.h"
#include "audio/wave_in_device.h"

#include <QTimer>
#include <atomic>
#include <cstring>

namespace {

// Overflows the host reported, and periods lost because every buffer was
// still with the engine.
std::atomic<int> g_overruns{0};
std::atomic<int> g_dropped{0};

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
        PaStreamParameters in{};
        in.device = m_device;
        in.channelCount = format.channels;
        in.sampleFormat = format.bits == 8 ? paUInt8 : paInt16;
        in.suggestedLatency = Pa_GetDeviceInfo(m_device)->defaultLowInputLatency;
        // No dither: a 16-bit source recorded through a float host (JACK)
        // comes back bit for bit.
        if (Pa_OpenStream(&m_stream, &in, nullptr, format.rate, paFramesPerBufferUnspecified, paDitherOff, &callback,
                          this) != paNoError) {
            m_stream = nullptr;
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

    void add_buffer(int buffer, unsigned char* data, std::size_t bytes) override
    {
        if (!m_stream || m_lost)
            return;
        ++m_outstanding;
        m_empty.push({buffer, data, bytes, 0});
    }

    void start() override
    {
        if (m_stream && !m_started)
            m_started = Pa_StartStream(m_stream) == paNoError;
    }

    void reset() override
    {
        if (m_stream && m_started)
            Pa_AbortStream(m_stream);
        m_started = false;
        handBackHeldBuffers();
    }

    void close() override
    {
        if (m_stream) {
            if (m_started)
                Pa_AbortStream(m_stream);
            Pa_CloseStream(m_stream);
            m_stream = nullptr;
        }
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
        const auto* in = static_cast<const unsigned char*>(input);
        std::size_t left = frames * self->m_frameBytes;
        if (flags & paInputOverflow)
            ++g_overruns;
        while (left > 0 && in) {
            if (!self->m_current.data) {
                auto next = self->m_empty.pop();
                if (!next) {
                    ++g_dropped;
                    break;
                }
                self->m_current = *next;
            }
            Buffer& b = self->m_current;
            const std::size_t take = std::min(left, b.bytes - b.filled);
            std::memcpy(b.data + b.filled, in, take);
            b.filled += take;
            in += take;
            left -= take;
            self->m_capturedBytes += take;
            if (b.filled >= b.bytes) {
                self->m_full.push(b);
                --self->m_outstanding;
                self->m_current = {};
            }
        }
        return paContinue;
    }

    PaDeviceIndex m_device;
    PaStream* m_stream = nullptr;
    WaveInListener* m_listener = nullptr;
    SpscQueue<Buffer, 16> m_empty;
    SpscQueue<Buffer, 16> m_full;
    Buffer m_current;
    std::size_t m_frameBytes = 4;
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
