// Chase lock end to end: a JACK client sends MIDI Time Code into the
// program's MIDI input (RtMidi on JACK MIDI) and records the program's audio
// (PortAudio on JACK). Where the sound starts is measured in samples against
// the time code the client sent, through a start, a stop of the code, a
// restart, and the same with the delay compensation on. A note starts a
// triggered playback; the MIDI keyboard plays into the client's input.

#include "audio/playback_engine.h"
#include "audio/portaudio_device.h"
#include "audio/volume.h"
#include "sync/chase_lock.h"
#include "midi_tools/midi_keyboard.h"
#include "midi_tools/triggered_start.h"
#include "sync/midi_inputs.h"

#include "support/document_test.h"
#include "support/jack_chase_rig.h"
#include "support/jack_e2e.h"

class JackChaseTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        use_portaudio_output();
        // The user's own level: 255, unity on the stream, so every sample
        // arrives as it is and tells its position.
        smpte_frame_rate = 24;
        chase_preroll_frames = 0;
        WavBuilder::Bytes data;
        data.reserve(30 * 48000 * 4);
        for (std::uint32_t i = 0; i < 30 * 48000; ++i) {
            WavBuilder::put16(data, static_cast<std::uint16_t>(JackChaseRig::leftOf(i)));
            WavBuilder::put16(data, static_cast<std::uint16_t>(JackChaseRig::rightOf(i)));
        }
        writeFile(path("chase.wav"), WavBuilder::pcm(2, 48000, 16, data));
        doc = open_document_file(path("chase.wav"));
        ASSERT_TRUE(doc);
        ASSERT_TRUE(rig.open());
    }
    void TearDown() override
    {
        PlaybackEngine& e = PlaybackEngine::instance();
        e.cancel_prepared();
        if (e.is_playing())
            e.stop_playback();
        e.wait_until_released(2000);
        rig.close();
        set_wave_out_factory(nullptr);
        doc.reset();
        DocumentTest::TearDown();
    }

    int rigMidiPort() const
    {
        for (const MidiPortInfo& p : midi_input_devices())
            if (p.name.find(rig.midiPortName()) != std::string::npos)
                return p.number;
        return -1;
    }
    // The start error in seconds of the sound first heard after graph frame
    // `from`: the document position heard less the time code at that moment.
    double startError(std::int64_t from, std::size_t* contiguous = nullptr) const
    {
        const auto heard = rig.firstSoundAfter(from);
        if (!heard)
            return 1e9;
        if (contiguous)
            *contiguous = heard->contiguous;
        const std::int64_t sounds = heard->graphFrame + rig.playbackLatency();
        return heard->documentFrame / 48000.0 - rig.codeSecondsAt(sounds);
    }
    void waitFrames(std::int64_t frames)
    {
        const std::int64_t until = rig.now() + frames;
        runUntil([&] { return rig.now() >= until; }, 10000);
    }

    std::unique_ptr<CChildFrame> doc;
    JackChaseRig rig{60 * 48000};
};

