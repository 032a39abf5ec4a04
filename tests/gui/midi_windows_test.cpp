// The time mark bars and dialogs, the chase lock dialog, the triggered-start
// and sampler dialogs, the MIDI keyboard and the device report, as widgets.

#include "app/main_frame.h"
#include "audio/playback_engine.h"
#include "edit/timemark_bars.h"
#include "edit/timemark_dialogs.h"
#include "edit/timemarks.h"
#include "midi_tools/midi_keyboard_window.h"
#include "midi_tools/triggered_start_dialog.h"
#include "sync/chase_lock.h"
#include "sync/chase_lock_dialog.h"
#include "view/child_frame_window.h"
#include "view/mouse_selection.h"

#include "audio/simulated_wave_out.h"
#include "gui_test.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTimer>
#include <QToolBar>

namespace {

// Runs `answer` on the modal dialog that the next action opens.
void onNextModal(std::function<void(QDialog&)> answer)
{
    QTimer::singleShot(0, [answer] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            answer(*dialog);
    });
}

}  // namespace

class MidiWindowsTest : public MainFrameGuiTest {
protected:
    void SetUp() override
    {
        MainFrameGuiTest::SetUp();
        openTone(2, 16, 44100, 441000);
        ASSERT_TRUE(frame->openFile(QString::fromStdString(path("tone.wav"))));
        doc = frame->activeDocument();
        ASSERT_TRUE(doc);
        doc->resize(1000, 400);
    }
    QAction* barAction(const char* name) const { return frame->findChild<QAction*>(QString::fromLatin1(name)); }

    ChildFrameWindow* doc = nullptr;
};

TEST_F(MidiWindowsTest, TheBarsAddMarksAndTheCueListFollowsTheActiveDocument)
{
    CChildFrame& f = doc->frame();
    QComboBox* combo = frame->timemarkBars()->combo();
    ASSERT_TRUE(combo);
    EXPECT_EQ(combo->count(), 0);
    f.nCaretX = 100;
    barAction("markAdd")->trigger();
    ASSERT_EQ(f.timemarks.size(), 1u);
    EXPECT_EQ(combo->count(), 1);
    EXPECT_EQ(combo->itemText(0).toStdString(), f.timemarks[0].name);

    f.bHighlight = 1;
    set_selection_units(f, 88200, 176400);
    frame->onCommand(kCommandMarkHighlight);
    ASSERT_EQ(f.timemarks.size(), 3u);
    EXPECT_EQ(combo->count(), 2) << "a pair is one row";
    EXPECT_EQ(combo->currentIndex(), 1);
    EXPECT_EQ(combo->itemText(1), "Marker 88200");

    // Choosing the single mark's row takes the cursor there.
    combo->setCurrentIndex(0);
    emit combo->activated(0);
    EXPECT_EQ(f.bHighlight, 0);
    EXPECT_EQ(f.nCaretX, timemark_x(f, 0));
    emit combo->activated(1);
    combo->setCurrentIndex(1);
    emit combo->activated(1);
    EXPECT_EQ(f.bHighlight, 1);
    EXPECT_EQ(f.nSelStart, 88200u);

    // The menu command adds at the cursor as the bar does.
    frame->onCommand(ID_TIMEMARK_ADD);
    EXPECT_EQ(f.timemarks.size(), 4u);
    barAction("markClear")->trigger();
    EXPECT_TRUE(f.timemarks.empty());
    EXPECT_EQ(combo->count(), 0);
}

