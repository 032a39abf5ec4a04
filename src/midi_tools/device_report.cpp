#include "midi_tools/device_report.h"

#include "app/preferences.h"
#include "audio/portaudio_device.h"
#include "sync/midi_inputs.h"

#include <sstream>

std::string system_device_report()
{
    const Preferences& prefs = preferences();
    std::ostringstream out;
    const auto audio = [&](const char* kind, const std::vector<AudioDeviceInfo>& list, const std::string& chosen) {
        const bool systemDefault = chosen.empty() || chosen == kSystemDefaultDevice;
        for (const AudioDeviceInfo& d : list)
            out << kind << " " << d.number << ": " << d.name << " (" << d.hostApi << ", " << d.channels
                << " channels, " << d.defaultRate << " Hz)" << (d.isDefault ? " [default]" : "")
                << ((systemDefault ? d.isDefault : d.label() == chosen) ? " [chosen]" : "") << "\n";
    };
    const auto midi = [&](const char* kind, const std::vector<MidiPortInfo>& list, int chosen) {
        for (const MidiPortInfo& m : list)
            out << kind << " " << m.number << ": " << m.name << " (" << m.api << ")"
                << (m.number == chosen ? " [chosen]" : "") << "\n";
    };
    const auto outputs = audio_output_devices();
    const auto inputs = audio_input_devices();
    const auto midiIn = midi_input_devices();
    const auto midiOut = midi_output_devices();
    audio("output", outputs, prefs.waveOutputDeviceName);
    audio("input", inputs, prefs.waveInputDeviceName);
    midi("midi-in", midiIn, prefs.midiInputDevice);
    midi("midi-out", midiOut, prefs.midiOutputDevice);
    if (outputs.empty() && inputs.empty())
        out << "no audio devices\n";
    if (midiIn.empty() && midiOut.empty())
        out << "no MIDI ports\n";
    return out.str();
}
