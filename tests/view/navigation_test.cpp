#include "app/transport_state.h"
#include "view/mouse_selection.h"
#include "view/view_navigation.h"

#include "support/document_test.h"

// Ten seconds of 44.1 kHz stereo 16-bit: 882000 units, ten levels on a 1920
// screen (fMaxZoom 512), shown in a 1000 x 400 client area.
class NavigationTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        f = openTone(2, 16, 44100, 441000);
        ASSERT_TRUE(f);
        ASSERT_EQ(f->nMaxZoomLevel, 10);
        ASSERT_EQ(f->fMaxZoom, 512.0f);
    }
    void TearDown() override
    {
        transport_state() = TransportState{};
        f.reset();
        DocumentTest::TearDown();
    }
    void atLevel(int level)
    {
        f->nZoomLevel = level;
        f->fZoom = std::ldexp(1.0f, level - 1);
        f->nFirstSample = 0;
        compute_scroll_range(*f);
    }
    void drag(int x1, int x2, int y = 200)
    {
        left_button_down(*f, x1, y, false);
        mouse_moved(*f, x2, y, true, false);
        left_button_up(*f, x2, y);
    }
    std::unique_ptr<CChildFrame> f;
};

TEST_F(NavigationTest, TheOperationRangeCoversTheHighlightInWholeFrames)
{
    compute_operation_range(*f);
    EXPECT_EQ(f->nSelStart, 0u);
    EXPECT_EQ(f->nSelEnd, 882000u);
    EXPECT_EQ(f->nSelEndByte, 882000u * 2);

    atLevel(10);  // one pixel is one frame: two units
    f->bHighlight = 1;
    f->fSelStartPixel = 101;
    f->fSelEndPixel = 303;
    compute_operation_range(*f);
    EXPECT_EQ(f->nSelStart, 200u);  // 202 masked to a multiple of 4
    EXPECT_EQ(f->nSelEnd, 604u);    // 606 masked
    EXPECT_EQ(f->nSelStartByte, 404u);  // bytes come from the unmasked positions
    EXPECT_EQ(f->nSelEndByte, 1212u);

    f->fSelEndPixel = f->fSelStartPixel;  // zero width: eight units
    compute_operation_range(*f);
    EXPECT_EQ(f->nSelEnd - f->nSelStart, 8u);

    atLevel(1);
    f->bHighlight = 1;
    f->fSelStartPixel = 0;
    f->fSelEndPixel = 999;  // past the end of the data: the whole file
    compute_operation_range(*f);
    EXPECT_EQ(f->nSelStart, 0u);
    EXPECT_EQ(f->nSelEnd, 882000u - 8u);
}

