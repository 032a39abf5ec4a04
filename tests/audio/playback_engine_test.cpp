#include "audio/playback_engine.h"
#include "app/transport_state.h"
#include "edit/pseudo_clipboard.h"
#include "view/mouse_selection.h"

#include "simulated_wave_out.h"
#include "support/document_test.h"

using Bytes = WavBuilder::Bytes;

class PlaybackTest : public DocumentTest, public PlaybackHost {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        SimulatedWaveOut::state() = SimulatedWaveOutState{};
        SimulatedWaveOut::events().clear();
        set_wave_out_factory(SimulatedWaveOut::make);
        PlaybackEngine& e = engine();
        e.setHost(this);
        e.loopPlayback = false;
        e.loop_count_enabled = false;
        e.loop_count = 1;
    }
    void TearDown() override
    {
        PlaybackEngine& e = engine();
        if (e.is_playing()) {
            e.stop_playback();
            SimulatedWaveOut::deliver();
        }
        e.setHost(nullptr);
        set_wave_out_factory(nullptr);
        docs.clear();
        DocumentTest::TearDown();
    }
    static PlaybackEngine& engine() { return PlaybackEngine::instance(); }

    CChildFrame& open(int channels, int bits, std::uint32_t rate, std::size_t frames, std::uint32_t seed = 1)
    {
        data = WavBuilder::randomBytes(frames * static_cast<std::size_t>(channels * bits / 8), seed);
        writeFile(path("play.wav"), WavBuilder::pcm(static_cast<std::uint16_t>(channels), rate,
                                                    static_cast<std::uint16_t>(bits), data));
        docs.push_back(open_document_file(path("play.wav")));
        EXPECT_TRUE(docs.back());
        return *docs.back();
    }
    // Runs the device until playback ends (or the step limit).
    static void playToTheEnd(int steps = 100000)
    {
        SimulatedWaveOut::deliver();
        while (engine().is_playing() && steps-- > 0) {
            SimulatedWaveOut::advance(25);
            SimulatedWaveOut::deliver();
        }
        SimulatedWaveOut::deliver();
    }

    void startCursorTimer(CChildFrame&) override { ++timerStarts; }
    void stopCursorTimer(CChildFrame&) override { ++timerStops; }
    void playbackEnded(CChildFrame&) override { ++ends; }
    void sequenceEntryChanged(CChildFrame&, int index, const std::string&) override { entries.push_back(index); }

    Bytes data;
    std::vector<std::unique_ptr<CChildFrame>> docs;
    int timerStarts = 0, timerStops = 0, ends = 0;
    std::vector<int> entries;
};

TEST_F(PlaybackTest, PlaysTheWholeFileSampleForSampleThroughFourTenthSecondBuffers)
{
    CChildFrame& f = open(2, 16, 22050, 22050 * 2);  // two seconds
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    EXPECT_TRUE(engine().is_playing());
    EXPECT_TRUE(transport_state().playing);
    EXPECT_EQ(engine().play_buffer_count, 4);
    EXPECT_EQ(engine().play_buffer_size(), 2u * 2u * 22050u / 10u);
    EXPECT_EQ(timerStarts, 1);
    playToTheEnd();
    EXPECT_EQ(SimulatedWaveOut::state().played, data);
    EXPECT_FALSE(engine().is_playing());
    EXPECT_FALSE(transport_state().playing);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(timerStops, 1);
    EXPECT_EQ(SimulatedWaveOut::state().closes, 1);
    for (std::size_t bytes : SimulatedWaveOut::state().writes)
        EXPECT_LE(bytes, 8820u);  // never more than a tenth of a second in one buffer
}

TEST_F(PlaybackTest, ShortSixteenBitSelectionsPlayFromOneBufferAndWithoutCursor)
{
    CChildFrame& f = open(1, 16, 22050, 22050 * 3);
    f.bHighlight = 1;
    set_selection_units(f, 2000, 2000 + 22050);  // one second: below 1.24 s
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    EXPECT_EQ(engine().play_buffer_count, 1);
    EXPECT_TRUE(engine().play_short());  // 1 s x 0.25 < 0.5 s
    EXPECT_EQ(timerStarts, 0);
    playToTheEnd();
    EXPECT_EQ(SimulatedWaveOut::state().played, Bytes(data.begin() + 4000, data.begin() + 4000 + 44100));

    // 8-bit: always four buffers, short only below half a second.
    CChildFrame& g = open(1, 8, 22050, 22050 * 3, 2);
    g.bHighlight = 1;
    set_selection_units(g, 0, 22050);
    SimulatedWaveOut::state().played.clear();
    ASSERT_EQ(engine().play_the_wavefile(g), 1);
    EXPECT_EQ(engine().play_buffer_count, 4);
    EXPECT_FALSE(engine().play_short());
    playToTheEnd();
    EXPECT_EQ(SimulatedWaveOut::state().played, Bytes(data.begin(), data.begin() + 22050));
}

