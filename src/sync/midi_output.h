#pragma once

#include <cstdint>
#include <memory>
#include <vector>

// An open MIDI output port (the one chosen in the preferences): the
// on-screen keyboard plays through it.
class MidiOutput {
public:
    MidiOutput();
    ~MidiOutput();
    MidiOutput(const MidiOutput&) = delete;
    MidiOutput& operator=(const MidiOutput&) = delete;

    // false when there is no such port or it will not open.
    bool open(int device);
    void close();
    bool isOpen() const;
    // Sends one message (status and its data bytes); false when it could
    // not be sent.
    bool send(const std::vector<std::uint8_t>& message);

private:
    struct Impl;
    std::unique_ptr<Impl> m;
};
