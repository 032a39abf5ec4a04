#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

#include <sys/stat.h>
#include <unistd.h>

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

// Where the samples are: the "data" chunk's own bytes, whatever stands after
// it, however its size is written.
TEST_F(ReadHeaderTest, TheSamplesAreTheDataChunksOwnBytes)
{
    const Bytes fmt8 = W::chunk("fmt ", W::fmtBody(1, 1, 22050, 8));
    const Bytes fmt16s = W::chunk("fmt ", W::fmtBody(1, 2, 44100, 16));
    const Bytes info = W::chunk("LIST", {'I', 'N', 'F', 'O', 'I', 'A', 'R', 'T', 4, 0, 0, 0, 'a', 'b', 'c', 0});

    // Chunks after "data" are not audio; the offset is where the samples start.
    EXPECT_TRUE(check(W::riff({fmt16s, W::chunk("data", W::randomBytes(400, 4)), info,
                               W::chunk("id3 ", W::randomBytes(30, 5))}),
                      1)
                    .empty());
    EXPECT_EQ(data_chunk_size, 400u);
    EXPECT_EQ(data_chunk_offset, 44u);
    EXPECT_EQ(data_chunk_truncated, 0);

    // An odd 8-bit data chunk: its pad byte and the chunk after it stay out.
    EXPECT_TRUE(check(W::riff({fmt8, W::chunk("junk", {1, 2, 3, 4}), W::chunk("data", W::randomBytes(5, 6)),
                               W::chunk("cue ", {0, 0, 0, 0})}),
                      1)
                    .empty());
    EXPECT_EQ(data_chunk_size, 5u);
    EXPECT_EQ(data_chunk_offset, 12u + 24u + 12u + 8u);

    // A size of all ones means "to the end of the file", in whole frames.
    Bytes open = W::riff({fmt16s, W::chunk("data", W::randomBytes(403, 7), 0xFFFFFFFF)});
    open.pop_back();  // the pad byte the builder added
    EXPECT_TRUE(check(open, 1).empty());
    EXPECT_EQ(data_chunk_size, 400u);
    EXPECT_EQ(data_chunk_truncated, 0);

    // A size past the end of the file: the whole frames present, marked truncated.
    Bytes cut = W::riff({fmt16s, W::chunk("data", W::randomBytes(400, 8))});
    cut.resize(cut.size() - 10);
    EXPECT_TRUE(check(cut, 1).empty());
    EXPECT_EQ(data_chunk_size, 388u);
    EXPECT_EQ(data_chunk_truncated, 1);
    EXPECT_EQ(header_read_ok, 1);
}

namespace {

// An RF64 file: "RF64", the ds64 chunk with the true sizes, "fmt " and a
// "data" chunk whose 32-bit size is all ones.
WavBuilder::Bytes rf64(const WavBuilder::Bytes& fmtBody, std::uint64_t dataSize, const WavBuilder::Bytes& samples,
                       const char* id = "RF64")
{
    WavBuilder::Bytes ds64;
    auto put64 = [&ds64](std::uint64_t v) {
        W::put32(ds64, static_cast<std::uint32_t>(v));
        W::put32(ds64, static_cast<std::uint32_t>(v >> 32));
    };
    put64(0xFFFFFFFFull + 100);
    put64(dataSize);
    put64(dataSize / 4);
    W::put32(ds64, 0);
    WavBuilder::Bytes file = W::riff({W::chunk("ds64", ds64), W::chunk("fmt ", fmtBody),
                                      W::chunk("data", samples, 0xFFFFFFFF)},
                                     "WAVE", 0xFFFFFFFF);
    std::copy(id, id + 4, file.begin());
    return file;
}

}  // namespace

TEST_F(ReadHeaderTest, Rf64FilesAreReadAndThoseNoDocumentCanHoldAreRefused)
{
    const Bytes samples = W::randomBytes(800, 9);
    EXPECT_TRUE(check(rf64(W::fmtBody(1, 2, 48000, 16), 800, samples), 1).empty());
    EXPECT_EQ(data_chunk_size, 800u);
    EXPECT_EQ(data_chunk_offset, 12u + 36u + 24u + 8u);
    EXPECT_EQ(current_wave_format.nSamplesPerSec, 48000u);
    EXPECT_TRUE(check(rf64(W::fmtBody(1, 2, 48000, 16), 800, samples, "BW64"), 1).empty());
    EXPECT_EQ(data_chunk_size, 800u);

    // 6 GiB of samples (a sparse file): more than a document's 32-bit byte
    // positions reach, so it is refused by name instead of opened short.
    const std::uint64_t big = 6ull << 30;
    Bytes head = rf64(W::fmtBody(1, 2, 48000, 16), big, {});
    writeFile(path("big.wav"), head);
    ASSERT_EQ(truncate(path("big.wav").c_str(), static_cast<off_t>(head.size() + big)), 0);
    host.clearShown();
    EXPECT_EQ(ReadInputWaveformHeader(path("big.wav"), 1), 0);
    ASSERT_EQ(shownTexts().size(), 1u);
    EXPECT_NE(shownTexts()[0].find("big.wav"), std::string::npos);
    EXPECT_NE(shownTexts()[0].find("6442450944 bytes"), std::string::npos);
    EXPECT_EQ(header_read_ok, 0);
}
