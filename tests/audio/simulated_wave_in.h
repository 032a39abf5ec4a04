#pragma once

#include "audio/wave_in_device.h"

#include <QTimer>
#include <deque>
#include <functional>
#include <vector>

// A wave input device for tests: the test "captures" bytes into the buffers
// it was given; completions are posted and reach the engine only when the
// test runs deliver(), as a message loop would.
struct SimulatedWaveInState {
    bool refuse = false;
    bool started = false;
    bool lost = false;
    StreamFormat format;
    std::vector<std::size_t> bufferSizes;  // sizes of the buffers added, in order
    int opens = 0;
    int closes = 0;
    int resets = 0;
};

class SimulatedWaveIn : public WaveInDevice {
public:
    static SimulatedWaveInState& state()
    {
        static SimulatedWaveInState s;
        return s;
    }
    static std::deque<std::function<void()>>& events()
    {
        static std::deque<std::function<void()>> queue;
        return queue;
    }
    static SimulatedWaveIn*& current()
    {
        static SimulatedWaveIn* device = nullptr;
        return device;
    }
    static std::unique_ptr<WaveInDevice> make() { return std::make_unique<SimulatedWaveIn>(); }
    // With this set, completions also reach the engine through the event
    // loop, as a real device's do (for code that waits on the loop).
    static bool& throughEventLoop()
    {
        static bool on = false;
        return on;
    }
    static void postEvent(std::function<void()> event)
    {
        events().push_back(std::move(event));
        if (throughEventLoop())
            QTimer::singleShot(0, [] { deliver(); });
    }

    static void deliver()
    {
        while (!events().empty()) {
            auto event = events().front();
            events().pop_front();
            event();
        }
    }

    // Captures `bytes` into the buffers in order; each one filled is posted.
    static void capture(const std::vector<unsigned char>& bytes)
    {
        SimulatedWaveIn* d = current();
        if (!d || !state().started)
            return;
        std::size_t at = 0;
        while (at < bytes.size() && !d->m_queue.empty()) {
            Held& h = d->m_queue.front();
            const std::size_t take = std::min(bytes.size() - at, h.bytes - h.filled);
            std::copy(bytes.begin() + static_cast<long>(at), bytes.begin() + static_cast<long>(at + take),
                      h.data + h.filled);
            h.filled += take;
            at += take;
            if (h.filled == h.bytes)
                d->post(h), d->m_queue.pop_front();
        }
    }

    // The device goes away: what it holds comes back, nothing more arrives.
    static void vanish()
    {
        SimulatedWaveIn* d = current();
        state().lost = true;
        state().started = false;
        d->returnAll();
    }

    SimulatedWaveIn() { current() = this; }
    ~SimulatedWaveIn() override
    {
        if (current() == this)
            current() = nullptr;
    }

    bool open(const StreamFormat& format, WaveInListener* listener) override
    {
        if (state().refuse)
            return false;
        m_listener = listener;
        state().format = format;
        ++state().opens;
        postEvent([listener] { listener->on_wave_in_open(); });
        return true;
    }
    void add_buffer(int buffer, unsigned char* data, std::size_t bytes) override
    {
        if (state().lost)
            return;
        state().bufferSizes.push_back(bytes);
        m_queue.push_back({buffer, data, bytes, 0});
    }
    void start() override
    {
        if (!state().lost)
            state().started = true;
    }
    void reset() override
    {
        ++state().resets;
        state().started = false;
        returnAll();
    }
    void close() override
    {
        ++state().closes;
        returnAll();
        WaveInListener* l = m_listener;
        postEvent([l] { l->on_wave_in_close(); });
    }
    bool lost() const override { return state().lost; }

private:
    struct Held {
        int index;
        unsigned char* data;
        std::size_t bytes;
        std::size_t filled;
    };
    void post(const Held& h)
    {
        WaveInListener* l = m_listener;
        postEvent([l, h] { l->on_wave_in_data(h.index, h.filled); });
    }
    void returnAll()
    {
        for (const Held& h : m_queue)
            post(h);
        m_queue.clear();
    }

    WaveInListener* m_listener = nullptr;
    std::deque<Held> m_queue;
};
