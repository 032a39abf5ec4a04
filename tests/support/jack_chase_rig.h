#pragma once

// A JACK client for chase-lock tests and benchmarks: it sends MIDI Time Code
// from a MIDI output port, sample-exactly on the server's frame clock, and
// records what the program plays into its two audio inputs, stamped with the
// same clock. From the two the start error is measured: the file position
// heard against the position the code truly had at that moment.

#include "support/jack_server.h"
#include "support/mtc_source.h"

#include <jack/jack.h>
#include <jack/midiport.h>

#include <atomic>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

class JackChaseRig {
public:
    static constexpr const char* kClientName = "ondrava-chase-rig";

    // Frames of the test document: left holds 1 + i % 32000, right
    // 1 + i / 32000, so that every frame tells its own position.
    static std::int16_t leftOf(std::uint32_t frame) { return static_cast<std::int16_t>(1 + frame % 32000); }
    static std::int16_t rightOf(std::uint32_t frame) { return static_cast<std::int16_t>(1 + frame / 32000); }

    explicit JackChaseRig(std::size_t capacityFrames) : m_left(capacityFrames), m_right(capacityFrames) {}
    ~JackChaseRig() { close(); }

    bool open()
    {
        jack_status_t status;
        m_client = jack_client_open(kClientName, JackNoStartServer, &status);
        if (!m_client)
            return false;
        m_midi = jack_port_register(m_client, "mtc_out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        m_midiIn = jack_port_register(m_client, "midi_in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
        m_in[0] = jack_port_register(m_client, "in_1", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
        m_in[1] = jack_port_register(m_client, "in_2", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
        jack_set_process_callback(m_client, &JackChaseRig::process, this);
        m_rate = jack_get_sample_rate(m_client);
        return m_midi && m_midiIn && m_in[0] && m_in[1] && jack_activate(m_client) == 0;
    }

    void close()
    {
        if (m_client) {
            jack_deactivate(m_client);
            jack_client_close(m_client);
            m_client = nullptr;
        }
    }

    std::string midiPortName() const { return std::string(kClientName) + ":mtc_out"; }
    std::string midiInputName() const { return std::string(kClientName) + ":midi_in"; }

    // Sends a short message (up to three bytes) at the start of the next
    // period; the graph frame it went out at comes back through sentAt().
    void sendMessage(std::uint32_t message)
    {
        m_sentAt = -1;
        m_outgoing.store(message | 0x80000000u, std::memory_order_release);
    }
    std::optional<std::int64_t> sentAt() const
    {
        const std::int64_t at = m_sentAt.load(std::memory_order_acquire);
        return at < 0 ? std::nullopt : std::optional<std::int64_t>(at);
    }
    // The short messages that reached midi_in, in order (status in the low byte).
    std::vector<std::uint32_t> received() const
    {
        const std::size_t n = std::min<std::size_t>(m_receivedCount.load(std::memory_order_acquire), m_received.size());
        return std::vector<std::uint32_t>(m_received.begin(), m_received.begin() + static_cast<long>(n));
    }
    std::uint32_t rate() const { return m_rate; }

    // Connects the program's audio outputs (every output port of another
    // client but the server's) to the inputs; the number connected.
    int connectPlayers() { return connect_other_outputs(m_client, kClientName, m_in, 2); }
    // How many of the inputs are still joined to something (nothing is
    // connected here).
    int playersStillConnected() const
    {
        int n = 0;
        for (jack_port_t* in : m_in)
            n += jack_port_connected(in) > 0 ? 1 : 0;
        return n;
    }

    // The playback latency of the server's output: how long after a frame
    // passes through the graph it is heard.
    std::uint32_t playbackLatency() const
    {
        jack_port_t* out = jack_port_by_name(m_client, "system:playback_1");
        if (!out)
            return 0;
        jack_latency_range_t range{};
        jack_port_get_latency_range(out, JackPlaybackLatency, &range);
        return range.max;
    }

    // Starts the code at `startFrame` (a frame count at `fps`) with the next
    // period, `offset` frames into it; the graph frame it starts at comes
    // back through codeStartedAt().
    void startCode(int fps, long startFrame, std::uint32_t offset = 0)
    {
        m_source.fps = fps;
        m_source.startFrame = startFrame;
        m_offset = offset;
        m_codeStart = -1;
        m_startRequested.store(true, std::memory_order_release);
    }
    void stopCode() { m_stopRequested.store(true, std::memory_order_release); }
    // The graph frame of the code's first quarter frame, once sent.
    std::optional<std::int64_t> codeStartedAt() const
    {
        const std::int64_t at = m_codeStart.load(std::memory_order_acquire);
        return at < 0 ? std::nullopt : std::optional<std::int64_t>(at);
    }
    // The true time code (seconds) at graph frame `frame` of the code started last.
    double codeSecondsAt(std::int64_t frame) const
    {
        return static_cast<double>(m_source.startFrame) / m_source.fps +
               static_cast<double>(frame - m_codeStart.load()) / m_rate;
    }

    std::int64_t now() const { return m_firstFrame.load() + static_cast<std::int64_t>(m_count.load()); }
    std::int64_t firstFrame() const { return m_firstFrame.load(); }
    std::size_t frames() const { return m_count.load(std::memory_order_acquire); }

    // The first recorded frame at or after graph frame `from` that is not
    // silent; its graph frame and the document frame it holds.
    struct Heard {
        std::int64_t graphFrame = 0;
        std::uint32_t documentFrame = 0;
        // Frames after it that follow on one by one (up to `follow` checked).
        std::size_t contiguous = 0;
    };
    std::optional<Heard> firstSoundAfter(std::int64_t from, std::size_t follow = 4800) const
    {
        const std::size_t n = frames();
        std::size_t k = from > m_firstFrame.load() ? static_cast<std::size_t>(from - m_firstFrame.load()) : 0;
        while (k < n && m_left[k] == 0.0f)
            ++k;
        if (k >= n)
            return std::nullopt;
        Heard h;
        h.graphFrame = m_firstFrame.load() + static_cast<std::int64_t>(k);
        h.documentFrame = decode(k);
        while (h.contiguous < follow && k + h.contiguous + 1 < n &&
               decode(k + h.contiguous + 1) == h.documentFrame + h.contiguous + 1)
            ++h.contiguous;
        return h;
    }
    // Whether everything recorded in [from, to) is silence.
    bool silentBetween(std::int64_t from, std::int64_t to) const
    {
        const std::int64_t first = m_firstFrame.load();
        for (std::int64_t g = std::max(from, first); g < to && g - first < static_cast<std::int64_t>(frames()); ++g)
            if (m_left[static_cast<std::size_t>(g - first)] != 0.0f)
                return false;
        return true;
    }

private:
    std::uint32_t decode(std::size_t k) const
    {
        const long left = std::lround(m_left[k] * 32768.0f);
        const long right = std::lround(m_right[k] * 32768.0f);
        return static_cast<std::uint32_t>((right - 1) * 32000 + left - 1);
    }

    static int process(jack_nframes_t n, void* arg)
    {
        auto* self = static_cast<JackChaseRig*>(arg);
        const std::int64_t cycle = jack_last_frame_time(self->m_client);
        if (self->m_firstFrame.load(std::memory_order_relaxed) < 0)
            self->m_firstFrame.store(cycle, std::memory_order_release);

        void* midi = jack_port_get_buffer(self->m_midi, n);
        jack_midi_clear_buffer(midi);
        if (const std::uint32_t out = self->m_outgoing.exchange(0, std::memory_order_acq_rel)) {
            const jack_midi_data_t bytes[3] = {static_cast<jack_midi_data_t>(out & 0xFF),
                                               static_cast<jack_midi_data_t>(out >> 8 & 0xFF),
                                               static_cast<jack_midi_data_t>(out >> 16 & 0xFF)};
            const std::size_t size = (out & 0xF0) == 0xC0 || (out & 0xF0) == 0xD0 ? 2 : (out & 0xFF) >= 0xF8 ? 1 : 3;
            jack_midi_event_write(midi, 0, bytes, size);
            self->m_sentAt.store(cycle, std::memory_order_release);
        }
        void* in = jack_port_get_buffer(self->m_midiIn, n);
        const std::uint32_t events = jack_midi_get_event_count(in);
        for (std::uint32_t e = 0; e < events; ++e) {
            jack_midi_event_t event;
            std::size_t at = self->m_receivedCount.load(std::memory_order_relaxed);
            if (jack_midi_event_get(&event, in, e) != 0 || at >= self->m_received.size())
                continue;
            std::uint32_t m = 0;
            for (std::size_t b = 0; b < event.size && b < 3; ++b)
                m |= static_cast<std::uint32_t>(event.buffer[b]) << (8 * b);
            self->m_received[at] = m;
            self->m_receivedCount.store(at + 1, std::memory_order_release);
        }
        if (self->m_stopRequested.exchange(false, std::memory_order_acq_rel))
            self->m_running = false;
        if (self->m_startRequested.exchange(false, std::memory_order_acq_rel)) {
            self->m_running = true;
            self->m_quarter = 0;
            self->m_codeStart.store(cycle + std::min<std::int64_t>(self->m_offset, n - 1), std::memory_order_release);
        }
        if (self->m_running) {
            const double perQuarter = static_cast<double>(self->m_rate) / (4.0 * self->m_source.fps);
            for (;;) {
                const auto at = self->m_codeStart.load(std::memory_order_relaxed) +
                                static_cast<std::int64_t>(std::ceil(self->m_quarter * perQuarter));
                if (at >= cycle + n)
                    break;
                const std::uint32_t m = self->m_source.piece(self->m_quarter);
                const jack_midi_data_t bytes[2] = {static_cast<jack_midi_data_t>(m & 0xFF),
                                                   static_cast<jack_midi_data_t>(m >> 8 & 0xFF)};
                jack_midi_event_write(midi, static_cast<jack_nframes_t>(std::max<std::int64_t>(0, at - cycle)), bytes, 2);
                ++self->m_quarter;
            }
        }

        const auto* l = static_cast<const float*>(jack_port_get_buffer(self->m_in[0], n));
        const auto* r = static_cast<const float*>(jack_port_get_buffer(self->m_in[1], n));
        std::size_t at = self->m_count.load(std::memory_order_relaxed);
        for (jack_nframes_t i = 0; i < n && at < self->m_left.size(); ++i, ++at) {
            self->m_left[at] = l[i];
            self->m_right[at] = r[i];
        }
        self->m_count.store(at, std::memory_order_release);
        return 0;
    }

    jack_client_t* m_client = nullptr;
    jack_port_t* m_midi = nullptr;
    jack_port_t* m_midiIn = nullptr;
    std::atomic<std::uint32_t> m_outgoing{0};
    std::atomic<std::int64_t> m_sentAt{-1};
    std::vector<std::uint32_t> m_received = std::vector<std::uint32_t>(256);
    std::atomic<std::size_t> m_receivedCount{0};
    jack_port_t* m_in[2] = {nullptr, nullptr};
    std::uint32_t m_rate = 48000;
    MtcSource m_source;
    std::uint32_t m_offset = 0;
    std::atomic<bool> m_startRequested{false};
    std::atomic<bool> m_stopRequested{false};
    bool m_running = false;
    long m_quarter = 0;
    std::atomic<std::int64_t> m_codeStart{-1};
    std::atomic<std::int64_t> m_firstFrame{-1};
    std::vector<float> m_left, m_right;
    std::atomic<std::size_t> m_count{0};
};
