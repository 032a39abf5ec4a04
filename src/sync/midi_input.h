#pragma once

#include <cstdint>
#include <functional>
#include <memory>

// An open MIDI input port (the one chosen in the preferences). Messages come
// in on the MIDI library's thread, are stamped with the monotonic clock there
// and handed to the user-interface thread, where the handler sees them in
// order, as a window callback would. Short messages only (system exclusive
// and active sensing are left out); each is one word: status in the low
// byte, then the data bytes.
class MidiInput {
public:
    using Handler = std::function<void(std::uint32_t message, std::int64_t arrivedNs)>;

    MidiInput();
    ~MidiInput();
    MidiInput(const MidiInput&) = delete;
    MidiInput& operator=(const MidiInput&) = delete;

    // Opens and starts input port `device`; false when there is no such port
    // or it will not open.
    bool open(int device, Handler handler);
    void close();
    bool isOpen() const;
    // Messages dropped because the user-interface thread fell behind.
    int overflows() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m;
};