TEST_F(NavigationTest, ClicksChooseChannelsByZoneAndDragsMakeTheHighlight)
{
    atLevel(10);
    // The waveform area runs from y 46 to 375: quarter lines at 128 and 293.
    drag(100, 300, 60);
    EXPECT_EQ(f->bHighlight, 1);
    EXPECT_EQ(f->bLeftChannel, 1);
    EXPECT_EQ(f->bRightChannel, 0);
    EXPECT_EQ(f->nSelStart, 200u);
    EXPECT_EQ(f->nSelEnd, 600u);
    EXPECT_EQ(f->nCaretX, 100);
    drag(400, 600, 350);
    EXPECT_EQ(f->bLeftChannel, 0);
    EXPECT_EQ(f->bRightChannel, 1);
    drag(320, 100, 200);  // dragged leftwards: the anchor stays at 320
    EXPECT_EQ(f->bLeftChannel + f->bRightChannel, 2);
    EXPECT_EQ(f->fSelStartPixel, 100.0f);
    EXPECT_EQ(f->fSelEndPixel, 320.0f);

    // Shift moves the nearer edge; on a tie the end edge.
    left_button_down(*f, 250, 200, true);
    left_button_up(*f, 250, 200);
    EXPECT_EQ(f->fSelEndPixel, 250.0f);
    left_button_down(*f, 50, 200, true);
    left_button_up(*f, 50, 200);
    EXPECT_EQ(f->fSelStartPixel, 50.0f);
    EXPECT_EQ(f->fSelEndPixel, 250.0f);
    left_button_down(*f, 150, 200, true);
    EXPECT_EQ(f->fSelStartPixel, 50.0f);
    EXPECT_EQ(f->fSelEndPixel, 150.0f);
    left_button_up(*f, 150, 200);

    // A click inside the highlight only makes a drag pending.
    left_button_down(*f, 100, 200, false);
    EXPECT_TRUE(f->mouse.highlightDragPending);
    mouse_moved(*f, 104, 203, true, false);
    EXPECT_FALSE(f->mouse.highlightDragging);
    mouse_moved(*f, 106, 203, true, false);
    EXPECT_TRUE(f->mouse.highlightDragging);
    left_button_up(*f, 106, 203);
    EXPECT_EQ(f->fSelStartPixel, 50.0f);
    EXPECT_EQ(f->fSelEndPixel, 150.0f);

    // A plain click outside it removes the highlight and leaves the caret.
    left_button_down(*f, 400, 200, false);
    left_button_up(*f, 400, 200);
    EXPECT_EQ(f->bHighlight, 0);
    EXPECT_EQ(f->nCaretX, 400);
    EXPECT_EQ(f->nSelEnd, 882000u);
}

TEST_F(NavigationTest, NoClicksWhilePlayingOrOnAnEmptyDocument)
{
    transport_state().playing = true;
    EXPECT_FALSE(left_button_down(*f, 100, 200, false));
    EXPECT_EQ(right_button_down(*f, 100, 200), RightButtonAction::Stop);
    transport_state().playing = false;
    EXPECT_EQ(right_button_down(*f, 100, 200), RightButtonAction::Play);
    EXPECT_EQ(right_button_down(*f, 100, 30), RightButtonAction::None);
    f->nTotalSamples = 8;
    EXPECT_FALSE(left_button_down(*f, 100, 200, false));
}

TEST_F(NavigationTest, CursorsFollowTheZones)
{
    EXPECT_EQ(cursor_at(*f, 10, 5), ViewCursor::Strip);
    EXPECT_EQ(cursor_at(*f, 10, 30), ViewCursor::Arrow);
    EXPECT_EQ(cursor_at(*f, 10, 60), ViewCursor::LeftChannel);
    EXPECT_EQ(cursor_at(*f, 10, 200), ViewCursor::LeftRight);
    EXPECT_EQ(cursor_at(*f, 10, 360), ViewCursor::RightChannel);
    EXPECT_EQ(cursor_at(*f, 10, 390), ViewCursor::Arrow);
}

TEST_F(NavigationTest, AStripDragZoomsToTheRegion)
{
    atLevel(1);
    left_button_down(*f, 100, 5, false);
    EXPECT_TRUE(f->mouse.stripDrag);
    mouse_moved(*f, 500, 5, true, false);
    EXPECT_EQ(f->nSelStart, 88200u);   // 100 / 1000 of the document
    EXPECT_EQ(f->nSelEnd, 441000u);
    left_button_up(*f, 500, 5);
    EXPECT_FALSE(f->mouse.stripDrag);
    EXPECT_EQ(f->bHighlight, 1);
    // 352800 units fill half of 1000 pixels from fZoom 2: 2 / 1024 x 352800 = 689.
    EXPECT_EQ(f->fZoom, 2.0f);
    EXPECT_EQ(f->nZoomLevel, 2);
    EXPECT_EQ(f->nFirstSample, 88200u);
    EXPECT_EQ(f->nCaretX, static_cast<int>(f->sample_to_pixel(88200)));
}

