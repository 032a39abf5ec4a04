// Chase lock on a simulated clock: MIDI Time Code fed in real time order,
// ticks every smpte_frame_rate / 2 ms, the playback engine on the simulated
// wave output device.

#include "sync/chase_lock.h"

#include "audio/playback_engine.h"

#include "../audio/simulated_wave_out.h"
#include "support/document_test.h"
#include "support/mtc_source.h"

#include <cmath>


class ChaseLockTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        SimulatedWaveOut::state() = SimulatedWaveOutState{};
        SimulatedWaveOut::events().clear();
        set_wave_out_factory(SimulatedWaveOut::make);
        smpte_frame_rate = 24;
        chase_preroll_frames = 0;
        // Ten seconds, 16-bit stereo at 48 kHz; every frame holds its own
        // index so that what played tells where it came from.
        writeFile(path("chase.wav"), WavBuilder::pcm(2, 48000, 16, WavBuilder::indexedFrames(480000)));
        doc = open_document_file(path("chase.wav"));
        ASSERT_TRUE(doc);
        chase = std::make_unique<ChaseLock>(*doc);
        chase->set_timers(false);
        chase->onText = [this](int control, const std::string& text) { texts.emplace_back(control, text); };
    }
    void TearDown() override
    {
        chase.reset();
        PlaybackEngine& e = PlaybackEngine::instance();
        if (e.is_playing())
            e.stop_playback();
        SimulatedWaveOut::deliver();
        set_wave_out_factory(nullptr);
        doc.reset();
        DocumentTest::TearDown();
    }

    // Runs `ms` milliseconds of simulated time: quarter frames from `source`
    // while `codeRunning`, a tick every smpte_frame_rate / 2 ms, the device
    // playing in 1 ms steps.
    void run(double ms, bool codeRunning = true)
    {
        const double quarter = 1000.0 / (4.0 * source.fps);
        const double end = now + ms;
        for (; now < end; now += 1.0) {
            while (codeRunning && nextQuarterAt <= now) {
                chase->midi_message(source.piece(quarter_), static_cast<std::int64_t>(nextQuarterAt * 1e6));
                ++quarter_;
                nextQuarterAt += quarter;
            }
            if (!codeRunning)
                nextQuarterAt = now + quarter;
            if (now >= nextTickAt) {
                chase->tick();
                ++ticks;
                nextTickAt += chase->tick_period_ms();
            }
            SimulatedWaveOut::advance(1.0);
            SimulatedWaveOut::deliver();
        }
    }
    // Starts the code again at frame `frame`.
    void restartCodeAt(long frame)
    {
        source.startFrame = frame;
        quarter_ = 0;
    }
    // The file frame of the first frame the device played since byte `from`.
    std::uint32_t firstPlayedFrame(std::size_t from = 0) const
    {
        return WavBuilder::frameIndexAt(SimulatedWaveOut::state().played, from);
    }
    bool saw(int control, const std::string& text) const
    {
        for (const auto& [c, t] : texts)
            if (c == control && t == text)
                return true;
        return false;
    }

    std::unique_ptr<CChildFrame> doc;
    std::unique_ptr<ChaseLock> chase;
    MtcSource source;
    long quarter_ = 0;
    double now = 0.0, nextQuarterAt = 0.0, nextTickAt = 0.0;
    int ticks = 0;
    std::vector<std::pair<int, std::string>> texts;
};

