// Recording end to end: a JACK client plays a known signal into the
// recording engine's PortAudio input on a real JACK server (dummy driver);
// the take on disk must hold that signal sample for sample.

#include "app/posix_io.h"
#include "audio/portaudio_device.h"
#include "audio/record_engine.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include "wavefile/sample_format.h"

#include "support/document_test.h"
#include "support/jack_e2e.h"
#include "support/tone_analysis.h"

#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <unistd.h>

using Bytes = WavBuilder::Bytes;

namespace {

// A 16-bit value as JACK carries it: the value over 32768, exactly (as a
// 16-bit source through JACK's float path does).
float asJackFloat(int v) { return static_cast<float>(v) / 32768.0f; }

Bytes fileBytes(const std::string& path, std::uint64_t offset = 0)
{
    const std::uint64_t size = get_named_file_length(path);
    Bytes b(size > offset ? size - offset : 0);
    const int fd = ::open(path.c_str(), O_RDONLY);
    const long long got = read_fully(fd, b.data(), static_cast<long long>(b.size()), static_cast<long long>(offset));
    ::close(fd);
    b.resize(got > 0 ? static_cast<std::size_t>(got) : 0);  // what could not be read is not there
    return b;
}

std::int16_t sampleAt(const Bytes& b, std::size_t frame, int channel)
{
    std::int16_t v;
    std::memcpy(&v, b.data() + 4 * frame + 2 * static_cast<std::size_t>(channel), 2);
    return v;
}

}  // namespace

class JackRecordTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        use_portaudio_input();
        // A second of noise, the right channel its own sequence; never zero,
        // so the start of the signal is found in the take.
        std::uint32_t seed = 12345;
        for (int i = 0; i < JackServer::kRate; ++i) {
            for (std::vector<int>* channel : {&left, &right}) {
                seed = seed * 1664525u + 1013904223u;
                int v = static_cast<int>(seed >> 16) % 40000 - 20000;
                channel->push_back(v == 0 ? 1 : v);
            }
        }
    }
    void TearDown() override
    {
        RecordEngine& e = RecordEngine::instance();
        if (!e.idle())
            e.stop_recording();
        e.wait_until_idle(2000);
        e.discard_take();
        set_wave_in_factory(nullptr);
        DocumentTest::TearDown();
    }

    std::unique_ptr<JackPlayer> player()
    {
        std::vector<float> l, r;
        for (std::size_t i = 0; i < left.size(); ++i) {
            l.push_back(asJackFloat(left[i]));
            r.push_back(asJackFloat(right[i]));
        }
        return std::make_unique<JackPlayer>(std::move(l), std::move(r));
    }

    // Frames of `take` from its first non-silent frame that differ from the
    // signal; -1 when the signal is not there at all or is cut short.
    long mismatches(const Bytes& take) const
    {
        const std::size_t frames = take.size() / 4;
        std::size_t start = 0;
        while (start < frames && sampleAt(take, start, 0) == 0)
            ++start;
        if (frames - start < left.size())
            return -1;
        long bad = 0;
        for (std::size_t i = 0; i < left.size(); ++i)
            if (sampleAt(take, start + i, 0) != left[i] || sampleAt(take, start + i, 1) != right[i])
                ++bad;
        return bad;
    }

    // An empty 48 kHz stereo 16-bit document to record into.
    std::unique_ptr<CChildFrame> emptyStereoDocument(const std::string& name)
    {
        current_wave_format.nChannels = 2;
        current_wave_format.nSamplesPerSec = JackServer::kRate;
        current_wave_format.wBitsPerSample = 16;
        current_wave_format.nBytesPerSample = 2;
        if (create_empty_waveform_file_named(path(name)) != 1)
            return nullptr;
        return open_document_file(path(name));
    }

    // Plays the signal into the running take and stops it once the signal
    // has passed; true when the take has ended.
    static bool playAndStop(RecordEngine& e, JackPlayer& source)
    {
        runUntil([] { return false; }, 200);
        source.play();
        if (!runUntil([&] { return source.done(); }, 5000))
            return false;
        runUntil([] { return false; }, 300);
        e.stop_recording();
        return e.wait_until_idle(3000);
    }

    // The engine set to record at once until stopped, overwriting.
    static RecordEngine& plainRecording()
    {
        RecordEngine& e = RecordEngine::instance();
        e.insert_mode = 0;
        e.trigger_on_signal = false;
        e.auto_stop_enabled = false;
        return e;
    }

    std::vector<int> left, right;
};

