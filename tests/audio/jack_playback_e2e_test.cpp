// Playback end to end: the playback engine on the PortAudio device, through
// a real JACK server on the dummy driver, recorded by a second JACK client
// and compared sample by sample with the document.

#include "audio/playback_engine.h"
#include "audio/portaudio_device.h"
#include "audio/volume.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"
#include "support/jack_e2e.h"
#include "support/tone_analysis.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

using Bytes = WavBuilder::Bytes;


class JackPlaybackTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        use_portaudio_output();
        PlaybackEngine& e = PlaybackEngine::instance();
        e.loopPlayback = false;
        e.loop_count_enabled = false;
        e.loop_count = 1;
    }
    void TearDown() override
    {
        PlaybackEngine& e = PlaybackEngine::instance();
        if (e.is_playing())
            e.stop_playback();
        e.wait_until_released(2000);
        set_wave_out_factory(nullptr);
        docs.clear();
        DocumentTest::TearDown();
    }

    // 16-bit stereo noise, the right channel a different sequence.
    CChildFrame& open(std::uint32_t rate, std::size_t frames)
    {
        source = WavBuilder::randomBytes(frames * 4, 7);
        // The first is play.wav, the others have names of their own.
        const std::string name = path(docs.empty() ? "play.wav" : "play" + std::to_string(docs.size()) + ".wav");
        writeFile(name, WavBuilder::pcm(2, rate, 16, source));
        docs.push_back(open_document_file(name));
        EXPECT_TRUE(docs.back());
        return *docs.back();
    }

    // The value the device should deliver for source frame `i`, channel `ch`,
    // in JACK's float scale: at the user's level (255, unity) the sample as
    // it is in the file.
    float expected(std::size_t i, int ch) const
    {
        std::int16_t v;
        std::memcpy(&v, source.data() + 4 * i + 2 * static_cast<std::size_t>(ch), 2);
        return static_cast<float>(v) / 32768.0f;
    }

    // Where the first sound of frames [first, ...) lies in the recording: the
    // first frame the device should make non-zero, found in both.
    long alignment(const JackRecorder& rec, std::size_t first, std::size_t last, std::size_t from = 0) const
    {
        std::size_t k = first;
        while (k < last && expected(k, 0) == 0.0f)
            ++k;
        std::size_t r = from;
        while (r < rec.frames() && rec.left()[r] == 0.0f)
            ++r;
        if (k == last || r == rec.frames())
            return -1;
        return static_cast<long>(r) - static_cast<long>(k - first);
    }

    // Recorded frames from `at` against source frames [first, last): the
    // number that differ.
    std::size_t mismatches(const JackRecorder& rec, std::size_t at, std::size_t first, std::size_t last) const
    {
        std::size_t bad = 0;
        for (std::size_t i = first; i < last; ++i) {
            const std::size_t r = at + (i - first);
            if (r >= rec.frames() || std::fabs(rec.left()[r] - expected(i, 0)) > 1e-6f ||
                std::fabs(rec.right()[r] - expected(i, 1)) > 1e-6f)
                ++bad;
        }
        return bad;
    }

    std::vector<std::unique_ptr<CChildFrame>> docs;
    Bytes source;
};

TEST_F(JackPlaybackTest, ASelectionReachesTheServerSampleExactAndPlaybackEnds)
{
    CChildFrame& f = open(JackServer::kRate, JackServer::kRate * 2);
    // 1.5 s from frame 12000: four buffers of a tenth of a second, refilled.
    const std::size_t first = 12000, last = 84000;
    f.bHighlight = true;
    set_selection_units(f, first * 2, last * 2);
    JackRecorder rec(JackServer::kRate * 3);
    ASSERT_TRUE(rec.open());
    PlaybackEngine& e = PlaybackEngine::instance();
    ASSERT_EQ(e.play_the_wavefile(f), 1);
    EXPECT_EQ(e.play_buffer_count, 4);
    // The engine writes its first buffers only when the open completion is
    // delivered, so connecting now misses nothing.
    ASSERT_EQ(rec.connectPlayers(), 2);
    ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 5000)) << "playback never ended";
    runUntil([&] { return rec.frames() >= JackServer::kRate * 3 || false; }, 300);

    const long at = alignment(rec, first, last);
    ASSERT_GE(at, 0) << "nothing was heard";
    EXPECT_EQ(mismatches(rec, static_cast<std::size_t>(at), first, last), 0u);
    // Nothing from outside the selection: silence after it.
    for (std::size_t r = static_cast<std::size_t>(at) + (last - first); r < rec.frames(); ++r)
        ASSERT_EQ(rec.left()[r], 0.0f) << "sound after the selection at recorded frame " << r;
    // No underrun count is asserted: PortAudio's count is the server's own
    // xruns, which the dummy driver has without realtime scheduling even with
    // no clients. Starving the device would break the sample-exact run above.
    EXPECT_NEAR(e.get_play_position_ms(), 1500.0, 1.0);
}

