// The wave output device on PortAudio.
//
// One output stream serves every playback of the program and stays open
// between them, playing silence while nothing plays: a JACK port keeps the
// connections the user made to it for the life of the program, and a
// prepared start finds the stream already running. The stream always carries
// 32-bit integer frames, two channels (one on a mono device), at the
// document's rate when the device takes it, else at the device's own rate
// with the document converted on the way out (libsoxr). Positions, buffer
// completions and alignment stay in document frames.
//
// Each playback is a session on that stream: the engine's buffers go to the
// realtime callback through a lock-free queue and come back through another,
// delivered by a 5 ms timer on the user-interface thread. The callback only
// tries the session lock, so the user-interface thread can take the session
// away or hand its buffers back without stopping the stream.

#include "audio/portaudio_device.h"

#include "app/clock.h"
#include "audio/portaudio_library.h"
#include "audio/spsc_queue.h"
#include "audio/volume.h"
#include "audio/wave_out_device.h"
#include "wavefile/resampler.h"
#include "wavefile/sample_format.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>
#include <portaudio.h>

namespace {

std::atomic<int> g_xruns{0};
// Periods in which the engine had no buffer ready in the middle of playing:
// our own starvation, apart from the server's xruns.
std::atomic<int> g_starved{0};

// Frames converted at a time in the callback.
constexpr std::size_t kChunk = 512;
// The most input frames the rate converter asks for at once.
constexpr std::size_t kMaxConverterRequest = 2048;
// A stream on anything but JACK closes after this long without playback, so
// that the sound card (or the desktop's sound server) may rest.
constexpr int kIdleCloseMs = 15000;

class PortAudioWaveOut;

// The program's one output stream.
struct SharedOutput {
    PaStream* stream = nullptr;
    PaDeviceIndex device = paNoDevice;
    double rate = 0;
    int channels = 2;
    double latency = 0;
    bool jack = false;  // a JACK port: kept open for the life of the program
    // The session playing into the stream; the callback only tries the lock.
    std::mutex lock;
    PortAudioWaveOut* session = nullptr;
    // Periods the callback has run: a stream that stops counting is gone.
    std::atomic<std::uint64_t> periods{0};
};

SharedOutput* g_output = nullptr;
QPointer<QTimer> g_idleTimer;

int outputCallback(const void*, void* output, unsigned long frames, const PaStreamCallbackTimeInfo*,
                   PaStreamCallbackFlags flags, void* user);

void forgetSession(SharedOutput* output);

void closeSharedOutput()
{
    if (!g_output)
        return;
    forgetSession(g_output);
    if (g_output->stream) {
        Pa_AbortStream(g_output->stream);
        Pa_CloseStream(g_output->stream);
    }
    delete g_output;
    g_output = nullptr;
}

// The stream on `device` whose server went away: it is left as it is
// (stopping or closing it waits on a server that no longer answers) and the
// next playback opens a new one.
void abandonSharedOutput()
{
    if (!g_output)
        return;
    portaudio_stream_lost();
    g_output = nullptr;  // the callback no longer runs; the stream is not ours to close
}

bool openSharedOutput(PaDeviceIndex device, double rate)
{
    const PaDeviceInfo* info = Pa_GetDeviceInfo(device);
    if (!info)
        return false;
    auto shared = std::make_unique<SharedOutput>();
    shared->device = device;
    shared->rate = rate;
    shared->channels = std::min(2, std::max(1, info->maxOutputChannels));
    shared->jack = portaudio_device_is_jack(device);
    PaStreamParameters out{};
    out.device = device;
    out.channelCount = shared->channels;
    // 32-bit integers carry 8- and 16-bit samples exactly to any host format
    // (PortAudio's integer conversions shift; no dither).
    out.sampleFormat = paInt32;
    out.suggestedLatency = info->defaultLowOutputLatency;
    if (Pa_OpenStream(&shared->stream, nullptr, &out, rate, paFramesPerBufferUnspecified, paDitherOff, &outputCallback,
                      shared.get()) != paNoError)
        return false;
    if (const PaStreamInfo* s = Pa_GetStreamInfo(shared->stream))
        shared->latency = s->outputLatency;
    if (Pa_StartStream(shared->stream) != paNoError) {
        Pa_CloseStream(shared->stream);
        return false;
    }
    g_output = shared.release();
    return true;
}

// The output stream for a document at `rate` on `device`, opened (or kept)
// as the device allows: at the document's rate where it can run it; a JACK
// stream stays at the server's rate whatever the document's.
SharedOutput* sharedOutput(PaDeviceIndex device, std::uint32_t rate)
{
    if (g_output && (g_output->device != device || (g_output->rate != rate && !g_output->jack)))
        closeSharedOutput();
    if (g_output)
        return g_output;
    if (openSharedOutput(device, rate))
        return g_output;
    // The device cannot run the document's rate: one it can, converted to.
    for (const double fallback : portaudio_fallback_rates(device, rate))
        if (openSharedOutput(device, fallback))
            return g_output;
    return nullptr;
}

// Closes an idle stream (not JACK's) a while after the last playback.
void scheduleIdleClose()
{
    if (!g_output || g_output->jack || !QCoreApplication::instance())
        return;
    if (!g_idleTimer) {
        g_idleTimer = new QTimer(QCoreApplication::instance());
        g_idleTimer->setSingleShot(true);
        QObject::connect(g_idleTimer, &QTimer::timeout, [] {
            if (!g_output || g_output->jack)
                return;
            {
                std::lock_guard<std::mutex> guard(g_output->lock);
                if (g_output->session)
                    return;
            }
            closeSharedOutput();
        });
    }
    g_idleTimer->start(kIdleCloseMs);
}

class PortAudioWaveOut : public WaveOutDevice {
public:
    explicit PortAudioWaveOut(PaDeviceIndex device) : m_device(device)
    {
        // Completions reach the engine from this timer, on the user-interface thread.
        m_timer.setInterval(5);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { deliver(); });
    }
    ~PortAudioWaveOut() override { detach(); }