TEST_F(JackRecordTest, ASignalPlayedIntoTheInputIsInTheTakeSampleForSample)
{
    auto doc = emptyStereoDocument("take.wav");
    ASSERT_TRUE(doc);
    RecordEngine& e = plainRecording();
    e.begin_dialog(*doc);
    e.set_record_position(0);
    ASSERT_EQ(e.start_recording(), 1);
    EXPECT_EQ(e.record_buffer_size(), 32768u);
    auto source = player();
    ASSERT_TRUE(source->open());
    // The input's ports exist once the stream is open.
    ASSERT_TRUE(runUntil([&] { return source->connectToListeners() == 2; }, 2000));
    ASSERT_TRUE(playAndStop(e, *source));
    EXPECT_FALSE(e.device_lost());
    EXPECT_EQ(mismatches(fileBytes(e.szRecordFileName())), 0);

    // OK: the document holds the take.
    ASSERT_EQ(e.adopt_take(), 1);
    EXPECT_EQ(mismatches(fileBytes(doc->szFileName)), 0);
}

// Into 24-bit and float documents the take comes at their resolution: a
// signal of 24-bit values (exact in JACK's float) is in the take value for
// value, in the document's own width.
TEST_F(JackRecordTest, TwentyFourBitAndFloatTakesKeepEveryBit)
{
    std::vector<float> l, r;
    std::uint32_t seed = 777;
    for (int i = 0; i < JackServer::kRate; ++i) {
        for (std::vector<float>* channel : {&l, &r}) {
            seed = seed * 1664525u + 1013904223u;
            const int v = static_cast<int>(seed >> 8) % 6000000 - 3000000;
            channel->push_back(static_cast<float>(v == 0 ? 1 : v) / 8388608.0f);
        }
    }
    for (bool isFloat : {false, true}) {
        SCOPED_TRACE(isFloat ? "float" : "24-bit");
        current_wave_format.nChannels = 2;
        current_wave_format.nSamplesPerSec = JackServer::kRate;
        current_wave_format.wFormatTag = isFloat ? 3 : 1;
        current_wave_format.wBitsPerSample = isFloat ? 32 : 24;
        current_wave_format.nBytesPerSample = isFloat ? 4 : 3;
        const std::string name = path(isFloat ? "float-take.wav" : "deep-take.wav");
        ASSERT_EQ(create_empty_waveform_file_named(name), 1);
        auto doc = open_document_file(name);
        ASSERT_TRUE(doc);
        ASSERT_EQ(doc->wfx.wBitsPerSample, isFloat ? 32 : 24);
        RecordEngine& e = plainRecording();
        e.begin_dialog(*doc);
        e.set_record_position(0);
        ASSERT_EQ(e.start_recording(), 1);
        JackPlayer source(l, r);
        ASSERT_TRUE(source.open());
        ASSERT_TRUE(runUntil([&] { return source.connectToListeners() == 2; }, 2000));
        ASSERT_TRUE(playAndStop(e, source));
        ASSERT_EQ(e.adopt_take(), 1);
        const Bytes take = fileBytes(doc->szFileName);
        const SampleFormat format = isFloat ? SampleFormat::F32 : SampleFormat::S24;
        const std::size_t frameBytes = 2u * static_cast<std::size_t>(sample_bytes(format));
        std::vector<float> got(take.size() / frameBytes * 2);
        samples_to_float(format, take.data(), got.data(), got.size());
        std::size_t start = 0;
        while (start < got.size() / 2 && got[2 * start] == 0.0f)
            ++start;
        ASSERT_GE(got.size() / 2 - start, l.size()) << "the signal is cut short";
        std::size_t bad = 0;
        for (std::size_t i = 0; i < l.size(); ++i)
            bad += got[2 * (start + i)] != l[i] || got[2 * (start + i) + 1] != r[i];
        EXPECT_EQ(bad, 0u);
        e.discard_take();
    }
}

