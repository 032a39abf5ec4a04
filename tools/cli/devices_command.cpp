#include "cli_args.h"

#include "audio/portaudio_device.h"
#include "sync/midi_inputs.h"

#include <iostream>

// ondrava-cli devices: the wave output and input devices and the MIDI
// inputs, numbered as the device preferences number them.
int run_devices_command(const std::vector<std::string>& argv)
{
    if (!argv.empty()) {
        std::cerr << "usage: ondrava-cli devices\n";
        return kExitUsage;
    }
    const auto print = [](const char* kind, const std::vector<AudioDeviceInfo>& list) {
        for (const AudioDeviceInfo& d : list)
            std::cout << kind << " " << d.number << ": " << d.name << " (" << d.hostApi << ", " << d.channels
                      << " channels, " << d.defaultRate << " Hz)\n";
    };
    const auto outputs = audio_output_devices();
    const auto inputs = audio_input_devices();
    print("output", outputs);
    print("input", inputs);
    const auto midi = midi_input_devices();
    for (const MidiPortInfo& m : midi)
        std::cout << "midi " << m.number << ": " << m.name << " (" << m.api << ")\n";
    if (outputs.empty() && inputs.empty() && midi.empty())
        std::cout << "no audio devices\n";
    return kExitOk;
}
