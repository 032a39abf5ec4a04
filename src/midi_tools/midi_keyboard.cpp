#include "midi_tools/midi_keyboard.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

bool MidiKeyboard::open(int device) { return m_out.open(device); }

void MidiKeyboard::close()
{
    all_notes_off();
    m_out.close();
}

bool MidiKeyboard::note_on(int note)
{
    if (note < 0 || note > 127)
        return false;
    const auto status = static_cast<std::uint8_t>(0x90 | (std::clamp(channel, 1, 16) - 1));
    if (!m_out.send({status, static_cast<std::uint8_t>(note), static_cast<std::uint8_t>(std::clamp(velocity, 1, 127))}))
        return false;
    m_sounding.insert(note);
    return true;
}

bool MidiKeyboard::note_off(int note)
{
    if (note < 0 || note > 127)
        return false;
    m_sounding.erase(note);
    const auto status = static_cast<std::uint8_t>(0x80 | (std::clamp(channel, 1, 16) - 1));
    return m_out.send({status, static_cast<std::uint8_t>(note), 0});
}

void MidiKeyboard::all_notes_off()
{
    const std::set<int> notes = m_sounding;
    for (int note : notes)
        note_off(note);
    const auto status = static_cast<std::uint8_t>(0xB0 | (std::clamp(channel, 1, 16) - 1));
    m_out.send({status, 123, 0});
}

int MidiKeyboard::note_for_key(char key, int baseOctave)
{
    constexpr std::string_view lower = "zsxdcvgbhnjm,l.";
    constexpr std::string_view upper = "q2w3er5t6y7ui9o0p";
    const int c = (baseOctave + 1) * 12;
    if (const auto at = lower.find(key); at != std::string_view::npos)
        return c + static_cast<int>(at) <= 127 ? c + static_cast<int>(at) : -1;
    if (const auto at = upper.find(key); at != std::string_view::npos)
        return c + 12 + static_cast<int>(at) <= 127 ? c + 12 + static_cast<int>(at) : -1;
    return -1;
}

std::string MidiKeyboard::note_name(int note)
{
    static const char* const names[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    if (note < 0 || note > 127)
        return {};
    return names[note % 12] + std::to_string(note / 12 - 1);
}
