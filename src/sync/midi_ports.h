#pragma once

#include <rtmidi/RtMidi.h>

#include <string>
#include <vector>

// Where a numbered MIDI port lives: its back-end and its index there.
struct MidiPortLocation {
    RtMidi::Api api = RtMidi::UNSPECIFIED;
    unsigned index = 0;
    std::string name;
};
std::vector<MidiPortLocation> midi_input_ports();
std::vector<MidiPortLocation> midi_output_ports();
