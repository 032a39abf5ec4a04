#include "app/clock.h"
#include "app/posix_io.h"
#include "audio/playback_engine.h"
#include "audio/record_engine.h"
#include "app/transport_state.h"
#include "edit/undo.h"

#include "simulated_wave_in.h"
#include "simulated_wave_out.h"
#include "support/document_test.h"

#include <QCoreApplication>
#include <fcntl.h>
#include <unistd.h>

using Bytes = WavBuilder::Bytes;

namespace {

// A 16-bit stereo frame.
void frame16(Bytes& out, int left, int right)
{
    WavBuilder::put16(out, static_cast<std::uint16_t>(static_cast<std::int16_t>(left)));
    WavBuilder::put16(out, static_cast<std::uint16_t>(static_cast<std::int16_t>(right)));
}

Bytes silence16(std::size_t bytes) { return Bytes(bytes, 0); }

}  // namespace

class RecordTest : public DocumentTest, public RecordHost {
protected:
    static void SetUpTestSuite()
    {
        // The engine's periodic timers need an application object; the
        // tests drive the periodic commands themselves.
        static int argc = 1;
        static char name[] = "record_test";
        static char* argv[] = {name, nullptr};
        if (!QCoreApplication::instance())
            new QCoreApplication(argc, argv);
    }

    void SetUp() override
    {
        DocumentTest::SetUp();
        SimulatedWaveIn::state() = SimulatedWaveInState{};
        SimulatedWaveIn::events().clear();
        set_wave_in_factory(SimulatedWaveIn::make);
        // Every read moves the clock on by a millisecond, so waits on it end.
        set_millisecond_clock([this] { return now++; });
        RecordEngine& e = engine();
        e.setHost(this);
        e.insert_mode = 0;
        e.trigger_on_signal = false;
        e.trigger_continue = false;
        e.auto_stop_enabled = false;
        e.auto_stop_limit_ms = 10000;
        e.fast_meter = true;
        e.metronome_on = false;
        e.rewind_after_take = true;
        e.record_buffer_count = 6;
        e.reset_meter();
    }
    void TearDown() override
    {
        RecordEngine& e = engine();
        if (!e.idle()) {
            e.stop_recording();
            SimulatedWaveIn::deliver();
        }
        e.discard_take();
        e.setHost(nullptr);
        set_wave_in_factory(nullptr);
        set_millisecond_clock({});
        docs.clear();
        DocumentTest::TearDown();
    }
    static RecordEngine& engine() { return RecordEngine::instance(); }

    // A 22050 Hz stereo 16-bit document holding `data`.
    CChildFrame& openDoc(const Bytes& data, int channels = 2, int bits = 16, std::uint32_t rate = 22050)
    {
        const std::string name = path("doc" + std::to_string(docs.size()) + ".wav");
        writeFile(name, WavBuilder::pcm(static_cast<std::uint16_t>(channels), rate, static_cast<std::uint16_t>(bits),
                                        data));
        docs.push_back(open_document_file(name));
        EXPECT_TRUE(docs.back());
        return *docs.back();
    }

    // Starts a take, captures `bytes` (advancing the clock by the duration of
    // each buffer as it fills) and stops.
    void recordTake(const Bytes& bytes, bool stop = true)
    {
        ASSERT_EQ(engine().start_recording(), 1);
        SimulatedWaveIn::deliver();
        feed(bytes);
        if (stop) {
            engine().stop_recording();
            SimulatedWaveIn::deliver();
        }
    }
    void feed(const Bytes& bytes)
    {
        const std::size_t size = engine().record_buffer_size();
        for (std::size_t at = 0; at < bytes.size() && !engine().idle(); at += size) {
            const std::size_t take = std::min(size, bytes.size() - at);
            now += static_cast<std::uint32_t>(take * 1000 / engine().format.bytesPerSecond());
            SimulatedWaveIn::capture(Bytes(bytes.begin() + static_cast<long>(at),
                                           bytes.begin() + static_cast<long>(at + take)));
            SimulatedWaveIn::deliver();
        }
    }

    void showMeters(const Peaks& p) override { meters.push_back(p); }
    void showTriggerStatus(const std::string& text) override { triggerTexts.push_back(text); }
    void showAvailable(const std::string& text) override { available = text; }
    void showElapsed(const std::string& text) override { elapsed = text; }
    void metronomeTick() override { ++beats; }

