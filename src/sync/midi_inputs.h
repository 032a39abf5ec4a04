#pragma once

#include <string>
#include <vector>

// The MIDI ports the program can use (ALSA sequencer and JACK MIDI),
// numbered in the order listed across the back-ends; the MIDI preferences
// hold such numbers.
struct MidiPortInfo {
    int number = 0;
    std::string name;
    std::string api;
};
using MidiInputInfo = MidiPortInfo;

std::vector<MidiPortInfo> midi_input_devices();
std::vector<MidiPortInfo> midi_output_devices();