TEST_F(JackChaseTest, PlaybackFollowsTheTimeCodeThroughStopsAndRestarts)
{
    PlaybackEngine& engine = PlaybackEngine::instance();
    const int port = rigMidiPort();
    ASSERT_GE(port, 0) << "the rig's MIDI port is not among the MIDI inputs";
    ChaseLock chase(*doc);
    chase.set_cue(0, 0, 5, 0);
    ASSERT_EQ(chase.open(port), 1);
    ASSERT_TRUE(runUntil([&] { return chase.text(kChaseStatus) == "Waiting to start"; }, 2000));
    chase.start();
    ASSERT_TRUE(chase.cue_armed);
    ASSERT_TRUE(runUntil([&] { return rig.connectPlayers() == 2; }, 3000)) << "the prepared stream is not there";
    EXPECT_FALSE(engine.is_playing());

    // The code runs from three seconds; the cue is at five.
    rig.startCode(24, 3 * 24, 100);
    ASSERT_TRUE(runUntil([&] { return rig.codeStartedAt().has_value(); }, 2000));
    const std::int64_t codeStart = *rig.codeStartedAt();
    ASSERT_TRUE(runUntil([&] { return engine.is_playing(); }, 4000)) << chase.text(kChaseStatus);
    EXPECT_EQ(chase.text(kChaseStatus), "Reached cuepoint");
    waitFrames(24000);
    std::size_t contiguous = 0;
    const double first = startError(codeStart, &contiguous);
    // As specified, the time is known only at its eighth quarter frame: the
    // start lags the code by those 1.75 frames, the tick and the latency.
    EXPECT_LT(first, -1.5 / 24) << first * 48000 << " samples";
    EXPECT_GT(first, -4.0 / 24) << first * 48000 << " samples";
    EXPECT_GE(contiguous, 4800u) << "the sound follows on sample by sample";

    // The code stops: so does playback, within the 21 ticks and a little.
    rig.stopCode();
    const std::int64_t stopped = rig.now();
    ASSERT_TRUE(runUntil([&] { return !engine.is_playing(); }, 2000));
    EXPECT_EQ(chase.text(kChaseStatus), "MTC device stopped");
    EXPECT_EQ(chase.text(kChaseInstruction1), "Restart MTC Device");
    waitFrames(24000);
    EXPECT_TRUE(rig.silentBetween(stopped + 24000, rig.now())) << "no runaway playback";
    // The output stream stays open between stop and restart: its
    // connections to the rig are still there.
    EXPECT_EQ(rig.playersStillConnected(), 2);

    // It comes back at twelve seconds: re-armed there.
    rig.startCode(24, 12 * 24, 37);
    ASSERT_TRUE(runUntil([&] { return rig.codeStartedAt().has_value(); }, 2000));
    const std::int64_t restart = *rig.codeStartedAt();
    ASSERT_TRUE(runUntil([&] { return engine.is_playing(); }, 4000)) << chase.text(kChaseStatus);
    waitFrames(24000);
    const double again = startError(restart);
    EXPECT_LT(again, -1.5 / 24) << again * 48000 << " samples";
    EXPECT_GT(again, -4.0 / 24) << again * 48000 << " samples";
    EXPECT_EQ(chase.text(kChaseInstruction1), "Press Cancel to quit");

    // With the delay compensated, a restart starts where the code is.
    chase.set_compensation(true);
    rig.stopCode();
    ASSERT_TRUE(runUntil([&] { return !engine.is_playing(); }, 2000));
    waitFrames(12000);
    EXPECT_EQ(rig.playersStillConnected(), 2);
    rig.startCode(24, 20 * 24, 211);
    ASSERT_TRUE(runUntil([&] { return rig.codeStartedAt().has_value(); }, 2000));
    const std::int64_t compensated = *rig.codeStartedAt();
    ASSERT_TRUE(runUntil([&] { return engine.is_playing(); }, 4000));
    waitFrames(24000);
    const double aligned = startError(compensated, &contiguous);
    EXPECT_LT(std::fabs(aligned), 0.25 / 24) << aligned * 48000 << " samples";
    EXPECT_GE(contiguous, 4800u);
    chase.cancel();
}

TEST_F(JackChaseTest, ANoteStartsPlaybackAndTheKeyboardPlaysIntoAPort)
{
    PlaybackEngine& engine = PlaybackEngine::instance();
    const int port = rigMidiPort();
    ASSERT_GE(port, 0);
    doc->bHighlight = 1;
    doc->nSelStart = 2 * 48000 * 2;  // two seconds in
    doc->nSelEnd = 4 * 48000 * 2;
    TriggeredStart trigger(*doc);
    TriggerSettings settings;
    settings.kind = TriggerKind::Note;
    settings.note = 60;
    ASSERT_EQ(trigger.arm(settings, port), 1);
    ASSERT_TRUE(runUntil([&] { return rig.connectPlayers() == 2; }, 3000)) << "the prepared stream is not there";
    // Another note, then the one it waits for.
    rig.sendMessage(midi_message(0x90, 61, 100));
    runUntil([&] { return rig.sentAt().has_value(); }, 1000);
    waitFrames(4800);
    EXPECT_FALSE(engine.is_playing());
    rig.sendMessage(midi_message(0x90, 60, 100));
    ASSERT_TRUE(runUntil([&] { return rig.sentAt().has_value(); }, 1000));
    const std::int64_t sent = *rig.sentAt();
    ASSERT_TRUE(runUntil([&] { return engine.is_playing(); }, 2000));
    waitFrames(9600);
    const auto heard = rig.firstSoundAfter(sent);
    ASSERT_TRUE(heard);
    EXPECT_EQ(heard->documentFrame, 2u * 48000) << "from the highlight's start";
    // Only the device had to start: the sound follows the note within a
    // few periods.
    EXPECT_LT(heard->graphFrame - sent, 48000 / 20) << heard->graphFrame - sent << " frames";
    engine.stop_playback();
    runUntil([&] { return !engine.is_playing(); }, 2000);

    int out = -1;
    for (const MidiPortInfo& p : midi_output_devices())
        if (p.name.find(rig.midiInputName()) != std::string::npos)
            out = p.number;
    ASSERT_GE(out, 0);
    MidiKeyboard keyboard;
    ASSERT_TRUE(keyboard.open(out));
    keyboard.channel = 3;
    keyboard.velocity = 90;
    EXPECT_TRUE(keyboard.note_on(64));
    EXPECT_TRUE(keyboard.note_off(64));
    ASSERT_TRUE(runUntil([&] { return rig.received().size() >= 2; }, 2000));
    const auto got = rig.received();
    EXPECT_EQ(got[0], midi_message(0x92, 64, 90));
    EXPECT_EQ(got[1], midi_message(0x82, 64, 0));
    keyboard.close();
}
