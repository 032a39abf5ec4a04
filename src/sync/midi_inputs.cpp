#include "sync/midi_inputs.h"

#include "sync/midi_ports.h"

#include "audio/portaudio_device.h"

#include <alsa/asoundlib.h>
#include <jack/jack.h>

namespace {

// RtMidi reports a missing sequencer or server on stderr from inside its
// constructor; look first, quietly.
bool apiAvailable(RtMidi::Api api, bool input)
{
    if (api == RtMidi::LINUX_ALSA) {
        snd_seq_t* seq = nullptr;
        if (snd_seq_open(&seq, "default", input ? SND_SEQ_OPEN_INPUT : SND_SEQ_OPEN_OUTPUT, 0) < 0)
            return false;
        snd_seq_close(seq);
        return true;
    }
    if (api == RtMidi::UNIX_JACK) {
        jack_status_t status;
        jack_client_t* client = jack_client_open("Ondrava probe", JackNoStartServer, &status);
        if (!client)
            return false;
        jack_client_close(client);
        return true;
    }
    return api != RtMidi::RTMIDI_DUMMY;
}

template <typename Port>
std::vector<MidiPortLocation> listPorts(bool input)
{
    silence_audio_library_printing();
    std::vector<MidiPortLocation> list;
    std::vector<RtMidi::Api> apis;
    RtMidi::getCompiledApi(apis);
    for (const RtMidi::Api api : apis) {
        if (!apiAvailable(api, input))
            continue;
        try {
            Port port(api, "Ondrava");
            // A missing sequencer or server is no error here: no ports.
            port.setErrorCallback([](RtMidiError::Type, const std::string&, void*) {});
            const unsigned count = port.getPortCount();
            for (unsigned i = 0; i < count; ++i)
                list.push_back({api, i, port.getPortName(i)});
        } catch (const RtMidiError&) {
            // That back-end cannot be opened on this machine.
        }
    }
    return list;
}

std::vector<MidiPortInfo> describe(const std::vector<MidiPortLocation>& ports)
{
    std::vector<MidiPortInfo> list;
    for (const MidiPortLocation& p : ports)
        list.push_back({static_cast<int>(list.size()), p.name, RtMidi::getApiDisplayName(p.api)});
    return list;
}

}  // namespace

std::vector<MidiPortLocation> midi_input_ports() { return listPorts<RtMidiIn>(true); }
std::vector<MidiPortLocation> midi_output_ports() { return listPorts<RtMidiOut>(false); }
std::vector<MidiPortInfo> midi_input_devices() { return describe(midi_input_ports()); }
std::vector<MidiPortInfo> midi_output_devices() { return describe(midi_output_ports()); }
