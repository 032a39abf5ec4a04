#pragma once

#include "audio/wave_out_device.h"

#include <cstddef>
#include <memory>

// The wave input device as the recording engine sees it: buffers are added
// in order, filled in order, and come back full (or, after a reset, with what
// they hold). Completions reach the listener on the user-interface thread,
// never from the audio thread.
class WaveInListener {
public:
    virtual ~WaveInListener() = default;
    virtual void on_wave_in_open() = 0;
    virtual void on_wave_in_data(int buffer, std::size_t bytesRecorded) = 0;
    virtual void on_wave_in_close() = 0;
};

class WaveInDevice {
public:
    virtual ~WaveInDevice() = default;
    // Opens the stream in the given format without starting it; the open
    // completion follows. false when the device refuses (the format, or it is
    // gone).
    virtual bool open(const StreamFormat& format, WaveInListener* listener) = 0;
    // Hands the device an empty buffer; it must stay valid until it comes back.
    virtual void add_buffer(int buffer, unsigned char* data, std::size_t bytes) = 0;
    virtual void start() = 0;
    // Stops capturing and returns every buffer (their completions follow, the
    // one being filled with what it holds).
    virtual void reset() = 0;
    // Closes the stream; the close completion follows the returned buffers.
    virtual void close() = 0;
    // True once the device went away while capturing (it handed back what it
    // held); nothing more will arrive from it.
    virtual bool lost() const { return false; }
};

// The program's input device (the one chosen in the preferences), or null
// when there is no wave input device at all.
using WaveInFactory = std::unique_ptr<WaveInDevice> (*)();
void set_wave_in_factory(WaveInFactory factory);
std::unique_ptr<WaveInDevice> open_wave_in_device();