    std::uint32_t now = 1000;
    std::vector<std::unique_ptr<CChildFrame>> docs;
    std::vector<Peaks> meters;
    std::vector<std::string> triggerTexts;
    std::string available, elapsed;
    int beats = 0;
};

TEST(RecordSizing, BufferSizesAndTimerResolution)
{
    EXPECT_EQ(record_buffer_size_for({2, 16, 2, 22050}, false, true), 32768u);
    EXPECT_EQ(record_buffer_size_for({1, 8, 1, 8000}, false, true), 4096u);
    EXPECT_EQ(record_buffer_size_for({2, 16, 2, 48000}, false, true), 32768u);
    // 11025 Hz mono 16-bit: a quarter of the full size, plus one, to a frame.
    EXPECT_EQ(record_buffer_size_for({1, 16, 2, 11025}, false, true), 8192u);
    // The level test: an 18th (fast meter) or a 15th of a second.
    EXPECT_EQ(record_buffer_size_for({2, 16, 2, 22050}, true, true), 22050u * 4 / 18);
    EXPECT_EQ(record_buffer_size_for({2, 16, 2, 22050}, true, false), 22050u * 4 / 15);

    EXPECT_EQ(timer_resolution_for(1, 1000000), 10);
    EXPECT_EQ(timer_resolution_for(1, 5), 5);
    EXPECT_EQ(timer_resolution_for(16, 1000000), 16);
}

TEST(RecordMeters, PeaksCountPositiveExcursionsAndClipAt126)
{
    const RecordFormat stereo16{2, 16, 2, 22050};
    Bytes b;
    frame16(b, 126 * 256, -32768);
    frame16(b, -1000, 125 * 256 + 255);
    Peaks p = peak_levels(b.data(), 0, b.size(), stereo16);
    EXPECT_EQ(p.left, 126);
    EXPECT_EQ(p.right, 125);
    EXPECT_TRUE(clip_indicator_lit(p));
    EXPECT_FALSE(clip_indicator_lit({125, 125}));
    EXPECT_TRUE(clip_indicator_lit({-5, 126}));
    // Only negative swings: the peak stays near the bottom of the scale.
    Bytes neg;
    frame16(neg, -30000, -30000);
    EXPECT_EQ(peak_levels(neg.data(), 0, neg.size(), stereo16).left, -117);
    // A start inside a frame is rounded down to the frame.
    EXPECT_EQ(peak_levels(b.data(), 6, b.size(), stereo16).right, 125);
    EXPECT_EQ(peak_levels(b.data(), 6, b.size(), stereo16).left, -3);

    // 8-bit mono: byte - 128, and the right meter copies the left.
    const RecordFormat mono8{1, 8, 1, 8000};
    const Bytes m{128, 254, 10};
    p = peak_levels(m.data(), 0, m.size(), mono8);
    EXPECT_EQ(p.left, 126);
    EXPECT_EQ(p.right, 126);
    EXPECT_DOUBLE_EQ(signal_level(m.data(), m.size(), mono8), 126 * 0.0078125);
}

TEST_F(RecordTest, TakeReplacesFromTheCursorAndIsAdoptedWithOneUndo)
{
    Bytes old;
    for (int i = 0; i < 2000; ++i)
        frame16(old, i, -i);
    CChildFrame& f = openDoc(old);
    const std::string before = f.szFileName;
    engine().begin_dialog(f);
    EXPECT_EQ(engine().record_length(), old.size());
    engine().set_record_position(4000);  // frame 1000

    Bytes take;
    for (int i = 0; i < 30000; ++i)
        frame16(take, 7000 + i % 50, 100);
    recordTake(take);
    EXPECT_TRUE(engine().idle());
    EXPECT_TRUE(engine().take_recorded());
    EXPECT_FALSE(transport_state().recording);
    // Six buffers of 32768 bytes were handed to the device.
    ASSERT_GE(SimulatedWaveIn::state().bufferSizes.size(), 6u);
    EXPECT_EQ(SimulatedWaveIn::state().bufferSizes.front(), 32768u);
    EXPECT_EQ(SimulatedWaveIn::state().format.rate, 22050u);

    Bytes expected(old.begin(), old.begin() + 4000);
    expected.insert(expected.end(), take.begin(), take.end());
    EXPECT_EQ(readFile(engine().szRecordFileName()), expected);
    EXPECT_EQ(engine().record_length(), expected.size());
    EXPECT_EQ(engine().record_position(), 0u);  // rewound after the take

    ASSERT_EQ(engine().adopt_take(), 1);
    EXPECT_EQ(f.nTotalSamples, expected.size() / 2);
    EXPECT_EQ(readFile(f.szFileName), expected);
    EXPECT_EQ(f.szUndoLabel, "&Undo Record...\tCtrl+Z");
    undo_menu_command(f);
    EXPECT_EQ(f.szFileName, before);
    EXPECT_EQ(f.nTotalSamples, old.size() / 2);
    undo_menu_command(f);
    EXPECT_EQ(readFile(f.szFileName), expected);
}

