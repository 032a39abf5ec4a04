#include "app/main_frame.h"
#include "audio/play_cursor_host.h"
#include "audio/playback_loop_dialog.h"
#include "audio/play_record_time_window.h"
#include "app/preferences.h"
#include "audio/playback_engine.h"
#include "view/child_frame.h"
#include "view/child_frame_window.h"

#include "audio/simulated_wave_out.h"
#include "gui_test.h"

#include <QAction>
#include <QLabel>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>
#include <QTimer>
#include <QToolBar>

// Playback from the windows, on a simulated device.
class TransportTest : public GuiTest {
protected:
    void SetUp() override
    {
        GuiTest::SetUp();
        SimulatedWaveOut::state() = SimulatedWaveOutState{};
        SimulatedWaveOut::events().clear();
        set_wave_out_factory(SimulatedWaveOut::make);
    }
    void TearDown() override
    {
        set_wave_out_factory(nullptr);
        GuiTest::TearDown();
    }
    // Four seconds of a stereo tone, open in `frame` in an 800 x 300 window.
    ChildFrameWindow* openToneIn(CMainFrame& frame)
    {
        openTone(2, 16, 22050, 22050 * 4);
        if (!frame.openFile(QString::fromStdString(path("tone.wav"))))
            return nullptr;
        ChildFrameWindow* doc = frame.activeDocument();
        if (doc)
            doc->resize(800, 300);
        return doc;
    }
};

// Play, the 30 ms cursor, Stop and Loop from a document's play bar, on a
// simulated device.
TEST_F(TransportTest, ThePlayBarPlaysMovesTheCursorAndStops)
{
    {
        CMainFrame frame;
        ChildFrameWindow* doc = openToneIn(frame);
        ASSERT_TRUE(doc);
        PlaybackEngine& engine = PlaybackEngine::instance();
        const Preferences saved = preferences();
        preferences().timeFormat = kTimeFormatSeconds;
        preferences().bigTimeDisplay = true;
        auto* bar = doc->playBar();
        bar->findChild<QAction*>("11401")->trigger();
        ASSERT_TRUE(engine.is_playing());
        EXPECT_EQ(doc->playCursor(), -1);
        SimulatedWaveOut::deliver();
        // A second of sound played: the cursor stands a second in.
        for (int i = 0; i < 40; ++i) {
            SimulatedWaveOut::advance(25);
            SimulatedWaveOut::deliver();
        }
        QTest::qWait(80);
        EXPECT_NEAR(static_cast<double>(doc->playCursor()), 2.0 * 22050, 2 * 2205.0);
        auto* position = frame.findChild<QLabel*>("playPosition");
        ASSERT_TRUE(position);
        EXPECT_TRUE(position->text().startsWith("Play: 1.0")) << position->text().toStdString();
        // The big time display shows the same position.
        auto* big = frame.findChild<PlayRecordTimeWindow*>("PLAYRECORDTIME");
        ASSERT_TRUE(big);
        EXPECT_TRUE(big->isVisible());
        EXPECT_EQ("Play: " + big->text(), position->text());
        preferences() = saved;

        // Loop is a toggle shown on the bar.
        bar->findChild<QAction*>("11404")->trigger();
        EXPECT_TRUE(engine.loopPlayback);
        EXPECT_TRUE(bar->findChild<QAction*>("11404")->isChecked());
        bar->findChild<QAction*>("11404")->trigger();
        EXPECT_FALSE(engine.loopPlayback);

        // Stop: the cursor goes and the display clears.
        bar->findChild<QAction*>("11403")->trigger();
        SimulatedWaveOut::deliver();
        EXPECT_FALSE(engine.is_playing());
        EXPECT_EQ(doc->playCursor(), -1);
        EXPECT_TRUE(position->text().isEmpty());

        // Closing a document while it plays stops playback first; the
        // device's completions come through the event loop, as a real one's do.
        QTimer pump;
        QObject::connect(&pump, &QTimer::timeout, [] { SimulatedWaveOut::deliver(); });
        pump.start(1);
        bar->findChild<QAction*>("11401")->trigger();
        ASSERT_TRUE(engine.is_playing());
        doc->parentWidget()->close();
        EXPECT_FALSE(engine.is_playing());
        EXPECT_EQ(engine.playing_frame(), nullptr);
    }
}

