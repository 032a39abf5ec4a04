#pragma once

#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class CChildFrame;

// The sampler: recording into a document that waits for the input to pass a
// threshold (or for a start from outside) and then records a set duration,
// through the record dialog's engine. When the take is over the document
// adopts it as its newest version (undo code 1813).
class Sampler {
public:
    Sampler();
    ~Sampler();
    Sampler(const Sampler&) = delete;
    Sampler& operator=(const Sampler&) = delete;

    // Arms recording into `frame` from its start for `seconds` (0: until
    // stop()). With a threshold (0..1) the take waits for the signal to pass
    // it; without one it starts at once. 1 when the device runs.
    int arm(CChildFrame& frame, double seconds, std::optional<float> threshold);
    // Ends the take early; what was recorded is kept (the document takes
    // it when the device has finished).
    void stop();
    // The same, waiting for the device: the document has the take on return.
    void stop_now();
    // Discards whatever was recorded and lets go of the device.
    void cancel();
    bool armed() const { return m_armed; }

    // The take is over: whether the document took it, and the seconds it holds.
    std::function<void(bool adopted, double seconds)> onFinished;
    // The trigger's status texts.
    std::function<void(const std::string&)> onStatus;

private:
    void poll();
    void finish();

    CChildFrame* m_frame = nullptr;
    std::uint64_t m_wanted = 0;
    bool m_armed = false;
    bool m_stopRequested = false;
    QTimer m_poll;
    class SamplerHost;
    std::unique_ptr<SamplerHost> m_host;
};