// Our input ports exist while a take runs; the connections the user made to
// them come back exactly with the next take (the library's own automatic
// connections to the server's capture ports do not, once the user took
// them away).
TEST_F(JackRecordTest, TheUsersConnectionsToOurInputsComeBackWithTheNextTake)
{
    auto doc = emptyStereoDocument("takes.wav");
    ASSERT_TRUE(doc);
    RecordEngine& e = plainRecording();
    auto source = player();
    ASSERT_TRUE(source->open());
    jack_status_t status;
    jack_client_t* user = jack_client_open("ondrava-user", JackNoStartServer, &status);
    ASSERT_NE(user, nullptr);
    // Our input ports (each new stream numbers its own on), in order.
    auto ours = [&] {
        std::vector<std::string> ports;
        const char** names = jack_get_ports(user, "^PortAudio:in_", JACK_DEFAULT_AUDIO_TYPE, 0);
        for (int i = 0; names && names[i]; ++i)
            ports.emplace_back(names[i]);
        jack_free(names);
        std::sort(ports.begin(), ports.end(), [](const std::string& a, const std::string& b) {
            return std::stoi(a.substr(13)) < std::stoi(b.substr(13));
        });
        return ports;
    };
    // The peers of our input ports by channel, sorted.
    auto peers = [&] {
        std::vector<std::string> all;
        const std::vector<std::string> ports = ours();
        for (std::size_t c = 0; c < ports.size(); ++c) {
            const char** other = jack_port_get_all_connections(user, jack_port_by_name(user, ports[c].c_str()));
            for (int k = 0; other && other[k]; ++k)
                all.push_back("channel " + std::to_string(c + 1) + " <- " + other[k]);
            jack_free(other);
        }
        std::sort(all.begin(), all.end());
        return all;
    };
    const std::vector<std::string> wanted = {"channel 1 <- ondrava-player:out_1", "channel 2 <- ondrava-player:out_2"};

    // The first take: the user connects the player and takes the capture ports off.
    e.begin_dialog(*doc);
    e.set_record_position(0);
    ASSERT_EQ(e.start_recording(), 1);
    ASSERT_TRUE(runUntil([&] { return source->connectToListeners() == 2; }, 2000));
    // Once the stream runs, the library has joined the capture ports too.
    ASSERT_TRUE(runUntil([&] { return peers().size() == 4; }, 2000)) << ::testing::PrintToString(peers());
    for (const char* capture : {"system:capture_1", "system:capture_2"})
        for (const std::string& port : ours())
            jack_disconnect(user, capture, port.c_str());
    EXPECT_EQ(peers(), wanted);
    runUntil([] { return false; }, 300);
    e.stop_recording();
    ASSERT_TRUE(e.wait_until_idle(3000));
    e.discard_take();

    // The second take: the same connections, nothing else, and the signal
    // arrives without connecting again.
    e.begin_dialog(*doc);
    e.set_record_position(0);
    ASSERT_EQ(e.start_recording(), 1);
    EXPECT_TRUE(runUntil([&] { return peers() == wanted; }, 2000)) << ::testing::PrintToString(peers());
    ASSERT_TRUE(playAndStop(e, *source));
    EXPECT_EQ(mismatches(fileBytes(e.szRecordFileName())), 0);
    jack_client_close(user);
}