TEST_F(RecordTest, ReplaceInTheMiddleKeepsWhatLiesBehindTheTake)
{
    Bytes old(400000, 0x11);
    CChildFrame& f = openDoc(old);
    engine().begin_dialog(f);
    engine().set_record_position(1000);
    const Bytes take(40000, 0x22);
    recordTake(take);
    Bytes expected = old;
    std::copy(take.begin(), take.end(), expected.begin() + 1000);
    EXPECT_EQ(readFile(engine().szRecordFileName()), expected);
    EXPECT_EQ(engine().record_length(), old.size());
}

TEST_F(RecordTest, InsertPutsTheOldDataBehindTheCursorAfterTheTake)
{
    Bytes old;
    for (int i = 0; i < 50000; ++i)
        frame16(old, i, i / 2);
    CChildFrame& f = openDoc(old);
    engine().begin_dialog(f);
    engine().insert_mode = 1;
    engine().set_record_position(40002);  // rounded down to 40000
    Bytes take;
    for (int i = 0; i < 20000; ++i)
        frame16(take, -i, 3);
    recordTake(take);
    Bytes expected(old.begin(), old.begin() + 40000);
    expected.insert(expected.end(), take.begin(), take.end());
    expected.insert(expected.end(), old.begin() + 40000, old.end());
    EXPECT_EQ(engine().record_tail_length(), old.size() - 40000);
    EXPECT_EQ(readFile(engine().szRecordFileName()), expected);
    // The cursor follows the take; the tail file is gone.
    EXPECT_EQ(engine().record_position(), 40000u + take.size());
    EXPECT_TRUE(engine().szRecordTailFileName().empty());

    // At the very end nothing is copied aside.
    engine().set_record_position(expected.size());
    const Bytes second(8000, 0x40);
    recordTake(second);
    EXPECT_EQ(engine().record_tail_length(), 0u);
    expected.insert(expected.end(), second.begin(), second.end());
    EXPECT_EQ(readFile(engine().szRecordFileName()), expected);
}

TEST_F(RecordTest, SignalTriggerWritesNothingUntilAPositivePeakPassesAndStartsTheAutoStopClock)
{
    CChildFrame& f = openDoc(Bytes(400, 0));
    engine().begin_dialog(f);
    engine().trigger_on_signal = true;
    engine().signal_threshold = 0.5f;
    engine().auto_stop_limit_ms = 1000;
    const std::size_t size = record_buffer_size_for(engine().format, false, true);

    ASSERT_EQ(engine().start_recording(), 1);
    SimulatedWaveIn::deliver();
    // Three buffers of silence and one of loud negative swings: nothing is
    // written, and no time limit runs.
    Bytes negative;
    for (std::size_t i = 0; i < size / 4; ++i)
        frame16(negative, -30000, -30000);
    feed(silence16(3 * size));
    feed(negative);
    now += 60000;
    EXPECT_FALSE(engine().idle());
    EXPECT_FALSE(engine().capturing());
    EXPECT_EQ(readFile(engine().szRecordFileName()), Bytes(400, 0));  // the document's data, untouched
    ASSERT_EQ(triggerTexts.size(), 4u);
    EXPECT_EQ(triggerTexts[0], "Sample = 0.000000  Threshold = 0.500000");
    EXPECT_EQ(triggerTexts[3], "Sample = -0.914062  Threshold = 0.500000");

    // Exactly 0.5 does not pass (64 x 256); just above it does.
    Bytes half, loud;
    for (std::size_t i = 0; i < size / 4; ++i) {
        frame16(half, 64 * 256, 0);
        frame16(loud, 0, 65 * 256);
    }
    feed(half);
    EXPECT_FALSE(engine().capturing());
    feed(loud);
    EXPECT_TRUE(engine().capturing());
    EXPECT_EQ(readFile(engine().szRecordFileName()), loud);
    // The limit counts from the trigger: 1000 ms later the take stops.
    feed(silence16(size));  // 371 ms after the trigger
    feed(silence16(size));  // 742 ms
    EXPECT_FALSE(engine().idle());
    feed(silence16(size));  // 1114 ms: stops at this buffer
    EXPECT_TRUE(engine().idle());
    EXPECT_EQ(get_named_file_length(engine().szRecordFileName()), 4 * size);
}

