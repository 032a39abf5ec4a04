#include "view/child_frame.h"
#include "view/display_levels.h"

#include <gtest/gtest.h>

TEST(DisplayLevels, SearchFindsTheFirstHalvingBelowThreeQuartersOfTheScreen)
{
    // 1920 pixels: the limit is 1440.
    EXPECT_EQ(display_level_search(1439, 1920), 0);
    EXPECT_EQ(display_level_search(1440, 1920), 1);
    EXPECT_EQ(display_level_search(2879, 1920), 1);
    EXPECT_EQ(display_level_search(2880, 1920), 2);
    EXPECT_EQ(display_level_search(1ull << 30, 1920), 20);  // 2^30 / 2^20 = 1024
    // 1001 * 3 / 4 = 750 in integers.
    EXPECT_EQ(display_level_search(750, 1001), 1);
    EXPECT_EQ(display_level_search(749, 1001), 0);
}

TEST(DisplayLevels, MonoCountsTwiceAndShortDocumentsGetOneLevel)
{
    CChildFrame f;
    f.wfx.nChannels = 1;
    f.nTotalSamples = 1440;  // doubled: 2880 -> i = 2
    compute_display_levels(f, 1920);
    EXPECT_EQ(f.nMaxZoomLevel, 2);
    EXPECT_EQ(f.fMaxZoom, 2.0f);
    EXPECT_EQ(f.nLevelLength[2], 1440u);

    f.wfx.nChannels = 2;  // not doubled: 1440 -> i = 1 -> one level
    compute_display_levels(f, 1920);
    EXPECT_EQ(f.nMaxZoomLevel, 1);
    EXPECT_EQ(f.fZoom, 1.0f);
    EXPECT_EQ(f.fMaxZoom, 1.0f);

    f.nTotalSamples = 88200;  // 88200 / 64 = 1378 -> i = 6
    compute_display_levels(f, 1920);
    EXPECT_EQ(f.nMaxZoomLevel, 6);
    EXPECT_EQ(f.fMaxZoom, 32.0f);
}

class ConversionsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        f.wfx.nChannels = 2;
        f.wfx.nSamplesPerSec = 44100;
        f.nTotalSamples = 1000000;
        f.nMaxZoomLevel = 8;
        f.fMaxZoom = 128.0f;
        for (int l = 1; l <= 8; ++l)
            f.nLevelLength[l] = 1000000;
        f.nLevelLength[1] = 7812;  // the overview: 1/128
    }
    CChildFrame f;
};

TEST_F(ConversionsTest, AtTheFinestLevelOnePixelIsOneFrame)
{
    f.nZoomLevel = 8;
    f.fZoom = 128.0f;
    f.nFirstSample = 1000;
    EXPECT_EQ(f.pixel_to_level_index(10.0f), 1020u);
    EXPECT_FLOAT_EQ(f.level_index_to_pixel(1020), 10.0f);
    EXPECT_FLOAT_EQ(f.level_index_to_pixel(990), -5.0f);
    EXPECT_EQ(f.pixel_to_sample(10.0f), 1020u);  // base = 1000 * 1000000 / 1000000
    EXPECT_FLOAT_EQ(f.sample_to_pixel(1020), 10.0f);
    EXPECT_EQ(f.pixel_to_level_index(1e7f), 1000000u);  // clamped to the length
}

TEST_F(ConversionsTest, BetweenLevelsEachStepHalvesTheScale)
{
    f.nZoomLevel = 5;
    f.fZoom = 16.0f;
    f.nFirstSample = 0;
    // 2 channels x 128 / 16 = 16 units per pixel.
    EXPECT_EQ(f.pixel_to_level_index(3.0f), 48u);
    EXPECT_FLOAT_EQ(f.level_index_to_pixel(48), 3.0f);
    EXPECT_EQ(f.pixel_to_sample(3.0f), 48u);
    EXPECT_FLOAT_EQ(f.sample_to_pixel(48), 3.0f);
}

TEST_F(ConversionsTest, TheOverviewCountsInStepsOf128)
{
    f.nZoomLevel = 1;
    f.fZoom = 1.0f;
    f.nFirstSample = 100;  // an overview index
    // u = 2 * 128 * 5 / 1 = 1280, >> 7 = 10.
    EXPECT_EQ(f.pixel_to_level_index(5.0f), 110u);
    // L = 7812 * 128; base = trunc(100 * 1000000 / 999936) = 100.
    EXPECT_EQ(f.pixel_to_sample(5.0f), 1280u + 100u);
    // shift = trunc(1000000 * 100 / 7812) = 12800, >> 7 = 100.
    EXPECT_FLOAT_EQ(f.sample_to_pixel(1380), 1.0f / 256.0f * 1280.0f);
}

TEST_F(ConversionsTest, TotalMillisecondsComesFromTheCurrentLevel)
{
    f.nZoomLevel = 8;
    EXPECT_NEAR(f.get_total_milliseconds(), 1000000.0 / 44100 / 2 * 1000, 0.01);
    f.nZoomLevel = 1;  // the overview's entry count: about 1/128 of the true length
    EXPECT_NEAR(f.get_total_milliseconds(), 7812.0 / 44100 / 2 * 1000, 0.01);
}
