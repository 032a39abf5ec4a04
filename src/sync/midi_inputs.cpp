#include "sync/midi_inputs.h"

#include "audio/portaudio_device.h"

#include <alsa/asoundlib.h>
#include <jack/jack.h>
#include <rtmidi/RtMidi.h>

namespace {

// RtMidi reports a missing sequencer or server on stderr from inside its
// constructor; look first, quietly.
bool apiAvailable(RtMidi::Api api)
{
    if (api == RtMidi::LINUX_ALSA) {
        snd_seq_t* seq = nullptr;
        if (snd_seq_open(&seq, "default", SND_SEQ_OPEN_INPUT, 0) < 0)
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

}  // namespace

std::vector<MidiInputInfo> midi_input_devices()
{
    silence_audio_library_printing();
    std::vector<MidiInputInfo> list;
    std::vector<RtMidi::Api> apis;
    RtMidi::getCompiledApi(apis);
    for (const RtMidi::Api api : apis) {
        if (!apiAvailable(api))
            continue;
        try {
            RtMidiIn in(api, "Ondrava");
            // A missing sequencer or server is no error here: no ports.
            in.setErrorCallback([](RtMidiError::Type, const std::string&, void*) {});
            const unsigned count = in.getPortCount();
            for (unsigned i = 0; i < count; ++i)
                list.push_back({static_cast<int>(list.size()), in.getPortName(i), RtMidi::getApiDisplayName(api)});
        } catch (const RtMidiError&) {
            // That API cannot be opened on this machine.
        }
    }
    return list;
}