TEST_F(JackRecordTest, TheCommandLineRecordsTheSetLengthFromTheTrigger)
{
    auto source = player();
    ASSERT_TRUE(source->open());
    const std::string out = path("cli.wav");
    std::string output;
    const int status = runCommand(std::string(ONDRAVA_CLI) + " record " + out + " --seconds 2 --trigger 0.3",
                                  output, [&] {
                                      runUntil([&] { return source->connectToListeners() == 2; }, 3000);
                                      // Silence first: the take must wait for the signal.
                                      std::this_thread::sleep_for(std::chrono::milliseconds(700));
                                      source->play();
                                  });
    ASSERT_TRUE(WIFEXITED(status)) << output;
    EXPECT_EQ(WEXITSTATUS(status), 0) << output;
    EXPECT_NE(output.find("recorded 2.000 s"), std::string::npos) << output;
    ASSERT_EQ(ReadInputWaveformHeader(out, 0), 1);
    EXPECT_EQ(current_wave_format.nSamplesPerSec, static_cast<std::uint32_t>(JackServer::kRate));
    EXPECT_EQ(data_chunk_size, 2u * JackServer::kRate * 4);
    // The take starts at the buffer where the signal passed the threshold:
    // at most one buffer of silence before it.
    const Bytes take = fileBytes(out, 44);
    std::size_t start = 0;
    while (start < take.size() / 4 && sampleAt(take, start, 0) == 0)
        ++start;
    EXPECT_LT(start, 32768u / 4);
    EXPECT_EQ(mismatches(take), 0);
}

// The server runs at 48 kHz: a 44.1 kHz take is converted on the way in and
// holds the tone at its pitch, at its level, for as long as it sounded.
TEST_F(JackRecordTest, ATakeAtARateTheServerCannotRunIsConvertedOnTheWayIn)
{
    // Two seconds of 1 kHz at -6 dBFS, from the first frame.
    std::vector<float> tone;
    for (int i = 0; i < 2 * JackServer::kRate; ++i)
        tone.push_back(static_cast<float>(0.5 * std::sin(2 * M_PI * 1000.0 * i / JackServer::kRate)));
    JackPlayer source(tone, tone);
    ASSERT_TRUE(source.open());
    const std::string out = path("take44.wav");
    std::string output;
    const int status = runCommand(std::string(ONDRAVA_CLI) + " record " + out + " --seconds 3 --rate 44100", output,
                                  [&] {
                                      runUntil([&] { return source.connectToListeners() == 2; }, 3000);
                                      std::this_thread::sleep_for(std::chrono::milliseconds(300));
                                      source.play();
                                  });
    ASSERT_TRUE(WIFEXITED(status)) << output;
    EXPECT_EQ(WEXITSTATUS(status), 0) << output;
    ASSERT_EQ(ReadInputWaveformHeader(out, 0), 1);
    EXPECT_EQ(current_wave_format.nSamplesPerSec, 44100u);
    const Bytes take = fileBytes(out, 44);
    const std::size_t frames = take.size() / 4;
    EXPECT_EQ(frames, 3u * 44100);
    std::vector<double> l(frames);
    for (std::size_t i = 0; i < frames; ++i)
        l[i] = sampleAt(take, i, 0) / 32768.0;
    const ToneMeasurement measured = measure_tone(l, frames, 44100, 2205);
    ASSERT_TRUE(measured.found) << "nothing was recorded";
    // Two seconds at 44.1 kHz within a millisecond, at 1 kHz, at its level.
    EXPECT_NEAR(measured.length(), 2.0 * 44100, 44.0);
    ASSERT_GT(measured.crossings, 1000);
    EXPECT_NEAR(measured.frequency, 1000.0, 1.0);
    EXPECT_NEAR(measured.peakDb, -6.02, 0.1);
}

