#include "audio/playback_engine.h"
#include "view/child_frame_window.h"
#include "view/view_navigation.h"

#include "gui_test.h"

#include <QAction>
#include <cmath>
#include <cstdio>
#include <unistd.h>
#include <QScrollBar>
#include <QSignalSpy>
#include <QWheelEvent>
#include <QToolBar>

// A 10 s stereo tone (882000 units, ten levels) in a 1000 x 400 window.
class ChildFrameWindowTest : public GuiTest {
protected:
    void SetUp() override
    {
        GuiTest::SetUp();
        auto frame = openTone(2, 16, 44100, 441000);
        ASSERT_TRUE(frame);
        window = std::make_unique<ChildFrameWindow>(std::move(frame));
        window->resize(1000, 400);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }
    void TearDown() override
    {
        window.reset();
        GuiTest::TearDown();
    }
    CChildFrame& f() { return window->frame(); }
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        QTest::mousePress(window.get(), Qt::LeftButton, mods, from);
        QTest::mouseMove(window.get(), to);
        QTest::mouseRelease(window.get(), Qt::LeftButton, mods, to);
    }
    std::unique_ptr<ChildFrameWindow> window;
};

TEST_F(ChildFrameWindowTest, LaysOutThePlayBarStatusBoxAndScrollBar)
{
    EXPECT_EQ(window->scrollBar()->geometry(), QRect(160, 400 - 21, 1000 - 162, 16));
    QWidget* status = window->findChild<QWidget*>(QStringLiteral("1809"));
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(status->geometry(), QRect(118, 400 - 21, 40, 16));
    const QList<QAction*> buttons = window->playBar()->actions();
    ASSERT_EQ(buttons.size(), 7);  // four transport buttons, a separator, two zoom buttons
    EXPECT_TRUE(buttons[4]->isSeparator());
    EXPECT_EQ(buttons[5]->data().toInt(), 1898);
    EXPECT_EQ(buttons[6]->data().toInt(), 1899);
    EXPECT_EQ(buttons[6]->toolTip(), "Zoom Out (UnZoom)");
}

TEST_F(ChildFrameWindowTest, MouseDragsSelectByChannelZone)
{
    window->command(87);  // finest level: a pixel is a frame, two units
    ASSERT_EQ(f().nZoomLevel, 10);
    drag({100, 60}, {300, 60});  // upper quarter: left channel
    EXPECT_EQ(f().bHighlight, 1);
    EXPECT_EQ(f().bLeftChannel, 1);
    EXPECT_EQ(f().bRightChannel, 0);
    EXPECT_EQ(f().nSelStart, 200u);
    EXPECT_EQ(f().nSelEnd, 600u);

    drag({500, 200}, {700, 200});  // the middle: both channels
    EXPECT_EQ(f().bLeftChannel + f().bRightChannel, 2);
    EXPECT_EQ(f().nSelStart, 1000u);
    QTest::mouseClick(window.get(), Qt::LeftButton, Qt::ShiftModifier, QPoint(800, 200));
    EXPECT_EQ(f().nSelStart, 1000u);
    EXPECT_EQ(f().nSelEnd, 1600u);  // the nearer edge, the end, moved to 800
}

TEST_F(ChildFrameWindowTest, TheStripDragZoomsToTheRegion)
{
    drag({100, 5}, {500, 5});
    EXPECT_EQ(f().nSelStart, 88200u);
    EXPECT_EQ(f().nSelEnd, 441000u);
    EXPECT_EQ(f().nZoomLevel, 2);
    EXPECT_EQ(f().nFirstSample, 88200u);
    EXPECT_EQ(f().bHighlight, 1);
}

TEST_F(ChildFrameWindowTest, KeysAndTheScrollBarScroll)
{
    window->command(87);
    const int max = f().nScrollMax;
    QTest::keyClick(window.get(), Qt::Key_End);
    EXPECT_EQ(f().nScrollPos, max);
    EXPECT_EQ(window->scrollBar()->value(), scroll_bar_position(f()));
    QTest::keyClick(window.get(), Qt::Key_Home);
    EXPECT_EQ(f().nFirstSample, 0u);
    QTest::keyClick(window.get(), Qt::Key_Right);
    EXPECT_EQ(f().nFirstSample, 200u);
    QTest::keyClick(window.get(), Qt::Key_PageDown);
    EXPECT_EQ(f().nScrollPos, 1 + max / 5);
    QTest::keyClick(window.get(), Qt::Key_Up);  // does nothing
    EXPECT_EQ(f().nScrollPos, 1 + max / 5);

    window->scrollBar()->triggerAction(QAbstractSlider::SliderToMinimum);
    QCoreApplication::processEvents();
    EXPECT_EQ(f().nScrollPos, 0);
    EXPECT_EQ(window->scrollBar()->value(), 0);
}

