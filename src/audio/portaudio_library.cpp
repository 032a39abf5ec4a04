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

PaDeviceIndex defaultDevice(bool output) { return output ? Pa_GetDefaultOutputDevice() : Pa_GetDefaultInputDevice(); }

AudioDeviceInfo infoOf(PaDeviceIndex index, int number, bool output)
{
    const PaDeviceInfo* d = Pa_GetDeviceInfo(index);
    return {number, d->name, Pa_GetHostApiInfo(d->hostApi)->name, channelsOf(d, output), d->defaultSampleRate,
            index == defaultDevice(output)};
}

std::vector<AudioDeviceInfo> devices(bool output)
{
    std::vector<AudioDeviceInfo> list;
    if (!portaudio_initialise())
        return list;
    const int count = Pa_GetDeviceCount();
    for (int i = 0; i < count; ++i)
        if (channelsOf(Pa_GetDeviceInfo(i), output) > 0)
            list.push_back(infoOf(i, static_cast<int>(list.size()), output));
    return list;
}

// The PortAudio index of the device with this label; the default device for
// an empty label, "System default" or a label no device has.
PaDeviceIndex indexByLabel(bool output, const std::string& label)
{
    if (!label.empty() && label != kSystemDefaultDevice) {
        const int count = Pa_GetDeviceCount();
        for (int i = 0; i < count; ++i)
            if (channelsOf(Pa_GetDeviceInfo(i), output) > 0 && infoOf(i, 0, output).label() == label)
                return i;
    }
    return defaultDevice(output);
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
    return indexByLabel(output, output ? p.waveOutputDeviceName : p.waveInputDeviceName);
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
    return infoOf(index, number, output);
}

std::optional<AudioDeviceInfo> named_audio_device(bool output, const std::string& label)
{
    if (!portaudio_initialise())
        return std::nullopt;
    const PaDeviceIndex index = indexByLabel(output, label);
    if (index == paNoDevice)
        return std::nullopt;
    for (const AudioDeviceInfo& d : devices(output))
        if (d.label() == infoOf(index, 0, output).label())
            return d;
    return std::nullopt;
}

std::optional<std::string> audio_device_label(bool output, const std::string& nameOrNumber)
{
    const std::vector<AudioDeviceInfo> list = devices(output);
    char* end = nullptr;
    const long number = std::strtol(nameOrNumber.c_str(), &end, 10);
    if (!nameOrNumber.empty() && end && *end == '\0') {
        if (number >= 0 && number < static_cast<long>(list.size()))
            return list[static_cast<std::size_t>(number)].label();
        return std::nullopt;
    }
    if (nameOrNumber == kSystemDefaultDevice)
        return std::string();
    // A whole label, or a device's own name when only one device has it.
    std::optional<std::string> found;
    int named = 0;
    for (const AudioDeviceInfo& d : list) {
        if (d.label() == nameOrNumber)
            return d.label();
        if (d.name == nameOrNumber && ++named == 1)
            found = d.label();
    }
    return named == 1 ? found : std::nullopt;
}

void silence_audio_library_printing()
{
    snd_lib_error_set_handler(quietAlsa);
    jack_set_error_function(quietJack);
    jack_set_info_function(quietJack);
}

void shutdown_audio()
{
    if (g_ready)
        portaudio_close_output_stream();
    if (g_ready && g_lostStreams.load() == 0) {
        Pa_Terminate();
        g_ready = false;
    }
}
