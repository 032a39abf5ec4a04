#include "audio/volume.h"

#include "app/preferences.h"
#include "audio/mixer.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {
VolumeState g_volume;
}  // namespace

VolumeState& volume_state() { return g_volume; }
void reset_volume_state() { g_volume = VolumeState{}; }

std::uint32_t& output_level = g_volume.output_level;
int& volume_both_channels = g_volume.volume_both_channels;
int& volume_uniform = g_volume.volume_uniform;
std::uint32_t& mixer_previous_level = g_volume.mixer_previous_level;
int& master_aux_device = g_volume.master_aux_device;
std::uint32_t& software_volume_word = g_volume.software_volume_word;

void set_output_volume(std::uint32_t level)
{
    output_level = level;
    if (volume_both_channels && volume_uniform) {
        set_mixer_channel_volume(level, 2, 1);
    } else if (volume_both_channels) {
        set_mixer_channel_volume(level, 2, 0);  // the left gets the level
        set_mixer_channel_volume(0, 1, 0);      // the right is silenced
    } else {
        set_mixer_channel_volume(0, 2, 0);
        set_mixer_channel_volume(level, 1, 0);
    }
}

double output_gain_for_level(std::uint32_t level)
{
    if (level == 0)
        return 0.0;
    const double decibels = -0.25 * (255.0 - static_cast<double>(std::min<std::uint32_t>(level, 255)));
    return std::pow(10.0, decibels / 20.0);
}

std::uint16_t volume_word_half(std::uint32_t level)
{
    return static_cast<std::uint16_t>(std::lround(output_gain_for_level(level) * 65535.0));
}

int set_mixer_channel_volume(std::uint32_t level, int channel, int uniform)
{
    std::unique_ptr<Mixer> mixer = preferences().controlSystemMixer ? open_mixer() : nullptr;
    if (!mixer) {
        // Our own stream's gain, channel by channel: 2 is the left half of
        // the word, 1 the right; uniform sets both.
        const std::uint32_t half = volume_word_half(level);
        if (uniform || channel == 2)
            software_volume_word = (software_volume_word & 0xFFFF0000u) | half;
        if (uniform || channel == 1)
            software_volume_word = (software_volume_word & 0x0000FFFFu) | (half << 16);
        return 0;
    }
    std::vector<std::uint32_t> values;
    if (const int error = mixer->get(values, uniform != 0))
        return error;
    if (values.empty())
        return 0;
    mixer_previous_level = values[0] / 256;
    const std::uint32_t value = static_cast<std::uint32_t>(
        (static_cast<std::uint64_t>(mixer->minimum()) + mixer->maximum()) * level / 256);
    const int lineChannels = mixer->channels();
    for (int index : {lineChannels - channel, 2 - channel})
        if (index >= 0 && index < static_cast<int>(values.size()))
            values[static_cast<std::size_t>(index)] = value;
    return mixer->set(values, uniform != 0);
}
