// JAF files: the ratios and their average-bytes fields, the dither table,
// the even-index decimation, the expansion's interpolation, and whole
// compressions and expansions through the wave converter and its helper.

#include "modules/jaf_export.h"
#include "wavefile/jaf_file.h"

#include "edit/undo.h"
#include "wavefile/open_by_type.h"
#include "view/save_by_type.h"
#include "wavefile/file_types.h"
#include "wavefile/wave_converter.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include "support/document_test.h"
#include "support/qt_application.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <set>
#include <thread>

using Bytes = WavBuilder::Bytes;

TEST(JafTest, TheFiveButtonsRecordTheirRatiosAsTheTextSays)
{
    const std::uint32_t expected[5] = {29999, 24999, 22050, 20000, 15624};
    for (std::size_t i = 0; i < kJafRatios.size(); ++i)
        EXPECT_EQ(jaf_average_bytes(kJafRatios[i]), expected[i]) << i;
    // The reader's ratio comes back from the field alone.
    EXPECT_FLOAT_EQ(44100.0f / 29999.0f, 1.4700490f);
}

TEST(JafTest, TheDitherTableIsZeroOrEightAndFollowsItsSeed)
{
    const auto a = jaf_dither_table(12345);
    const auto b = jaf_dither_table(12345);
    const auto c = jaf_dither_table(12346);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, c);
    std::set<int> values(a.begin(), a.end());
    EXPECT_EQ(values, (std::set<int>{-8, 0, 8}));
    // Zero when the first draw beats the other two: about a third of them.
    const auto zeros = std::count(a.begin(), a.end(), 0);
    EXPECT_GT(zeros, 32768 / 4);
    EXPECT_LT(zeros, 32768 * 5 / 12);
}

TEST(JafTest, DecimationKeepsEvenIndicesAndExpansionDrawsLines)
{
    std::vector<std::int16_t> input(32768), output(32768);
    for (std::size_t i = 0; i < input.size(); ++i)
        input[i] = static_cast<std::int16_t>(i);
    std::array<std::int16_t, 32768> still{};
    // Ratio 2.0: samples 0, 2, 4 ... in mono, frames 0, 2, 4 ... in stereo.
    ASSERT_EQ(jaf_decimate_block(input.data(), output.data(), 1, 2.0f, still), 16384u);
    EXPECT_EQ(output[0], 0);
    EXPECT_EQ(output[1], 2);
    EXPECT_EQ(output[2], 4);
    ASSERT_EQ(jaf_decimate_block(input.data(), output.data(), 2, 2.0f, still), 16384u);
    EXPECT_EQ(output[0], 0);
    EXPECT_EQ(output[1], 1);
    EXPECT_EQ(output[2], 4);
    EXPECT_EQ(output[3], 5);
    // Ratio 1.47 in mono: the nearest even index at or below, so some repeat.
    // The position runs in single precision: 22287 steps of 1.47f stay below 32768.
    ASSERT_EQ(jaf_decimate_block(input.data(), output.data(), 1, 1.47f, still), 22287u);
    EXPECT_EQ(output[0], 0);
    EXPECT_EQ(output[1], 0);
    EXPECT_EQ(output[2], 2);
    EXPECT_EQ(output[3], 4);
    // The dither adds and wraps.
    auto dither = still;
    dither[0] = -8;
    input[0] = -32768;
    jaf_decimate_block(input.data(), output.data(), 1, 2.0f, dither);
    EXPECT_EQ(output[0], 32760);

    // Expansion at 2.0: spans of three samples from each frame to the next.
    std::vector<std::uint8_t> bytes(8, 128);
    bytes[0] = 128;  // 0
    bytes[1] = 130;  // 512
    bytes[2] = 126;  // -512
    std::vector<std::int16_t> wide(64, 7);
    jaf_expand_block(bytes.data(), 3, wide.data(), wide.size(), 1, 2.0f);
    EXPECT_EQ(wide[0], 0);
    EXPECT_EQ(wide[1], 256);
    EXPECT_EQ(wide[2], 512);
    EXPECT_EQ(wide[3], 0);
    EXPECT_EQ(wide[4], -512);
    EXPECT_EQ(wide[5], -256) << "towards the next byte (128: silence)";
    // Nothing is written past the room it is given.
    std::vector<std::int16_t> narrow(6, 7);
    jaf_expand_block(bytes.data(), 3, narrow.data(), 4, 1, 2.0f);
    EXPECT_EQ(narrow[3], 0);
    EXPECT_EQ(narrow[4], 7);
    EXPECT_EQ(narrow[5], 7);

    // The ratios a file may record: those around the compression's five;
    // a hostile average-bytes field (0, 1, twice the rate) is refused.
    ASSERT_TRUE(jaf_ratio_from_average_bytes(29999));
    EXPECT_FLOAT_EQ(*jaf_ratio_from_average_bytes(29999), 44100.0f / 29999.0f);
    EXPECT_TRUE(jaf_ratio_from_average_bytes(15624));
    for (std::uint32_t hostile : {0u, 1u, 10000u, 88200u, 0xFFFFFFFFu})
        EXPECT_FALSE(jaf_ratio_from_average_bytes(hostile)) << hostile;
}