// With the user's own settings (nothing overridden) a file plays at its own
// level: a sine at -6 dBFS arrives at -6 dBFS, from 8-bit and 16-bit files.
TEST_F(JackPlaybackTest, FilesPlayAtTheirOwnLevel)
{
    for (int bits : {16, 8}) {
        const Bytes data = sine_pcm(JackServer::kRate, bits, JackServer::kRate, 1000.0, std::pow(10.0, -6.0 / 20.0));
        const std::size_t frames = JackServer::kRate;
        const std::string name = path("level" + std::to_string(bits) + ".wav");
        writeFile(name, WavBuilder::pcm(2, JackServer::kRate, static_cast<std::uint16_t>(bits), data));
        docs.push_back(open_document_file(name));
        ASSERT_TRUE(docs.back());
        JackRecorder rec(JackServer::kRate * 3);
        ASSERT_TRUE(rec.open());
        PlaybackEngine& e = PlaybackEngine::instance();
        ASSERT_EQ(e.play_the_wavefile(*docs.back()), 1) << bits;
        ASSERT_EQ(rec.connectPlayers(), 2);
        ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 5000));
        e.wait_until_released(2000);
        // The level of what arrived, from its RMS.
        const ToneMeasurement tone = measure_tone(rec.left(), rec.frames(), JackServer::kRate, 1000);
        ASSERT_GT(tone.length(), frames / 2.0) << bits;
        EXPECT_NEAR(tone.peakDb, -6.0, 0.1) << bits << "-bit";
        rec.close();
    }
}

// 24-bit and float documents reach the server at their full resolution:
// every sample of a -6 dBFS sine arrives as the document holds it, and at
// its level. The device's stream carries 32-bit integers (which keep 8-,
// 16- and 24-bit samples exact on every host); a float's value arrives to
// within that stream's step, 2^-31 (-186 dBFS).
TEST_F(JackPlaybackTest, TwentyFourBitAndFloatDocumentsPlayEverySampleExactly)
{
    for (bool isFloat : {false, true}) {
        SCOPED_TRACE(isFloat ? "float" : "24-bit");
        const std::size_t frames = JackServer::kRate;
        std::vector<float> values(frames);
        Bytes data;
        for (std::size_t i = 0; i < frames; ++i) {
            const double s = 0.5 * std::sin(2 * M_PI * 1000.0 * static_cast<double>(i) / JackServer::kRate);
            if (isFloat) {
                values[i] = static_cast<float>(s);
                std::uint32_t bits;
                std::memcpy(&bits, &values[i], 4);
                for (int ch = 0; ch < 2; ++ch)
                    WavBuilder::put32(data, bits);
            } else {
                const auto v = static_cast<std::int32_t>(std::lround(s * 8388608.0));
                values[i] = static_cast<float>(v) / 8388608.0f;
                for (int ch = 0; ch < 2; ++ch) {
                    data.push_back(static_cast<std::uint8_t>(v));
                    data.push_back(static_cast<std::uint8_t>(v >> 8));
                    data.push_back(static_cast<std::uint8_t>(v >> 16));
                }
            }
        }
        const std::string name = path(isFloat ? "float.wav" : "deep.wav");
        Bytes fmt = WavBuilder::fmtBody(isFloat ? 3 : 1, 2, JackServer::kRate, isFloat ? 32 : 24);
        writeFile(name, WavBuilder::riff({WavBuilder::chunk("fmt ", fmt), WavBuilder::chunk("data", data)}));
        docs.push_back(open_document_file(name));
        ASSERT_TRUE(docs.back());
        ASSERT_EQ(docs.back()->wfx.wBitsPerSample, isFloat ? 32 : 24);
        JackRecorder rec(JackServer::kRate * 3);
        ASSERT_TRUE(rec.open());
        PlaybackEngine& e = PlaybackEngine::instance();
        ASSERT_EQ(e.play_the_wavefile(*docs.back()), 1);
        ASSERT_EQ(rec.connectPlayers(), 2);
        ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 5000));
        e.wait_until_released(2000);
        std::size_t r = 0;
        while (r < rec.frames() && rec.left()[r] == 0.0f)
            ++r;
        ASSERT_LT(r + frames - 1, rec.frames() + 1) << "nothing was heard";
        // The sine's first sample is 0: the first sound is frame 1.
        const float step = isFloat ? std::ldexp(1.0f, -31) : 0.0f;
        std::size_t wrong = 0;
        for (std::size_t i = 1; i < frames && r + i - 1 < rec.frames(); ++i)
            wrong += std::abs(rec.left()[r + i - 1] - values[i]) > step ||
                     std::abs(rec.right()[r + i - 1] - values[i]) > step;
        EXPECT_EQ(wrong, 0u);
        const ToneMeasurement tone = measure_tone(rec.left(), rec.frames(), JackServer::kRate, 1000);
        EXPECT_NEAR(tone.peakDb, -6.0, 0.1);
        rec.close();
    }
}

