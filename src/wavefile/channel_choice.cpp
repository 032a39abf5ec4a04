#include "wavefile/channel_choice.h"

#include <cmath>
#include <cstdio>

namespace {

// The WAVE speaker bits in their order, and where each goes in a stereo mix.
enum class Side { Left, Right, Both, None };
constexpr Side kSpeakerSide[18] = {
    Side::Left,  Side::Right, Side::Both, Side::None,  // front left, right, centre, LFE
    Side::Left,  Side::Right,                         // back left, right
    Side::Left,  Side::Right,                         // front left/right of centre
    Side::Both,                                       // back centre
    Side::Left,  Side::Right,                         // side left, right
    Side::Both,                                       // top centre
    Side::Left,  Side::Both,  Side::Right,            // top front left, centre, right
    Side::Left,  Side::Both,  Side::Right,            // top back left, centre, right
};
// Front left and right at full level; every other speaker at -3 dB.
constexpr bool kMainPair[18] = {true, true};

}  // namespace

std::vector<std::array<float, 2>> downmix_matrix(int channels, std::uint32_t mask)
{
    std::vector<std::array<float, 2>> m(static_cast<std::size_t>(std::max(channels, 0)), {0.0f, 0.0f});
    const float minus3dB = static_cast<float>(std::sqrt(0.5));
    int bit = 0;
    for (int c = 0; c < channels; ++c) {
        // The speaker of channel c: the c-th set bit of the mask, or the
        // c-th speaker of the usual order without a mask.
        int speaker = -1;
        if (mask != 0) {
            while (bit < 32 && !(mask & (1u << bit)))
                ++bit;
            if (bit < 32)
                speaker = bit++;
        } else {
            speaker = c;
        }
        const Side side = speaker >= 0 && speaker < 18 ? kSpeakerSide[speaker] : Side::Both;
        const float gain = speaker >= 0 && speaker < 18 && kMainPair[speaker] ? 1.0f : minus3dB;
        auto& row = m[static_cast<std::size_t>(c)];
        switch (side) {
        case Side::Left: row = {gain, 0.0f}; break;
        case Side::Right: row = {0.0f, gain}; break;
        case Side::Both: row = {gain, gain}; break;
        case Side::None: row = {0.0f, 0.0f}; break;
        }
    }
    for (int side = 0; side < 2; ++side) {
        float sum = 0.0f;
        for (const auto& row : m)
            sum += row[static_cast<std::size_t>(side)];
        if (sum > 0.0f)
            for (auto& row : m)
                row[static_cast<std::size_t>(side)] /= sum;
    }
    return m;
}

std::string channel_choice_note(const ChannelChoice& choice, int channels)
{
    char text[96];
    if (choice.kind == ChannelChoice::Kind::Downmix)
        std::snprintf(text, sizeof text, " (mixed down from %d channels)", channels);
    else
        std::snprintf(text, sizeof text, " (channels %d and %d of %d)", choice.left + 1, choice.right + 1, channels);
    return text;
}

std::optional<ChannelChoice> parse_channel_pair(const std::string& text)
{
    int left = 0, right = 0;
    char extra = 0;
    if (std::sscanf(text.c_str(), "%d,%d%c", &left, &right, &extra) != 2 || left < 1 || right < 1 || left > 64 ||
        right > 64)
        return std::nullopt;
    ChannelChoice c;
    c.kind = ChannelChoice::Kind::Pick;
    c.left = left - 1;
    c.right = right - 1;
    return c;
}
