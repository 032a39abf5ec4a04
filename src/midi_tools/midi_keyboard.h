#pragma once

#include "sync/midi_output.h"

#include <set>
#include <string>

// The on-screen MIDI keyboard's player: notes on and off on a channel with a
// velocity, through the MIDI output port of the preferences. The computer
// keyboard plays two octaves: the row "zsxdcvgbhnjm,l." from the base
// octave's C, the row "q2w3er5t6y7ui9o0p" an octave higher.
class MidiKeyboard {
public:
    // Opens output port `device`; false when it will not open.
    bool open(int device);
    void close();
    bool isOpen() const { return m_out.isOpen(); }

    bool note_on(int note);
    bool note_off(int note);
    // Every note still sounding goes off (and "all notes off" goes out).
    void all_notes_off();
    const std::set<int>& sounding() const { return m_sounding; }

    int channel = 1;      // 1..16
    int velocity = 100;   // 1..127
    int base_octave = 4;  // the octave of the lower row's C (C4 = note 60)

    // The note a computer key plays at `baseOctave`, or -1.
    static int note_for_key(char key, int baseOctave);
    // "C4", "F#5": the note's name in scientific pitch.
    static std::string note_name(int note);

private:
    MidiOutput m_out;
    std::set<int> m_sounding;
};
