#include "app/app_paths.h"
#include "edit/timemarks.h"
#include "view/view_navigation.h"
#include "view/waveform_renderer.h"

#include "support/document_test.h"
#include "support/qt_application.h"



class RendererTest : public DocumentTest {
protected:
    void SetUp() override
    {
        test_application();  // fonts for the ruler
        DocumentTest::SetUp();
    }
    QImage paint(CChildFrame& f, WaveformRenderer& r, int timeFormat = 1)
    {
        QImage client;
        r.paint(f, client, timeFormat);
        return client;
    }
    static QRgb at(const QImage& image, int x, int y) { return image.pixel(x, y) & 0xFFFFFF; }
};

TEST_F(RendererTest, BandsGridCentreLinesAndTheBrickPastTheEnd)
{
    auto f = openTone(2, 16, 44100, 441000);  // fMaxZoom 512; at level 1 the data ends at pixel 861
    ASSERT_TRUE(f);
    WaveformRenderer r(1920);
    const QImage image = paint(*f, r);
    ASSERT_EQ(image.size(), QSize(1000, 400));
    const int waveTop = 46;
    const int height = WaveformRenderer::drawingHeight(*f, 400);  // 331
    const int half = height / 2;

    const int end = static_cast<int>(f->sample_to_pixel(f->nTotalSamples));
    ASSERT_EQ(end, 861);
    const QRgb brick = qRgb(160, 64, 48) & 0xFFFFFF;
    const QRgb mortar = qRgb(208, 200, 184) & 0xFFFFFF;
    for (int y = waveTop + 10; y < waveTop + 40; ++y) {
        EXPECT_TRUE(at(image, end, y) == brick || at(image, end, y) == mortar) << y;
        EXPECT_TRUE(at(image, 990, y) == brick || at(image, 990, y) == mortar) << y;
    }
    // Left of the end: the cyan background, no brick.
    EXPECT_EQ(at(image, end - 1, waveTop + 5), qRgb(0, 255, 255) & 0xFFFFFF);

    // Each channel band starts with two dark grey rows; the second band at the middle.
    EXPECT_EQ(at(image, 10, waveTop), qRgb(64, 64, 64) & 0xFFFFFF);
    EXPECT_EQ(at(image, 10, waveTop + 1), qRgb(64, 64, 64) & 0xFFFFFF);
    EXPECT_EQ(at(image, 10, waveTop + half), qRgb(64, 64, 64) & 0xFFFFFF);
    EXPECT_EQ(at(image, 10, waveTop + half + 1), qRgb(64, 64, 64) & 0xFFFFFF);

    // Background above the trace; the quarter grid line of the quieter right band.
    EXPECT_EQ(at(image, 800, waveTop + 20), qRgb(0, 255, 255) & 0xFFFFFF);
    const int rightBand = height - half;
    EXPECT_EQ(at(image, 800, waveTop + half + rightBand / 4), qRgb(255, 0, 255) & 0xFFFFFF);
    // Full-scale lines in the crest colour just inside each band (the upper
    // one lies under the band's dark top rows at this height).
    const double fullScale = 32767 * 0.5 * (height - 10) / 65536.0;
    EXPECT_EQ(at(image, 800, waveTop + static_cast<int>(half / 2 + fullScale)), qRgb(255, 255, 0) & 0xFFFFFF);
    // The centre line of each band: grey dots with gaps in the data colour.
    const int centres[2] = {waveTop + half / 2, waveTop + half + rightBand / 2};
    for (int band = 0; band < 2; ++band) {
        EXPECT_EQ(at(image, 500, centres[band]), qRgb(128, 128, 128) & 0xFFFFFF) << band;
        EXPECT_EQ(at(image, 501, centres[band]), qRgb(0, 0, 128) & 0xFFFFFF) << band;
    }
    // The ruler background; the black line near the bottom of the bitmap lies
    // under the window's control row.
    EXPECT_EQ(at(image, 3, 20), qRgb(192, 192, 192) & 0xFFFFFF);
    EXPECT_EQ(r.waveformImage().pixel(3, height - 2) & 0xFFFFFF, 0u);
}