// The report tells our own starvation (no buffer ready in the middle of
// playing) apart from the server's xruns: a play whose refills are held up
// counts starved periods; one that is not counts none.
TEST_F(JackPlaybackTest, StarvedPeriodsAreOursAndCountedApart)
{
    CChildFrame& f = open(JackServer::kRate, JackServer::kRate * 2);
    PlaybackEngine& e = PlaybackEngine::instance();
    ASSERT_EQ(e.play_the_wavefile(f), 1);
    ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 5000));
    e.wait_until_released(2000);
    EXPECT_EQ(portaudio_output_starved(), 0);

    ASSERT_EQ(e.play_the_wavefile(f), 1);
    runUntil([] { return false; }, 300);
    // The user-interface thread is busy for longer than the queued buffers last.
    QThread::msleep(900);
    ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 8000));
    e.wait_until_released(2000);
    EXPECT_GT(portaudio_output_starved(), 0);
}

TEST_F(JackPlaybackTest, StopEndsAtOnceAndLoopsRepeatTheRange)
{
    CChildFrame& f = open(JackServer::kRate, JackServer::kRate * 10);
    PlaybackEngine& e = PlaybackEngine::instance();
    {
        // Stop during a ten-second file: what was heard is the file's start.
        JackRecorder rec(JackServer::kRate * 12);
        ASSERT_TRUE(rec.open());
        ASSERT_EQ(e.play_the_wavefile(f), 1);
        ASSERT_EQ(rec.connectPlayers(), 2);
        runUntil([] { return false; }, 400);
        e.stop_playback();
        QElapsedTimer clock;
        clock.start();
        ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 2000));
        EXPECT_LT(clock.elapsed(), 500);
        e.wait_until_released(1000);
        const long at = alignment(rec, 0, 4800);
        ASSERT_GE(at, 0);
        EXPECT_EQ(mismatches(rec, static_cast<std::size_t>(at), 0, 9600), 0u);
        EXPECT_LT(rec.frames(), static_cast<std::size_t>(JackServer::kRate * 2));
    }
    {
        // Loop twice over 0.2 s: the range twice, then silence. A pass starts
        // when the last one's final buffer has come back, so a few
        // milliseconds of silence may lie between them.
        const std::size_t first = 1000, last = 10600;
        f.bHighlight = true;
        set_selection_units(f, first * 2, last * 2);
        e.loopPlayback = true;
        e.loop_count_enabled = true;
        e.loop_count = 2;
        JackRecorder rec(JackServer::kRate * 3);
        ASSERT_TRUE(rec.open());
        ASSERT_EQ(e.play_the_wavefile(f), 1);
        ASSERT_EQ(rec.connectPlayers(), 2);
        ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 5000));
        runUntil([] { return false; }, 200);
        const long at = alignment(rec, first, last);
        ASSERT_GE(at, 0);
        const std::size_t n = last - first;
        EXPECT_EQ(mismatches(rec, static_cast<std::size_t>(at), first, last), 0u);
        const long second = alignment(rec, first, last, static_cast<std::size_t>(at) + n);
        ASSERT_GE(second, at + static_cast<long>(n));
        EXPECT_LT(second - at - static_cast<long>(n), JackServer::kRate / 20) << "the gap between passes";
        EXPECT_EQ(mismatches(rec, static_cast<std::size_t>(second), first, last), 0u);
        for (std::size_t r = static_cast<std::size_t>(second) + n; r < rec.frames(); ++r)
            ASSERT_EQ(rec.left()[r], 0.0f) << "a third pass at recorded frame " << r;
    }
}

