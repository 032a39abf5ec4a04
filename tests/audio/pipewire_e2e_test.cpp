// Playback on a desktop: the command line plays on the system's default
// device (ALSA "default"), which leads to a private PipeWire server, and
// what reaches its sink is captured with pw-record and measured.

#include "support/jack_e2e.h"
#include "support/pipewire_server.h"
#include "support/temp_dir_test.h"
#include "support/tone_analysis.h"
#include "support/wav_builder.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

using Bytes = WavBuilder::Bytes;

namespace {

// The left channel of a 16-bit stereo WAVE file, as floats; empty when the
// file is not one.
std::vector<double> leftChannel(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    const Bytes b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<double> left;
    auto le32 = [&](std::size_t at) { return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<std::uint32_t>(b[at + 3]) << 24; };
    if (b.size() < 12 || std::memcmp(b.data(), "RIFF", 4) != 0)
        return left;
    bool stereo16 = false;
    for (std::size_t at = 12; at + 8 <= b.size();) {
        const std::uint32_t size = le32(at + 4);
        if (std::memcmp(b.data() + at, "fmt ", 4) == 0 && at + 24 <= b.size())
            stereo16 = b[at + 10] == 2 && b[at + 22] == 16;
        if (std::memcmp(b.data() + at, "data", 4) == 0) {
            if (!stereo16)
                return left;
            // A capture ended by a signal may leave the size open: the rest of the file.
            const std::size_t end = std::min<std::size_t>(b.size(), at + 8 + static_cast<std::size_t>(size));
            for (std::size_t p = at + 8; p + 4 <= end; p += 4)
                left.push_back(static_cast<std::int16_t>(b[p] | b[p + 1] << 8) / 32768.0);
            return left;
        }
        at += 8 + size + (size & 1);
    }
    return left;
}

}  // namespace

class PipeWirePlaybackTest : public TempDirTest {};

TEST_F(PipeWirePlaybackTest, TheSystemDefaultDeviceReachesTheDesktopSoundServerAtPitchLevelAndLength)
{
    PipeWireServer server;
    std::string why;
    ASSERT_TRUE(server.start(why)) << why;

    // ALSA's "default" is the system's default device, and nothing chosen,
    // it is the one that plays.
    std::string listing;
    EXPECT_EQ(runCommand(std::string(ONDRAVA_CLI) + " devices", listing), 0) << listing;
    EXPECT_NE(listing.find(": default (ALSA, "), std::string::npos) << listing;
    const std::size_t line = listing.find(": default (ALSA, ");
    EXPECT_NE(listing.find("[default] [chosen]", line), std::string::npos) << listing;

    // A second of 1 kHz at -6 dBFS: 16-bit at 44.1 kHz (PipeWire runs at
    // 48 kHz) and 8-bit at 48 kHz.
    for (const auto& [rate, bits] : {std::pair<std::uint32_t, int>{44100, 16}, {48000, 8}}) {
        const Bytes data = sine_pcm(rate, bits, rate, 1000.0, 0.5);
        const std::string tone = path("tone" + std::to_string(bits) + ".wav");
        writeFile(tone, WavBuilder::pcm(2, rate, static_cast<std::uint16_t>(bits), data));
        const std::string captured = path("captured" + std::to_string(bits) + ".wav");
        pid_t capture = server.capture(captured);
        ASSERT_GT(capture, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        std::string output;
        EXPECT_EQ(runCommand(std::string(ONDRAVA_CLI) + " play " + tone, output), 0) << output;
        EXPECT_NE(output.find("played 1000 ms"), std::string::npos) << output;
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        end_child(capture, SIGINT);

        const std::vector<double> l = leftChannel(captured);
        ASSERT_GT(l.size(), 48000u) << bits << "-bit: nothing captured";
        const ToneMeasurement measured = measure_tone(l, l.size(), 48000, 2400);
        ASSERT_TRUE(measured.found) << bits << "-bit: silence reached the sink";
        // One second, at 1 kHz, at the file's own level (-6 dBFS). The length
        // is allowed 3 % (a file played at the wrong rate is 9 % off): without
        // realtime scheduling a loaded machine makes the sound server skip a
        // few periods (measured: up to 12 ms lost in the middle under two
        // busy loops, start and end intact).
        // The same skips shift the frequency taken from the first and last
        // crossings (measured: 998.5 Hz for a 1.5 ms gap), so the pitch
        // and the level are taken from the single periods.
        EXPECT_NEAR(measured.length(), 48000.0, 1440.0) << bits;
        ASSERT_GT(measured.crossings, 500) << bits;
        EXPECT_NEAR(measured.steadyFrequency, 1000.0, 1.0) << bits;
        EXPECT_NEAR(measured.steadyPeakDb, -6.02, 0.1) << bits;
    }
}