TEST_F(NavigationTest, ZoomCommandsStopAtTheEnds)
{
    atLevel(10);
    EXPECT_FALSE(zoom_in(*f));
    EXPECT_TRUE(zoom_out(*f));
    EXPECT_EQ(f->nZoomLevel, 9);
    EXPECT_EQ(f->fZoom, 256.0f);
    EXPECT_TRUE(f->layout.redrawAll);
    EXPECT_TRUE(zoom_minimum(*f));
    EXPECT_EQ(f->nZoomLevel, 1);
    EXPECT_EQ(f->fZoom, 1.0f);
    EXPECT_FALSE(zoom_out(*f));
    EXPECT_TRUE(zoom_maximum(*f));
    EXPECT_EQ(f->nZoomLevel, 10);
    EXPECT_EQ(f->fZoom, 512.0f);
}

TEST_F(NavigationTest, MinimumZoomAndFitToWindowShowTheFileFromItsStart)
{
    atLevel(8);
    go_to_end(*f);
    ASSERT_GT(f->nFirstSample, 0u);
    EXPECT_TRUE(zoom_minimum(*f));
    EXPECT_EQ(f->nZoomLevel, 1);
    EXPECT_EQ(f->nFirstSample, 0u);

    // The file is 441000 frames; at level L a pixel is 512 / 2^(L-1) frames.
    auto widthAt = [](int level) { return 441000.0 * std::ldexp(1.0, level - 1) / 512.0; };
    for (const int client : {500, 1000, 1800, 3500, 20000}) {
        SCOPED_TRACE(client);
        atLevel(9);
        go_to_end(*f);
        f->layout.clientWidth = client;
        EXPECT_TRUE(zoom_to_fit(*f));
        EXPECT_EQ(f->nFirstSample, 0u);
        EXPECT_EQ(f->fZoom, std::ldexp(1.0f, f->nZoomLevel - 1));
        if (f->nZoomLevel > 1) {
            EXPECT_LE(widthAt(f->nZoomLevel), client);
        }
        if (f->nZoomLevel < f->nMaxZoomLevel) {
            EXPECT_GT(widthAt(f->nZoomLevel + 1), client);
        }
    }
    f->layout.clientWidth = 1800;
    zoom_to_fit(*f);
    EXPECT_EQ(f->nZoomLevel, 2);  // 1723 pixels of data in 1800
    EXPECT_EQ(f->nScrollPos, 0);
}

TEST_F(NavigationTest, ZoomingAtThePointerKeepsThePositionUnderIt)
{
    atLevel(5);  // 64 units a pixel (two channels, 512 / 16 frames)
    f->nFirstSample = 100000;
    compute_scroll_range(*f);
    const std::uint32_t under = f->pixel_to_sample(300.0f);
    ASSERT_EQ(under, 100000u + 300u * 64u);
    EXPECT_TRUE(zoom_at(*f, 300, true));
    EXPECT_EQ(f->nZoomLevel, 6);
    EXPECT_NEAR(static_cast<double>(f->pixel_to_sample(300.0f)), under, 4.0);
    EXPECT_TRUE(zoom_at(*f, 300, false));
    EXPECT_TRUE(zoom_at(*f, 300, false));
    EXPECT_EQ(f->nZoomLevel, 4);
    EXPECT_NEAR(static_cast<double>(f->pixel_to_sample(300.0f)), under, 4.0);
    // Near the start the view cannot go before the first sample.
    atLevel(8);
    f->nFirstSample = 800;
    compute_scroll_range(*f);
    EXPECT_TRUE(zoom_at(*f, 900, false));
    EXPECT_EQ(f->nFirstSample, 0u);
    // At the coarsest level there is nothing to zoom out to.
    atLevel(1);
    EXPECT_FALSE(zoom_at(*f, 10, false));
}

