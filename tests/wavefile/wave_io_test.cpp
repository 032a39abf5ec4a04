#include "wavefile/riff_info.h"
#include "wavefile/wave_io.h"
#include "wavefile/wave_state.h"

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

using Bytes = WavBuilder::Bytes;
using W = WavBuilder;

class WaveIoTest : public TempDirTest {
protected:
    int open(const Bytes& bytes)
    {
        writeFile(path("in.wav"), bytes);
        info.reset();
        return wioFileOpen(&info, path("in.wav").c_str(), 0);
    }
    std::unique_ptr<wave_io_info> info;
};

TEST_F(WaveIoTest, ReportsDataAndComputesThePcmFrameCount)
{
    const Bytes data = W::randomBytes(4000, 5);
    ASSERT_EQ(open(W::pcm(2, 22050, 16, data)), WIOERR_NOERROR);
    EXPECT_EQ(info->dwDataOffset, 44u);
    EXPECT_EQ(info->dwDataBytes, 4000u);
    EXPECT_EQ(info->dwDataSamples, 1000u);  // 22050 * 4000 / 88200
    EXPECT_EQ(info->fmt.size(), 18u);       // 16 bytes, padded to 18 with zeros
    EXPECT_EQ(info->fmt[16], 0);
    EXPECT_EQ(current_wave_format.nChannels, 2);
    EXPECT_EQ(info_chunk_present, 0);
    EXPECT_EQ(wioFileClose(&info), WIOERR_NOERROR);
    EXPECT_EQ(wioFileClose(&info), WIOERR_BADPARAM);
}

TEST_F(WaveIoTest, TakesTheFirstFmtAndDataAndTheFactCount)
{
    const Bytes file = W::riff({W::chunk("fact", {7, 0, 0, 0}), W::chunk("fmt ", W::fmtBody(2, 1, 11025, 4, 20)),
                                W::chunk("fmt ", W::fmtBody(1, 2, 44100, 16)), W::chunk("DISP", {1, 0, 0, 0, 9}),
                                W::chunk("data", {1, 2, 3, 4}), W::chunk("data", {5, 6})});
    ASSERT_EQ(open(file), WIOERR_NOERROR);
    EXPECT_EQ(info->dwDataSamples, 7u);
    EXPECT_EQ(info->dwDataBytes, 4u);
    EXPECT_EQ(info->fmt.size(), 20u);
    EXPECT_EQ(current_wave_format.wFormatTag, 2);
    EXPECT_EQ(current_wave_format.nSamplesPerSec, 11025u);
    EXPECT_TRUE(host.shown().empty());
}

TEST_F(WaveIoTest, ANonPcmFileWithoutFactNeedsTheUsersConsent)
{
    const Bytes adpcm = W::riff({W::chunk("fmt ", W::fmtBody(2, 1, 22050, 4, 50)), W::chunk("data", {1, 2})});
    host.scriptAnswers({IDNO, IDYES});
    EXPECT_EQ(open(adpcm), WIOERR_REFUSED);
    ASSERT_EQ(host.shown().size(), 1u);
    EXPECT_EQ(host.shown()[0].caption, "wioFileOpen");
    EXPECT_EQ(host.shown()[0].text,
              "This wave file does not have a 'fact' chunk and requires one! This is completely "
              "invalid and MUST be fixed! Attempt to load it anyway?");
    EXPECT_EQ(open(adpcm), WIOERR_NOERROR);
    EXPECT_EQ(info->dwDataSamples, 0u);
}

TEST_F(WaveIoTest, FailsWithItsNumberedCodes)
{
    EXPECT_EQ(wioFileOpen(nullptr, path("x").c_str(), 0), WIOERR_BADPARAM);
    EXPECT_EQ(wioFileOpen(&info, path("missing.wav").c_str(), 0), WIOERR_FILEERROR);
    EXPECT_EQ(open({}), WIOERR_FILEERROR);
    EXPECT_EQ(open(W::riff({W::chunk("fmt ", W::fmtBody(1, 1, 8000, 8))}, "AVI ")), WIOERR_FILEERROR);
    EXPECT_EQ(open(W::riff({W::chunk("data", {1, 2})})), WIOERR_FORMAT);
    // A chunk whose end lies past the end of the RIFF chunk.
    EXPECT_EQ(open(W::riff({W::chunk("fmt ", W::fmtBody(1, 1, 8000, 8)), W::chunk("data", {1, 2}, 100)})),
              WIOERR_FILEERROR);
    // A format chunk that the file ends inside of.
    Bytes cut = W::riff({W::chunk("fmt ", W::fmtBody(1, 1, 8000, 8))}, "WAVE", 1000);
    cut.resize(cut.size() - 4);
    EXPECT_EQ(open(cut), WIOERR_FILEERROR);
    EXPECT_EQ(info, nullptr);
}

TEST_F(WaveIoTest, ParsesTheInfoListAndAsksAboutUnknownItems)
{
    Bytes body;
    W::putId(body, "INFO");
    for (const Bytes& item : {W::chunk("INAM", {'S', 'o', 'n', 'g', 0}), W::chunk("IXYZ", {'?', 0}),
                              W::chunk("ICMT", {'o', 'k', 0}), W::chunk("INAM", {'L', 'a', 't', 'e', 'r', 0})})
        body.insert(body.end(), item.begin(), item.end());
    const Bytes file = W::riff({W::chunk("LIST", body), W::chunk("fmt ", W::fmtBody(1, 1, 8000, 8)),
                                W::chunk("data", {1, 2})});
    host.scriptAnswers({IDNO});
    EXPECT_EQ(open(file), INFO_REFUSED);
    ASSERT_EQ(host.shown().size(), 1u);
    EXPECT_EQ(host.shown()[0].text,
              "This wave file contains an unknown item in the INFO chunk: 'IXYZ'.  Open anyway?");
    EXPECT_EQ(host.shown()[0].caption, "riffParseINFO");

    host.scriptAnswers({IDYES});
    ASSERT_EQ(open(file), WIOERR_NOERROR);
    EXPECT_EQ(info_chunk_present, 1);
    ASSERT_TRUE(info->pInfo);
    EXPECT_EQ(last_info_list, info->pInfo);
    EXPECT_EQ(info_item_value(*info->pInfo, find_info_item(make_fourcc("INAM"))), "Later");
    EXPECT_EQ(info_item_value(*info->pInfo, find_info_item(make_fourcc("ICMT"))), "ok");
    EXPECT_EQ(info_item_value(*info->pInfo, find_info_item(make_fourcc("IART"))), std::nullopt);
}

TEST_F(WaveIoTest, AFrameCountTooLargeForItsFieldIsClamped)
{
    Bytes fmt = W::fmtBody(1, 1, 8000, 8);
    fmt[4] = fmt[5] = fmt[6] = fmt[7] = 0xFF;  // rate 4294967295
    fmt[8] = 1;                                // average bytes per second 1
    fmt[9] = fmt[10] = fmt[11] = 0;
    ASSERT_EQ(open(W::riff({W::chunk("fmt ", fmt), W::chunk("data", Bytes(40, 0))})), WIOERR_NOERROR);
    EXPECT_EQ(info->dwDataSamples, 0xFFFFFFFFu);
}