    bool prepare(const StreamFormat& format, WaveOutListener* listener) override
    {
        // The stream runs anyway: a prepared session holds its buffers and
        // plays silence until go().
        m_held = true;
        if (open(format, listener))
            return true;
        m_held = false;
        return false;
    }

    bool hold() override
    {
        if (!m_output || m_lost)
            return false;
        std::lock_guard<std::mutex> guard(m_output->lock);
        m_held.store(true, std::memory_order_release);
        dropQueued();
        return true;
    }

    void go(const StartAlignment& alignment) override
    {
        if (!m_output)
            return;
        std::lock_guard<std::mutex> guard(m_output->lock);
        m_skipFrames = 0;
        m_leadFrames = 0;
        m_alignment = alignment;
        m_alignPending = alignment.enabled;
        m_held.store(false, std::memory_order_release);
    }

    double outputLatency() const override { return m_output ? m_output->latency : 0.0; }
    bool holds() const override { return true; }

    bool open(const StreamFormat& format, WaveOutListener* listener) override
    {
        detach();
        m_listener = listener;
        SharedOutput* output = sharedOutput(m_device, format.rate);
        if (!output)
            return false;
        m_channels = std::clamp(format.channels, 1, 2);
        m_sampleFormat = stream_sample_format(format.bits);
        m_sampleBytes = sample_bytes(m_sampleFormat);
        m_frameBytes = static_cast<std::size_t>(m_channels * m_sampleBytes);
        m_rate = format.rate;
        // The stream carries the volume (unless the system mixer does).
        m_gain[0] = static_cast<float>((software_volume_word & 0xFFFFu) / 65535.0);
        m_gain[1] = static_cast<float>(((software_volume_word >> 16) & 0xFFFFu) / 65535.0);
        m_resampler.close();
        if (output->rate != format.rate) {
            if (!m_resampler.open(format.rate, output->rate, m_channels) ||
                !m_resampler.setSource(&PortAudioWaveOut::converterInput, this, kMaxConverterRequest))
                return false;
        }
        resetTimeline();
        g_xruns = 0;
        g_starved = 0;
        {
            std::lock_guard<std::mutex> guard(output->lock);
            output->session = this;
            m_output = output;
        }
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
        // Nothing held: the sound already handed to the host is still heard.
        if (m_outstanding.load() == 0 || !m_output)
            return;
        std::lock_guard<std::mutex> guard(m_output->lock);
        handBackHeldBuffers();
        // What the converter still holds of them is not played either.
        m_resampler.clear();
        m_converting = false;
    }

