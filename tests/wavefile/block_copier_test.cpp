#include "wavefile/block_copier.h"
#include "wavefile/wave_state.h"

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"


using Bytes = WavBuilder::Bytes;

class BlockCopierTest : public TempDirTest {
protected:
    int copy(std::uint32_t count, std::uint32_t sourceOffset, std::int32_t destOffset,
             int progress = 0, CopyFormat format = {44100, 2, 2})
    {
        return copy_file_to_file(format, path("dst"), path("src"), count, sourceOffset, destOffset,
                                 progress, "Copying");
    }
};

TEST_F(BlockCopierTest, CopiesByteRangesToAnOffsetOrTheEnd)
{
    const Bytes source = WavBuilder::randomBytes(100000, 1);
    writeFile(path("src"), source);
    writeFile(path("dst"), Bytes(10, 0xEE));

    ASSERT_EQ(copy(70000, 1234, -1), 1);
    Bytes expected(10, 0xEE);
    expected.insert(expected.end(), source.begin() + 1234, source.begin() + 1234 + 70000);
    EXPECT_EQ(readFile(path("dst")), expected);

    ASSERT_EQ(copy(5, 0, 2), 1);  // overwrite in place
    std::copy(source.begin(), source.begin() + 5, expected.begin() + 2);
    EXPECT_EQ(readFile(path("dst")), expected);

    // A source shorter than the count copies what there is.
    ASSERT_EQ(copy(90000, 50000, 0), 1);
    std::copy(source.begin() + 50000, source.end(), expected.begin());
    EXPECT_EQ(readFile(path("dst")), expected);
    EXPECT_TRUE(host.shown().empty());
}

TEST_F(BlockCopierTest, IdenticalNamesCopyNothing)
{
    writeFile(path("src"), {1, 2, 3});
    EXPECT_EQ(copy_file_to_file({}, path("src"), path("src"), 3, 0, 1, 0, nullptr), 1);
    EXPECT_EQ(readFile(path("src")), (Bytes{1, 2, 3}));
}

TEST_F(BlockCopierTest, MissingFilesFail)
{
    writeFile(path("src"), {1, 2, 3});
    EXPECT_EQ(copy(3, 0, 0), 0);  // the destination must exist
    std::remove(path("src").c_str());
    writeFile(path("dst"), {});
    EXPECT_EQ(copy(3, 0, 0), 0);
    EXPECT_TRUE(host.shown().empty());
}

TEST_F(BlockCopierTest, ProgressIsForcedFromSixSecondsOfBytes)
{
    writeFile(path("src"), Bytes(6 * 8000, 7));
    writeFile(path("dst"), {});
    ASSERT_EQ(copy(6 * 8000 - 1, 0, 0, 0, {8000, 1, 1}), 1);
    EXPECT_EQ(host.progressBoxesOpened(), 0);
    ASSERT_EQ(copy(6 * 8000, 0, 0, 0, {8000, 1, 1}), 1);
    EXPECT_EQ(host.progressBoxesOpened(), 1);
    EXPECT_FALSE(host.progressOpen());
    EXPECT_LT(host.lastPercent(), 100);  // the divisor is the count plus one
    ASSERT_EQ(copy(10, 0, 0, 1, {8000, 1, 1}), 1);
    EXPECT_EQ(host.progressBoxesOpened(), 2);
}

TEST_F(BlockCopierTest, CancelStopsTheCopy)
{
    // Plain copies run in the kernel 32 blocks a call and hear Cancel after
    // each call; the one-channel rewrite copies and hears it block by block.
    writeFile(path("src"), Bytes(200 * 32768, 3));
    writeFile(path("dst"), {});
    host.cancelAfterPolls(2);
    EXPECT_EQ(copy(200 * 32768, 0, 0, 1), 0);
    EXPECT_EQ(get_named_file_length(path("dst")), 3u * 32u * 32768u);
    EXPECT_FALSE(host.progressOpen());

    writeFile(path("dst"), {});
    bCopyOneChannel = 1;
    host.cancelAfterPolls(2);
    EXPECT_EQ(copy(10 * 32768, 0, 0, 1), 0);
    bCopyOneChannel = 0;
    EXPECT_EQ(get_named_file_length(path("dst")), 3u * 32768u);
}

TEST_F(BlockCopierTest, AFullDiskIsReportedAndFails)
{
    writeFile(path("src"), Bytes(200000, 3));
    writeFile(path("dst"), {});
    int result = -1;
    withFileSizeLimit(65536, [&] { result = copy(200000, 0, 0); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(shownTexts(), std::vector<std::string>{"Not enough room on disk to copy file."});
}

// The expected result of the one-channel rewrite, frame by frame: within each
// block of `blockBytes`, every frame but the last is changed.
Bytes expectedOneChannel(Bytes data, int bytesPerSample, int selector, size_t blockBytes)
{
    const size_t frame = 2u * static_cast<size_t>(bytesPerSample);
    for (size_t block = 0; block < data.size(); block += blockBytes) {
        const size_t frames = std::min(blockBytes, data.size() - block) / frame;
        for (size_t k = 0; k + 1 < frames; ++k) {
            const size_t left = block + k * frame;
            const size_t right = left + static_cast<size_t>(bytesPerSample);
            for (int b = 0; b < bytesPerSample; ++b) {
                if (selector == 2)
                    data[right + b] = data[left + b];  // left over its own right
                else
                    data[left + frame + b] = data[right + b];  // right over the next left
            }
        }
    }
    return data;
}

TEST_F(BlockCopierTest, OneChannelRewriteStepsPerBlockExactlyAsBefore)
{
    const Bytes source = WavBuilder::randomBytes(3 * 32768 + 400, 11);
    writeFile(path("src"), source);
    for (int bytesPerSample : {1, 2}) {
        for (int selector : {2, 3}) {
            writeFile(path("dst"), {});
            bCopyOneChannel = 1;
            nChannelSelector = selector;
            ASSERT_EQ(copy(static_cast<std::uint32_t>(source.size()), 0, 0, 0,
                           {44100, 2, static_cast<std::uint16_t>(bytesPerSample)}),
                      1);
            bCopyOneChannel = 0;
            EXPECT_EQ(readFile(path("dst")), expectedOneChannel(source, bytesPerSample, selector, 32768))
                << bytesPerSample << " bytes, selector " << selector;
        }
    }
}
