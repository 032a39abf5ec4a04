#include "wavefile/adpcm_codec.h"
#include "wavefile/wave_converter.h"
#include "wavefile/wave_io.h"

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

using Bytes = WavBuilder::Bytes;
using W = WavBuilder;

namespace {

// A PCM file of two tones, 16-bit.
Bytes tonePcm(std::uint16_t channels, std::uint32_t rate, int frames)
{
    Bytes data;
    for (int i = 0; i < frames; ++i)
        for (int ch = 0; ch < channels; ++ch) {
            const double v = 0.5 * std::sin(i * (0.03 + 0.02 * ch)) + 0.2 * std::sin(i * 0.0031);
            W::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 30000))));
        }
    return W::pcm(channels, rate, 16, data);
}

std::vector<int> samples16(const Bytes& file, std::size_t offset)
{
    std::vector<int> out;
    for (std::size_t i = offset; i + 1 < file.size(); i += 2)
        out.push_back(static_cast<std::int16_t>(file[i] | file[i + 1] << 8));
    return out;
}

// A mono ADPCM format with the standard coefficients, and the PCM format a
// decoder writes.
AdpcmFormat monoAdpcm(std::uint16_t blockAlign, std::uint16_t samplesPerBlock)
{
    AdpcmFormat f;
    f.channels = 1;
    f.blockAlign = blockAlign;
    f.samplesPerBlock = samplesPerBlock;
    f.coefficients.assign(adpcm_standard_coefficients().begin(), adpcm_standard_coefficients().end());
    return f;
}

AdpcmFormat pcmOutput(std::uint16_t bits)
{
    AdpcmFormat f;
    f.formatTag = 1;
    f.bitsPerSample = bits;
    return f;
}

}  // namespace

class AdpcmTest : public TempDirTest {
protected:
    std::unique_ptr<wave_io_info> info(const std::string& name)
    {
        std::unique_ptr<wave_io_info> i;
        EXPECT_EQ(wioFileOpen(&i, name.c_str(), 0), WIOERR_NOERROR);
        return i;
    }
};

TEST(AdpcmFormats, BlockAlignAndSamplesPerBlockForEveryAcceptedFormat)
{
    struct Case {
        std::uint16_t channels;
        std::uint32_t rate;
        std::uint16_t align;
        std::uint16_t perBlock;
    };
    // 256 bytes a channel, times rate / 11000 above 11025 Hz.
    for (const Case c : {Case{1, 11025, 256, 500}, Case{2, 11025, 512, 500}, Case{1, 22050, 512, 1012},
                         Case{2, 22050, 1024, 1012}, Case{1, 44100, 1024, 2036}, Case{2, 44100, 2048, 2036}}) {
        EXPECT_EQ(adpcm_block_align(c.channels, c.rate), c.align) << c.channels << " " << c.rate;
        EXPECT_EQ(adpcm_samples_per_block(c.align, c.channels), c.perBlock) << c.channels << " " << c.rate;
        for (std::uint16_t bits : {8, 16}) {
            AdpcmFormat pcm;
            pcm.formatTag = 1;
            pcm.channels = c.channels;
            pcm.samplesPerSec = c.rate;
            pcm.bitsPerSample = bits;
            pcm.blockAlign = static_cast<std::uint16_t>(c.channels * bits / 8);
            const auto d = conversion_destination(pcm);
            ASSERT_TRUE(d);
            EXPECT_EQ(d->blockAlign, c.align);
            EXPECT_EQ(d->samplesPerBlock, c.perBlock);
            EXPECT_EQ(d->extraSize, 1056);
            const std::uint32_t b = c.rate * c.channels / 2;
            EXPECT_EQ(d->avgBytesPerSec, ((b / c.align + 1) * 7 * c.channels + b) & 0xFFFF);
            EXPECT_EQ(d->toBytes().size(), 50u);
        }
    }
}