TEST_F(NavigationTest, ScrollingFollowsTheRangeArithmetic)
{
    atLevel(10);
    // A tenth of 1000 pixels is 200 units; nine tenths 1800.
    EXPECT_EQ(f->nScrollMax, (882000 - 1800) / 200);
    EXPECT_EQ(f->fScrollScale, 1.0f);
    EXPECT_TRUE(scroll(*f, ScrollRequest::PageLeft));
    EXPECT_EQ(f->nScrollPos, 0);
    scroll(*f, ScrollRequest::LineRight);
    EXPECT_EQ(f->nScrollPos, 1);
    EXPECT_EQ(f->nFirstSample, 200u);
    EXPECT_EQ(f->mouse.lineScrollDirection, 1);
    scroll(*f, ScrollRequest::PageRight);
    EXPECT_EQ(f->nScrollPos, 1 + 4401 / 5);
    scroll(*f, ScrollRequest::ToEnd);
    EXPECT_EQ(f->nScrollPos, 4401);
    EXPECT_EQ(f->nFirstSample, 880200u);
    scroll(*f, ScrollRequest::Thumb, 10);
    EXPECT_EQ(f->nFirstSample, 2000u);
    scroll(*f, ScrollRequest::ToStart);
    EXPECT_EQ(f->nFirstSample, 0u);

    // At level 7 the range is 542 tenths: stretched to 1000.
    atLevel(7);
    EXPECT_EQ(f->nScrollMax, 1000);
    EXPECT_FLOAT_EQ(f->fScrollScale, 1000.0f / 542.0f);
    scroll(*f, ScrollRequest::LineRight);
    EXPECT_EQ(f->nScrollPos, 1);
    EXPECT_EQ(f->nFirstSample, 864u);  // 1 x 1600 / 1.845 = 867, to a multiple of 4
    EXPECT_EQ(scroll_bar_maximum(*f), 1000);

    f->nTotalSamples = 15;
    EXPECT_FALSE(scroll(*f, ScrollRequest::LineRight));
}

TEST_F(NavigationTest, NavigationAndSelectAll)
{
    atLevel(10);
    go_to_end(*f);
    EXPECT_EQ(f->nScrollPos, f->nScrollMax);
    EXPECT_EQ(f->nFirstSample, 880200u);
    go_to_beginning(*f);
    EXPECT_EQ(f->nFirstSample, 0u);

    EXPECT_FALSE(go_to_highlight(*f));
    select_all(*f);
    EXPECT_EQ(f->bHighlight, 1);
    EXPECT_EQ(f->nSelStart, 0u);
    EXPECT_EQ(f->nSelEnd, 882000u);
    EXPECT_EQ(f->nCaretX, 0);
    set_selection_units(*f, 400000, 500000);
    EXPECT_TRUE(go_to_highlight(*f));
    EXPECT_EQ(f->nFirstSample, 400000u - 200u);  // a tenth of the window before it
    EXPECT_EQ(f->nScrollPos, 1999);
}

TEST_F(NavigationTest, NudgesMoveOneEdgeByFiftyOrFiveMilliseconds)
{
    atLevel(10);
    drag(100, 300);
    ASSERT_EQ(f->nSelStart, 200u);
    ASSERT_EQ(f->nSelEnd, 600u);
    EXPECT_TRUE(nudge(*f, 11905));  // end 5 ms later: 220 frames, 440 units
    EXPECT_EQ(f->nSelEnd, 1040u);
    EXPECT_EQ(f->nCaretX, 520);
    EXPECT_TRUE(nudge(*f, 11900));  // Review: start 50 ms earlier, not below 0
    EXPECT_EQ(f->nSelStart, 0u);
    EXPECT_TRUE(nudge(*f, 11901));  // Cue: end 50 ms later: 4410 units
    EXPECT_EQ(f->nSelEnd, 5448u);   // pixel 2725 back to units, masked

    // When the new pixel is the last one nudged to, the edge moves one more.
    atLevel(1);
    f->bHighlight = 1;
    set_selection_units(*f, 100000, 200000);
    const int same = static_cast<int>(f->level_index_to_pixel(200000 + 440));
    f->nLastNudgeX = same;
    nudge(*f, 11905);
    EXPECT_EQ(f->nCaretX, same + 1);

    f->bHighlight = 0;
    EXPECT_FALSE(nudge(*f, 11903));
}