TEST_F(ChaseLockTest, StartsAtTheCueStopsWithTheCodeAndReArmsWhenItReturns)
{
    PlaybackEngine& engine = PlaybackEngine::instance();
    chase->set_cue(0, 0, 2, 0);
    chase->open_without_port();
    chase->show_ready_texts();
    EXPECT_EQ(chase->text(kChaseStatus), "Waiting to start");
    EXPECT_EQ(chase->text(kChaseCue), "00:00:02:00");
    EXPECT_EQ(chase->text(kChaseInstruction1), "1) Start MTC Device; 2) Press Start");
    EXPECT_EQ(chase->text(kChaseInstruction2), "Ready for Midi Time Code Input");
    EXPECT_EQ(chase->text(kChaseTimeCode), "00:00:00:00");
    EXPECT_EQ(chase->tick_period_ms(), 12);

    source.startFrame = 24;  // the code runs from one second, before the cue
    chase->start();
    EXPECT_FALSE(chase->chase_start_pending);
    EXPECT_TRUE(chase->cue_armed);
    EXPECT_EQ(chase->cue_byte, 2u * 48000 * 4);
    EXPECT_TRUE(engine.start_is_prepared());
    EXPECT_EQ(host.controlText(kChaseStart), "&Cancel");
    EXPECT_EQ(SimulatedWaveOut::state().opens, 0) << "without a holding device, it opens at the cue";

    run(900);
    EXPECT_FALSE(engine.is_playing());
    run(400);
    ASSERT_TRUE(engine.is_playing());
    EXPECT_EQ(chase->text(kChaseStatus), "Reached cuepoint");
    EXPECT_FALSE(chase->cue_armed);
    // The sound begins exactly at the cue; the code had reached it when the
    // complete time naming 00:00:02:00 arrived (1.75 frames after it).
    EXPECT_EQ(firstPlayedFrame(), 96000u);
    EXPECT_EQ(doc->nCaretX, static_cast<int>(doc->sample_to_pixel(192000)));

    // The code stops: 20 silent ticks are not enough, the 21st is.
    run(60, false);  // the last complete time goes out of date
    const int silentBefore = chase->mtc_silent_ticks;
    while (chase->mtc_silent_ticks < 20)
        run(1, false);
    EXPECT_FALSE(chase->mtc_stopped) << "after " << silentBefore;
    EXPECT_TRUE(engine.is_playing());
    while (!chase->mtc_stopped && chase->mtc_silent_ticks == 20)
        run(1, false);
    EXPECT_TRUE(chase->mtc_stopped);
    EXPECT_EQ(chase->mtc_silent_ticks, 21);
    EXPECT_EQ(chase->text(kChaseStatus), "MTC device stopped");
    EXPECT_EQ(chase->text(kChaseInstruction1), "Restart MTC Device");
    run(30, false);
    EXPECT_FALSE(engine.is_playing());
    const std::size_t playedBefore = SimulatedWaveOut::state().played.size();

    // The code comes back at five seconds: re-armed there, playing from there.
    restartCodeAt(5 * 24);
    run(200);
    EXPECT_TRUE(saw(kChaseStatus, "MTC device restarted"));
    EXPECT_TRUE(saw(kChaseInstruction1, "Press Cancel to quit"));
    ASSERT_TRUE(engine.is_playing());
    EXPECT_EQ(chase->text(kChaseStatus), "Reached cuepoint");
    EXPECT_EQ(chase->text(kChaseTimeCode).substr(0, 9), "00:00:05:");
    EXPECT_EQ(firstPlayedFrame(playedBefore), 5u * 48000);

    // Nudges move the read position by 10 ms while playing.
    const std::uint32_t read = engine.play_bytes_read();
    chase->nudge(true);
    EXPECT_EQ(engine.play_bytes_read(), read + 1920);
    chase->nudge(false);
    chase->nudge(false);
    EXPECT_EQ(engine.play_bytes_read(), read - 1920);

    chase->cancel();
    EXPECT_FALSE(engine.start_is_prepared());
}

TEST_F(ChaseLockTest, APreRollWaitsAndStartsThatManyFramesOn)
{
    chase_preroll_frames = 3;
    chase->set_cue(0, 0, 1, 0);
    chase->open_without_port();
    chase->start();
    source.startFrame = 12;
    run(800);
    ASSERT_TRUE(PlaybackEngine::instance().is_playing());
    run(60, false);
    while (!chase->mtc_stopped)
        run(1, false);
    run(30, false);
    const std::size_t playedBefore = SimulatedWaveOut::state().played.size();
    restartCodeAt(4 * 24);
    // Re-arming waits for more than three ticks of fresh code.
    int restartedAfterTicks = -1;
    const int ticksAtRestart = ticks;
    while (ticks - ticksAtRestart < 100 && !PlaybackEngine::instance().is_playing()) {
        run(1);
        if (restartedAfterTicks < 0 && !chase->mtc_stopped)
            restartedAfterTicks = ticks - ticksAtRestart;
    }
    ASSERT_TRUE(PlaybackEngine::instance().is_playing());
    run(20);
    EXPECT_GT(restartedAfterTicks, 3);
    // The cue is the live code three frames on: a whole frame, and playback
    // begins there.
    const double cue = chase->cue_time_seconds;
    EXPECT_NEAR(cue * 24.0, std::round(cue * 24.0), 1e-3);
    EXPECT_GT(cue, 4.0 + 3.0 / 24 - 1e-6);
    EXPECT_EQ(firstPlayedFrame(playedBefore), chase->cue_byte / 4);
}

