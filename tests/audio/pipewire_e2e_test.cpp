// Playback on a desktop: the command line plays on the system's default
// device (ALSA "default"), which leads to a private PipeWire server, and
// what reaches its sink is captured with pw-record and measured.

#include "support/jack_e2e.h"
#include "support/pipewire_server.h"
#include "support/temp_dir_test.h"
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
        Bytes data;
        for (std::uint32_t i = 0; i < rate; ++i) {
            const double v = 0.5 * std::sin(2 * M_PI * 1000.0 * i / rate);
            for (int ch = 0; ch < 2; ++ch) {
                if (bits == 8)
                    data.push_back(static_cast<std::uint8_t>(128 + std::lround(v * 128)));
                else
                    WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 32768))));
            }
        }
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
        std::size_t first = 0, last = 0;
        for (std::size_t i = 0; i < l.size(); ++i)
            if (std::fabs(l[i]) > 1e-3) {
                if (first == 0)
                    first = i;
                last = i;
            }
        ASSERT_GT(last, first) << bits << "-bit: silence reached the sink";
        // One second, within five milliseconds.
        EXPECT_NEAR(static_cast<double>(last - first), 48000.0, 240.0) << bits;
        double firstCrossing = -1, lastCrossing = -1, sum = 0;
        int crossings = 0;
        std::size_t n = 0;
        for (std::size_t i = first + 2400; i + 2400 < last; ++i) {
            sum += l[i] * l[i];
            ++n;
            if (l[i] < 0.0 && l[i + 1] >= 0.0) {
                const double at = static_cast<double>(i) + l[i] / (l[i] - l[i + 1]);
                if (firstCrossing < 0)
                    firstCrossing = at;
                lastCrossing = at;
                ++crossings;
            }
        }
        ASSERT_GT(crossings, 500) << bits;
        EXPECT_NEAR((crossings - 1) * 48000.0 / (lastCrossing - firstCrossing), 1000.0, 1.0) << bits;
        // The tone's peak from its RMS: -6 dBFS, the file's own level.
        EXPECT_NEAR(20 * std::log10(std::sqrt(2 * sum / static_cast<double>(n))), -6.02, 0.1) << bits;
    }
}