TEST_F(AdpcmTest, RefusesFormatsItCannotConvert)
{
    AdpcmFormat pcm;
    pcm.formatTag = 1;
    pcm.channels = 2;
    pcm.samplesPerSec = 48000;
    pcm.bitsPerSample = 16;
    EXPECT_FALSE(conversion_destination(pcm));
    pcm.samplesPerSec = 44100;
    pcm.bitsPerSample = 24;
    EXPECT_FALSE(conversion_destination(pcm));
    AdpcmFormat adpcm;
    adpcm.coefficients.assign(adpcm_standard_coefficients().begin(), adpcm_standard_coefficients().end());
    adpcm.coefficients[3][1] = 65;  // not the standard table
    EXPECT_FALSE(conversion_destination(adpcm));
    adpcm.coefficients.pop_back();
    EXPECT_FALSE(conversion_destination(adpcm));
    AdpcmFormat other;
    other.formatTag = 0x55;
    EXPECT_FALSE(conversion_destination(other));
    EXPECT_EQ(shownTexts(), (std::vector<std::string>{
                                "This PCM wave file is not valid for conversion!",
                                "This PCM wave file is not valid for conversion!",
                                "This ADPCM wave file is not valid for conversion!",
                                "This ADPCM wave file is not valid for conversion!",
                                "This wave converter application does not know how to convert current format!"}));

    // A 48 kHz file is refused by the converter as a whole, and nothing is written.
    writeFile(path("48k.wav"), tonePcm(2, 48000, 1000));
    EXPECT_EQ(convert_wave_file(nullptr, path("48k.wav"), path("out.wav")), 0);
    EXPECT_FALSE(file_exists(path("out.wav")));
}

TEST_F(AdpcmTest, EncodeThenDecodeFollowsTheInputWithinTheCodecsError)
{
    for (std::uint16_t channels : {1, 2}) {
        writeFile(path("in.wav"), tonePcm(channels, 22050, 22050));
        ASSERT_EQ(convert_wave_file(nullptr, path("in.wav"), path("adpcm.wav")), 1);
        EXPECT_EQ(host.shown().back().text, "Conversion completed successfully!");
        EXPECT_EQ(host.shown().back().caption, "Halvorn Wave Converter");
        auto coded = info(path("adpcm.wav"));
        ASSERT_TRUE(coded);
        EXPECT_EQ(coded->fmt.size(), 1074u);  // 18 + 1056: 50 bytes of format, then zeros
        EXPECT_EQ(coded->dwDataSamples, 22050u);
        EXPECT_EQ(coded->dwDataBytes % adpcm_block_align(channels, 22050), 0u);

        // Back to PCM: always 8-bit.
        ASSERT_EQ(convert_wave_file(nullptr, path("adpcm.wav"), path("back.wav")), 1);
        auto back = info(path("back.wav"));
        ASSERT_TRUE(back);
        EXPECT_EQ(back->fmt[14], 8);
        const Bytes original = readFile(path("in.wav"));
        const Bytes decoded = readFile(path("back.wav"));
        const std::vector<int> input = samples16(original, 44);
        double error = 0;
        int worst = 0;
        for (std::size_t i = 0; i < input.size(); ++i) {
            const int expected = (input[i] >> 8) + 128;
            const int got = decoded[back->dwDataOffset + i];
            error += (got - expected) * (got - expected);
            worst = std::max(worst, std::abs(got - expected));
        }
        EXPECT_LT(std::sqrt(error / input.size()), 1.5) << channels;  // in 8-bit steps
        EXPECT_LE(worst, 12) << channels;
        EXPECT_GE(back->dwDataBytes, input.size());  // the last block is filled with silence
    }
}