TEST_F(ChaseLockTest, ACueOutsideTheFileNeverArmsAndNothingPlays)
{
    chase->set_cue(0, 0, 20, 0);  // the document is ten seconds long
    chase->open_without_port();
    chase->start();
    EXPECT_FALSE(chase->cue_armed);
    EXPECT_FALSE(PlaybackEngine::instance().start_is_prepared());
    source.startFrame = 19 * 24;
    run(2000);
    EXPECT_FALSE(PlaybackEngine::instance().is_playing());
    EXPECT_EQ(SimulatedWaveOut::state().opens, 0);
    EXPECT_EQ(chase->text(kChaseTimeCode).substr(0, 8), "00:00:20");

    // After a restart at a time past the end, that tick stops short.
    run(60, false);
    while (!chase->mtc_stopped)
        run(1, false);
    restartCodeAt(30 * 24);
    run(300);
    EXPECT_TRUE(chase->mtc_stopped);
    EXPECT_FALSE(PlaybackEngine::instance().is_playing());
    EXPECT_FALSE(saw(kChaseStatus, "MTC device restarted"));
}

TEST_F(ChaseLockTest, TimeCodeJumpingAroundAndGarbageCauseNoRunawayPlayback)
{
    chase->set_cue(0, 0, 3, 0);
    chase->open_without_port();
    chase->start();
    // Backwards and forwards jumps before the cue; garbage in between.
    source.startFrame = 24;
    run(300);
    for (std::uint32_t junk : {0xFFFFFFFFu, 0x00F1u, 0x3FF1u, 0xF2u, 0x12345678u, 0u})
        chase->midi_message(junk, 0);
    restartCodeAt(0);
    run(300);
    EXPECT_FALSE(PlaybackEngine::instance().is_playing());
    // A jump past the cue starts at the cue, once.
    restartCodeAt(7 * 24);
    run(300);
    ASSERT_TRUE(PlaybackEngine::instance().is_playing());
    EXPECT_EQ(firstPlayedFrame(), 3u * 48000);
    const int opens = SimulatedWaveOut::state().opens;
    restartCodeAt(2 * 24);
    run(1500);
    EXPECT_EQ(SimulatedWaveOut::state().opens, opens) << "a jump back does not start again";
    chase->cancel();
    EXPECT_EQ(chase->running(), true);
}

TEST_F(ChaseLockTest, AHoldingDeviceIsOpenedAtArmingAndGivenTheCompensation)
{
    SimulatedWaveOut::state().canPrepare = true;
    chase->set_compensation(true);
    chase->set_cue(0, 0, 2, 0);
    chase->open_without_port();
    chase->start();
    SimulatedWaveOut::deliver();
    EXPECT_EQ(SimulatedWaveOut::state().prepares, 1);
    EXPECT_TRUE(SimulatedWaveOut::state().held);
    EXPECT_FALSE(PlaybackEngine::instance().is_playing());
    source.startFrame = 24;
    run(1300);
    ASSERT_TRUE(PlaybackEngine::instance().is_playing());
    EXPECT_FALSE(SimulatedWaveOut::state().held);
    const StartAlignment& a = SimulatedWaveOut::state().alignment;
    ASSERT_TRUE(a.enabled);
    // At the arrival of the last quarter frame of 00:00:02:00 the code stood
    // 1.75 frames on from the cue.
    // 00:00:02:00 is the thirteenth time from one second: its last quarter
    // frame is the 104th, at 103 quarter-frame periods.
    EXPECT_EQ(a.referenceNs, static_cast<std::int64_t>(103 * (1000.0 / 96) * 1e6));
    EXPECT_NEAR(a.referenceSeconds, 1.75 / 24, 1e-6);

    // Without compensation the same start is not aligned.
    chase->cancel();
    PlaybackEngine::instance().stop_playback();
    SimulatedWaveOut::deliver();
}

TEST_F(ChaseLockTest, NoMidiInputEndsTheDialogWithItsMessage)
{
    bool ended = false;
    chase->onEnded = [&] { ended = true; };
    EXPECT_EQ(chase->open(999), 0);
    EXPECT_TRUE(ended);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().text, "Failed to open MIDI for input");
}