TEST_F(RecordTest, AutoStopEndsAtTheFirstBufferAfterTheLimit)
{
    CChildFrame& f = openDoc(Bytes(400, 0));
    engine().begin_dialog(f);
    engine().auto_stop_enabled = true;
    engine().auto_stop_limit_ms = 10000;
    ASSERT_EQ(engine().start_recording(), 1);
    SimulatedWaveIn::deliver();
    const std::size_t size = engine().record_buffer_size();
    int buffers = 0;
    // Each 32768-byte buffer is 371 ms of 22050 Hz stereo 16-bit.
    while (!engine().idle() && buffers < 100) {
        feed(silence16(size));
        ++buffers;
    }
    EXPECT_EQ(buffers, 27);  // 26 x 371 = 9646 ms, 27 x 371 = 10017 ms
    EXPECT_EQ(get_named_file_length(engine().szRecordFileName()), 27 * size);
}

TEST_F(RecordTest, MetersScanTheLastBufferInQuartersAndAverageWhenSlow)
{
    CChildFrame& f = openDoc(Bytes(400, 0));
    engine().begin_dialog(f);
    ASSERT_EQ(engine().start_recording(), 1);
    SimulatedWaveIn::deliver();
    const std::size_t size = engine().record_buffer_size();
    // Four quarters with rising peaks; the last two frames are loud but
    // never read.
    Bytes b;
    for (std::size_t i = 0; i < size / 4; ++i) {
        const int quarter = static_cast<int>(i * 4 / (size / 4));
        const bool lastTwo = i >= size / 4 - 2;
        frame16(b, lastTwo ? 32767 : (20 + 10 * quarter) * 256, 5 * 256);
    }
    feed(b);
    meters.clear();
    for (int tick = 0; tick < 6; ++tick)
        engine().command_547();
    ASSERT_EQ(meters.size(), 4u);  // the fifth and sixth ticks change nothing
    EXPECT_EQ(meters[0].left, 20);
    EXPECT_EQ(meters[1].left, 30);
    EXPECT_EQ(meters[2].left, 40);
    EXPECT_EQ(meters[3].left, 50);
    EXPECT_EQ(meters[3].right, 5);
    EXPECT_NE(available.find(" min"), std::string::npos);

    // The slow meter averages each new peak with the one before.
    engine().fast_meter = false;
    feed(b);
    meters.clear();
    engine().command_547();
    ASSERT_EQ(meters.size(), 1u);
    EXPECT_EQ(meters[0].left, (50 + 20) / 2);

    // Elapsed time in whole half-seconds.
    now += 1234;
    engine().command_541();
    EXPECT_FALSE(elapsed.empty());
    engine().metronome_on = true;
    engine().command_548();
    EXPECT_EQ(beats, 1);
}

TEST_F(RecordTest, LevelTestWritesNothingAndMetersEveryBuffer)
{
    Bytes old(4000, 0x33);
    CChildFrame& f = openDoc(old);
    engine().begin_dialog(f);
    engine().set_record_position(400);
    ASSERT_EQ(engine().start_level_test(), 1);
    EXPECT_TRUE(engine().test_level_mode());
    EXPECT_EQ(engine().record_buffer_size(), 22050u * 4 / 18);
    SimulatedWaveIn::deliver();
    Bytes loud;
    for (std::size_t i = 0; i < engine().record_buffer_size() / 4; ++i)
        frame16(loud, 126 * 256, 0);
    feed(loud);
    feed(loud);
    ASSERT_EQ(meters.size(), 2u);
    EXPECT_TRUE(clip_indicator_lit(meters.back()));
    engine().stop_recording();
    SimulatedWaveIn::deliver();
    EXPECT_TRUE(engine().idle());
    EXPECT_FALSE(engine().take_recorded());
    EXPECT_EQ(engine().record_position(), 0u);
    EXPECT_EQ(readFile(engine().szRecordFileName()), old);
}

