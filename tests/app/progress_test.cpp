#include "app/clock.h"
#include "app/progress.h"

#include "support/temp_dir_test.h"

class ProgressTest : public TempDirTest {
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        set_millisecond_clock([this] { return now; });
    }
    void TearDown() override
    {
        set_millisecond_clock({});
        TempDirTest::TearDown();
    }
    std::uint32_t now = 1000;
};

TEST(TimeLeftEstimate, ShowsNothingDuringTheFirstFiveSeconds)
{
    TimeLeftEstimate e;
    EXPECT_FALSE(e.update(0, 0.0));
    EXPECT_FALSE(e.update(10, 1000.0));
    EXPECT_FALSE(e.update(50, 5000.0));  // exactly five seconds is still too early
    EXPECT_EQ(e.secondsPerJob(), 0.0f);
    EXPECT_EQ(e.lastShown(), 9999999.0f);
}

TEST(TimeLeftEstimate, EstimatesOnceThenOnlyCountsDownInStepsOverHalfASecond)
{
    TimeLeftEstimate e;
    e.update(0, 0.0);
    // 5500 ms at 21 %: 5500 * 100 / 22 * 0.001 = 25 s for the whole job; nothing shown yet.
    EXPECT_FALSE(e.update(21, 5500.0));
    EXPECT_FLOAT_EQ(e.secondsPerJob(), 25.0f);
    auto shown = e.update(22, 5600.0);
    ASSERT_TRUE(shown);
    EXPECT_FLOAT_EQ(*shown, 19.5f);      // (100 - 22) * 25 * 0.01
    EXPECT_FALSE(e.update(22, 5700.0));  // the same value is not drawn again
    EXPECT_FALSE(e.update(23, 5800.0));  // 19.25: a quarter second lower only
    shown = e.update(25, 5900.0);        // 18.75: three quarters lower
    ASSERT_TRUE(shown);
    EXPECT_FLOAT_EQ(*shown, 18.75f);
    EXPECT_FALSE(e.update(20, 6000.0));  // going back up is never shown
}

TEST(TimeLeftEstimate, PercentZeroStartsAFreshEstimate)
{
    TimeLeftEstimate e;
    e.update(0, 0.0);
    e.update(50, 10000.0);
    EXPECT_GT(e.secondsPerJob(), 0.0f);
    e.update(0, 20000.0);
    EXPECT_EQ(e.secondsPerJob(), 0.0f);
    EXPECT_FALSE(e.update(90, 24000.0));
}

TEST_F(ProgressTest, DrawsTheBarWithItsTextAndTheTimeLeft)
{
    HWND box = display_message_dialog("Saving file ...", 0);
    current_progress_box = box;
    ASSERT_NE(box, nullptr);
    show_percent_done(box, 0);
    EXPECT_EQ(host.lastPercent(), 0);
    now += 8000;
    show_percent_done(box, 19);  // 8000 * 100 / 20 * 0.001 = 40 s per job
    now += 100;
    show_percent_done(box, 20);
    EXPECT_EQ(host.controlText(1039), " Time left:  32.0 sec.");
    EXPECT_EQ(progress_bar_text("Saving file ...", 20), "   Saving file ...   20%");

    show_percent_done(box, 101);  // clears the time left, leaves the bar alone
    EXPECT_EQ(host.controlText(1039), "  ");
    EXPECT_EQ(host.lastPercent(), 20);
    terminate_message_dialog(box);
    EXPECT_FALSE(host.progressOpen());
    EXPECT_EQ(progress_dialog, nullptr);
}

TEST_F(ProgressTest, ASecondProgressBoxReplacesTheFirst)
{
    HWND first = display_message_dialog("one", 1);
    HWND second = display_message_dialog("two", 0);
    EXPECT_EQ(host.progressBoxesOpened(), 2);
    EXPECT_EQ(progress_dialog, second);
    EXPECT_EQ(progress_text, "two");
    EXPECT_FALSE(progress_cancel_allowed);
    EXPECT_TRUE(host.progressOpen());
    (void)first;
    terminate_message_dialog(second);
    terminate_message_dialog(nullptr);  // a null handle is ignored
}

TEST_F(ProgressTest, CancelIsReportedOnceWhenClicked)
{
    HWND box = display_message_dialog("Copying", 1);
    host.cancelAfterPolls(2);
    EXPECT_EQ(cancel_button_pressed(box), 0);
    EXPECT_EQ(cancel_button_pressed(box), 0);
    EXPECT_EQ(cancel_button_pressed(box), 1);
    EXPECT_EQ(cancel_button_pressed(box), 0);
    EXPECT_EQ(cancel_button_pressed(nullptr), 0);
    terminate_message_dialog(box);
}
