#include "wavefile/riff_file.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

#include <unistd.h>

using RiffWriterTest = TempDirTest;
using Bytes = WavBuilder::Bytes;

namespace {

std::uint32_t le32At(const Bytes& b, size_t at)
{
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<std::uint32_t>(b[at + 3]) << 24;
}

void setFormat(std::uint16_t channels, std::uint16_t bits, std::uint32_t rate)
{
    current_wave_format.nChannels = channels;
    current_wave_format.wBitsPerSample = bits;
    current_wave_format.nBytesPerSample = static_cast<std::uint16_t>(bits / 8);
    current_wave_format.nSamplesPerSec = rate;
    fill_fmt_record_from_current_format();
}

}  // namespace

TEST_F(RiffWriterTest, WritesTheCanonicalLayoutForEveryFormat)
{
    struct Case {
        std::uint16_t channels, bits;
        std::uint32_t rate;
    };
    for (const Case c : {Case{1, 8, 11025}, Case{2, 8, 22050}, Case{1, 16, 44100}, Case{2, 16, 48000}}) {
        setFormat(c.channels, c.bits, c.rate);
        const Bytes samples = WavBuilder::randomBytes(1000, c.rate);
        RiffFile file;
        ASSERT_TRUE(file.open(path("out.wav"), RiffFile::Mode::Create));
        ASSERT_EQ(create_waveform_format_header(file, 0), 1);
        ASSERT_EQ(file.write(samples.data(), 1000), 1000);
        ASSERT_EQ(ascend_and_update_waveform_file(file), 0);
        ASSERT_TRUE(file.close());

        Bytes expected;
        WavBuilder::putId(expected, "RIFF");
        WavBuilder::put32(expected, 36 + 1000);
        WavBuilder::putId(expected, "WAVE");
        WavBuilder::putId(expected, "fmt ");
        WavBuilder::put32(expected, 16);
        WavBuilder::put16(expected, 1);
        WavBuilder::put16(expected, c.channels);
        WavBuilder::put32(expected, c.rate);
        WavBuilder::put32(expected, c.rate * c.channels * c.bits / 8);
        WavBuilder::put16(expected, static_cast<std::uint16_t>(c.channels * c.bits / 8));
        WavBuilder::put16(expected, c.bits);
        WavBuilder::putId(expected, "data");
        WavBuilder::put32(expected, 1000);
        expected.insert(expected.end(), samples.begin(), samples.end());
        EXPECT_EQ(readFile(path("out.wav")), expected) << c.channels << "ch " << c.bits << "bit";
    }
    EXPECT_TRUE(host.shown().empty());
}

TEST_F(RiffWriterTest, OddDataGetsAPadByteCountedOnlyInTheRiffSize)
{
    setFormat(1, 8, 22050);
    RiffFile file;
    ASSERT_TRUE(file.open(path("odd.wav"), RiffFile::Mode::Create));
    ASSERT_EQ(create_waveform_format_header(file, 0), 1);
    const unsigned char three[3] = {1, 2, 3};
    file.write(three, 3);
    ASSERT_EQ(ascend_and_update_waveform_file(file), 0);
    file.close();
    const Bytes b = readFile(path("odd.wav"));
    ASSERT_EQ(b.size(), 48u);
    EXPECT_EQ(le32At(b, 40), 3u);   // data size without the pad
    EXPECT_EQ(b[47], 0);            // the pad byte
    EXPECT_EQ(le32At(b, 4), 40u);   // file length minus 8
}

TEST_F(RiffWriterTest, SizesArePatchedAfterTheFileWasClosedAndReopened)
{
    setFormat(2, 16, 44100);
    RiffFile file;
    ASSERT_TRUE(file.open(path("later.wav"), RiffFile::Mode::Create));
    ASSERT_EQ(create_waveform_format_header(file, 0), 1);
    file.close();

    // Another routine appends the samples...
    const Bytes samples = WavBuilder::randomBytes(70000, 7);
    {
        Bytes all = readFile(path("later.wav"));
        EXPECT_EQ(le32At(all, 40), 0u);
        all.insert(all.end(), samples.begin(), samples.end());
        writeFile(path("later.wav"), all);
    }
    // ...and the kept descriptors complete the file.
    ASSERT_TRUE(file.open(path("later.wav"), RiffFile::Mode::ReadWrite));
    file.seek(0, SEEK_END);
    EXPECT_EQ(ascend_and_update_waveform_file(file), 0);
    file.close();
    const Bytes b = readFile(path("later.wav"));
    EXPECT_EQ(le32At(b, 4), 36u + 70000u);
    EXPECT_EQ(le32At(b, 40), 70000u);
    EXPECT_EQ(ReadInputWaveformHeader(path("later.wav"), 1), 1);
    EXPECT_EQ(data_chunk_size, 70000u);
}