TEST_F(RendererTest, AtEveryLevelTheEndOfTheDataIsInViewAndTheBricksStartRightAfterIt)
{
    // Two minutes of 44.1 kHz mono: 5292000 units, 13 levels, too many tenths
    // of a window at the finest levels for a 32767-position scroll bar.
    auto f = openTone(1, 16, 44100, 120 * 44100, 1000, 400);
    ASSERT_TRUE(f);
    ASSERT_EQ(f->nMaxZoomLevel, 13);
    WaveformRenderer r(1920);
    const QRgb trace = qRgb(0, 0, 128) & 0xFFFFFF;
    const QRgb brick = qRgb(160, 64, 48) & 0xFFFFFF;
    for (int level = 1; level <= f->nMaxZoomLevel; ++level) {
        SCOPED_TRACE(level);
        f->nZoomLevel = level;
        f->fZoom = std::ldexp(1.0f, level - 1);
        f->nFirstSample = 0;
        compute_scroll_range(*f);
        go_to_end(*f);
        f->layout.redrawAll = true;
        const QImage image = paint(*f, r);
        int lastTrace = -1;
        int firstBrick = -1;
        for (int x = 0; x < image.width(); ++x) {
            bool traced = false;
            bool bricked = false;
            for (int y = 46 + 3; y < 46 + 300; ++y) {
                traced = traced || at(image, x, y) == trace;
                bricked = bricked || at(image, x, y) == brick;
            }
            if (traced)
                lastTrace = x;
            if (bricked && firstBrick < 0)
                firstBrick = x;
        }
        ASSERT_GE(firstBrick, 0) << "the end of the data is not in view";
        EXPECT_EQ(lastTrace + 1, firstBrick);
        EXPECT_GE(firstBrick, 500) << "Go to end shows mostly bricks";
    }
}

TEST_F(RendererTest, TheTraceReachesTheLevelOfTheSignalInEachChannel)
{
    auto f = openTone(2, 16, 44100, 441000);
    ASSERT_TRUE(f);
    f->nZoomLevel = 10;
    f->fZoom = 512;
    compute_scroll_range(*f);
    WaveformRenderer r(1920);
    const QImage image = paint(*f, r);
    const int waveTop = 46;
    const int height = WaveformRenderer::drawingHeight(*f, 400);
    const double scale = 0.5 * (height - 10) / 65536.0;
    // Left at 20000, right at 10000: the data colour reaches centre -/+ level x scale.
    auto extent = [&](int band) {
        const int half = height / 2;
        const int centre = waveTop + band * half + (band == 0 ? half : height - half) / 2;
        int top = centre;
        for (int x = 1; x < 1000; ++x)
            for (int y = centre - 60; y < centre; ++y)
                if (at(image, x, y) == (qRgb(0, 0, 128) & 0xFFFFFF))
                    top = std::min(top, y);
        return centre - top;
    };
    EXPECT_NEAR(extent(0), 20000 * scale, 1.5);
    EXPECT_NEAR(extent(1), 10000 * scale, 1.5);
}

TEST_F(RendererTest, NeverReadsMoreThan256ValuesAColumn)
{
    auto f = openTone(2, 16, 44100, 1500000);  // 3 000 000 units: 12 levels
    ASSERT_TRUE(f);
    WaveformRenderer r(1920);
    for (int level = 1; level <= f->nMaxZoomLevel; ++level) {
        f->nZoomLevel = level;
        f->fZoom = std::ldexp(1.0f, level - 1);
        f->nFirstSample = 0;
        compute_scroll_range(*f);
        f->layout.redrawAll = true;
        paint(*f, r);
        EXPECT_LE(r.maxValuesPerColumn(), 256) << level;
        EXPECT_GT(r.columnsDrawn(), 0) << level;
    }
}

TEST_F(RendererTest, TheCoarseOverviewDrawsWhatTheOverviewDraws)
{
    // On a 200-pixel screen 3000000 frames of stereo need fMaxZoom 32768: a
    // column of level 1 spans 32768 frames, more than a coarse group.
    set_screen_width_pixels(200);
    auto f = openTone(2, 16, 44100, 3000000, 200, 300);
    ASSERT_TRUE(f);
    ASSERT_EQ(f->fMaxZoom, 32768.0f);

    // Each coarse entry pair is the minimum and maximum of 64 overview blocks.
    const std::size_t groups = f->nLevelLength[1] / 4 / 64;
    ASSERT_EQ(f->coarseOverview.size(), groups * 4);
    for (std::size_t g = 0; g < groups; g += 7) {
        for (int ch = 0; ch < 2; ++ch) {
            int lo = 32767, hi = -32767;
            for (std::size_t b = g * 64; b < (g + 1) * 64; ++b) {
                lo = std::min<int>(lo, f->level16(1)[b * 4 + static_cast<std::size_t>(ch)]);
                hi = std::max<int>(hi, f->level16(1)[b * 4 + 2 + static_cast<std::size_t>(ch)]);
            }
            EXPECT_EQ(f->coarseOverview[g * 4 + static_cast<std::size_t>(ch)], lo);
            EXPECT_EQ(f->coarseOverview[g * 4 + 2 + static_cast<std::size_t>(ch)], hi);
        }
    }

    WaveformRenderer coarse(200);
    const QImage withCoarse = paint(*f, coarse);
    EXPECT_LE(coarse.maxValuesPerColumn(), 8);
    const std::vector<std::int16_t> kept = f->coarseOverview;
    f->coarseOverview.clear();
    f->layout.redrawAll = true;
    WaveformRenderer plain(200);
    const QImage withOverview = paint(*f, plain);
    EXPECT_EQ(plain.maxValuesPerColumn(), 512);
    EXPECT_TRUE(withCoarse == withOverview);
}

