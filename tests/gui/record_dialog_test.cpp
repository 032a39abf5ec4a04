#include "app/main_frame.h"
#include "app/posix_io.h"
#include "audio/auto_stop_dialog.h"
#include "audio/level_meters.h"
#include "audio/record_dialog.h"
#include "audio/record_engine.h"
#include "view/child_frame.h"
#include "view/child_frame_window.h"

#include "audio/simulated_wave_in.h"
#include "gui_test.h"

#include <QAbstractButton>
#include <QAction>
#include <QLabel>
#include <QSlider>
#include <QTest>
#include <QToolBar>
#include <fcntl.h>
#include <unistd.h>

// The record dialog on a simulated input device: what it enables, shows and
// hands to the document.
class RecordDialogTest : public GuiTest {
protected:
    void SetUp() override
    {
        GuiTest::SetUp();
        SimulatedWaveIn::state() = SimulatedWaveInState{};
        SimulatedWaveIn::events().clear();
        set_wave_in_factory(SimulatedWaveIn::make);
        SimulatedWaveIn::throughEventLoop() = true;
        RecordEngine& e = RecordEngine::instance();
        e.insert_mode = 0;
        e.trigger_on_signal = false;
        e.auto_stop_enabled = false;
        e.rewind_after_take = true;
    }
    void TearDown() override
    {
        SimulatedWaveIn::throughEventLoop() = false;
        set_wave_in_factory(nullptr);
        GuiTest::TearDown();
    }
    ChildFrameWindow* openToneIn(CMainFrame& frame, const std::string& name)
    {
        openTone(2, 16, 22050, 22050);
        std::rename(path("tone.wav").c_str(), path(name).c_str());
        return frame.openFile(QString::fromStdString(path(name))) ? frame.activeDocument() : nullptr;
    }
    static bool enabled(RecordDialog& d, int id) { return d.button(id)->isEnabled(); }
};

TEST_F(RecordDialogTest, ATakeFromTheDialogGoesIntoTheDocumentWithOneUndo)
{
    CMainFrame frame;
    ChildFrameWindow* doc = openToneIn(frame, "a.wav");
    ASSERT_TRUE(doc);
    const std::uint32_t before = doc->frame().nTotalSamples;
    RecordDialog dialog(doc->frame(), [] { return std::vector<std::pair<CChildFrame*, QString>>{}; }, {}, &frame);
    dialog.show();
    EXPECT_TRUE(enabled(dialog, 1813));
    EXPECT_FALSE(enabled(dialog, 1814));
    EXPECT_TRUE(enabled(dialog, 1815));  // the document's own data can be played

    // Insert a take at the start.
    dialog.findChild<QAbstractButton*>("422")->click();
    dialog.button(1813)->click();
    SimulatedWaveIn::deliver();
    // Only Stop answers while recording.
    EXPECT_TRUE(enabled(dialog, 1814));
    EXPECT_FALSE(enabled(dialog, 1813));
    EXPECT_FALSE(enabled(dialog, 1815));
    EXPECT_FALSE(enabled(dialog, 1));
    EXPECT_FALSE(dialog.findChild<QAbstractButton*>("422")->isEnabled());
    const std::size_t size = RecordEngine::instance().record_buffer_size();
    SimulatedWaveIn::capture(std::vector<unsigned char>(size * 2, 0x10));
    SimulatedWaveIn::deliver();
    dialog.button(1814)->click();
    SimulatedWaveIn::deliver();
    EXPECT_TRUE(enabled(dialog, 1813));
    EXPECT_TRUE(enabled(dialog, 1));
    EXPECT_FALSE(dialog.label(418)->text().isEmpty());

    dialog.button(1)->click();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    CChildFrame& f = doc->frame();
    EXPECT_EQ(f.nTotalSamples, before + static_cast<std::uint32_t>(size));  // 2 x size bytes of 16-bit units
    EXPECT_EQ(f.szUndoLabel, "&Undo Record...\tCtrl+Z");
    // The take is at the start; the tone follows it.
    std::vector<unsigned char> head(8);
    const int fd = ::open(f.szFileName.c_str(), O_RDONLY);
    ASSERT_EQ(read_fully(fd, head.data(), 8, 0), 8);
    ::close(fd);
    EXPECT_EQ(head, std::vector<unsigned char>(8, 0x10));
}

