#pragma once

#include <cstdint>

// The one playback volume, 0..255, and how it reaches the sound card: the
// system mixer's master control when there is one, else a gain on the
// program's own output stream.
extern std::uint32_t output_level;
extern int volume_both_channels;  // 1: as volume_uniform says; 0: right channel only
extern int volume_uniform;        // with both channels: 1 one value for all, 0 left only
extern std::uint32_t mixer_previous_level;
extern int master_aux_device;

// The stream gain used where there is no mixer: the classic volume word, the
// left level in the low 16 bits and the right in the high 16 bits, 0..65535
// each. The raw 0..255 level is written into both halves, as it always was.
extern std::uint32_t software_volume_word;

// Applies a level by the channel mode.
void set_output_volume(std::uint32_t level);
// One mixer write: `channel` 2 is the first (left) channel, 1 the second;
// `uniform` writes one value for all channels. 0 or the mixer's error code.
int set_mixer_channel_volume(std::uint32_t level, int channel, int uniform);