TEST_F(RendererTest, ShortDocumentsDrawOneUnitAColumnAndResetTheZoom)
{
    auto f = openTone(1, 8, 8000, 1500);  // 1500 units: below the 1920 screen
    ASSERT_TRUE(f);
    f->fZoom = 4.0f;
    WaveformRenderer r(1920);
    paint(*f, r);
    EXPECT_EQ(f->fZoom, 1.0f);
    EXPECT_EQ(r.maxValuesPerColumn(), 1);
}

TEST_F(RendererTest, APaintWithoutRedrawFlagsOnlyAddsColumnsRightOfTheLastOne)
{
    auto f = openTone(2, 16, 44100, 441000);
    ASSERT_TRUE(f);
    WaveformRenderer r(1920);
    const QImage first = paint(*f, r);
    EXPECT_GT(r.columnsDrawn(), 800);
    const QImage second = paint(*f, r);  // nothing changed, no flag set
    EXPECT_EQ(r.columnsDrawn(), 0);
    EXPECT_TRUE(first == second);
    f->layout.redrawAll = true;
    paint(*f, r);
    EXPECT_GT(r.columnsDrawn(), 800);
}

TEST_F(RendererTest, TheHighlightIsInvertedOverItsChannel)
{
    auto f = openTone(2, 16, 44100, 441000);
    ASSERT_TRUE(f);
    WaveformRenderer r(1920);
    const QImage plain = paint(*f, r);
    f->bHighlight = 1;
    f->bLeftChannel = 1;
    f->bRightChannel = 0;
    f->fSelStartPixel = 100;
    f->fSelEndPixel = 200;
    f->nCaretX = -1;
    const QImage lit = paint(*f, r);
    EXPECT_EQ(at(lit, 150, 60), ~at(plain, 150, 60) & 0xFFFFFF);  // left band inverted
    EXPECT_EQ(at(lit, 150, 300), at(plain, 150, 300));            // right band untouched
    EXPECT_EQ(at(lit, 250, 60), at(plain, 250, 60));              // outside the highlight
    // The caret goes to the highlight's start.
    EXPECT_EQ(f->nCaretX, static_cast<int>(f->level_index_to_pixel(f->nSelStart)));

    // Without colour display the trace is black on white.
    preferences().colorDisplay = false;
    r.setColours(DisplayColours::fromPreferences(preferences()));
    f->bHighlight = 0;
    f->layout.redrawAll = true;
    const QImage grey = paint(*f, r);
    EXPECT_EQ(at(grey, 800, 46 + 20), qRgb(255, 255, 255) & 0xFFFFFF);
}

TEST_F(RendererTest, TheIconOfAMarkAtColumnHundredCoversNinetySixToHundredAndFour)
{
    auto f = openTone(2, 16, 44100, 441000, 600, 300);
    ASSERT_TRUE(f);
    f->nCaretX = 100;
    ASSERT_EQ(add_timemark(*f), 1);
    WaveformRenderer r(600);
    DisplayColours colours;
    colours.data = Qt::darkBlue;
    colours.background = Qt::cyan;
    colours.grid = Qt::magenta;
    colours.wavecrest = Qt::yellow;
    colours.marker = QColor(255, 0, 0);
    colours.markerText = QColor(255, 255, 255);
    r.setColours(colours);
    const QImage image = paint(*f, r);
    const int top = timemark_baseline(*f) - 13;
    // The pin's body spans the nine columns from x - 4 (its edge drawn in
    // the text colour), nothing beside it, nothing above its top row.
    for (int x = 96; x <= 104; ++x)
        EXPECT_TRUE(at(image, x, top + 3) == 0xFF0000 || at(image, x, top + 3) == 0xFFFFFF) << x;
    EXPECT_EQ(at(image, 100, top + 4), 0xFF0000u);
    EXPECT_NE(at(image, 95, top + 4), 0xFF0000u);
    EXPECT_NE(at(image, 105, top + 4), 0xFF0000u);
    EXPECT_NE(at(image, 100, top - 2), 0xFF0000u);
    EXPECT_NE(at(image, 100, top - 2), 0xFFFFFFu);
}