TEST_F(AdpcmTest, OurDecoderAgreesWithSox)
{
    writeFile(path("in.wav"), tonePcm(2, 22050, 30000));
    ASSERT_EQ(convert_wave_file(nullptr, path("in.wav"), path("adpcm.wav")), 1);
    ASSERT_EQ(convert_wave_file(nullptr, path("adpcm.wav"), path("ours.wav")), 1);
    const std::string command = "sox '" + path("adpcm.wav") + "' -b 16 -e signed-integer '" + path("sox.wav") + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const Bytes ours = readFile(path("ours.wav"));
    const Bytes theirs = readFile(path("sox.wav"));
    auto ourInfo = info(path("ours.wav"));
    auto soxInfo = info(path("sox.wav"));
    ASSERT_TRUE(ourInfo && soxInfo);
    const std::vector<int> soxSamples = samples16(
        Bytes(theirs.begin() + soxInfo->dwDataOffset, theirs.begin() + soxInfo->dwDataOffset + soxInfo->dwDataBytes), 0);
    ASSERT_GE(soxSamples.size(), 60000u);
    // SoX rounds the prediction down, the published decoder towards zero: after
    // our 8-bit rule the two differ by one step at most, and rarely.
    int differing = 0;
    for (std::size_t i = 0; i < 60000; ++i) {
        const int theirs8 = (soxSamples[i] >> 8) + 128;
        const int ours8 = ours[ourInfo->dwDataOffset + i];
        EXPECT_LE(std::abs(ours8 - theirs8), 1) << i;
        differing += ours8 != theirs8;
    }
    EXPECT_LT(differing, 1200);  // about 1 % here
}

// Our encoder against SoX's and FFmpeg's on the same source (two tones and
// noise), each file decoded by FFmpeg, whose decoder predicts as the
// format's published definition does (SoX's rounds the prediction down,
// which drifts from any encoder that follows the definition): ours keeps at
// least SoX's signal-to-noise ratio. The figures are printed for the record.
TEST_F(AdpcmTest, OurEncoderIsAtLeastAsCleanAsSoxs)
{
    Bytes data;
    std::uint32_t seed = 7;
    const int frames = 3 * 44100;
    std::vector<int> source;
    for (int i = 0; i < frames; ++i)
        for (int ch = 0; ch < 2; ++ch) {
            seed = seed * 1664525u + 1013904223u;
            const double t = i / 44100.0;
            const double v = 0.3 * std::sin(2 * M_PI * 220 * t) + 0.2 * std::sin(2 * M_PI * (ch ? 1320 : 990) * t) +
                             0.05 * (static_cast<double>(seed >> 8) / 8388608.0 - 1.0);
            source.push_back(static_cast<int>(std::lround(v * 32767)));
            W::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(source.back())));
        }
    writeFile(path("in.wav"), W::pcm(2, 44100, 16, data));
    ASSERT_EQ(convert_wave_file(nullptr, path("in.wav"), path("ours.wav")), 1);
    const auto sh = [](const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()); };
    ASSERT_EQ(sh("sox '" + path("in.wav") + "' -e ms-adpcm '" + path("sox.wav") + "'"), 0);
    ASSERT_EQ(sh("ffmpeg -nostdin -y -i '" + path("in.wav") + "' -c:a adpcm_ms '" + path("ffmpeg.wav") + "'"), 0);
    const auto snr = [&](const char* name) {
        const std::string decoded = path(std::string(name) + ".pcm.wav");
        EXPECT_EQ(sh("ffmpeg -nostdin -y -i '" + path(std::string(name) + ".wav") + "' -c:a pcm_s16le '" + decoded + "'"),
                  0);
        auto i = info(decoded);
        if (!i)
            return 0.0;
        const Bytes file = readFile(decoded);
        const std::vector<int> got =
            samples16(Bytes(file.begin() + i->dwDataOffset, file.begin() + i->dwDataOffset + i->dwDataBytes), 0);
        EXPECT_GE(got.size(), source.size()) << name;
        double signal = 0, noise = 0;
        for (std::size_t k = 0; k < std::min(got.size(), source.size()); ++k) {
            signal += static_cast<double>(source[k]) * source[k];
            noise += static_cast<double>(got[k] - source[k]) * (got[k] - source[k]);
        }
        return 10 * std::log10(signal / std::max(noise, 1.0));
    };
    const double ours = snr("ours"), sox = snr("sox"), ffmpeg = snr("ffmpeg");
    std::printf("ADPCM SNR: ours %.1f dB, SoX %.1f dB, FFmpeg %.1f dB\n", ours, sox, ffmpeg);
    EXPECT_GE(ours, sox);
    EXPECT_GT(sox, 10.0);  // the comparison means something
}