TEST_F(DocumentTest, LongDocumentsGetCoarserScrollBarSteps)
{
    // 8 kHz mono 8-bit for 1000 s: 8000000 units, fMaxZoom 8192.
    auto f = openTone(1, 8, 8000, 8000000);
    ASSERT_TRUE(f);
    f->nZoomLevel = f->nMaxZoomLevel;
    f->fZoom = f->fMaxZoom;
    compute_scroll_range(*f);
    // (8000000 - 900) / 100 = 79991 tenths of the window; the bar counts
    // them four at a time to stay within 32767 positions.
    EXPECT_EQ(f->nScrollMax, 79991);
    EXPECT_EQ(f->nScrollStep, 4);
    EXPECT_EQ(scroll_bar_maximum(*f), 19998);
    scroll(*f, ScrollRequest::Thumb, 19996);
    EXPECT_EQ(f->nScrollPos, 79984);
    EXPECT_EQ(f->nFirstSample, 7998400u);
    scroll(*f, ScrollRequest::Thumb, 19998);  // the bar's far right is the end
    EXPECT_EQ(f->nScrollPos, 79991);
    EXPECT_EQ(f->nFirstSample, 7999100u);  // the last 900 units and a tenth of bricks
}

// A two-hour 44.1 kHz stereo document, laid out as opening it would: every
// level, the Go to end command and the scroll bar's far right show the last
// sample, and the scroll bar never needs more than 32767 positions.
TEST(LongDocumentNavigation, TheEndIsReachableAtEveryLevelOfATwoHourFile)
{
    for (const int channels : {2, 1}) {
        CChildFrame f;
        f.wfx.nChannels = static_cast<std::uint16_t>(channels);
        f.wfx.nSamplesPerSec = 44100;
        f.wfx.wBitsPerSample = 16;
        f.nTotalSamples = 7200u * 44100u * static_cast<std::uint32_t>(channels);
        compute_display_levels(f, 1920);
        ASSERT_GE(f.nMaxZoomLevel, 18);
        for (int l = 1; l < f.nMaxZoomLevel; ++l)
            f.nLevelLength[l] = f.nTotalSamples;
        f.nLevelLength[1] = f.nTotalSamples / 128;  // the overview: 2 values per 256 frames and channel
        f.layout.clientWidth = 1000;
        f.layout.clientHeight = 400;

        for (int level = 1; level <= f.nMaxZoomLevel; ++level) {
            SCOPED_TRACE(testing::Message() << channels << " channels, level " << level);
            f.nZoomLevel = level;
            f.fZoom = std::ldexp(1.0f, level - 1);
            f.nFirstSample = 0;
            compute_scroll_range(f);
            // Units across the window at this level: one frame a pixel at the finest.
            const double span = 1000.0 * channels * std::ldexp(1.0, f.nMaxZoomLevel - level);
            const double total = f.nTotalSamples;
            auto showsTheEnd = [&] {
                EXPECT_LE(f.nFirstSample, total - 1) << "the window shows only bricks";
                EXPECT_GE(f.nFirstSample + span, total) << "the end is right of the window";
            };
            EXPECT_LE(scroll_bar_maximum(f), 32767);

            go_to_end(f);
            showsTheEnd();
            go_to_beginning(f);
            EXPECT_EQ(f.nFirstSample, 0u);

            scroll(f, ScrollRequest::Thumb, scroll_bar_maximum(f));
            showsTheEnd();
            EXPECT_EQ(scroll_bar_position(f), scroll_bar_maximum(f));

            // Line by line from the far right back: each step moves less than a window.
            const std::uint32_t before = f.nFirstSample;
            scroll(f, ScrollRequest::LineLeft);
            if (span < total) {
                EXPECT_LT(f.nFirstSample, before);
                EXPECT_LE(before - f.nFirstSample, span);
            }
            // A second before the end is inside the window after Go to end.
            go_to_end(f);
            const double second = total - 44100.0 * channels;
            if (span >= 44100.0 * channels) {
                EXPECT_LE(f.nFirstSample, second);
            }
        }
    }
}