TEST_F(RecordTest, RefusedDeviceAndLostDeviceKeepTheFileAndSaySo)
{
    Bytes old(4000, 0x44);
    CChildFrame& f = openDoc(old);
    engine().begin_dialog(f);

    SimulatedWaveIn::state().refuse = true;
    EXPECT_EQ(engine().start_recording(), 0);
    EXPECT_TRUE(engine().idle());
    EXPECT_FALSE(transport_state().recording);
    const auto texts = shownTexts();
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[texts.size() - 2], "Error opening wave device.");
    EXPECT_EQ(texts.back(), "Failed to allocate record buffers");
    EXPECT_EQ(readFile(engine().szRecordFileName()), old);

    // No device at all: the same.
    set_wave_in_factory(nullptr);
    EXPECT_EQ(engine().start_level_test(), 0);
    EXPECT_EQ(shownTexts().back(), "Failed to allocate record buffers");

    // The device disappears in the middle of a take: what was captured
    // (including the half-filled buffer) stays.
    set_wave_in_factory(SimulatedWaveIn::make);
    SimulatedWaveIn::state() = SimulatedWaveInState{};
    engine().set_record_position(4000);
    ASSERT_EQ(engine().start_recording(), 1);
    SimulatedWaveIn::deliver();
    const Bytes take(engine().record_buffer_size() * 2 + 100, 0x55);
    SimulatedWaveIn::capture(take);
    SimulatedWaveIn::vanish();
    SimulatedWaveIn::deliver();
    EXPECT_TRUE(engine().idle());
    EXPECT_TRUE(engine().device_lost());
    EXPECT_EQ(shownTexts().back(), "The wave input device stopped during recording.");
    Bytes expected = old;
    expected.insert(expected.end(), take.begin(), take.end());
    EXPECT_EQ(readFile(engine().szRecordFileName()), expected);
}

TEST_F(RecordTest, FullDiskEndsTheTakeKeepingWhatWasWritten)
{
    CChildFrame& f = openDoc(Bytes(400, 0));
    engine().begin_dialog(f);
    ASSERT_EQ(engine().start_recording(), 1);
    SimulatedWaveIn::deliver();
    const std::size_t size = engine().record_buffer_size();
    withFileSizeLimit(static_cast<rlim_t>(size * 2 + 1000), [&] { feed(Bytes(size * 4, 0x66)); });
    EXPECT_TRUE(engine().idle());
    EXPECT_EQ(shownTexts().back(), "Recording stopped: the record file could not be written (is the disk full?).");
    EXPECT_GE(get_named_file_length(engine().szRecordFileName()), 2 * size);
}

TEST_F(RecordTest, PlayOfTheTakeGoesThroughThePlaybackEngine)
{
    SimulatedWaveOut::state() = SimulatedWaveOutState{};
    SimulatedWaveOut::events().clear();
    set_wave_out_factory(SimulatedWaveOut::make);
    CChildFrame& f = openDoc(Bytes(400, 0));
    engine().begin_dialog(f);
    Bytes take;
    for (int i = 0; i < 40000; ++i)
        frame16(take, i % 3000, -(i % 2000));
    recordTake(take);
    ASSERT_EQ(engine().play_take(), 1);
    // Recording waits while the take plays; Stop ends the playback.
    EXPECT_EQ(engine().start_recording(), 0);
    SimulatedWaveOut::deliver();
    for (int i = 0; i < 200 && PlaybackEngine::instance().is_playing(); ++i) {
        SimulatedWaveOut::advance(25);
        SimulatedWaveOut::deliver();
    }
    SimulatedWaveOut::deliver();
    EXPECT_EQ(SimulatedWaveOut::state().played, readFile(engine().szRecordFileName()));
    set_wave_out_factory(nullptr);
}