TEST_F(TransportTest, ThePlayCursorFoldsLoopPassesIntoTheRange)
{
    auto f = openTone(2, 16, 10000, 10000);
    // 1.5 s into a loop over one second of stereo from unit 2000: half a
    // second into the second pass.
    EXPECT_EQ(PlayCursorHost::playing_sample(*f, 1500.0f, 2000, 22000), 2000u + 10000u);
    EXPECT_EQ(PlayCursorHost::playing_sample(*f, 0.0f, 2000, 22000), 2000u);
    EXPECT_EQ(PlayCursorHost::playing_sample(*f, 250.0f, 0, 0), 0u);
    // Stereo positions stay on frame boundaries.
    EXPECT_EQ(PlayCursorHost::playing_sample(*f, 0.15f, 0, 20000) % 2, 0u);
}

TEST_F(TransportTest, TheRightButtonPlaysFromTheClickAndStopsWhilePlaying)
{
    {
        CMainFrame frame;
        ChildFrameWindow* doc = openToneIn(frame);
        ASSERT_TRUE(doc);
        doc->frame().bHighlight = false;
        PlaybackEngine& engine = PlaybackEngine::instance();
        const QPoint at(400, 150);
        const std::uint32_t unit = doc->frame().pixel_to_sample(400.0f) & ~1u;
        QTest::mouseClick(doc, Qt::RightButton, {}, at);
        ASSERT_TRUE(engine.is_playing());
        EXPECT_GT(unit, 0u);
        EXPECT_EQ(engine.play_start_offset(), unit * 2);
        // The next right click stops.
        SimulatedWaveOut::deliver();
        QTest::mouseClick(doc, Qt::RightButton, {}, at);
        SimulatedWaveOut::deliver();
        EXPECT_FALSE(engine.is_playing());
    }
}

TEST_F(TransportTest, TheLoopSetUpStoresTheCountAndTheSmpteStartOnlyOnOk)
{
    PlaybackEngine& engine = PlaybackEngine::instance();
    engine.loop_count = 3;
    engine.loop_count_enabled = false;
    engine.smpte_start = {};
    {
        PlaybackLoopDialog dialog;
        EXPECT_TRUE(dialog.radio(1039)->isChecked());
        EXPECT_EQ(dialog.spin(231)->value(), 3);
        EXPECT_EQ(dialog.spin(231)->maximum(), 100);
        EXPECT_EQ(dialog.spin(1886)->maximum(), 23);
        dialog.spin(231)->setValue(7);
        dialog.radio(1040)->setChecked(true);
        dialog.reject();
    }
    EXPECT_EQ(engine.loop_count, 3);
    EXPECT_FALSE(engine.loop_count_enabled);
    {
        PlaybackLoopDialog dialog;
        dialog.spin(231)->setValue(7);
        dialog.radio(1040)->setChecked(true);
        dialog.spin(1883)->setValue(1);
        dialog.spin(1884)->setValue(2);
        dialog.spin(1885)->setValue(3);
        dialog.spin(1886)->setValue(4);
        dialog.accept();
    }
    EXPECT_EQ(engine.loop_count, 7);
    EXPECT_TRUE(engine.loop_count_enabled);
    EXPECT_EQ(engine.smpte_start.hours, 1);
    EXPECT_EQ(engine.smpte_start.minutes, 2);
    EXPECT_EQ(engine.smpte_start.seconds, 3);
    EXPECT_EQ(engine.smpte_start.frames, 4);
    EXPECT_EQ(engine.smpte_start.fps, 30);
    engine.loop_count = 1;
    engine.loop_count_enabled = false;
}