TEST_F(AdpcmTest, BadBlocksAreRefusedWithoutOutput)
{
    AdpcmFormat adpcm = monoAdpcm(256, 500);
    const AdpcmFormat pcm = pcmOutput(8);
    Bytes block(256, 0);
    block[0] = 7;  // no such predictor
    std::vector<unsigned char> out(4096);
    EXPECT_EQ(decode_adpcm_block(adpcm, block.data(), pcm, out.data(), block.size(), out.size()), 0u);
    EXPECT_EQ(host.shown().back().text, "Predictor out of range");
    EXPECT_EQ(host.shown().back().caption, "CONVERT");
    block[0] = 0;
    block[1] = 16;  // a delta of 16
    EXPECT_EQ(decode_adpcm_block(adpcm, block.data(), pcm, out.data(), block.size(), out.size()), 500u);
    // Only whole blocks are decoded: a truncated last block gives nothing.
    EXPECT_EQ(decode_adpcm_block(adpcm, block.data(), pcm, out.data(), 200, out.size()), 0u);
    // A block align that cannot hold a header decodes nothing.
    adpcm.blockAlign = 0;
    EXPECT_EQ(decode_adpcm_block(adpcm, block.data(), pcm, out.data(), block.size(), out.size()), 0u);

    // A file with a block align of zero is not converted.
    Bytes fmt = AdpcmFormat{}.toBytes();
    fmt[12] = fmt[13] = 0;
    writeFile(path("zero.wav"), W::riff({W::chunk("fmt ", fmt), W::chunk("fact", {1, 0, 0, 0}), W::chunk("data", Bytes(64, 0))}));
    EXPECT_EQ(convert_wave_file(nullptr, path("zero.wav"), path("out.wav")), 0);
}

TEST_F(AdpcmTest, AnAbortedConversionLeavesTheDestinationAsItWas)
{
    writeFile(path("in.wav"), tonePcm(1, 11025, 20000));
    host.cancelAfterPolls(3);
    EXPECT_EQ(convert_wave_file(nullptr, path("in.wav"), path("out.wav")), 0);
    EXPECT_EQ(host.shown().back().text, "Conversion aborted--destination file is corrupt!");
    EXPECT_EQ(host.controlText(102), "7%");  // three blocks of 1000 bytes out of 40000
    // Nothing incomplete takes the destination's name; a file already there stays.
    EXPECT_FALSE(file_exists(path("out.wav")));
    writeFile(path("out.wav"), Bytes(100, 5));
    host.cancelAfterPolls(3);
    EXPECT_EQ(convert_wave_file(nullptr, path("in.wav"), path("out.wav")), 0);
    EXPECT_EQ(readFile(path("out.wav")), Bytes(100, 5));
    EXPECT_EQ(filesIn(path("")).size(), 3u);  // in.wav, out.wav and work/
}

namespace {

// An ADPCM file with the standard coefficients whose header fields can lie.
Bytes craftedAdpcm(std::uint16_t channels, std::uint16_t blockAlign, std::uint16_t samplesPerBlock, const Bytes& data)
{
    AdpcmFormat f;
    f.channels = channels;
    f.samplesPerSec = 22050;
    f.blockAlign = blockAlign;
    f.samplesPerBlock = samplesPerBlock;
    f.coefficients.assign(adpcm_standard_coefficients().begin(), adpcm_standard_coefficients().end());
    Bytes fmt = f.toBytes();
    return W::riff({W::chunk("fmt ", fmt), W::chunk("fact", {0, 1, 0, 0}), W::chunk("data", data)});
}

}  // namespace

