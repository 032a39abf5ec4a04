#include "audio/portaudio_library.h"

#include "app/preferences.h"
#include "audio/portaudio_device.h"

#include <alsa/asoundlib.h>
#include <atomic>
#include <cstdlib>
#include <jack/jack.h>

namespace {

// PortAudio's back-ends print to stderr when there is no card or no JACK
// server; those are expected cases here.
void quietAlsa(const char*, int, const char*, int, const char*, ...) {}
void quietJack(const char*) {}

bool g_ready = false;
std::atomic<int> g_lostStreams{0};

int channelsOf(const PaDeviceInfo* d, bool output) { return output ? d->maxOutputChannels : d->maxInputChannels; }

std::vector<AudioDeviceInfo> devices(bool output)
{
    std::vector<AudioDeviceInfo> list;
    if (!portaudio_initialise())
        return list;
    const int count = Pa_GetDeviceCount();
    for (int i = 0; i < count; ++i) {
        const PaDeviceInfo* d = Pa_GetDeviceInfo(i);
        if (channelsOf(d, output) <= 0)
            continue;
        list.push_back({static_cast<int>(list.size()), d->name, Pa_GetHostApiInfo(d->hostApi)->name,
                        channelsOf(d, output), d->defaultSampleRate});
    }
    return list;
}

}  // namespace

bool portaudio_initialise()
{
    static const bool once = [] {
        silence_audio_library_printing();
        std::atexit(shutdown_audio);
        return true;
    }();
    (void)once;
    if (!g_ready)
        g_ready = Pa_Initialize() == paNoError;
    return g_ready;
}

PaDeviceIndex portaudio_device_index(bool output, int number)
{
    const int count = Pa_GetDeviceCount();
    int seen = 0;
    for (int i = 0; i < count; ++i) {
        if (channelsOf(Pa_GetDeviceInfo(i), output) <= 0)
            continue;
        if (seen++ == number)
            return i;
    }
    return output ? Pa_GetDefaultOutputDevice() : Pa_GetDefaultInputDevice();
}

PaDeviceIndex portaudio_preferred_device(bool output)
{
    if (!portaudio_initialise())
        return paNoDevice;
    const Preferences& p = preferences();
    return portaudio_device_index(output, output ? p.waveOutputDevice : p.waveInputDevice);
}

void portaudio_stream_lost() { ++g_lostStreams; }

std::vector<AudioDeviceInfo> audio_output_devices() { return devices(true); }
std::vector<AudioDeviceInfo> audio_input_devices() { return devices(false); }

std::optional<AudioDeviceInfo> chosen_audio_device(bool output, int number)
{
    if (!portaudio_initialise())
        return std::nullopt;
    const PaDeviceIndex index = portaudio_device_index(output, number);
    if (index == paNoDevice)
        return std::nullopt;
    const PaDeviceInfo* d = Pa_GetDeviceInfo(index);
    return AudioDeviceInfo{number, d->name, Pa_GetHostApiInfo(d->hostApi)->name, channelsOf(d, output),
                           d->defaultSampleRate};
}

void silence_audio_library_printing()
{
    snd_lib_error_set_handler(quietAlsa);
    jack_set_error_function(quietJack);
    jack_set_info_function(quietJack);
}

void shutdown_audio()
{
    if (g_ready && g_lostStreams.load() == 0) {
        Pa_Terminate();
        g_ready = false;
    }
}
