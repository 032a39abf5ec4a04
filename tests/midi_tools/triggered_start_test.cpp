// Triggered starts on the simulated wave output device: what each trigger
// answers to, playback prepared when armed and started at the trigger, the
// delay's timer; and the keyboard's note mapping.

#include "midi_tools/midi_keyboard.h"
#include "midi_tools/triggered_start.h"

#include "audio/playback_engine.h"

#include "../audio/simulated_wave_out.h"
#include "support/document_test.h"
#include "support/mtc_source.h"

#include <QCoreApplication>
#include <QElapsedTimer>

class TriggeredStartTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        SimulatedWaveOut::state() = SimulatedWaveOutState{};
        SimulatedWaveOut::state().canPrepare = true;
        SimulatedWaveOut::events().clear();
        set_wave_out_factory(SimulatedWaveOut::make);
        writeFile(path("t.wav"), WavBuilder::pcm(2, 44100, 16, WavBuilder::indexedFrames(44100)));
        doc = open_document_file(path("t.wav"));
        ASSERT_TRUE(doc);
        doc->layout.clientWidth = 1000;
    }
    void TearDown() override
    {
        trigger.reset();
        PlaybackEngine& e = PlaybackEngine::instance();
        e.cancel_prepared();
        if (e.is_playing())
            e.stop_playback();
        SimulatedWaveOut::deliver();
        set_wave_out_factory(nullptr);
        doc.reset();
        DocumentTest::TearDown();
    }
    // Arms a fresh trigger; true when armed.
    bool armed(const TriggerSettings& s)
    {
        trigger = std::make_unique<TriggeredStart>(*doc);
        return trigger->arm_without_port(s) == 1;
    }
    std::uint32_t firstPlayedFrame()
    {
        SimulatedWaveOut::deliver();
        SimulatedWaveOut::advance(10);
        return WavBuilder::frameIndexAt(SimulatedWaveOut::state().played, 0);
    }

    std::unique_ptr<CChildFrame> doc;
    std::unique_ptr<TriggeredStart> trigger;
};

TEST_F(TriggeredStartTest, ANoteStartsThePreparedPlaybackAtTheHighlight)
{
    doc->bHighlight = 1;
    doc->nSelStart = 2000;
    doc->nSelEnd = 60000;
    TriggerSettings s;
    s.kind = TriggerKind::Note;
    s.note = 60;
    s.channel = 2;
    ASSERT_TRUE(armed(s));
    EXPECT_EQ(trigger->status(), "Waiting for note 60");
    SimulatedWaveOut::deliver();
    EXPECT_TRUE(SimulatedWaveOut::state().held) << "the device is open and waiting";
    EXPECT_FALSE(PlaybackEngine::instance().is_playing());

    // Not this note, not this channel, a note-on of velocity 0, a note-off,
    // clock and garbage: nothing.
    for (std::uint32_t m : {midi_message(0x91, 61, 100), midi_message(0x90, 60, 100), midi_message(0x91, 60, 0),
                            midi_message(0x81, 60, 64), midi_message(0xF8), 0xFFFFFFFFu, 0u})
        trigger->midi_message(m, 0);
    EXPECT_FALSE(trigger->fired());
    trigger->midi_message(midi_message(0x91, 60, 1), 0);
    EXPECT_TRUE(trigger->fired());
    EXPECT_EQ(trigger->status(), "Playing");
    EXPECT_TRUE(PlaybackEngine::instance().is_playing());
    EXPECT_EQ(firstPlayedFrame(), 1000u);
}

TEST_F(TriggeredStartTest, AnyNoteASequencerStartAndTheTimeCodeEachFireOnTheirOwn)
{
    TriggerSettings any;
    any.kind = TriggerKind::Note;
    ASSERT_TRUE(armed(any));
    EXPECT_EQ(trigger->status(), "Waiting for a note");
    trigger->midi_message(midi_message(0xFA), 0);
    EXPECT_FALSE(trigger->fired());
    trigger->midi_message(midi_message(0x9F, 3, 90), 0);
    EXPECT_TRUE(trigger->fired());
    PlaybackEngine::instance().stop_playback();
    SimulatedWaveOut::deliver();

    TriggerSettings start;
    start.kind = TriggerKind::SequencerStart;
    for (std::uint32_t fire : {midi_message(0xFA), midi_message(0xFB)}) {
        ASSERT_TRUE(armed(start));
        trigger->midi_message(midi_message(0xFC), 0);  // Stop
        trigger->midi_message(midi_message(0x90, 60, 100), 0);
        EXPECT_FALSE(trigger->fired());
        trigger->midi_message(fire, 0);
        EXPECT_TRUE(trigger->fired());
        PlaybackEngine::instance().stop_playback();
        SimulatedWaveOut::deliver();
    }

    // Time code: fires with the complete time that reaches 00:00:02:00.
    TriggerSettings code;
    code.kind = TriggerKind::TimeCode;
    code.seconds = 2;
    code.fps = 25;
    ASSERT_TRUE(armed(code));
    EXPECT_EQ(trigger->status(), "Waiting for time code 00:00:02:00");
    MtcSource source;
    source.fps = 25;
    source.startFrame = 40;
    long q = 0;
    // Frame 48 is two frames short; frame 50 completes at its piece 7.
    while (q < 8 * 5 + 7) {
        trigger->midi_message(source.piece(q++), 0);
        ASSERT_FALSE(trigger->fired()) << q;
    }
    trigger->midi_message(source.piece(q), 0);
    EXPECT_TRUE(trigger->fired());
}