    void pause() override { m_paused = true; }
    void restart() override { m_paused = false; }

    void close() override
    {
        // The stream plays on (silent); what the host already has is heard.
        detach();
        m_pendingClose = true;
        m_timer.start();
    }

    DevicePosition position() const override { return {PositionUnit::Bytes, m_playedBytes.load()}; }
    bool lost() const override { return m_lost; }

    // The realtime side, with the session lock held: `frames` frames of the
    // stream, from the queued buffers with the gain, converted to the
    // stream's rate where it differs; silence where there is nothing.
    void render(std::int32_t* out, unsigned long frames, int outChannels)
    {
        std::size_t left = frames;
        if (m_held.load(std::memory_order_acquire) || m_paused.load()) {
            std::fill(out, out + left * static_cast<std::size_t>(outChannels), 0);
            return;
        }
        // The alignment is taken when the first data is there to play, so
        // that its moment is the moment the data starts.
        if (m_alignPending && m_outstanding.load() > 0) {
            m_alignPending = false;
            align();
        }
        // A late start still owes silence: the first frames wait for it.
        if (m_leadFrames > 0) {
            const std::size_t lead = std::min<std::size_t>(left, m_leadFrames);
            std::fill(out, out + lead * static_cast<std::size_t>(outChannels), 0);
            out += lead * static_cast<std::size_t>(outChannels);
            left -= lead;
            m_leadFrames -= lead;
        }
        bool dry = false;
        while (left > 0) {
            const std::size_t n = std::min(left, kChunk);
            if (!m_converting && m_outstanding.load() == 0) {
                // Nothing to play: silence, and the period counts as dry when
                // playback had begun.
                std::fill(out, out + left * static_cast<std::size_t>(outChannels), 0);
                dry = m_realFrames > 0;
                break;
            }
            if (m_resampler.isOpen()) {
                if (!m_converting) {
                    // The converter's output is aligned with its input from here on.
                    m_converting = true;
                    m_convertedBase = m_fedFrames;
                    m_convertedOut = 0;
                }
                m_dryInput = false;
                m_resampler.pull(m_mix, n);
                m_convertedOut += n;
                dry = dry || m_dryInput;
            } else {
                const std::size_t got = readFrames(m_mix, n);
                dry = dry || got < n;
            }
            toStreamFrames(m_mix, n, out, outChannels);
            out += n * static_cast<std::size_t>(outChannels);
            left -= n;
            retirePlayed();
        }
        if (dry)
            ++m_dryPeriods;
    }

    // The stream is closing under this session: whatever it held comes back.
    void outputClosed()
    {
        m_output = nullptr;
        handBackHeldBuffers();
    }

private:
    struct Buffer {
        int index = -1;
        const unsigned char* data = nullptr;
        std::size_t bytes = 0;
    };
    // A buffer taken in full, done once the frames up to `end` (in the fed
    // timeline) are out.
    struct Taken {
        int index = -1;
        std::uint64_t end = 0;
    };

    void detach()
    {
        if (!m_output)
            return;
        {
            std::lock_guard<std::mutex> guard(m_output->lock);
            if (m_output->session == this)
                m_output->session = nullptr;
        }
        m_output = nullptr;
        scheduleIdleClose();
    }