TEST_F(PlaybackTest, AStartInsideAFrameMovesDownToFourBytes)
{
    CChildFrame& f = open(1, 16, 22050, 30000);
    f.bHighlight = 1;
    set_selection_units(f, 1001, 21001);  // byte 2002
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    EXPECT_EQ(engine().play_start_offset(), 2000u);
    EXPECT_EQ(engine().play_total_bytes(), 40000u);
    playToTheEnd();
    EXPECT_EQ(SimulatedWaveOut::state().played, Bytes(data.begin() + 2000, data.begin() + 42000));
}

// Where the played range is shown in the document: the highlight's start for
// the document's own file, and the given place for a file of its own (an
// effect's preview of the highlight), not the document's start.
TEST_F(PlaybackTest, ThePlayedRangeIsShownWhereItLiesInTheDocument)
{
    CChildFrame& f = open(1, 16, 22050, 30000);
    f.bHighlight = 1;
    set_selection_units(f, 10000, 20000);
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    EXPECT_EQ(engine().play_shown_start(), 10000u);
    playToTheEnd();
    // A preview: its own file from byte 0, shown at the highlight.
    writeFile(path("preview.pcm"), Bytes(data.begin(), data.begin() + 8000));
    ASSERT_EQ(engine().play_file(f, path("preview.pcm"), 0, 8000, f.nSelStart), 1);
    EXPECT_EQ(engine().play_start_offset(), 0u);
    EXPECT_EQ(engine().play_shown_start(), 10000u);
    playToTheEnd();
    // Without a place given, a file plays shown from where its bytes begin.
    ASSERT_EQ(engine().play_file(f, path("preview.pcm"), 4000, 8000), 1);
    EXPECT_EQ(engine().play_shown_start(), 2000u);
    playToTheEnd();
}

TEST_F(PlaybackTest, ALoopCountPlaysTheRangeThatManyTimesAndStopEndsALoop)
{
    CChildFrame& f = open(1, 8, 11025, 11025 * 2);
    engine().loopPlayback = true;
    engine().loop_count_enabled = true;
    engine().loop_count = 3;
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    playToTheEnd();
    Bytes thrice;
    for (int i = 0; i < 3; ++i)
        thrice.insert(thrice.end(), data.begin(), data.end());
    EXPECT_EQ(SimulatedWaveOut::state().played, thrice);
    EXPECT_EQ(engine().loop_pass(), 3);
    EXPECT_EQ(SimulatedWaveOut::state().opens, 1);  // the device stays open between passes
    EXPECT_EQ(ends, 1);

    // Looping without a count until Stop: the queued buffers come back, no new pass.
    engine().loop_count_enabled = false;
    SimulatedWaveOut::state().played.clear();
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    SimulatedWaveOut::deliver();
    for (int i = 0; i < 400; ++i) {  // ten seconds: five passes
        SimulatedWaveOut::advance(25);
        SimulatedWaveOut::deliver();
    }
    EXPECT_TRUE(engine().is_playing());
    const std::size_t before = SimulatedWaveOut::state().played.size();
    EXPECT_GE(before, 4 * data.size());
    engine().stop_playback();
    SimulatedWaveOut::deliver();
    EXPECT_FALSE(engine().is_playing());
    SimulatedWaveOut::advance(5000);
    EXPECT_EQ(SimulatedWaveOut::state().played.size(), before);
}

TEST_F(PlaybackTest, PlayWhilePlayingStopsAndPauseLeavesOutThePausedTime)
{
    CChildFrame& f = open(2, 16, 44100, 44100 * 4);
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    SimulatedWaveOut::deliver();
    for (int i = 0; i < 20; ++i) {  // half a second
        SimulatedWaveOut::advance(25);
        SimulatedWaveOut::deliver();
    }
    EXPECT_NEAR(engine().get_play_position_ms(), 500.0, 1.0);
    engine().pause_playback();
    EXPECT_TRUE(engine().is_paused());
    SimulatedWaveOut::advance(1000);  // paused: nothing plays
    SimulatedWaveOut::deliver();
    EXPECT_NEAR(engine().get_play_position_ms(), 500.0, 1.0);
    engine().pause_playback();
    EXPECT_FALSE(engine().is_paused());
    SimulatedWaveOut::advance(250);
    SimulatedWaveOut::deliver();
    EXPECT_NEAR(engine().get_play_position_ms(), 750.0, 1.0);
    EXPECT_EQ(engine().play_the_wavefile(f), 0);  // a second Play stops
    SimulatedWaveOut::deliver();
    EXPECT_FALSE(engine().is_playing());
    EXPECT_EQ(ends, 1);
}

TEST_F(PlaybackTest, NothingPlaysWithoutADeviceOrWithTooLittleData)
{
    CChildFrame& f = open(1, 8, 8000, 10000);
    set_wave_out_factory(nullptr);
    EXPECT_EQ(engine().play_the_wavefile(f), 0);
    set_wave_out_factory(SimulatedWaveOut::make);
    SimulatedWaveOut::state().refuse = true;  // the device refuses the format
    EXPECT_EQ(engine().play_the_wavefile(f), 0);
    EXPECT_FALSE(engine().is_playing());
    SimulatedWaveOut::state().refuse = false;
    CChildFrame& tiny = open(1, 8, 8000, 29, 3);
    EXPECT_EQ(engine().play_the_wavefile(tiny), 0);
}