TEST_F(ChildFrameWindowTest, ThePlayBarZoomsAndCommandsNavigate)
{
    QAction* zoomIn = window->playBar()->actions()[5];
    zoomIn->trigger();
    EXPECT_EQ(f().nZoomLevel, 2);
    EXPECT_EQ(f().fZoom, 2.0f);
    window->command(88);
    EXPECT_EQ(f().nZoomLevel, 1);
    window->command(1020);
    EXPECT_EQ(f().nSelEnd, 882000u);
    EXPECT_EQ(f().bHighlight, 1);
}

TEST_F(ChildFrameWindowTest, PaintsTheWaveformBandsAndTheBrick)
{
    window->repaint();
    const QImage shot = window->grab().toImage();
    ASSERT_EQ(shot.size(), QSize(1000, 400));
    const int end = static_cast<int>(f().sample_to_pixel(f().nTotalSamples));
    ASSERT_EQ(end, 861);
    const QRgb brick = qRgb(160, 64, 48);
    const QRgb mortar = qRgb(208, 200, 184);
    int brickColumns = 0;
    for (int x = end; x < 1000; ++x)
        brickColumns += shot.pixel(x, 60) == brick || shot.pixel(x, 60) == mortar || shot.pixel(x, 61) == brick;
    EXPECT_EQ(brickColumns, 1000 - end);
    EXPECT_NE(shot.pixel(end - 1, 60), brick);
    // The channel split: the second band's dark top rows at the middle of the area.
    const int height = WaveformRenderer::drawingHeight(f(), 400);
    EXPECT_EQ(shot.pixel(10, 46 + height / 2), qRgb(64, 64, 64));
    // The data colour shows where the tone is.
    int dataPixels = 0;
    for (int y = 46; y < 375; ++y)
        dataPixels += shot.pixel(400, y) == qRgb(0, 0, 128);
    EXPECT_GT(dataPixels, 50);
}

TEST_F(ChildFrameWindowTest, ClosingAModifiedDocumentAsks)
{
    f().bModified = 1;
    host.scriptAnswers({IDCANCEL});
    EXPECT_FALSE(window->close());
    EXPECT_EQ(host.shown().back().text, "OK to close tone.wav?");
    host.scriptAnswers({IDOK});
    EXPECT_TRUE(window->close());
}

