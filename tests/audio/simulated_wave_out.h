#pragma once

#include "audio/wave_out_device.h"

#include <deque>
#include <functional>
#include <vector>

// A wave output device for tests: it "plays" queued buffers as a test
// advances its clock, and posts completions that reach the engine only when
// the test runs deliver(), as a message loop would.
struct SimulatedWaveOutState {
    bool refuse = false;
    bool open = false;
    bool paused = false;
    StreamFormat format;
    std::vector<unsigned char> played;  // every byte the device played, in order
    std::vector<std::size_t> writes;    // sizes of the buffers written
    std::uint64_t positionBytes = 0;
    int opens = 0;
    int closes = 0;
    int resets = 0;
    // Prepared starts: whether the device can hold a stream, whether it holds
    // one now, and the alignment its go() was given.
    bool canPrepare = false;
    bool held = false;
    int prepares = 0;
    StartAlignment alignment;
};

class SimulatedWaveOut : public WaveOutDevice {
public:
    static SimulatedWaveOutState& state()
    {
        static SimulatedWaveOutState s;
        return s;
    }
    static std::deque<std::function<void()>>& events()
    {
        static std::deque<std::function<void()>> queue;
        return queue;
    }
    static std::unique_ptr<WaveOutDevice> make() { return std::make_unique<SimulatedWaveOut>(); }

    // Runs the posted completions in order, as the user-interface thread would.
    static void deliver()
    {
        while (!events().empty()) {
            auto event = events().front();
            events().pop_front();
            event();
        }
    }

    // Plays `ms` milliseconds of what is queued.
    static void advance(double ms)
    {
        SimulatedWaveOut* d = current();
        if (!d || state().paused || state().held)
            return;
        double bytes = ms / 1000.0 * state().format.bytesPerSecond();
        while (bytes > 0 && !d->m_queue.empty()) {
            Queued& q = d->m_queue.front();
            const std::size_t take = std::min<std::size_t>(q.data.size() - q.done, static_cast<std::size_t>(bytes + 0.5));
            state().played.insert(state().played.end(), q.data.begin() + static_cast<long>(q.done),
                                  q.data.begin() + static_cast<long>(q.done + take));
            q.done += take;
            state().positionBytes += take;
            bytes -= static_cast<double>(take);
            if (q.done == q.data.size()) {
                const int index = q.index;
                d->m_queue.pop_front();
                WaveOutListener* l = d->m_listener;
                events().push_back([l, index] { l->on_wave_out_done(index); });
            } else {
                break;
            }
        }
    }

    SimulatedWaveOut() { current() = this; }
    ~SimulatedWaveOut() override
    {
        if (current() == this)
            current() = nullptr;
    }

    bool open(const StreamFormat& format, WaveOutListener* listener) override
    {
        if (state().refuse)
            return false;
        m_listener = listener;
        state().open = true;
        state().format = format;
        state().positionBytes = 0;
        ++state().opens;
        events().push_back([listener] { listener->on_wave_out_open(); });
        return true;
    }
    void write(int buffer, const unsigned char* data, std::size_t bytes) override
    {
        m_queue.push_back({buffer, std::vector<unsigned char>(data, data + bytes), 0});
        state().writes.push_back(bytes);
    }
    void reset() override
    {
        ++state().resets;
        for (const Queued& q : m_queue) {
            WaveOutListener* l = m_listener;
            const int index = q.index;
            events().push_back([l, index] { l->on_wave_out_done(index); });
        }
        m_queue.clear();
    }
    bool prepare(const StreamFormat& format, WaveOutListener* listener) override
    {
        if (!state().canPrepare || !open(format, listener))
            return false;
        state().held = true;
        ++state().prepares;
        return true;
    }
    bool holds() const override { return state().canPrepare; }
    void go(const StartAlignment& alignment) override
    {
        state().held = false;
        state().alignment = alignment;
    }
    void pause() override { state().paused = true; }
    void restart() override { state().paused = false; }
    void close() override
    {
        state().open = false;
        ++state().closes;
        WaveOutListener* l = m_listener;
        events().push_back([l] { l->on_wave_out_close(); });
    }
    DevicePosition position() const override { return {PositionUnit::Bytes, state().positionBytes}; }

private:
    struct Queued {
        int index;
        std::vector<unsigned char> data;
        std::size_t done;
    };
    static SimulatedWaveOut*& current()
    {
        static SimulatedWaveOut* device = nullptr;
        return device;
    }
    std::deque<Queued> m_queue;
    WaveOutListener* m_listener = nullptr;
};