TEST_F(TriggeredStartTest, TheDelayFiresAfterItsTimeAndCancelGivesTheDeviceBack)
{
    int argc = 1;
    char name[] = "test";
    char* argv[] = {name};
    QCoreApplication app(argc, argv);
    TriggerSettings s;
    s.kind = TriggerKind::Delay;
    s.delayMs = 120;
    ASSERT_TRUE(armed(s));
    EXPECT_EQ(trigger->status(), "Starting in 0.1 seconds");
    QElapsedTimer clock;
    clock.start();
    while (!trigger->fired() && clock.elapsed() < 2000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    EXPECT_TRUE(trigger->fired());
    EXPECT_GE(clock.elapsed(), 110);
    EXPECT_TRUE(PlaybackEngine::instance().is_playing());
    PlaybackEngine::instance().stop_playback();
    SimulatedWaveOut::deliver();

    // A trigger given up before it fires leaves nothing prepared.
    s.delayMs = 10000;
    ASSERT_TRUE(armed(s));
    SimulatedWaveOut::deliver();
    EXPECT_TRUE(PlaybackEngine::instance().start_is_prepared());
    trigger->cancel();
    SimulatedWaveOut::deliver();
    EXPECT_FALSE(PlaybackEngine::instance().start_is_prepared());
    EXPECT_FALSE(SimulatedWaveOut::state().open);
    // Without a device, nothing arms, and the status and a message say why.
    set_wave_out_factory(nullptr);
    host.clearShown();
    EXPECT_FALSE(armed(s));
    EXPECT_EQ(trigger->status(), "Not armed: There is no wave output device.");
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().text, "The start cannot be armed. There is no wave output device.");
    // A start at the very end has nothing to play.
    set_wave_out_factory(SimulatedWaveOut::make);
    doc->bHighlight = true;
    doc->nSelStart = doc->nSelEnd = doc->nTotalSamples;
    EXPECT_FALSE(armed(s));
    EXPECT_EQ(trigger->status(), "Not armed: The start is at the end of the file: there is nothing to play.");
}

TEST(MidiKeyboardTest, ComputerKeysPlayTwoOctavesFromTheBaseOctave)
{
    EXPECT_EQ(MidiKeyboard::note_for_key('z', 4), 60);
    EXPECT_EQ(MidiKeyboard::note_for_key('s', 4), 61);
    EXPECT_EQ(MidiKeyboard::note_for_key('m', 4), 71);
    EXPECT_EQ(MidiKeyboard::note_for_key(',', 4), 72);
    EXPECT_EQ(MidiKeyboard::note_for_key('q', 4), 72);
    EXPECT_EQ(MidiKeyboard::note_for_key('p', 4), 88);
    EXPECT_EQ(MidiKeyboard::note_for_key('z', 0), 12);
    EXPECT_EQ(MidiKeyboard::note_for_key('p', 9), -1) << "past note 127";
    EXPECT_EQ(MidiKeyboard::note_for_key('a', 4), -1);
    EXPECT_EQ(MidiKeyboard::note_name(60), "C4");
    EXPECT_EQ(MidiKeyboard::note_name(70), "A#4");
    EXPECT_EQ(MidiKeyboard::note_name(0), "C-1");
    EXPECT_EQ(MidiKeyboard::note_name(128), "");
    MidiKeyboard keyboard;
    EXPECT_FALSE(keyboard.open(999));
    EXPECT_FALSE(keyboard.note_on(60)) << "nothing to play on";
    EXPECT_TRUE(keyboard.sounding().empty());
}