// The server runs at 48 kHz only: files at other rates are converted on the
// way out and play at their own pitch and length, and the play position
// stays in the document's time.
TEST_F(JackPlaybackTest, FilesAtRatesTheServerCannotRunPlayAtTheirPitchAndLength)
{
    PlaybackEngine& e = PlaybackEngine::instance();
    for (const std::uint32_t rate : {44100u, 96000u, 22050u}) {
        // One second of 1 kHz at -6 dBFS.
        const Bytes data = sine_pcm(rate, 16, rate, 1000.0, 0.5);
        const std::string name = path("tone" + std::to_string(rate) + ".wav");
        writeFile(name, WavBuilder::pcm(2, rate, 16, data));
        docs.push_back(open_document_file(name));
        ASSERT_TRUE(docs.back());
        JackRecorder rec(JackServer::kRate * 3);
        ASSERT_TRUE(rec.open());
        ASSERT_EQ(e.play_the_wavefile(*docs.back()), 1) << rate;
        ASSERT_EQ(rec.connectPlayers(), 2);
        ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 5000)) << rate;
        EXPECT_NEAR(e.get_play_position_ms(), 1000.0, 2.0) << rate;
        e.wait_until_released(2000);
        runUntil([] { return false; }, 200);
        const ToneMeasurement tone = measure_tone(rec.left(), rec.frames(), JackServer::kRate, 2400);
        ASSERT_TRUE(tone.found) << rate << ": nothing was heard";
        // One second at the server's rate within a millisecond, at 1 kHz, at
        // the file's level.
        EXPECT_NEAR(tone.length(), JackServer::kRate, 48.0) << rate;
        ASSERT_GT(tone.crossings, 100) << rate;
        EXPECT_NEAR(tone.frequency, 1000.0, 1.0) << rate;
        EXPECT_NEAR(tone.peakDb, -6.02, 0.1) << rate;
        rec.close();
    }
}

// The output stream stays open between plays: a connection the user made to
// our ports survives Stop, the end of playback and a change of document rate,
// and the next play reaches it without connecting again.
TEST_F(JackPlaybackTest, AConnectionMadeToOurPortsSurvivesStops)
{
    CChildFrame& f = open(JackServer::kRate, JackServer::kRate * 4);
    PlaybackEngine& e = PlaybackEngine::instance();
    JackRecorder rec(JackServer::kRate * 20);
    ASSERT_TRUE(rec.open());
    ASSERT_EQ(e.play_the_wavefile(f), 1);
    ASSERT_EQ(rec.connectPlayers(), 2);
    std::vector<std::string> ours;
    {
        jack_status_t status;
        jack_client_t* probe = jack_client_open("ondrava-probe", JackNoStartServer, &status);
        ASSERT_NE(probe, nullptr);
        const char** ports = jack_get_ports(probe, nullptr, JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput);
        for (int i = 0; ports && ports[i]; ++i)
            if (std::string(ports[i]).rfind("system:", 0) != 0)
                ours.emplace_back(ports[i]);
        jack_free(ports);
        jack_client_close(probe);
    }
    ASSERT_EQ(ours.size(), 2u);
    auto connected = [&] {
        jack_status_t status;
        jack_client_t* probe = jack_client_open("ondrava-probe", JackNoStartServer, &status);
        int n = 0;
        for (const std::string& port : ours) {
            jack_port_t* p = probe ? jack_port_by_name(probe, port.c_str()) : nullptr;
            if (p && jack_port_connected_to(p, "ondrava-recorder:in_1") + jack_port_connected_to(p, "ondrava-recorder:in_2") == 1)
                ++n;
        }
        if (probe)
            jack_client_close(probe);
        return n;
    };
    for (int stop = 0; stop < 3; ++stop) {
        runUntil([] { return false; }, 200);
        e.stop_playback();
        ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 2000));
        e.wait_until_released(1000);
        EXPECT_EQ(connected(), 2) << "after stop " << stop + 1;
        ASSERT_EQ(e.play_the_wavefile(f), 1);
    }
    // A document at another rate, played to its end.
    e.stop_playback();
    e.wait_until_released(1000);
    CChildFrame& g = open(44100, 4410);
    ASSERT_EQ(e.play_the_wavefile(g), 1);
    ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 3000));
    e.wait_until_released(1000);
    EXPECT_EQ(connected(), 2) << "after a play at another rate";
    // The last play reaches the recorder through the same connections.
    const std::size_t before = rec.frames();
    CChildFrame& h = open(JackServer::kRate, JackServer::kRate / 4);
    ASSERT_EQ(e.play_the_wavefile(h), 1);
    ASSERT_TRUE(runUntil([&] { return !e.is_playing(); }, 3000));
    runUntil([] { return false; }, 200);
    const long at = alignment(rec, 0, JackServer::kRate / 4, before);
    ASSERT_GE(at, static_cast<long>(before)) << "the last play was not heard";
    EXPECT_EQ(mismatches(rec, static_cast<std::size_t>(at), 0, JackServer::kRate / 4), 0u);
}

