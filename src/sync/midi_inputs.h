#pragma once

#include <string>
#include <vector>

// The MIDI input ports the program can listen on (ALSA sequencer and JACK
// MIDI), numbered in the order listed; the MIDI input preference holds such a
// number.
struct MidiInputInfo {
    int number = 0;
    std::string name;
    std::string api;
};
std::vector<MidiInputInfo> midi_input_devices();