// The wheel scrolls (plain, with Shift, and a touchpad's sideways swipe in
// pixels), Ctrl+wheel zooms, and Space plays and stops like p and o.
TEST_F(ChildFrameWindowTest, TheWheelScrollsAndZoomsAndSpacePlays)
{
    auto wheel = [&](QPoint angle, QPoint pixels = {}, Qt::KeyboardModifiers mods = Qt::NoModifier) {
        const QPointF at(500, 200);
        QWheelEvent event(at, window->mapToGlobal(at), pixels, angle, Qt::NoButton, mods, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(window.get(), &event);
    };
    window->command(87);
    QTest::keyClick(window.get(), Qt::Key_Home);
    ASSERT_EQ(f().nFirstSample, 0u);
    wheel({0, -120});  // a notch towards the user: later in the file, three lines
    const std::uint32_t notch = f().nFirstSample;
    EXPECT_GT(notch, 0u);
    QTest::keyClick(window.get(), Qt::Key_Home);
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(window.get(), Qt::Key_Right);
    EXPECT_EQ(f().nFirstSample, notch) << "a notch is three lines";
    wheel({0, 120});
    EXPECT_EQ(f().nFirstSample, 0u);
    wheel({-120, 0}, {}, Qt::ShiftModifier);  // sideways
    EXPECT_EQ(f().nFirstSample, notch);
    wheel({0, 120}, {}, Qt::ShiftModifier);
    EXPECT_EQ(f().nFirstSample, 0u);
    // A touchpad: 40 pixels a line, small swipes add up.
    wheel({0, -15}, {-20, 0});
    EXPECT_EQ(f().nFirstSample, 0u);
    wheel({0, -15}, {-20, 0});
    QTest::keyClick(window.get(), Qt::Key_Home);
    QTest::keyClick(window.get(), Qt::Key_Right);
    const std::uint32_t line = f().nFirstSample;
    QTest::keyClick(window.get(), Qt::Key_Home);
    wheel({0, -15}, {-40, 0});
    EXPECT_EQ(f().nFirstSample, line);

    // Ctrl+wheel away zooms in a level, towards the user out again, around
    // the pointer (at x 500): the position under it stays under it.
    window->command(88);
    window->command(1898);
    window->command(1898);
    window->command(1898);
    QTest::keyClick(window.get(), Qt::Key_PageDown);
    const int level = f().nZoomLevel;
    const double under = f().pixel_to_sample(500.0f);
    const double unitsPerPixel = 2.0 * f().fMaxZoom / f().fZoom;
    wheel({0, 120}, {}, Qt::ControlModifier);
    EXPECT_EQ(f().nZoomLevel, level + 1);
    EXPECT_NEAR(f().pixel_to_sample(500.0f), under, 4.0);
    EXPECT_NEAR(f().sample_to_pixel(static_cast<std::uint32_t>(under)), 500.0, 1.0);
    wheel({0, -120}, {}, Qt::ControlModifier);
    EXPECT_EQ(f().nZoomLevel, level);
    EXPECT_NEAR(f().pixel_to_sample(500.0f), under, unitsPerPixel);
    EXPECT_EQ(window->scrollBar()->value(), scroll_bar_position(f()));

    QSignalSpy commands(window.get(), &ChildFrameWindow::commandRequested);
    QTest::keyClick(window.get(), Qt::Key_Space);
    ASSERT_EQ(commands.size(), 1);
    EXPECT_EQ(commands.front().front().toInt(), 11401);
}

// A left click places the caret where Play starts, outside a highlight and
// inside one (only a drag takes a highlight out as data).
TEST_F(ChildFrameWindowTest, ALeftClickPlacesTheCaretWherePlayStarts)
{
    window->command(88);
    PlaybackEngine::instance().play_from_unit.reset();
    QTest::mouseClick(window.get(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 200));
    EXPECT_FALSE(f().bHighlight);
    EXPECT_EQ(f().nCaretX, 300);
    ASSERT_TRUE(PlaybackEngine::instance().play_from_unit.has_value());
    EXPECT_EQ(*PlaybackEngine::instance().play_from_unit, f().pixel_to_sample(300.0f));

    drag({200, 200}, {600, 200});
    ASSERT_TRUE(f().bHighlight);
    PlaybackEngine::instance().play_from_unit.reset();
    QTest::mouseClick(window.get(), Qt::LeftButton, Qt::NoModifier, QPoint(400, 200));
    EXPECT_FALSE(f().bHighlight) << "a click inside the highlight places the caret";
    EXPECT_EQ(f().nCaretX, 400);
    ASSERT_TRUE(PlaybackEngine::instance().play_from_unit.has_value());
    EXPECT_EQ(*PlaybackEngine::instance().play_from_unit, f().pixel_to_sample(400.0f));
    PlaybackEngine::instance().play_from_unit.reset();
}

// The play cursor stays visible over any background: red over the waveform,
// the opposite colour over the (reddish) highlight, never red on red.
TEST_F(ChildFrameWindowTest, ThePlayCursorIsVisibleOverTheHighlight)
{
    window->command(88);
    drag({200, 200}, {600, 200});
    ASSERT_TRUE(f().bHighlight);
    auto columnDiffers = [&](int x) {
        const QImage shot = window->grab().toImage();
        int differing = 0;
        for (int y = f().nInfoHeight + 5; y < shot.height() - 40; y += 5)
            differing += shot.pixelColor(x, y) != shot.pixelColor(x - 3, y);
        return differing;
    };
    const int inside = 400;
    window->setPlayCursor(f().pixel_to_sample(static_cast<float>(inside)));
    QCoreApplication::processEvents();
    const int cursorX = static_cast<int>(std::floor(f().sample_to_pixel(f().pixel_to_sample(static_cast<float>(inside)))));
    EXPECT_GT(columnDiffers(cursorX), 20) << "the cursor vanishes over the highlight";
    const QImage shot = window->grab().toImage();
    const QColor highlight = shot.pixelColor(cursorX - 3, 200);
    EXPECT_NE(shot.pixelColor(cursorX, 200), highlight);
    // Outside the highlight it is the red line.
    const int outside = 800;
    window->setPlayCursor(f().pixel_to_sample(static_cast<float>(outside)));
    QCoreApplication::processEvents();
    const int outsideX = static_cast<int>(std::floor(f().sample_to_pixel(f().pixel_to_sample(static_cast<float>(outside)))));
    EXPECT_EQ(window->grab().toImage().pixelColor(outsideX, 200), QColor(Qt::red));
    window->setPlayCursor(-1);
}

// A fresh window shows the whole file across its width and keeps doing so as
// it is resized, until the user zooms; View > Fit to window brings it back.
TEST_F(ChildFrameWindowTest, AWindowOpensFittedAndFitToWindowRefits)
{
    // 441000 frames: 861 pixels at level 1, 1723 at level 2, 3445 at level 3.
    EXPECT_EQ(f().nZoomLevel, 1);
    window->resize(1800, 400);
    EXPECT_EQ(f().nZoomLevel, 2);
    window->resize(3500, 400);
    EXPECT_EQ(f().nZoomLevel, 3);
    window->resize(1000, 400);
    EXPECT_EQ(f().nZoomLevel, 1);
    window->command(1898);
    window->resize(1800, 400);
    EXPECT_EQ(f().nZoomLevel, 2) << "zoomed by hand";
    window->resize(3500, 400);
    EXPECT_EQ(f().nZoomLevel, 2) << "a zoom by hand stays";
    window->command(87);
    QTest::keyClick(window.get(), Qt::Key_End);
    window->command(kCommandFitToWindow);
    EXPECT_EQ(f().nZoomLevel, 3);
    EXPECT_EQ(f().nFirstSample, 0u);
    window->repaint();
    // The data runs to within the last tenth of the window; bricks after it.
    const int end = static_cast<int>(f().sample_to_pixel(f().nTotalSamples));
    EXPECT_GT(end, 3500 / 2);
    EXPECT_LE(end, 3500);

    // Opened fresh in a wide window, a document fills it.
    auto frame = openTone(1, 16, 44100, 441000);
    ASSERT_TRUE(frame);
    ChildFrameWindow wide(std::move(frame));
    wide.resize(1800, 300);
    wide.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&wide));
    // Mono: 441000 frames at 512 frames a pixel at level 1, 1723 pixels at level 2.
    EXPECT_EQ(wide.frame().fMaxZoom, 512.0f);
    EXPECT_EQ(wide.frame().nZoomLevel, 2);
}

