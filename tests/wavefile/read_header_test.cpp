#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

#include <sys/stat.h>

using Bytes = WavBuilder::Bytes;
using W = WavBuilder;

class ReadHeaderTest : public TempDirTest {
protected:
    // Writes the bytes, checks them with messages on and returns the texts shown.
    std::vector<std::string> check(const Bytes& bytes, int expected)
    {
        writeFile(path("in.wav"), bytes);
        host.clearShown();
        EXPECT_EQ(ReadInputWaveformHeader(path("in.wav"), 1), expected);
        return shownTexts();
    }
    static std::vector<std::string> one(const char* text) { return {text}; }
};

TEST_F(ReadHeaderTest, AcceptsPlainPcmAndTakesItsFormat)
{
    const Bytes data = W::randomBytes(400, 1);
    EXPECT_TRUE(check(W::pcm(2, 48000, 16, data), 1).empty());
    EXPECT_EQ(header_read_ok, 1);
    EXPECT_EQ(data_chunk_size, 400u);
    EXPECT_EQ(current_wave_format.nChannels, 2);
    EXPECT_EQ(current_wave_format.wBitsPerSample, 16);
    EXPECT_EQ(current_wave_format.nBytesPerSample, 2);
    EXPECT_EQ(current_wave_format.nSamplesPerSec, 48000u);
    EXPECT_EQ(input_format_tag, 1);
}

TEST_F(ReadHeaderTest, AcceptsALongFmtChunkAndChunksBeforeIt)
{
    const Bytes file = W::riff({W::chunk("LIST", {'I', 'N', 'F', 'O'}), W::chunk("junk", {1, 2, 3}),
                                W::chunk("fmt ", W::fmtBody(1, 1, 8000, 8, 18)),
                                W::chunk("data", W::randomBytes(10, 2))});
    EXPECT_TRUE(check(file, 1).empty());
    EXPECT_EQ(data_chunk_size, 10u);
}

TEST_F(ReadHeaderTest, EachBrokenFileGetsItsOwnMessage)
{
    const Bytes fmt = W::chunk("fmt ", W::fmtBody(1, 1, 22050, 8));
    const Bytes data = W::chunk("data", W::randomBytes(64, 3));

    EXPECT_EQ(check({}, 0), one("End of input file."));
    EXPECT_EQ(check({'R', 'I', 'F', 'F', 4, 0}, 0), one("End of input file."));
    EXPECT_EQ(header_read_ok, 0);
    Bytes rifx = W::riff({fmt, data});
    rifx[3] = 'X';
    EXPECT_EQ(check(rifx, 0), one("Format error on input file."));
    EXPECT_EQ(check(W::riff({fmt, data}, "AVI "), 0), one("Format error on input file."));
    EXPECT_EQ(check(W::riff({data}), 0), one("No 'fmt' chunk on input file."));
    EXPECT_EQ(check(W::riff({W::chunk("fmt ", W::fmtBody(1, 1, 22050, 8, 14)), data}), 0),
              one("'fmt' chunk too small on input file."));
    Bytes cut = W::riff({fmt});
    cut.resize(cut.size() - 6);
    EXPECT_EQ(check(cut, 0), one("Truncated input file."));
    EXPECT_EQ(check(W::riff({W::chunk("fmt ", W::fmtBody(2, 1, 22050, 4, 20)), data}), 0),
              one("Input file is not a PCM_WAVE file."));
    EXPECT_EQ(input_format_tag, 2);
    // The data chunk is searched only after the format chunk.
    EXPECT_EQ(check(W::riff({data, fmt}), 0), one("No 'data' chunk in input file."));
    EXPECT_EQ(check(W::riff({fmt}), 0), one("No 'data' chunk in input file."));
    Bytes shortData = W::riff({fmt, data});
    shortData.resize(shortData.size() - 10);
    EXPECT_EQ(check(shortData, 0), one("Truncated input file."));
    // A chunk before "data" that reaches past the RIFF end hides it.
    EXPECT_EQ(check(W::riff({fmt, W::chunk("junk", {1, 2}, 5000), data}), 0),
              one("No 'data' chunk in input file."));
    EXPECT_EQ(header_read_ok, 0);
}

TEST_F(ReadHeaderTest, FilesThatCannotBeOpenedLeaveTheLastResultAlone)
{
    check(W::pcm(1, 8000, 8, {1, 2}), 1);
    ASSERT_EQ(header_read_ok, 1);
    host.clearShown();
    EXPECT_EQ(ReadInputWaveformHeader(path("missing.wav"), 1), 0);
    ASSERT_EQ(mkdir(path("folder.wav").c_str(), 0755), 0);
    EXPECT_EQ(ReadInputWaveformHeader(path("folder.wav"), 1), 0);
    EXPECT_EQ(shownTexts(), (std::vector<std::string>{"Cannot open input WAVE file.",
                                                       "Cannot open input WAVE file."}));
    EXPECT_EQ(header_read_ok, 1);
}

TEST_F(ReadHeaderTest, SilentProbingShowsNothing)
{
    writeFile(path("bad.wav"), W::riff({W::chunk("fmt ", W::fmtBody(2, 1, 22050, 4, 20))}));
    EXPECT_EQ(ReadInputWaveformHeader(path("bad.wav"), 0), 0);
    EXPECT_EQ(ReadInputWaveformHeader(path("missing.wav"), 0), 0);
    EXPECT_TRUE(host.shown().empty());
}

TEST_F(ReadHeaderTest, WarnsWhenTheInputDeviceLacksTheFormatButGoesOn)
{
    set_wave_input_caps_query([](int) -> std::uint32_t { return WAVE_FORMAT_1M16; });
    EXPECT_EQ(check(W::pcm(2, 48000, 16, {0, 0, 0, 0}), 1),
              (std::vector<std::string>{"Sound board cannot play 16-bit data.",
                                        "Sound board does not support 44KHz sample-rate."}));
    EXPECT_EQ(check(W::pcm(1, 44000, 8, {0, 0}), 1), std::vector<std::string>{});
    writeFile(path("q.wav"), W::pcm(2, 48000, 16, {0, 0, 0, 0}));
    host.clearShown();
    EXPECT_EQ(ReadInputWaveformHeader(path("q.wav"), 0), 1);
    EXPECT_TRUE(host.shown().empty());
    set_wave_input_caps_query(nullptr);
}
