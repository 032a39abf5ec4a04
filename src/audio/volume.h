#pragma once

#include <cstdint>

// The one playback volume, 0..255, and how it reaches the sound card: a gain
// on the program's own output stream, 255 being unity; or, when the user has
// turned on "Control the system mixer" and there is one, the mixer's master
// control (the desktop's volume is the user's, not ours, unless asked).
// The values live in one object; the names below refer into it.
struct VolumeState {
    std::uint32_t output_level = 255;
    int volume_both_channels = 1;  // 1: as volume_uniform says; 0: right channel only
    int volume_uniform = 1;        // with both channels: 1 one value for all, 0 left only
    std::uint32_t mixer_previous_level = 0;
    int master_aux_device = -1;
    // The gain on the program's own stream: the classic volume word, the
    // left channel's in the low 16 bits and the right's in the high 16
    // bits, 0..65535 each, 65535 being unity (0 dB).
    std::uint32_t software_volume_word = 0xFFFFFFFFu;
};
VolumeState& volume_state();
// Back to the start values (between tests); the sound card is not touched.
void reset_volume_state();

extern std::uint32_t& output_level;
extern int& volume_both_channels;
extern int& volume_uniform;
extern std::uint32_t& mixer_previous_level;
extern int& master_aux_device;
extern std::uint32_t& software_volume_word;

// The stream gain of a level: 255 is unity, every step below it 0.25 dB
// quieter (so the record dialog's slider is linear in dB), 0 is silence.
double output_gain_for_level(std::uint32_t level);
// That gain in the 0..65535 scale of the volume word.
std::uint16_t volume_word_half(std::uint32_t level);

// Applies a level by the channel mode.
void set_output_volume(std::uint32_t level);
// One mixer write: `channel` 2 is the first (left) channel, 1 the second;
// `uniform` writes one value for all channels. 0 or the mixer's error code.
int set_mixer_channel_volume(std::uint32_t level, int channel, int uniform);