TEST_F(RecordDialogTest, MetersClipIndicatorCancelAndRecordTo)
{
    CMainFrame frame;
    ChildFrameWindow* a = openToneIn(frame, "a.wav");
    ChildFrameWindow* b = openToneIn(frame, "b.wav");
    ASSERT_TRUE(a && b);
    const std::string aFile = a->frame().szFileName;
    auto list = [&] {
        return std::vector<std::pair<CChildFrame*, QString>>{{&a->frame(), QStringLiteral("a.wav")},
                                                             {&b->frame(), QStringLiteral("b.wav")}};
    };
    {
        RecordDialog dialog(a->frame(), list, {}, &frame);
        dialog.showMeters({126, 0});
        EXPECT_TRUE(dialog.clipIndicator()->lit());
        EXPECT_EQ(dialog.volumeIndicator()->left(), 126);
        dialog.showMeters({125, 125});
        EXPECT_FALSE(dialog.clipIndicator()->lit());
        // The metronome's beat flashes the indicator.
        dialog.metronomeTick();
        EXPECT_TRUE(dialog.clipIndicator()->lit());

        auto items = dialog.recordToItems();
        ASSERT_EQ(items.size(), 2u);
        EXPECT_TRUE(items[0].second);
        EXPECT_FALSE(items[1].second);
        dialog.chooseRecordTarget(1);
        EXPECT_EQ(RecordEngine::instance().target(), &b->frame());
        EXPECT_TRUE(dialog.recordToItems()[1].second);

        // A take, then Cancel: nothing changes.
        dialog.command(1813);
        SimulatedWaveIn::deliver();
        SimulatedWaveIn::capture(std::vector<unsigned char>(RecordEngine::instance().record_buffer_size(), 0x20));
        SimulatedWaveIn::deliver();
        dialog.reject();
        EXPECT_TRUE(RecordEngine::instance().idle());
    }
    EXPECT_EQ(a->frame().szFileName, aFile);
    EXPECT_FALSE(b->frame().bUndoAvailable);
    EXPECT_FALSE(b->frame().bModified);
}

TEST_F(RecordDialogTest, AutoStopDialogKeepsItsSliderArithmetic)
{
    RecordEngine& e = RecordEngine::instance();
    e.auto_stop_seconds = 10;
    e.auto_stop_limit_ms = 10000;
    AutoStopDialog dialog;
    // Opened at 255 - 10 (the slider's top), which reads 0 seconds; the
    // stored time is untouched until the slider moves.
    EXPECT_EQ(dialog.slider()->value(), 100);
    EXPECT_EQ(dialog.number()->text(), "0");
    EXPECT_EQ(e.auto_stop_seconds, 10);
    dialog.slider()->setValue(70);
    EXPECT_EQ(dialog.number()->text(), "30");
    EXPECT_EQ(e.auto_stop_seconds, 30);
    EXPECT_EQ(e.auto_stop_limit_ms, 30000u);
    QTimer::singleShot(0, &dialog, [&] { dialog.done(1); });
    EXPECT_EQ(dialog.exec(), 1);
}

TEST_F(RecordDialogTest, TheRecordCommandIsOnTheMenuAndTheTransportBar)
{
    CMainFrame frame;
    QAction* record = frame.action(1813);
    ASSERT_TRUE(record);
    EXPECT_FALSE(record->isEnabled());
    ASSERT_TRUE(openToneIn(frame, "a.wav"));
    EXPECT_TRUE(record->isEnabled());
    EXPECT_TRUE(frame.controlBar(2)->actions().contains(record));
    // The command opens the dialog; closing it leaves the document alone.
    QTimer::singleShot(50, [] {
        if (auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            d->reject();
    });
    frame.onCommand(1813);
    EXPECT_TRUE(RecordEngine::instance().idle());
    EXPECT_FALSE(frame.activeDocument()->frame().bModified);
}
