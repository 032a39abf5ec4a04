#pragma once

#include <cstdint>
#include <memory>
#include <vector>

// The system mixer's master playback volume, as the volume routine needs it:
// one line with one volume control of a few channels.
class Mixer {
public:
    virtual ~Mixer() = default;
    virtual int channels() const = 0;
    virtual std::uint32_t minimum() const = 0;
    virtual std::uint32_t maximum() const = 0;
    // 0 on success, else the back-end's error code.
    virtual int get(std::vector<std::uint32_t>& values, bool uniform) = 0;
    virtual int set(const std::vector<std::uint32_t>& values, bool uniform) = 0;
};

// Opens mixer 0: the ALSA simple mixer's "Master" playback control on the
// default card; null when there is none (no card, no such control).
using MixerFactory = std::unique_ptr<Mixer> (*)();
std::unique_ptr<Mixer> open_mixer();
// Tests put a mixer of their own in place of the system's; null restores it.
void set_mixer_factory(MixerFactory factory);