    void resetTimeline()
    {
        dropQueued();
        m_playedBytes = 0;
        m_realFrames = 0;
        m_fedFrames = 0;
        m_trailingSilence = 0;
        m_convertedOut = 0;
        m_convertedBase = 0;
        m_converting = false;
        m_dryPeriods = 0;
        m_skipFrames = 0;
        m_leadFrames = 0;
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
        m_takenCount = 0;
        m_outstanding = 0;
        m_pendingOpen = false;
    }

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
        if (m_lost || !m_output ||
            !m_watch.gone(m_output->stream, m_output->periods.load(),
                          !m_paused && !m_held.load() && m_outstanding.load() > 0, m_timer.interval()))
            return;
        m_lost = true;
        if (g_output == m_output)
            abandonSharedOutput();
        m_output = nullptr;
        // The callback no longer runs, so its buffers are ours to hand back.
        handBackHeldBuffers();
    }

    // Only while the callback is not running: every buffer it held, had
    // taken or had queued comes back as done.
    void handBackHeldBuffers()
    {
        for (std::size_t i = 0; i < m_takenCount; ++i)
            m_done.push(m_taken[i].index);
        m_takenCount = 0;
        if (m_current.data)
            m_done.push(m_current.index);
        m_current = {};
        while (auto b = m_submitted.pop())
            m_done.push(b->index);
        m_outstanding = 0;
    }

    // The rate converter's input: document frames as floats.
    static std::size_t converterInput(void* self, const float** data, std::size_t requested)
    {
        auto* s = static_cast<PortAudioWaveOut*>(self);
        const std::size_t n = std::min(requested, kMaxConverterRequest);
        if (s->readFrames(s->m_converterIn, n) < n)
            s->m_dryInput = true;
        *data = s->m_converterIn;
        return n;
    }

    // `frames` document frames as floats into `dst`, from the queued
    // buffers, silence where they run out; the frames that were data.
    std::size_t readFrames(float* dst, std::size_t frames)
    {
        std::size_t got = 0;
        while (got < frames) {
            if (!m_current.data) {
                auto next = m_submitted.pop();
                if (!next)
                    break;
                m_current = *next;
                m_offset = 0;
                // Data again after periods that had none: those were starved
                // (a gap at the very end, with nothing after it, is not).
                g_starved += m_dryPeriods;
                m_dryPeriods = 0;
            }
            const std::size_t available = (m_current.bytes - m_offset) / m_frameBytes;
            const unsigned char* p = m_current.data + m_offset;
            std::size_t used;
            if (m_skipFrames > 0) {
                // An aligned start passes over what it is too late for.
                used = std::min<std::size_t>(available, m_skipFrames);
                m_skipFrames -= used;
            } else {
                used = std::min(available, frames - got);
                const std::size_t samples = used * static_cast<std::size_t>(m_channels);
                samples_to_float(m_sampleFormat, p, dst + got * static_cast<std::size_t>(m_channels), samples);
                got += used;
                m_fedFrames += used;
                m_trailingSilence = 0;
            }
            m_realFrames += used;
            m_offset += used * m_frameBytes;
            if (m_offset + m_frameBytes > m_current.bytes) {
                if (m_takenCount < kMaxTaken)
                    m_taken[m_takenCount++] = {m_current.index, m_fedFrames};
                m_current = {};
            }
        }
        if (got < frames) {
            std::fill(dst + got * static_cast<std::size_t>(m_channels),
                      dst + frames * static_cast<std::size_t>(m_channels), 0.0f);
            m_fedFrames += frames - got;
            m_trailingSilence += frames - got;
        }
        return got;
    }

    // Buffers whose frames are all out come back; the position follows the
    // frames that are out.
    void retirePlayed()
    {
        std::uint64_t played = m_fedFrames;
        if (m_resampler.isOpen())
            played = std::min<std::uint64_t>(
                m_fedFrames, m_convertedBase + static_cast<std::uint64_t>(static_cast<double>(m_convertedOut) *
                                                                         m_resampler.ratio()));
        std::size_t kept = 0;
        for (std::size_t i = 0; i < m_takenCount; ++i) {
            if (m_taken[i].end <= played) {
                m_done.push(m_taken[i].index);
                --m_outstanding;
            } else {
                m_taken[kept++] = m_taken[i];
            }
        }
        m_takenCount = kept;
        // Of the frames fed and not yet out, those after the last data are silence.
        const std::uint64_t inside = m_fedFrames - played;
        const std::uint64_t realInside = inside > m_trailingSilence ? inside - m_trailingSilence : 0;
        const std::uint64_t real = m_realFrames > realInside ? m_realFrames - realInside : 0;
        m_playedBytes = real * m_frameBytes;
    }

    // Document frames (floats, the document's channels) to the stream's
    // frames, with the gain of each output channel.
    void toStreamFrames(const float* in, std::size_t frames, std::int32_t* out, int outChannels) const
    {
        for (std::size_t f = 0; f < frames; ++f) {
            const float left = in[f * static_cast<std::size_t>(m_channels)];
            const float right = m_channels == 2 ? in[f * 2 + 1] : left;
            if (outChannels == 1) {
                out[f] = toStream((left + right) * 0.5f * m_gain[0]);
            } else {
                out[2 * f] = toStream(left * m_gain[0]);
                out[2 * f + 1] = toStream(right * m_gain[1]);
            }
        }
    }

    static std::int32_t toStream(float v)
    {
        const double scaled = std::clamp(static_cast<double>(v) * 2147483648.0, -2147483648.0, 2147483647.0);
        return static_cast<std::int32_t>(std::lrint(scaled));
    }

    // On the first period after an aligned go(): how far into the data the
    // first frame of this period, heard one output latency from now, lies.
    void align()
    {
        const double heard = static_cast<double>(monotonic_ns()) + outputLatency() * 1e9;
        const double seconds =
            m_alignment.referenceSeconds + (heard - static_cast<double>(m_alignment.referenceNs)) / 1e9;
        const auto frames = static_cast<long long>(std::llround(seconds * m_rate));
        if (frames >= 0) {
            m_skipFrames = static_cast<std::size_t>(frames);
        } else {
            // Silence first, in the stream's frames.
            const double streamRate = m_output ? m_output->rate : m_rate;
            m_leadFrames = static_cast<std::size_t>(std::llround(-frames * streamRate / m_rate));
        }
    }

    static constexpr std::size_t kMaxTaken = 32;

    PaDeviceIndex m_device;
    SharedOutput* m_output = nullptr;
    WaveOutListener* m_listener = nullptr;
    SpscQueue<Buffer, 16> m_submitted;
    SpscQueue<int, 16> m_done;
    // Realtime side (or with the session lock held).
    Buffer m_current;
    std::size_t m_offset = 0;
    Taken m_taken[kMaxTaken];
    std::size_t m_takenCount = 0;
    std::uint64_t m_realFrames = 0;      // document frames taken (played or skipped)
    std::uint64_t m_fedFrames = 0;       // frames given to the output, silence included
    std::uint64_t m_trailingSilence = 0; // of those, the silence after the last data
    std::uint64_t m_convertedOut = 0;    // stream frames the converter made
    std::uint64_t m_convertedBase = 0;
    bool m_converting = false;
    bool m_dryInput = false;
    int m_dryPeriods = 0;
    std::size_t m_skipFrames = 0;
    std::size_t m_leadFrames = 0;
    float m_mix[kChunk * 2] = {};
    float m_converterIn[kMaxConverterRequest * 2] = {};
    Resampler m_resampler;
    // The document's format.
    std::size_t m_frameBytes = 4;
    SampleFormat m_sampleFormat = SampleFormat::S16;
    int m_sampleBytes = 2;
    int m_channels = 2;
    std::uint32_t m_rate = 44100;
    float m_gain[2] = {1.0f, 1.0f};
    std::atomic<bool> m_paused{false};
    std::atomic<std::uint64_t> m_playedBytes{0};
    // Buffers written and not yet handed back.
    std::atomic<int> m_outstanding{0};
    bool m_lost = false;
    // A prepared stream holds its buffers until go(); its start may be aligned.
    std::atomic<bool> m_held{false};
    StartAlignment m_alignment;
    bool m_alignPending = false;
    StreamWatch m_watch;
    bool m_pendingOpen = false;
    bool m_pendingClose = false;
    QTimer m_timer;
};

void forgetSession(SharedOutput* output)
{
    std::lock_guard<std::mutex> guard(output->lock);
    if (output->session)
        output->session->outputClosed();
    output->session = nullptr;
}

int outputCallback(const void*, void* output, unsigned long frames, const PaStreamCallbackTimeInfo*,
                   PaStreamCallbackFlags flags, void* user)
{
    auto* shared = static_cast<SharedOutput*>(user);
    auto* out = static_cast<std::int32_t*>(output);
    ++shared->periods;
    std::unique_lock<std::mutex> guard(shared->lock, std::try_to_lock);
    if (guard.owns_lock() && shared->session) {
        if (flags & paOutputUnderflow)
            ++g_xruns;
        shared->session->render(out, frames, shared->channels);
    } else {
        std::fill(out, out + frames * static_cast<std::size_t>(shared->channels), 0);
    }
    return paContinue;
}

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
void portaudio_close_output_stream() { closeSharedOutput(); }
