#include "audio/portaudio_library.h"

#include "app/preferences.h"
#include "audio/portaudio_device.h"

#include <alsa/asoundlib.h>
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <jack/jack.h>
#include <pa_jack.h>

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

std::vector<double> portaudio_fallback_rates(PaDeviceIndex device, double refused)
{
    const PaDeviceInfo* info = Pa_GetDeviceInfo(device);
    std::vector<double> rates;
    for (const double rate : {info ? info->defaultSampleRate : 0.0, 48000.0, 44100.0})
        if (rate > 0 && rate != refused && std::find(rates.begin(), rates.end(), rate) == rates.end())
            rates.push_back(rate);
    return rates;
}

bool portaudio_device_is_jack(PaDeviceIndex device)
{
    const PaDeviceInfo* info = Pa_GetDeviceInfo(device);
    const PaHostApiInfo* api = info ? Pa_GetHostApiInfo(info->hostApi) : nullptr;
    return api && api->type == paJACK;
}

namespace {

// A short-lived client of the program's JACK server, for looking at and
// making connections; null when there is none.
struct JackPeek {
    JackPeek()
    {
        jack_status_t status;
        client = jack_client_open("ondrava-ports", JackNoStartServer, &status);
        const char* name = nullptr;
        if (PaJack_GetClientName(&name) == paNoError && name)
            own = std::string(name) + ":";
    }
    ~JackPeek()
    {
        if (client)
            jack_client_close(client);
    }
    // Our ports whose short names begin with `prefix`, in channel order
    // (by the number after the prefix).
    std::vector<std::string> ports(const std::string& prefix) const
    {
        std::vector<std::string> found;
        if (!client || own.empty())
            return found;
        const char** names = jack_get_ports(client, (own + prefix).c_str(), JACK_DEFAULT_AUDIO_TYPE, 0);
        for (int i = 0; names && names[i]; ++i)
            if (std::string(names[i]).rfind(own + prefix, 0) == 0)
                found.emplace_back(names[i]);
        jack_free(names);
        const std::size_t at = own.size() + prefix.size();
        std::sort(found.begin(), found.end(), [at](const std::string& a, const std::string& b) {
            return std::strtol(a.c_str() + at, nullptr, 10) < std::strtol(b.c_str() + at, nullptr, 10);
        });
        return found;
    }
    jack_client_t* client = nullptr;
    std::string own;
};

}  // namespace

JackConnections jack_port_connections(const std::string& prefix)
{
    JackConnections connections;
    const JackPeek peek;
    const std::vector<std::string> ports = peek.ports(prefix);
    for (std::size_t channel = 0; channel < ports.size(); ++channel) {
        jack_port_t* p = jack_port_by_name(peek.client, ports[channel].c_str());
        const char** peers = p ? jack_port_get_all_connections(peek.client, p) : nullptr;
        for (int i = 0; peers && peers[i]; ++i)
            connections.emplace_back(static_cast<int>(channel), peers[i]);
        jack_free(peers);
    }
    return connections;
}

void restore_jack_port_connections(const std::string& prefix, const JackConnections& connections)
{
    const JackPeek peek;
    // The server's physical ports, where the library joins new ports by
    // itself (maybe not seen in a port's connections yet): sources for our
    // inputs, destinations for our outputs.
    auto physical = [&](unsigned long flags) {
        std::vector<std::string> names;
        const char** found = jack_get_ports(peek.client, nullptr, JACK_DEFAULT_AUDIO_TYPE, JackPortIsPhysical | flags);
        for (int i = 0; found && found[i]; ++i)
            names.emplace_back(found[i]);
        jack_free(found);
        return names;
    };
    const std::vector<std::string> ports = peek.ports(prefix);
    std::vector<std::string> physicalSources, physicalDestinations;
    if (!ports.empty()) {
        physicalSources = physical(JackPortIsOutput);
        physicalDestinations = physical(JackPortIsInput);
    }
    for (std::size_t index = 0; index < ports.size(); ++index) {
        const std::string& port = ports[index];
        const int channel = static_cast<int>(index);
        jack_port_t* p = jack_port_by_name(peek.client, port.c_str());
        if (!p)
            continue;
        const bool input = (jack_port_flags(p) & JackPortIsInput) != 0;
        // JACK joins a source to a destination: which end ours is.
        const auto source = [&](const std::string& other) { return input ? other : port; };
        const auto destination = [&](const std::string& other) { return input ? port : other; };
        // What the port is joined to, and what the library may have joined it
        // to: all that the user did not have goes.
        std::vector<std::string> others = input ? physicalSources : physicalDestinations;
        const char** peers = jack_port_get_all_connections(peek.client, p);
        for (int i = 0; peers && peers[i]; ++i)
            others.emplace_back(peers[i]);
        jack_free(peers);
        for (const std::string& other : others)
            if (std::find(connections.begin(), connections.end(), std::make_pair(channel, other)) == connections.end())
                jack_disconnect(peek.client, source(other).c_str(), destination(other).c_str());
        for (const auto& [ours, other] : connections)
            if (ours == channel && !jack_port_connected_to(p, other.c_str()))
                jack_connect(peek.client, source(other).c_str(), destination(other).c_str());
    }
}

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