class JafFileTest : public DocumentTest {
protected:
    void SetUp() override
    {
        test_application();
        DocumentTest::SetUp();
    }
    std::unique_ptr<CChildFrame> openSignal(int bits = 16)
    {
        Bytes data;
        for (int i = 0; i < 44100; ++i)
            for (int ch = 0; ch < 2; ++ch) {
                const double v = std::sin(i * (ch ? 0.021 : 0.034)) * 12000;
                if (bits == 16)
                    WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(v)));
                else
                    data.push_back(static_cast<std::uint8_t>(128 + v / 256));
            }
        writeFile(path("signal.wav"), WavBuilder::pcm(2, 44100, static_cast<std::uint16_t>(bits), data));
        return open_document_file(path("signal.wav"));
    }
    static std::vector<std::int16_t> samples(const Bytes& wav, std::size_t offset)
    {
        std::vector<std::int16_t> out((wav.size() - offset) / 2);
        std::memcpy(out.data(), wav.data() + offset, out.size() * 2);
        return out;
    }
};

TEST_F(JafFileTest, ACompressedFileExpandsBackWithinTheCodecsLoss)
{
    auto doc = openSignal();
    ASSERT_TRUE(doc);
    host.setJafChoice(2000);
    const std::string jaf = path("signal.jaf");
    ASSERT_EQ(save_by_type(*doc, jaf, remember_file_type(jaf), 0), 1);
    EXPECT_EQ(jaf_button, 2000);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().caption, "File Compression Successful");
    EXPECT_EQ(host.shown().back().text.rfind("File compression = ", 0), 0u);
    // The file is Microsoft ADPCM whose average-bytes field holds the ratio.
    ASSERT_EQ(read_waveform_header_any_format(jaf, 0), 1);
    EXPECT_EQ(wave_fmt_record.wFormatTag, 2);
    EXPECT_EQ(wave_fmt_record.nAvgBytesPerSec, 29999u);
    EXPECT_EQ(wave_fmt_record.nSamplesPerSec, 44100u);
    // The low-pass was an ordinary step with its own undo.
    EXPECT_EQ(doc->bUndoAvailable, 1);

    // Back to a document about as long, close to what went in. The
    // original signal.wav stands beside the JAF: asked whether to replace
    // it, the user says no, and the expansion takes a new name.
    const Bytes originalFile = readFile(path("signal.wav"));
    host.clearShown();
    auto back = open_document_file(jaf);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->files.path, path("signal-2.wav"));
    EXPECT_EQ(readFile(path("signal.wav")), originalFile);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_NE(host.shown().front().text.find("signal.wav already exists beside signal.jaf"), std::string::npos);
    EXPECT_NE(host.shown().front().text.find("signal-2.wav"), std::string::npos);
    EXPECT_EQ(back->wfx.wBitsPerSample, 16);
    EXPECT_EQ(back->wfx.nChannels, 2);
    EXPECT_NEAR(static_cast<double>(back->nTotalSamples), 2.0 * 44100, 2.0 * 44100 * 0.05);
    const auto original = samples(WavBuilder::pcm(2, 44100, 16, [&] {
        Bytes d;
        for (int i = 0; i < 44100; ++i)
            for (int ch = 0; ch < 2; ++ch)
                WavBuilder::put16(d, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::sin(i * (ch ? 0.021 : 0.034)) * 12000)));
        return d;
    }()), 44);
    const auto expanded = samples(readFile(path("signal.wav")), 44);
    double best = 0.0;
    for (int lag = -40; lag <= 40; lag += 2) {
        double xy = 0, xx = 0, yy = 0;
        for (std::size_t i = 2000; i < 60000; i += 2) {
            const long j = static_cast<long>(i) + lag;
            if (j < 0 || static_cast<std::size_t>(j) >= expanded.size())
                continue;
            xy += static_cast<double>(original[i]) * expanded[static_cast<std::size_t>(j)];
            xx += static_cast<double>(original[i]) * original[i];
            yy += static_cast<double>(expanded[static_cast<std::size_t>(j)]) * expanded[static_cast<std::size_t>(j)];
        }
        best = std::max(best, xy / std::sqrt(xx * yy));
    }
    EXPECT_GT(best, 0.98);
}