TEST_F(RiffWriterTest, APendingInfoListStandsBetweenWaveAndFmt)
{
    setFormat(1, 8, 11025);
    ASSERT_EQ(create_info_list(last_info_list), INFO_OK);
    set_info_item_value(*last_info_list, 1, "Ann", INFOCHUNK_EDITED);  // IART, 4 bytes with zero
    info_chunk_present = 1;
    RiffFile file;
    ASSERT_TRUE(file.open(path("info.wav"), RiffFile::Mode::Create));
    ASSERT_EQ(create_waveform_format_header(file, 0), 1);
    file.write("ab", 2);
    ASSERT_EQ(ascend_and_update_waveform_file(file), 0);
    file.close();

    const Bytes b = readFile(path("info.wav"));
    const Bytes list = WavBuilder::chunk("LIST", [] {
        Bytes body;
        WavBuilder::putId(body, "INFO");
        const Bytes item = WavBuilder::chunk("IART", {'A', 'n', 'n', 0});
        body.insert(body.end(), item.begin(), item.end());
        return body;
    }());
    ASSERT_GE(b.size(), 12 + list.size());
    EXPECT_EQ(Bytes(b.begin() + 12, b.begin() + 12 + static_cast<long>(list.size())), list);
    EXPECT_EQ(std::string(b.begin() + 12 + static_cast<long>(list.size()),
                          b.begin() + 16 + static_cast<long>(list.size())),
              "fmt ");
    EXPECT_EQ(le32At(b, 4), b.size() - 8);
}

TEST_F(RiffWriterTest, AFailedHeaderWriteSaysSo)
{
    setFormat(1, 8, 11025);
    RiffFile file;
    ASSERT_TRUE(file.open(path("ro.wav"), RiffFile::Mode::Create));
    file.close();
    ASSERT_TRUE(file.open(path("ro.wav"), RiffFile::Mode::Read));
    EXPECT_EQ(create_waveform_format_header(file, 0), 0);
    EXPECT_EQ(shownTexts(), std::vector<std::string>{"Cannot write output WAVE file."});
}

TEST_F(RiffWriterTest, ANewEmptyFileIsFiftyTwoBytesOfFixedContent)
{
    current_wave_format.nChannels = 1;
    current_wave_format.wBitsPerSample = 16;
    current_wave_format.nBytesPerSample = 2;
    current_wave_format.nSamplesPerSec = 44100;
    inTempDir([] { ASSERT_EQ(create_new_empty_waveform_file(0), 1); });
    EXPECT_EQ(szOpenedFileName, path("SAMPLE1.WAV"));
    Bytes b = readFile(path("SAMPLE1.WAV"));
    ASSERT_EQ(b.size(), 52u);
    EXPECT_EQ(le32At(b, 4), 44u);
    EXPECT_EQ(le32At(b, 40), 8u);
    EXPECT_EQ(Bytes(b.begin() + 44, b.end()), (Bytes{0x80, 0, 0x80, 0, 0x80, 0, 0x80, 0}));
    EXPECT_EQ(le32At(b, 28), 88200u);

    // The start format keeps its two bytes per sample with 8 bits: block align 4.
    reset_wave_state();
    new_file_counter = 1;
    inTempDir([] { ASSERT_EQ(create_new_empty_waveform_file(0), 1); });
    b = readFile(path("SAMPLE2.WAV"));
    EXPECT_EQ(b[32], 4);
    EXPECT_EQ(le32At(b, 28), 4u * 22050u);
    EXPECT_EQ(b[34], 8);
}