TEST_F(MidiWindowsTest, MarksAreGrabbedMovedAndRenamedWithTheMouse)
{
    CChildFrame& f = doc->frame();
    add_timemark_at(f, 100, "Take");
    const int y = timemark_baseline(f) - 6;
    QTest::mousePress(doc, Qt::LeftButton, {}, QPoint(100, y));
    QTest::mouseRelease(doc, Qt::LeftButton, {}, QPoint(300, y));
    EXPECT_EQ(timemark_x(f, 0), 300) << "the mark follows the drop";
    EXPECT_EQ(f.timemarks[0].position, f.pixel_to_sample(300.0f));
    EXPECT_EQ(f.bHighlight, 0) << "grabbing a mark makes no highlight";

    // The right button on a mark opens its dialog; OK renames it.
    onNextModal([](QDialog& dialog) {
        EXPECT_EQ(dialog.objectName(), "TIMEMARK");
        EXPECT_TRUE(dialog.findChild<QLabel*>("info")->text().startsWith("Take, Time: "));
        dialog.findChild<QLineEdit*>("name")->setText("Chorus");
        dialog.accept();
    });
    QTest::mousePress(doc, Qt::RightButton, {}, QPoint(302, y));
    EXPECT_EQ(f.timemarks[0].name, "Chorus");
    EXPECT_EQ(frame->timemarkBars()->combo()->itemText(0), "Chorus");
    onNextModal([](QDialog& dialog) { dialog.findChild<QPushButton*>("delete")->click(); });
    QTest::mousePress(doc, Qt::RightButton, {}, QPoint(300, y));
    EXPECT_TRUE(f.timemarks.empty());

    MarkerNameDialog name;
    EXPECT_EQ(name.objectName(), "ENTERMARKERNAME");
    auto* edit = name.findChild<QLineEdit*>("390");
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->maxLength(), 29);
    EXPECT_TRUE(name.windowFlags() & Qt::WindowStaysOnTopHint);
}

TEST_F(MidiWindowsTest, TheChaseLockDialogShowsItsTextsAndRefusesWithoutMidiInput)
{
    smpte_frame_rate = 24;
    auto* dialog = new ChaseLockDialog(doc->frame(), frame.get());
    EXPECT_TRUE(dialog->windowFlags() & Qt::WindowStaysOnTopHint);
    dialog->chase().set_cue(0, 0, 2, 0);
    dialog->chase().set_timers(false);
    dialog->chase().open_without_port();
    dialog->chase().show_ready_texts();
    const auto text = [&](int id) { return dialog->findChild<QLabel*>(QString::number(id))->text(); };
    EXPECT_EQ(text(273), "Waiting to start");
    EXPECT_EQ(text(274), "00:00:02:00");
    EXPECT_EQ(text(377), "1) Start MTC Device; 2) Press Start");
    EXPECT_EQ(text(378), "Ready for Midi Time Code Input");
    EXPECT_EQ(text(419), "00:00:00:00");
    dialog->findChild<QComboBox*>("fps")->setCurrentIndex(1);
    auto* start = dialog->findChild<QPushButton*>("1893");
    start->click();
    EXPECT_EQ(smpte_frame_rate, 25);
    EXPECT_EQ(start->text(), "&Cancel");
    // The cue in the current time format (seconds), in the control's style.
    EXPECT_EQ(text(274), "2.000 sec");
    EXPECT_FALSE(dialog->findChild<QComboBox*>("fps")->isEnabled());
    start->click();  // the second press cancels
    QApplication::processEvents();
    EXPECT_FALSE(PlaybackEngine::instance().start_is_prepared());
    smpte_frame_rate = 24;

    // No MIDI input port: the program's message, and no dialog.
    const int dialogsBefore = static_cast<int>(frame->findChildren<ChaseLockDialog*>().size());
    setUiHost(&host);
    preferences().midiInputDevice = 63;
    frame->onCommand(kCommandChaseLock);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().text, "Failed to open MIDI for input");
    QApplication::processEvents();
    EXPECT_LE(static_cast<int>(frame->findChildren<ChaseLockDialog*>().size()), dialogsBefore);
}