TEST_F(JafFileTest, TwoCompressionsDifferAndBadCasesStopWithTheirMessages)
{
    auto doc = openSignal();
    ASSERT_TRUE(doc);
    host.setJafChoice(2002);
    ASSERT_EQ(save_by_type(*doc, path("one.jaf"), kTypeJaf, 0), 1);
    // A second later the dither is another.
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    ASSERT_EQ(save_by_type(*doc, path("two.jaf"), kTypeJaf, 0), 1);
    EXPECT_NE(readFile(path("one.jaf")), readFile(path("two.jaf")));
    ASSERT_EQ(read_waveform_header_any_format(path("one.jaf"), 0), 1);
    EXPECT_EQ(wave_fmt_record.nAvgBytesPerSec, 22050u);

    // Cancel: nothing written, nothing filtered.
    host.setJafChoice(0, false);
    const int undoBefore = doc->bUndoAvailable;
    const std::string versionBefore = doc->szFileName;
    EXPECT_EQ(save_by_type(*doc, path("none.jaf"), kTypeJaf, 0), 0);
    EXPECT_FALSE(file_exists(path("none.jaf")));
    EXPECT_EQ(doc->szFileName, versionBefore);
    EXPECT_EQ(doc->bUndoAvailable, undoBefore);

    // An 8-bit document is filtered, then refused.
    host.setJafChoice(2000);
    auto eight = openSignal(8);
    ASSERT_TRUE(eight);
    host.clearShown();
    EXPECT_EQ(save_by_type(*eight, path("eight.jaf"), kTypeJaf, 0), 0);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().text, "This algorithm is designed for 16 bit files only.\n\n" + path("eight.jaf"));
    EXPECT_EQ(eight->bUndoAvailable, 1) << "the low-pass stays, with its undo";
    EXPECT_FALSE(file_exists(path("eight.jaf")));

    // A JAF that is no WAVE file, and a missing helper.
    writeFile(path("bad.jaf"), Bytes(200, 7));
    host.clearShown();
    EXPECT_EQ(open_by_type(path("bad.jaf"), kTypeJaf), 0);
    EXPECT_EQ(host.shown().back().text, "Can't read header");
    setenv("ONDRAVA_WAVECONV", path("no-helper").c_str(), 1);
    EXPECT_EQ(open_by_type(path("one.jaf"), kTypeJaf), 0);
    unsetenv("ONDRAVA_WAVECONV");
    EXPECT_EQ(host.shown().back().text, "Decompression algorithm not found. Returning.");
}