// Header fields that disagree with the block size: every one is checked
// before anything is allocated or written from it.
TEST_F(AdpcmTest, CraftedHeadersAreCheckedAgainstTheBlockSize)
{
    // Blocks of 2048 bytes that claim 4 samples each: each block gives its 4
    // frames and no more (the decoder used to write every code of the block
    // into room for 4).
    Bytes blocks(4 * 2048, 0x11);
    for (std::size_t b = 0; b < 4; ++b) {
        blocks[b * 2048] = 0;       // predictor
        blocks[b * 2048 + 1] = 16;  // delta
        blocks[b * 2048 + 2] = 0;
    }
    writeFile(path("few.wav"), craftedAdpcm(1, 2048, 4, blocks));
    ASSERT_EQ(convert_wave_file(nullptr, path("few.wav"), path("few.pcm.wav")), 1);
    auto few = info(path("few.pcm.wav"));
    ASSERT_TRUE(few);
    EXPECT_EQ(few->dwDataBytes, 4u * 4u);  // 4 blocks of 4 one-byte samples

    // More samples than a block can hold, none at all, or one: refused.
    for (std::uint16_t perBlock : {std::uint16_t{4000}, std::uint16_t{1}, std::uint16_t{0xFFFF}}) {
        writeFile(path("lying.wav"), craftedAdpcm(2, 512, perBlock, Bytes(2048, 0)));
        host.clearShown();
        EXPECT_EQ(convert_wave_file(nullptr, path("lying.wav"), path("lying.pcm.wav")), 0) << perBlock;
        ASSERT_FALSE(host.shown().empty());
        EXPECT_EQ(host.shown().back().text, "This ADPCM wave file is not valid for conversion!");
    }
    // A PCM source whose block align disagrees with its samples.
    Bytes pcm = tonePcm(1, 22050, 4000);
    pcm[12 + 8 + 12] = 64;  // nBlockAlign
    writeFile(path("odd.wav"), pcm);
    EXPECT_EQ(convert_wave_file(nullptr, path("odd.wav"), path("odd.adpcm.wav")), 0);

    // The codec checks the same on its own and never writes past its room.
    AdpcmFormat lying = monoAdpcm(256, 2000);
    const AdpcmFormat out8 = pcmOutput(8);
    std::vector<unsigned char> room(600, 0xEE);
    Bytes block(256, 0);
    block[1] = 16;
    EXPECT_EQ(decode_adpcm_block(lying, block.data(), out8, room.data(), block.size(), 500), 0u);
    lying.samplesPerBlock = 500;
    EXPECT_EQ(decode_adpcm_block(lying, block.data(), out8, room.data(), block.size(), 499), 0u) << "no whole block fits";
    EXPECT_EQ(decode_adpcm_block(lying, block.data(), out8, room.data(), block.size(), 500), 500u);
    EXPECT_EQ(room[500], 0xEE);
}

// A hostile step size: the largest delta a header can hold, and codes that
// keep growing it. The step stays within what the adaptation can multiply,
// so the output climbs to full scale and stays there.
TEST_F(AdpcmTest, AHostileStepSizeIsClamped)
{
    const AdpcmFormat f = monoAdpcm(256, 500);
    const AdpcmFormat out16 = pcmOutput(16);
    Bytes block(256, 0x77);  // every code +7: the biggest growth of the step
    block[0] = 0;
    block[1] = 0xFF;
    block[2] = 0x7F;  // delta 32767
    block[3] = block[4] = block[5] = block[6] = 0;
    std::vector<unsigned char> out(1000);
    ASSERT_EQ(decode_adpcm_block(f, block.data(), out16, out.data(), block.size(), out.size()), 1000u);
    for (std::size_t i = 2; i < 500; ++i)
        EXPECT_EQ(static_cast<std::int16_t>(out[2 * i] | out[2 * i + 1] << 8), 32767) << i;
    // And a negative one is taken as the smallest step.
    block[1] = 0x00;
    block[2] = 0x80;
    block.assign(block.size(), 0x00);
    block[1] = 0x00;
    block[2] = 0x80;
    ASSERT_EQ(decode_adpcm_block(f, block.data(), out16, out.data(), block.size(), out.size()), 1000u);
    for (std::size_t i = 0; i < 500; ++i)
        EXPECT_EQ(static_cast<std::int16_t>(out[2 * i] | out[2 * i + 1] << 8), 0) << i;
}