TEST_F(PlaybackTest, TheClipboardPlaysInItsOwnFormat)
{
    CChildFrame& f = open(2, 16, 22050, 22050);
    f.bHighlight = 1;
    set_selection_units(f, 0, 22050);
    ASSERT_EQ(copy_to_pseudo_clipboard(f), 1);
    ASSERT_EQ(engine().play_clipboard(f), 1);
    EXPECT_TRUE(engine().playing_clipboard());
    EXPECT_EQ(engine().play_buffer_size(), 88200u * 8192u / 44100u);  // from a byte rate below 88201
    playToTheEnd();
    EXPECT_EQ(SimulatedWaveOut::state().played, Bytes(data.begin(), data.begin() + 44100));
    EXPECT_EQ(SimulatedWaveOut::state().format.rate, 22050u);
}

TEST_F(PlaybackTest, StopBeforeTheDeviceIsReadyEndsWithoutPlayingAnything)
{
    CChildFrame& f = open(2, 16, 22050, 22050 * 2);
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    engine().stop_playback();  // the open completion has not arrived yet
    SimulatedWaveOut::deliver();
    EXPECT_FALSE(engine().is_playing());
    EXPECT_TRUE(SimulatedWaveOut::state().played.empty());
    EXPECT_TRUE(SimulatedWaveOut::state().writes.empty());
    EXPECT_EQ(SimulatedWaveOut::state().closes, 1);
    EXPECT_EQ(timerStops, 1);
    // The engine is free for the next Play.
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    playToTheEnd();
    EXPECT_EQ(SimulatedWaveOut::state().played.size(), data.size());
}

TEST_F(PlaybackTest, AClickWithoutAHighlightPlaysFromThereAndAHighlightWins)
{
    CChildFrame& f = open(2, 16, 22050, 22050);
    // From unit 20001 (inside a frame: moved down to 20000) to the end.
    engine().play_from_unit = 20001;
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    EXPECT_FALSE(engine().play_from_unit);
    playToTheEnd();
    EXPECT_EQ(SimulatedWaveOut::state().played, Bytes(data.begin() + 40000, data.end()));
    // A click at the very end plays nothing and leaves nothing open.
    engine().play_from_unit = f.nTotalSamples;
    EXPECT_EQ(engine().play_the_wavefile(f), 0);
    EXPECT_FALSE(engine().is_playing());
    // With a highlight the click does not count.
    SimulatedWaveOut::state() = SimulatedWaveOutState{};
    f.bHighlight = true;
    set_selection_units(f, 100, 4100);
    engine().play_from_unit = 30000;
    ASSERT_EQ(engine().play_the_wavefile(f), 1);
    playToTheEnd();
    EXPECT_EQ(SimulatedWaveOut::state().played, Bytes(data.begin() + 200, data.begin() + 8200));
}

TEST_F(PlaybackTest, ACueSequencePlaysItsEntriesInTurnAndGivesBackTheFirstRange)
{
    CChildFrame& f = open(2, 16, 22050, 22050);
    // The third entry plays from a file of its own in the document's format.
    const Bytes other = WavBuilder::randomBytes(16000, 99);
    writeFile(path("other.raw"), other);
    engine().cue_sequence = {{1000, 5000, ""}, {20000, 24000, ""}, {0, 2000, path("other.raw")}};
    ASSERT_EQ(engine().play_cue_sequence(f, 0), 1);
    EXPECT_EQ(f.nSelStart, 1000u);
    EXPECT_EQ(f.nSelEndByte, 10000u);
    playToTheEnd();
    for (int i = 0; i < 20 && (engine().is_playing() || engine().sequence_running()); ++i)
        playToTheEnd();
    Bytes expected(data.begin() + 2000, data.begin() + 10000);
    expected.insert(expected.end(), data.begin() + 40000, data.begin() + 48000);
    expected.insert(expected.end(), other.begin(), other.begin() + 4000);
    EXPECT_EQ(SimulatedWaveOut::state().played, expected);
    EXPECT_EQ(entries, (std::vector<int>{1, 2, 0}));
    EXPECT_FALSE(engine().sequence_running());
    // The first entry's range is the selection again.
    EXPECT_EQ(f.nSelStart, 1000u);
    EXPECT_EQ(f.nSelEnd, 5000u);
    EXPECT_EQ(f.nSelStartByte, 2000u);

    // Stop in the middle ends the whole sequence.
    SimulatedWaveOut::state() = SimulatedWaveOutState{};
    entries.clear();
    ASSERT_EQ(engine().play_cue_sequence(f, 1), 1);
    SimulatedWaveOut::deliver();
    SimulatedWaveOut::advance(25);
    engine().stop_playback();
    playToTheEnd();
    EXPECT_FALSE(engine().is_playing());
    EXPECT_FALSE(engine().sequence_running());
    EXPECT_TRUE(entries.empty());
    EXPECT_LT(SimulatedWaveOut::state().played.size(), 8000u);
    // An entry out of range does not start.
    EXPECT_EQ(engine().play_cue_sequence(f, 3), 0);
}
