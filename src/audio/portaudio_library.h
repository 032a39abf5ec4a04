#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>
#include <portaudio.h>

// What the PortAudio output and input devices share: starting the library
// once, finding the n-th device, and noticing a stream whose server went away.

// Starts PortAudio if it is not running; false when it cannot start.
bool portaudio_initialise();
// The PortAudio index of the n-th device that can play (or record); the
// default one when there is no n-th; paNoDevice when there is none at all.
PaDeviceIndex portaudio_device_index(bool output, int number);
// Starts the library and finds the device the preferences choose for output
// (or input); paNoDevice when there is none or the library cannot start.
PaDeviceIndex portaudio_preferred_device(bool output);
// Counts a stream whose server vanished: the library is not shut down after
// that (it would wait on, or assert about, the dead server).
void portaudio_stream_lost();
// Closes the output stream kept open between playbacks (before the library
// goes).
void portaudio_close_output_stream();
// The rates to try, in order, for a stream the device refused at `refused`
// Hz: the device's own rate, then 48 and 44.1 kHz (never `refused`).
std::vector<double> portaudio_fallback_rates(PaDeviceIndex device, double refused);
// Whether the device is on JACK.
bool portaudio_device_is_jack(PaDeviceIndex device);

// The connections of the program's JACK ports whose names begin with
// `prefix` ("in_"), as (channel, the other port) pairs: the channel is the
// port's place among them (the library numbers the ports of each new stream
// on from the last); empty when there is no JACK server or no such port.
using JackConnections = std::vector<std::pair<int, std::string>>;
JackConnections jack_port_connections(const std::string& prefix);
// Makes the connections of those ports exactly `connections`: what the
// library connected by itself goes, the user's come back.
void restore_jack_port_connections(const std::string& prefix, const JackConnections& connections);

// Watches a running stream from the user-interface thread: a stream that has
// stopped by itself (the JACK server went away) or has moved no bytes for two
// seconds while it should have is gone.
class StreamWatch {
public:
    // Call on every delivery tick; `expecting` is false while nothing should
    // move (paused, nothing queued). True when the stream is gone.
    bool gone(PaStream* stream, std::uint64_t progress, bool expecting, int tickMs)
    {
        if (!stream || !expecting) {
            m_last = progress;
            m_stalledTicks = 0;
            return false;
        }
        m_stalledTicks = progress == m_last ? m_stalledTicks + 1 : 0;
        m_last = progress;
        return Pa_IsStreamActive(stream) != 1 || m_stalledTicks * tickMs >= 2000;
    }

private:
    std::uint64_t m_last = 0;
    int m_stalledTicks = 0;
};