// A two-hour document: at every level, Go to end, the End key and the scroll
// bar's far right show its last sample.
TEST_F(GuiTest, TheEndOfATwoHourDocumentIsReachableAtEveryLevel)
{
    // 8 kHz mono 8-bit: 57600000 frames of silence, written sparse.
    const std::uint32_t frames = 7200u * 8000u;
    WavBuilder::Bytes header = WavBuilder::pcm(1, 8000, 8, {});
    writeFile(path("long.wav"), header);
    {
        const std::string name = path("long.wav");
        FILE* file = std::fopen(name.c_str(), "r+b");
        ASSERT_NE(file, nullptr);
        const auto put32 = [&](long at, std::uint32_t v) {
            std::fseek(file, at, SEEK_SET);
            for (int i = 0; i < 4; ++i)
                std::fputc(static_cast<int>((v >> (8 * i)) & 0xFF), file);
        };
        put32(4, static_cast<std::uint32_t>(header.size()) - 8 + frames);
        put32(static_cast<long>(header.size()) - 4, frames);
        std::fclose(file);
        ASSERT_EQ(truncate(name.c_str(), static_cast<off_t>(header.size() + frames)), 0);
    }
    auto frame = open_document_file(path("long.wav"));
    ASSERT_TRUE(frame);
    ASSERT_EQ(frame->nTotalSamples, frames);
    ChildFrameWindow window(std::move(frame));
    window.resize(1000, 300);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    CChildFrame& f = window.frame();
    ASSERT_GE(f.nMaxZoomLevel, 17);
    auto span = [&] { return window.width() * f.fMaxZoom / f.fZoom; };  // mono: a unit is a frame
    auto showsTheEnd = [&](const char* how) {
        EXPECT_LT(f.nFirstSample, frames) << how;
        EXPECT_GE(f.nFirstSample + span(), frames) << how;
    };
    window.command(88);
    for (int level = 1; level <= f.nMaxZoomLevel; ++level) {
        SCOPED_TRACE(level);
        ASSERT_EQ(f.nZoomLevel, level);
        window.command(11801);
        showsTheEnd("Go to end");
        QTest::keyClick(&window, Qt::Key_Home);
        EXPECT_EQ(f.nFirstSample, 0u);
        QTest::keyClick(&window, Qt::Key_End);
        showsTheEnd("End");
        QTest::keyClick(&window, Qt::Key_Home);
        QScrollBar* bar = window.scrollBar();
        bar->setSliderPosition(bar->maximum());
        QCoreApplication::processEvents();
        showsTheEnd("the scroll bar at the far right");
        EXPECT_EQ(bar->value(), bar->maximum());
        window.command(1898);
    }
}
