#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

// The wave output device as the playback engine sees it: buffers are written
// in order and come back in the same order when played. Completions (open,
// each buffer done, close) reach the listener on the user-interface thread,
// never from the audio thread.
struct StreamFormat {
    int channels = 2;
    std::uint32_t rate = 44100;
    int bits = 16;
    std::uint32_t bytesPerSecond() const { return rate * static_cast<std::uint32_t>(channels * bits / 8); }
};

class WaveOutListener {
public:
    virtual ~WaveOutListener() = default;
    virtual void on_wave_out_open() = 0;
    virtual void on_wave_out_done(int buffer) = 0;
    virtual void on_wave_out_close() = 0;
};

// The units a device may report its position in.
enum class PositionUnit { Milliseconds, Samples, Bytes, Smpte, Other };
struct DevicePosition {
    PositionUnit unit = PositionUnit::Bytes;
    std::uint64_t value = 0;
    int hours = 0, minutes = 0, seconds = 0, frames = 0, fps = 30;
};

// Where a prepared start begins sounding: at monotonic time referenceNs the
// data `referenceSeconds` after the prepared start should be heard, and the
// clock runs on from there. The device skips ahead (or waits) accordingly,
// taking its own output latency into account.
struct StartAlignment {
    bool enabled = false;
    std::int64_t referenceNs = 0;
    double referenceSeconds = 0.0;
};

class WaveOutDevice {
public:
    virtual ~WaveOutDevice() = default;
    // Opens the stream; the open completion follows. false when the device
    // refuses (the format, or it is gone).
    virtual bool open(const StreamFormat& format, WaveOutListener* listener) = 0;
    // Queues a buffer; it must stay valid until it comes back.
    virtual void write(int buffer, const unsigned char* data, std::size_t bytes) = 0;
    // Returns every queued buffer at once (their completions follow).
    virtual void reset() = 0;
    virtual void pause() = 0;
    virtual void restart() = 0;
    // Closes the stream; the close completion follows.
    virtual void close() = 0;
    virtual DevicePosition position() const = 0;
    // Opens the stream ahead of time and holds it: buffers written are kept
    // and silence goes out until go(). false when the device cannot hold a
    // stream (then open() at the start it is).
    virtual bool prepare(const StreamFormat&, WaveOutListener*) { return false; }
    // Whether prepare() is supported at all (then its failure is the
    // device's refusal).
    virtual bool holds() const { return false; }
    // Lets a prepared stream play its buffers, from where `alignment` says.
    virtual void go(const StartAlignment&) {}
    // Keeps a stream whose playback ended open and silent, for the next
    // prepared start to use without opening it again; nothing it had queued
    // comes back any more. false when the device cannot.
    virtual bool hold() { return false; }
    // The output latency the device reports, in seconds.
    virtual double outputLatency() const { return 0.0; }
    // True once the device went away while holding buffers (it handed them
    // all back); nothing more will play on it.
    virtual bool lost() const { return false; }
};

// The program's output device (the one chosen in the preferences), or null
// when there is no wave output device at all.
using WaveOutFactory = std::unique_ptr<WaveOutDevice> (*)();
void set_wave_out_factory(WaveOutFactory factory);
std::unique_ptr<WaveOutDevice> open_wave_out_device();