// Past 4 GiB of samples the file takes the RF64 form: the 32-bit sizes stay
// all ones and the true sizes go into "ds64". (The samples are a sparse hole
// here: only the header and the last bytes are written.)
TEST_F(RiffWriterTest, Rf64FilesCarryTheirSizesInDs64)
{
    EXPECT_FALSE(needs_rf64(0xFFFFFFFFull - (16u << 20)));
    EXPECT_TRUE(needs_rf64(0xFFFFFFFFull));

    setFormat(2, 16, 48000);
    RiffFile file;
    ASSERT_TRUE(file.open(path("wide.wav"), RiffFile::Mode::Create));
    ASSERT_EQ(create_rf64_waveform_header(file), 1);
    const long long start = file.position();
    EXPECT_EQ(start, 12 + 36 + 24 + 8);
    const long long dataBytes = (5ll << 30) + 4;  // 5 GiB and a frame
    ASSERT_GE(file.seek(start + dataBytes - 4, SEEK_SET), 0);
    const unsigned char last[4] = {1, 2, 3, 4};
    ASSERT_EQ(file.write(last, 4), 4);
    ASSERT_EQ(ascend_and_update_waveform_file(file), 0);
    ASSERT_TRUE(file.close());

    std::ifstream in(path("wide.wav"), std::ios::binary);
    Bytes head(80);
    in.read(reinterpret_cast<char*>(head.data()), 80);
    EXPECT_EQ(std::string(head.begin(), head.begin() + 4), "RF64");
    EXPECT_EQ(le32At(head, 4), 0xFFFFFFFFu);
    EXPECT_EQ(std::string(head.begin() + 8, head.begin() + 16), "WAVEds64");
    EXPECT_EQ(le32At(head, 16), 28u);
    auto le64At = [&](size_t at) { return le32At(head, at) | static_cast<std::uint64_t>(le32At(head, at + 4)) << 32; };
    EXPECT_EQ(le64At(20), static_cast<std::uint64_t>(start + dataBytes - 8));
    EXPECT_EQ(le64At(28), static_cast<std::uint64_t>(dataBytes));
    EXPECT_EQ(le64At(36), static_cast<std::uint64_t>(dataBytes / 4));
    EXPECT_EQ(std::string(head.begin() + 48, head.begin() + 52), "fmt ");
    EXPECT_EQ(std::string(head.begin() + 72, head.begin() + 76), "data");
    EXPECT_EQ(le32At(head, 76), 0xFFFFFFFFu);

    // Read back: the size is understood, and it is more than a document holds.
    host.clearShown();
    EXPECT_EQ(ReadInputWaveformHeader(path("wide.wav"), 1), 0);
    ASSERT_EQ(shownTexts().size(), 1u);
    EXPECT_NE(shownTexts()[0].find(std::to_string(dataBytes) + " bytes"), std::string::npos) << shownTexts()[0];

    // A small RF64 file reads like any other.
    ASSERT_TRUE(file.open(path("small.wav"), RiffFile::Mode::Create));
    ASSERT_EQ(create_rf64_waveform_header(file), 1);
    const Bytes samples = WavBuilder::randomBytes(1001 * 4, 3);
    ASSERT_EQ(file.write(samples.data(), static_cast<long long>(samples.size())), static_cast<long long>(samples.size()));
    ASSERT_EQ(ascend_and_update_waveform_file(file), 0);
    ASSERT_TRUE(file.close());
    ASSERT_EQ(ReadInputWaveformHeader(path("small.wav"), 1), 1);
    EXPECT_EQ(data_chunk_size, samples.size());
    EXPECT_EQ(data_chunk_offset, static_cast<std::uint64_t>(start));
}

// A header given its content writes that and nothing that is pending for the
// exported routine: neither the pending INFO list nor the pending cue points.
TEST_F(RiffWriterTest, AHeaderGivenItsContentWritesOnlyThat)
{
    setFormat(2, 16, 44100);
    info_chunk_present = 1;
    last_info_list = std::make_shared<InfoList>();
    cue_points_to_write.push_back(CuePoint{1, 10, "pending", 0, {}});
    CuePoint own{7, 20, "own", 0, {}};
    {
        RiffFile out;
        ASSERT_TRUE(out.open(path("given.wav"), RiffFile::Mode::Create));
        ASSERT_EQ(write_waveform_header(out, 0, {pcm_fmt_record(1, 8000, 8), nullptr, {own}}), 1);
        const unsigned char samples[4] = {0x80, 0x81, 0x82, 0x83};
        ASSERT_EQ(out.write(samples, 4), 4);
        ASSERT_EQ(ascend_and_update_waveform_file(out), 0);
    }
    const Bytes b = readFile(path("given.wav"));
    const std::string text(b.begin(), b.end());
    EXPECT_EQ(text.find("LIST"), text.find("adtl") - 8);  // the only list is the cue labels
    EXPECT_EQ(text.find("INFO"), std::string::npos);
    EXPECT_NE(text.find("own"), std::string::npos);
    EXPECT_EQ(text.find("pending"), std::string::npos);
    // "fmt " of the given format: mono, 8000 Hz, 8 bits, block align 1.
    const std::size_t fmt = text.find("fmt ");
    ASSERT_NE(fmt, std::string::npos);
    EXPECT_EQ(b[fmt + 10], 1);
    EXPECT_EQ(le32At(b, fmt + 12), 8000u);
    EXPECT_EQ(le32At(b, fmt + 16), 8000u);
    EXPECT_EQ(b[fmt + 22], 8);
    // The pending values stay as they were, for the exported routine.
    EXPECT_EQ(cue_points_to_write.size(), 1u);
    EXPECT_EQ(info_chunk_present, 1);
    // The file ends with its samples.
    EXPECT_EQ(Bytes(b.end() - 4, b.end()), (Bytes{0x80, 0x81, 0x82, 0x83}));
}