TEST_F(JackPlaybackTest, TheCommandLineListsTheServerAndPlaysAFile)
{
    const auto outputs = audio_output_devices();
    ASSERT_FALSE(outputs.empty());
    bool jack = false;
    for (const auto& d : outputs)
        jack = jack || (d.hostApi.find("JACK") != std::string::npos && d.channels == 2);
    EXPECT_TRUE(jack) << "no JACK output device listed";

    // The command line lists the server's devices and a JACK MIDI source.
    JackRecorder midiSource(16);
    ASSERT_TRUE(midiSource.open());
    {
        std::string listing;
        EXPECT_EQ(runCommand(std::string(ONDRAVA_CLI) + " devices", listing), 0) << listing;
        EXPECT_NE(listing.find("output 0: system (JACK Audio Connection Kit, 2 channels, 48000 Hz)"), std::string::npos)
            << listing;
        EXPECT_NE(listing.find("input 0: system"), std::string::npos) << listing;
        EXPECT_NE(listing.find("ondrava-recorder:midi_out (Jack)"), std::string::npos) << listing;
        // The system's default device is marked, and (nothing chosen) it is the chosen one.
        EXPECT_NE(listing.find("[default] [chosen]"), std::string::npos) << listing;
    }

    open(JackServer::kRate, JackServer::kRate / 2);
    std::string output;
    EXPECT_EQ(runCommand(std::string(ONDRAVA_CLI) + " play " + path("play.wav"), output), 0) << output;
    EXPECT_NE(output.find("played 500 ms, "), std::string::npos) << output;
    // The options: a quarter of it, twice, on device 0; an unknown option is
    // a usage error.
    output.clear();
    EXPECT_EQ(runCommand(std::string(ONDRAVA_CLI) + " play " + path("play.wav") + " --select 0:24000 --loop 2 --device 0",
                         output),
              0)
        << output;
    // By its label, as the preference pages store it, and by its own name.
    for (const char* device : {"'JACK Audio Connection Kit: system'", "system"}) {
        output.clear();
        EXPECT_EQ(runCommand(std::string(ONDRAVA_CLI) + " play " + path("play.wav") + " --select 0:4800 --device " +
                                 device,
                             output),
                  0)
            << device << ": " << output;
    }
    output.clear();
    int status = runCommand(std::string(ONDRAVA_CLI) + " play " + path("play.wav") + " --device 'No such card'", output);
    EXPECT_EQ(WEXITSTATUS(status), 2) << output;
    EXPECT_NE(output.find("no output device answers to --device No such card"), std::string::npos) << output;
    output.clear();
    status = runCommand(std::string(ONDRAVA_CLI) + " play " + path("play.wav") + " --loops 2", output);
    EXPECT_EQ(WEXITSTATUS(status), 2) << output;
}
