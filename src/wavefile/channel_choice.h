#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What becomes of a file of more than two channels, which a document cannot
// hold: mixed down to stereo, or two of its channels taken as they are.
struct ChannelChoice {
    enum class Kind { Downmix, Pick };
    Kind kind = Kind::Downmix;
    int left = 0;   // the channels taken (0-based), for Pick
    int right = 1;
};

// The gains that mix `channels` channels down to stereo: row i holds the
// left and right gain of source channel i. The speakers are those of the
// WAVE channel mask `mask` (the usual order front left, front right,
// centre, LFE, back left, back right, front left/right of centre, back
// centre, side left, side right, ... when the mask is 0): left speakers go
// left, right ones right, centre ones to both at -3 dB, surrounds at -3 dB,
// the LFE is left out; a channel of no known speaker goes to both sides.
// Each side's gains are then scaled to sum to 1, so the mix never clips.
std::vector<std::array<float, 2>> downmix_matrix(int channels, std::uint32_t mask = 0);

// What the document's title says of the choice: " (mixed down from 6
// channels)" or " (channels 1 and 2 of 6)".
std::string channel_choice_note(const ChannelChoice& choice, int channels);

// "L,R" of the command line (1-based channel numbers) as a choice; nothing
// when it is not two numbers from 1 to 64.
std::optional<ChannelChoice> parse_channel_pair(const std::string& text);
