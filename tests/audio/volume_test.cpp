#include "app/preferences.h"
#include "audio/mixer.h"
#include "audio/volume.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// A two-channel master control with the range 0..65535 that records writes.
struct TestMixerState {
    std::vector<std::uint32_t> values{40000, 30000};
    std::vector<std::vector<std::uint32_t>> writes;
    std::vector<bool> uniformWrites;
    int opened = 0;
};
TestMixerState g_state;

class TestMixer : public Mixer {
public:
    int channels() const override { return 2; }
    std::uint32_t minimum() const override { return 0; }
    std::uint32_t maximum() const override { return 65535; }
    int get(std::vector<std::uint32_t>& values, bool uniform) override
    {
        values = uniform ? std::vector<std::uint32_t>{g_state.values[0]} : g_state.values;
        return 0;
    }
    int set(const std::vector<std::uint32_t>& values, bool uniform) override
    {
        g_state.writes.push_back(values);
        g_state.uniformWrites.push_back(uniform);
        if (uniform)
            g_state.values.assign(2, values[0]);
        else
            g_state.values = values;
        return 0;
    }
};

std::unique_ptr<Mixer> makeTestMixer()
{
    ++g_state.opened;
    return std::make_unique<TestMixer>();
}
std::unique_ptr<Mixer> noMixer() { return nullptr; }

class VolumeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_state = TestMixerState{};
        volume_both_channels = 1;
        volume_uniform = 1;
        set_mixer_factory(makeTestMixer);
        // The mixer arithmetic is what the user turns on.
        preferences().controlSystemMixer = true;
    }
    void TearDown() override
    {
        set_mixer_factory(nullptr);
        preferences() = Preferences{};
        software_volume_word = 0xFFFFFFFFu;
    }
};

}  // namespace

TEST_F(VolumeTest, TheLevelScalesToTheControlsRange)
{
    set_output_volume(255);
    ASSERT_EQ(g_state.writes.size(), 1u);
    EXPECT_EQ(g_state.writes[0], std::vector<std::uint32_t>{65279});  // (0 + 65535) x 255 / 256
    EXPECT_TRUE(g_state.uniformWrites[0]);
    EXPECT_EQ(mixer_previous_level, 40000u / 256);
    EXPECT_EQ(output_level, 255u);
    set_output_volume(0);
    EXPECT_EQ(g_state.writes[1], std::vector<std::uint32_t>{0});
}

TEST_F(VolumeTest, LeftOnlyAndRightOnlySilenceTheOtherChannelEveryTime)
{
    volume_uniform = 0;  // left only
    set_output_volume(128);
    ASSERT_EQ(g_state.writes.size(), 2u);
    EXPECT_EQ(g_state.writes[0], (std::vector<std::uint32_t>{32767, 30000}));  // left gets the level
    EXPECT_EQ(g_state.writes[1], (std::vector<std::uint32_t>{32767, 0}));      // then the right is silenced
    EXPECT_FALSE(g_state.uniformWrites[0]);

    volume_both_channels = 0;  // right only
    g_state.writes.clear();
    set_output_volume(128);
    EXPECT_EQ(g_state.writes[0], (std::vector<std::uint32_t>{0, 0}));
    EXPECT_EQ(g_state.writes[1], (std::vector<std::uint32_t>{0, 32767}));
}

// The stream's own gain: 255 is unity, each step a quarter of a decibel,
// 0 silence; the channel modes reach the two halves of the word.
TEST_F(VolumeTest, OurOwnStreamCarriesTheLevelAtUnityFor255)
{
    const auto half = [](std::uint32_t level) {
        return static_cast<std::uint32_t>(std::lround(65535.0 * std::pow(10.0, -(255.0 - level) / 80.0)));
    };
    for (bool mixerOn : {false, true}) {
        preferences().controlSystemMixer = mixerOn;
        set_mixer_factory(mixerOn ? noMixer : makeTestMixer);
        set_output_volume(255);
        EXPECT_EQ(software_volume_word, 0xFFFFFFFFu);
        EXPECT_DOUBLE_EQ(output_gain_for_level(255), 1.0);
        set_output_volume(231);  // 24 steps: -6 dB
        EXPECT_EQ(software_volume_word, half(231) | half(231) << 16);
        EXPECT_NEAR(20 * std::log10(output_gain_for_level(231)), -6.0, 1e-9);
        set_output_volume(0);
        EXPECT_EQ(software_volume_word, 0u);
        volume_uniform = 0;  // left only
        set_output_volume(255);
        EXPECT_EQ(software_volume_word, 0x0000FFFFu);
        volume_both_channels = 0;  // right only
        set_output_volume(200);
        EXPECT_EQ(software_volume_word, half(200) << 16);
        volume_both_channels = volume_uniform = 1;
    }
    // Left alone, the desktop's mixer is never even opened.
    EXPECT_EQ(g_state.opened, 0);
}

TEST_F(VolumeTest, TheSystemMixerIsUsedWhenThereIsOne)
{
    // The machine's own mixer: a card's master control, or none (then the
    // stream gain). Either way the level arrives somewhere and nothing fails.
    set_mixer_factory(nullptr);
    software_volume_word = 0;
    const bool hasMixer = open_mixer() != nullptr;
    EXPECT_EQ(set_mixer_channel_volume(200, 2, 1), 0);
    if (!hasMixer) {
        EXPECT_EQ(software_volume_word, static_cast<std::uint32_t>(volume_word_half(200)) * 0x10001u);
    }
}