TEST_F(MidiWindowsTest, TheTriggeredStartDialogsArmWhatTheyShow)
{
    SimulatedWaveOut::state() = SimulatedWaveOutState{};
    SimulatedWaveOut::state().canPrepare = true;
    SimulatedWaveOut::events().clear();
    set_wave_out_factory(SimulatedWaveOut::make);
    {
        TriggeredStartDialog midi(*doc, TriggeredStartDialog::Mode::Midi);
        EXPECT_EQ(midi.objectName(), "SEQUENCERINPUT");
        midi.findChild<QRadioButton*>("timeCode")->setChecked(true);
        midi.findChild<QSpinBox*>("minutes")->setValue(3);
        midi.findChild<QSpinBox*>("frames")->setValue(12);
        midi.findChild<QComboBox*>("fps")->setCurrentIndex(2);
        midi.findChild<QRadioButton*>("record")->setChecked(true);
        midi.findChild<QDoubleSpinBox*>("recordSeconds")->setValue(4.5);
        const TriggerSettings s = midi.settings();
        EXPECT_EQ(s.kind, TriggerKind::TimeCode);
        EXPECT_EQ(s.minutes, 3);
        EXPECT_EQ(s.frames, 12);
        EXPECT_EQ(s.fps, 30);
        EXPECT_EQ(s.action, TriggerAction::Record);
        EXPECT_DOUBLE_EQ(s.recordSeconds, 4.5);
        midi.findChild<QRadioButton*>("note")->setChecked(true);
        midi.findChild<QSpinBox*>("noteNumber")->setValue(64);
        EXPECT_EQ(midi.settings().kind, TriggerKind::Note);
        EXPECT_EQ(midi.settings().note, 64);
    }
    auto* delay = new TriggeredStartDialog(*doc, TriggeredStartDialog::Mode::Delay);
    EXPECT_EQ(delay->objectName(), "RECORDPLAYDELAY");
    delay->findChild<QDoubleSpinBox*>("delay")->setValue(0.1);
    EXPECT_EQ(delay->settings().delayMs, 100);
    ASSERT_TRUE(delay->arm());
    EXPECT_EQ(delay->findChild<QLabel*>("status")->text(), "Starting in 0.1 seconds");
    QElapsedTimer clock;
    clock.start();
    while (!PlaybackEngine::instance().is_playing() && clock.elapsed() < 2000)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    EXPECT_TRUE(PlaybackEngine::instance().is_playing());
    EXPECT_EQ(delay->findChild<QLabel*>("status")->text(), "Playing");
    PlaybackEngine::instance().stop_playback();
    SimulatedWaveOut::deliver();
    delete delay;
    set_wave_out_factory(nullptr);
}

TEST_F(MidiWindowsTest, TheKeyboardMapsItsKeysAndTheDeviceReportLists)
{
    MidiKeyboardWindow keyboard;
    keyboard.resize(700, 200);
    // Three octaves of white keys across the key area from C4.
    const int whiteWidth = (700 - 16) / 21;
    const int low = 200 - 10;
    EXPECT_EQ(keyboard.noteAt(QPoint(8 + whiteWidth / 2, low)), 60);
    EXPECT_EQ(keyboard.noteAt(QPoint(8 + whiteWidth * 3 / 2, low)), 62);
    EXPECT_EQ(keyboard.noteAt(QPoint(8 + whiteWidth * 7 + whiteWidth / 2, low)), 72);
    EXPECT_EQ(keyboard.noteAt(QPoint(8 + whiteWidth, 60)), 61) << "a black key over the upper part";
    EXPECT_EQ(keyboard.noteAt(QPoint(8 + whiteWidth + 3, low)), 62) << "below the black keys the white one";
    EXPECT_EQ(keyboard.noteAt(QPoint(3, low)), -1);
    keyboard.findChild<QSpinBox*>("octave")->setValue(2);
    EXPECT_EQ(keyboard.noteAt(QPoint(8 + whiteWidth / 2, low)), 36);

    frame->onCommand(kCommandDevices);
    auto* report = frame->findChild<QDialog*>("DEVICES");
    ASSERT_TRUE(report);
    const QString text = report->findChild<QPlainTextEdit*>()->toPlainText();
    EXPECT_TRUE(text.contains("output") || text.contains("no audio devices")) << text.toStdString();
    EXPECT_TRUE(text.contains("midi-") || text.contains("no MIDI ports")) << text.toStdString();
}
