#include "view/time_format.h"

#include "support/document_test.h"

TEST(TimeTexts, SecondsSmpteAndMilliseconds)
{
    EXPECT_EQ(seconds_text(1.5), "  1.500 sec");
    EXPECT_EQ(seconds_text(123.4567), "123.457 sec");
    // 3725.5 s = 1 h 2 min 5.5 s: half a second is 12 frames at 24, 15 at 30.
    EXPECT_EQ(smpte_text(3725.5, 24), "01:02:05:12");
    EXPECT_EQ(smpte_text(3725.5, 25), "01:02:05:12");
    EXPECT_EQ(smpte_text(3725.5, 30), "01:02:05:15");
    EXPECT_EQ(smpte_text(0.999, 30), "00:00:00:29");
    EXPECT_EQ(hms_millis_text(61.25), " 00:01:01.250");
    EXPECT_EQ(hms_millis_text(0.0004), " 00:00:00.000");
}

TEST(RulerInterval, PicksTheFirstStepWithinAFifthOfTheSpan)
{
    EXPECT_DOUBLE_EQ(ruler_interval(0.5), 0.1);    // 5 x 0.1 (6 x 0.1 is 0.1 off: not < 0.1)
    EXPECT_DOUBLE_EQ(ruler_interval(0.6), 0.1);    // 6 x 0.1 exactly
    EXPECT_DOUBLE_EQ(ruler_interval(12.0), 2.0);   // 6 x 2
    EXPECT_DOUBLE_EQ(ruler_interval(2.4), 0.5);    // 6 x 0.5 = 3.0 is 0.6 off: 0.48 allowed, so 5 x 0.5
    EXPECT_DOUBLE_EQ(ruler_interval(0.006), 0.001);
    EXPECT_DOUBLE_EQ(ruler_interval(100000.0), 1.0);  // nothing fits
    EXPECT_EQ(ruler_seconds_format(0.05), "%6.3f");
    EXPECT_EQ(ruler_seconds_format(0.1), "%6.2f");
}

using PositionTextTest = DocumentTest;

TEST_F(PositionTextTest, PositionsFollowTheTimeFormatAtTheFinestLevel)
{
    auto f = openTone(2, 16, 44100, 44100 * 3);
    ASSERT_TRUE(f);
    f->nZoomLevel = 1;  // the displays count at the finest level whatever is shown
    EXPECT_EQ(position_text(*f, 2 * 44100 + 2 * 22050, 1), "  1.500 sec");
    EXPECT_EQ(position_text(*f, 2 * 44100 + 2 * 22050, 24), "00:00:01:12");
    EXPECT_EQ(position_text(*f, 2 * 44100 + 2 * 22050, 30), "00:00:01:15");
    EXPECT_EQ(position_text(*f, 1000, kTimeFormatUnits), "1000");
    EXPECT_EQ(position_text(*f, 1000, kTimeFormatFrames), "125");  // 1000 / (2 x 4)
}
