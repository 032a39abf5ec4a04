// Compressed and foreign files made by other programs (flac, oggenc,
// opusenc, ffmpeg, sox) open as documents at their resolution with their
// tags, whatever their name says; more than two channels are mixed down or
// two taken as asked; and what the program writes in those types is read
// back by those programs' decoders.

#include "app/instance_files.h"
#include "edit/undo.h"
#include "view/document_save.h"
#include "view/save_by_type.h"
#include "wavefile/channel_choice.h"
#include "wavefile/file_types.h"
#include "wavefile/mp3_export.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_state.h"

#include "support/document_test.h"
#include "support/qt_application.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>

using Bytes = WavBuilder::Bytes;

namespace {

// Runs a shell command line; true when it exits 0.
bool sh(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }
std::string q(const std::string& path) { return "'" + path + "'"; }

std::vector<float> floatsOf(const Bytes& b)
{
    std::vector<float> v(b.size() / 4);
    std::memcpy(v.data(), b.data(), v.size() * 4);
    return v;
}

// The document's samples as floats, whatever their width.
std::vector<float> documentSamples(const CChildFrame& f)
{
    std::ifstream in(f.szFileName, std::ios::binary);
    const Bytes raw{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const SampleFormat format = f.sampleFormat();
    std::vector<float> out(raw.size() / static_cast<std::size_t>(sample_bytes(format)));
    samples_to_float(format, raw.data(), out.data(), out.size());
    return out;
}

double maxDifference(const std::vector<float>& a, const std::vector<float>& b)
{
    double worst = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        worst = std::max(worst, std::abs(static_cast<double>(a[i]) - b[i]));
    return worst;
}

// Two tones (440 Hz left, 660 Hz right) of a second at 44.1 kHz, 24-bit,
// made here rather than by the tools under test.
Bytes tone24(std::size_t frames = 44100)
{
    Bytes b;
    for (std::size_t i = 0; i < frames; ++i) {
        for (double hz : {440.0, 660.0}) {
            const auto v = static_cast<std::int32_t>(std::lround(0.5 * 8388607 * std::sin(2 * M_PI * hz * i / 44100.0)));
            b.push_back(static_cast<std::uint8_t>(v));
            b.push_back(static_cast<std::uint8_t>(v >> 8));
            b.push_back(static_cast<std::uint8_t>(v >> 16));
        }
    }
    return b;
}

}  // namespace

class MediaImportTest : public DocumentTest {
protected:
    void SetUp() override
    {
        test_application();  // the MP3 encoder's end arrives through the event loop
        DocumentTest::SetUp();
        // A 24-bit source in the plain PCM form, which every tool reads.
        samples = tone24();
        writeFile(path("source.wav"), WavBuilder::pcm(2, 44100, 24, samples));
    }
    // What ffmpeg decodes `file` to: interleaved floats, two channels.
    std::vector<float> ffmpegDecode(const std::string& file, int channels = 2)
    {
        const std::string raw = path("decoded.f32");
        EXPECT_TRUE(sh("ffmpeg -v error -y -i " + q(file) + " -f f32le -ac " + std::to_string(channels) + " " + q(raw)))
            << file;
        return floatsOf(readFile(raw));
    }
    Bytes samples;
};

// Lossless sources open bit for bit at their own width; lossy ones as float,
// as long as the independent decoder says and within its rounding.
TEST_F(MediaImportTest, EveryTypeOpensAtItsResolutionAsOtherProgramsDecodeIt)
{
    const std::string src = q(path("source.wav"));
    ASSERT_TRUE(sh("flac -s -f -o " + q(path("s24.flac")) + " " + src));
    ASSERT_TRUE(sh("sox " + src + " -b 16 " + q(path("s16.flac"))));
    ASSERT_TRUE(sh("sox " + src + " " + q(path("s24.aiff"))));
    ASSERT_TRUE(sh("sox " + src + " -t w64 " + q(path("s24.w64"))));
    ASSERT_TRUE(sh("ffmpeg -v error -y -i " + src + " -c:a pcm_s24le -f caf " + q(path("s24.caf"))));
    ASSERT_TRUE(sh("ffmpeg -v error -y -i " + src + " -rf64 always -c:a pcm_s24le " + q(path("rf64.wav"))));
    ASSERT_TRUE(sh("ffmpeg -v error -y -i " + src + " -c:a pcm_s32le " + q(path("s32.wav"))));
    ASSERT_TRUE(sh("oggenc -Q -o " + q(path("v.ogg")) + " " + src));
    ASSERT_TRUE(sh("opusenc --quiet " + src + " " + q(path("o.opus"))));
    ASSERT_TRUE(sh("ffmpeg -v error -y -i " + src + " -c:a libmp3lame -b:a 192k " + q(path("m.mp3"))));
    ASSERT_TRUE(sh("ffmpeg -v error -y -i " + src + " -c:a aac -b:a 192k " + q(path("m.m4a"))));

    std::vector<float> exact(samples.size() / 3);
    samples_to_float(SampleFormat::S24, samples.data(), exact.data(), exact.size());
    // Each against another decoder of the same file: ffmpeg's, and for Ogg
    // Vorbis libvorbis's own oggdec (ffmpeg's native decoder drops the
    // first packet's samples).
    const struct {
        const char* name;
        int bits;
        double tolerance;
        bool oggdec;
    } cases[] = {
        {"s24.flac", 24, 0, false}, {"s16.flac", 16, 0, false},   {"s24.aiff", 24, 0, false},
        {"s24.w64", 24, 0, false},  {"s24.caf", 24, 0, false},    {"rf64.wav", 24, 0, false},
        {"s32.wav", 32, 0, false},  {"v.ogg", 32, 1.0 / 16384, true}, {"o.opus", 32, 1e-2, false},
        {"m.mp3", 32, 1e-4, false}, {"m.m4a", 32, 1e-3, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        host.clearShown();
        last_file_type = kTypeWav;
        auto doc = open_document_file(path(c.name));
        ASSERT_TRUE(doc);
        EXPECT_EQ(doc->wfx.wBitsPerSample, c.bits);
        EXPECT_EQ(doc->wfx.nChannels, 2);
        const std::vector<float> ours = documentSamples(*doc);
        std::vector<float> theirs;
        if (c.oggdec) {
            EXPECT_TRUE(sh("oggdec -Q -R -b 16 -o " + q(path("oggdec.raw")) + " " + q(path(c.name))));
            const Bytes raw = readFile(path("oggdec.raw"));
            for (std::size_t i = 0; i + 1 < raw.size(); i += 2)
                theirs.push_back(static_cast<std::int16_t>(raw[i] | raw[i + 1] << 8) / 32768.0f);
        } else {
            theirs = ffmpegDecode(path(c.name));
        }
        EXPECT_EQ(ours.size(), theirs.size());
        EXPECT_LE(maxDifference(ours, theirs), c.tolerance);
        if (c.tolerance == 0 && c.bits != 16) {
            EXPECT_EQ(maxDifference(ours, exact), 0.0) << "bit for bit";
        }
        // The document is the source's, but Save does not write over it.
        if (std::string(c.name) != "rf64.wav" && std::string(c.name) != "s32.wav" &&
            std::string(c.name) != "s24.aiff") {
            EXPECT_EQ(doc->files.path, "");
            EXPECT_EQ(doc->files.importedFrom, path(c.name));
            EXPECT_EQ(doc->szDisplayName, c.name);
        }
        EXPECT_TRUE(host.shown().empty()) << host.shown().front().text;
    }
    // The decoded copies went with the opening.
    for (const std::string& name : filesIn(instance_directory()))
        EXPECT_EQ(name.find("decoded"), std::string::npos) << name;
}

TEST_F(MediaImportTest, FilesAreKnownByTheirContentAndBringTheirTags)
{
    ASSERT_TRUE(sh("flac -s -f -T TITLE=Night -T ARTIST=Quartet -T ALBUM=Live -T DATE=2024 -T TRACKNUMBER=7 "
                   "-T COMMENT=take2 -o " + q(path("tagged.flac")) + " " + q(path("source.wav"))));
    // Misnamed files: FLAC under a WAVE name, MP3 under an Ogg name.
    ASSERT_EQ(std::system(("cp " + q(path("tagged.flac")) + " " + q(path("really-flac.wav"))).c_str()), 0);
    ASSERT_TRUE(sh("ffmpeg -v error -y -i " + q(path("source.wav")) + " -c:a libmp3lame -metadata title=Dawn -f mp3 " +
                   q(path("really-mp3.ogg"))));
    for (const char* name : {"tagged.flac", "really-flac.wav"}) {
        SCOPED_TRACE(name);
        auto doc = open_document_file(path(name));
        ASSERT_TRUE(doc);
        ASSERT_TRUE(doc->infoList);
        const InfoList& info = *doc->infoList;
        EXPECT_EQ(info_item_value(info, find_info_item(make_fourcc("INAM"))), "Night");
        EXPECT_EQ(info_item_value(info, find_info_item(make_fourcc("IART"))), "Quartet");
        EXPECT_EQ(info_item_value(info, find_info_item(make_fourcc("IPRD"))), "Live");
        EXPECT_EQ(info_item_value(info, find_info_item(make_fourcc("ICRD"))), "2024");
        EXPECT_EQ(info_item_value(info, find_info_item(make_fourcc("ICMT"))), "take2");
        EXPECT_EQ(doc->wfx.wBitsPerSample, 24);
    }
    auto mp3 = open_document_file(path("really-mp3.ogg"));
    ASSERT_TRUE(mp3);
    EXPECT_EQ(mp3->wfx.wBitsPerSample, 32);
    EXPECT_EQ(info_item_value(*mp3->infoList, find_info_item(make_fourcc("INAM"))), "Dawn");

    // And the tags travel back out: an exported FLAC carries them, the
    // track among them.
    auto doc = open_document_file(path("tagged.flac"));
    ASSERT_TRUE(doc);
    ASSERT_EQ(save_by_type(*doc, path("out.flac"), kTypeFlac, 0), 1);
    const std::string tags = path("tags.txt");
    ASSERT_TRUE(sh("metaflac --export-tags-to=" + q(tags) + " " + q(path("out.flac"))));
    // Vorbis comment names are read in any case; FFmpeg writes the comment
    // as DESCRIPTION.
    const Bytes text = readFile(tags);
    std::string all(text.begin(), text.end());
    std::transform(all.begin(), all.end(), all.begin(), [](unsigned char c) { return std::tolower(c); });
    for (const char* line :
         {"title=night", "artist=quartet", "album=live", "date=2024", "tracknumber=7", "description=take2"})
        EXPECT_NE(all.find(line), std::string::npos) << line << " in " << all;
}

// Six channels: the question is asked; the mix down follows the speakers,
// two chosen channels come as they are, Cancel opens nothing, and the title
// says what was done.
TEST_F(MediaImportTest, SixChannelsAreMixedDownOrTwoTakenAsAsked)
{
    const std::size_t frames = 4800;
    Bytes six;
    std::vector<std::array<std::int16_t, 6>> values(frames);
    for (std::size_t i = 0; i < frames; ++i)
        for (int c = 0; c < 6; ++c) {
            values[i][c] = static_cast<std::int16_t>(std::lround(3000 * (c + 1) * std::sin(0.01 * (c + 1) * i)));
            WavBuilder::put16(six, static_cast<std::uint16_t>(values[i][c]));
        }
    writeFile(path("six.wav"), WavBuilder::pcm(6, 48000, 16, six));

    ChannelChoice pick;
    pick.kind = ChannelChoice::Kind::Pick;
    pick.left = 1;
    pick.right = 4;
    host.setChannelChoice(pick);
    auto picked = open_document_file(path("six.wav"));
    ASSERT_TRUE(picked);
    EXPECT_EQ(picked->wfx.nChannels, 2);
    EXPECT_EQ(picked->wfx.wBitsPerSample, 16);
    EXPECT_EQ(picked->szDisplayName, "six.wav (channels 2 and 5 of 6)");
    const Bytes p = readFile(picked->szFileName);
    ASSERT_EQ(p.size(), frames * 4);
    for (std::size_t i = 0; i < frames; ++i) {
        ASSERT_EQ(static_cast<std::int16_t>(p[4 * i] | p[4 * i + 1] << 8), values[i][1]) << i;
        ASSERT_EQ(static_cast<std::int16_t>(p[4 * i + 2] | p[4 * i + 3] << 8), values[i][4]) << i;
    }

    host.setChannelChoice(ChannelChoice{});
    auto mixed = open_document_file(path("six.wav"));
    ASSERT_TRUE(mixed);
    EXPECT_EQ(mixed->szDisplayName, "six.wav (mixed down from 6 channels)");
    const Bytes m = readFile(mixed->szFileName);
    // Front left, centre at -3 dB and back left at -3 dB, scaled to sum to
    // one; the LFE left out.
    const double k = std::sqrt(0.5), sum = 1 + 2 * k;
    for (std::size_t i = 0; i < frames; i += 7) {
        const double left = (values[i][0] + k * values[i][2] + k * values[i][4]) / sum;
        const double right = (values[i][1] + k * values[i][2] + k * values[i][5]) / sum;
        ASSERT_NEAR(static_cast<std::int16_t>(m[4 * i] | m[4 * i + 1] << 8), left, 1.0) << i;
        ASSERT_NEAR(static_cast<std::int16_t>(m[4 * i + 2] | m[4 * i + 3] << 8), right, 1.0) << i;
    }

    // Channels the file does not have: said, nothing opened.
    pick.left = 0;
    pick.right = 6;
    host.setChannelChoice(pick);
    host.clearShown();
    EXPECT_EQ(open_document_file(path("six.wav")), nullptr);
    ASSERT_EQ(host.shown().size(), 1u);
    EXPECT_EQ(host.shown()[0].text, "Cannot open six.wav: it has 6 channels, so channels 1 and 7 cannot be taken.");
}

// Cancel in the middle of decoding opens nothing and leaves nothing behind;
// the source is untouched.
TEST_F(MediaImportTest, CancelStopsTheDecodingAndLeavesNothing)
{
    writeFile(path("long.wav"), WavBuilder::pcm(2, 44100, 24, tone24(44100 * 20)));
    ASSERT_TRUE(sh("flac -s -f -0 -o " + q(path("long.flac")) + " " + q(path("long.wav"))));
    const Bytes before = readFile(path("long.flac"));
    host.cancelAfterPolls(3);
    EXPECT_EQ(open_document_file(path("long.flac")), nullptr);
    EXPECT_GE(host.progressBoxesOpened(), 1);
    EXPECT_EQ(readFile(path("long.flac")), before);
    EXPECT_TRUE(filesIn(workDir()).empty());
    for (const std::string& name : filesIn(instance_directory()))
        EXPECT_EQ(name.find("decoded"), std::string::npos) << name;
}

// What the program writes in the compressed types, the other programs read:
// FLAC bit for bit at 16 and 24 bits, Vorbis and Opus at the right length
// and close to the source, MP3 gapless thanks to its LAME header.
TEST_F(MediaImportTest, ExportsAreReadByOtherProgramsDecoders)
{
    auto doc = open_document_file(path("source.wav"));
    ASSERT_TRUE(doc);
    ASSERT_EQ(doc->wfx.wBitsPerSample, 24);
    std::vector<float> exact(samples.size() / 3);
    samples_to_float(SampleFormat::S24, samples.data(), exact.data(), exact.size());

    SaveOptions options;
    options.flacCompression = 8;
    ASSERT_EQ(save_by_type(*doc, path("out24.flac"), kTypeFlac, 0, options), 1);
    ASSERT_TRUE(sh("flac -s -f -d -o " + q(path("flac24.wav")) + " " + q(path("out24.flac"))));
    const Bytes decoded = readFile(path("flac24.wav"));
    EXPECT_TRUE(std::search(decoded.begin(), decoded.end(), samples.begin(), samples.end()) != decoded.end())
        << "flac -d gives back every 24-bit sample";

    ASSERT_EQ(save_by_type(*doc, path("out.ogg"), kTypeVorbis, 0, options), 1);
    ASSERT_TRUE(sh("oggdec -Q -f -o " + q(path("ogg.raw")) + " -R -b 16 " + q(path("out.ogg"))));
    EXPECT_EQ(readFile(path("ogg.raw")).size(), 44100u * 2 * 2);
    const std::vector<float> vorbis = ffmpegDecode(path("out.ogg"));
    EXPECT_LT(maxDifference(vorbis, exact), 0.02);

    options.opusBitrate = 160;
    ASSERT_EQ(save_by_type(*doc, path("out.opus"), kTypeOpus, 0, options), 1);
    ASSERT_TRUE(sh("opusdec --quiet --rate 48000 " + q(path("out.opus")) + " " + q(path("opus.wav"))));
    // Opus runs at 48 kHz: the second of sound is 48000 frames long.
    EXPECT_EQ(readFile(path("opus.wav")).size() - 44, 48000u * 2 * 2);
    // The bit rate asked for is the encoder's: a fifth of it makes a file
    // far smaller.
    options.opusBitrate = 32;
    ASSERT_EQ(save_by_type(*doc, path("small.opus"), kTypeOpus, 0, options), 1);
    EXPECT_LT(readFile(path("small.opus")).size() * 2, readFile(path("out.opus")).size());

    options.mp3Vbr = 1;
    options.mp3VbrQuality = 2;
    ASSERT_EQ(save_by_type(*doc, path("out.mp3"), kTypeMp3, 0, options), 1);
    ASSERT_TRUE(wait_for_mp3_encoders(60000));
    const std::vector<float> mp3 = ffmpegDecode(path("out.mp3"));
    EXPECT_EQ(mp3.size(), exact.size()) << "the LAME header's delay and padding make it gapless";
    EXPECT_LT(maxDifference(mp3, exact), 0.05);
    const Bytes head = readFile(path("out.mp3"));
    const std::string start(head.begin(), head.begin() + std::min<std::size_t>(head.size(), 400));
    EXPECT_NE(start.find("Xing"), std::string::npos);
    EXPECT_NE(start.find("LAME"), std::string::npos);

    // A float document goes to FLAC as 24 bits, dithered.
    chooseFormat(2, 32, 44100);
    SaveOptions toFloat;
    toFloat.bSaveConverts = 1;
    ASSERT_EQ(save_by_type(*doc, path("float.wav"), kTypeWav, 0, toFloat), 1);
    auto floating = open_document_file(path("float.wav"));
    ASSERT_TRUE(floating);
    ASSERT_EQ(floating->wfx.wFormatTag, 3);
    ASSERT_EQ(save_by_type(*floating, path("fromfloat.flac"), kTypeFlac, 0), 1);
    const std::vector<float> back = ffmpegDecode(path("fromfloat.flac"));
    EXPECT_EQ(back.size(), exact.size());
    EXPECT_LE(maxDifference(back, exact), 1.5 / 8388608.0);
}

// Reducing 24-bit samples to 16 bits dithers: a tone far below one 16-bit
// step survives as noise-modulated signal instead of rounding to silence,
// and the error stays within the triangular dither's two steps.
TEST_F(MediaImportTest, ReducingTheResolutionDithers)
{
    Bytes quiet;
    for (std::size_t i = 0; i < 44100; ++i) {
        const auto v = static_cast<std::int32_t>(std::lround(100 * std::sin(2 * M_PI * 1000 * i / 44100.0)));
        for (int c = 0; c < 2; ++c) {
            quiet.push_back(static_cast<std::uint8_t>(v));
            quiet.push_back(static_cast<std::uint8_t>(v >> 8));
            quiet.push_back(static_cast<std::uint8_t>(v >> 16));
        }
    }
    writeFile(path("quiet.wav"), WavBuilder::pcm(2, 44100, 24, quiet));
    auto doc = open_document_file(path("quiet.wav"));
    ASSERT_TRUE(doc);
    chooseFormat(2, 16, 44100);
    SaveOptions o;
    o.bSaveConverts = 1;
    ASSERT_EQ(save_by_type(*doc, path("quiet16.wav"), kTypeWav, 0, o), 1);
    auto reduced = open_document_file(path("quiet16.wav"));
    ASSERT_TRUE(reduced);
    const Bytes r = readFile(reduced->szFileName);
    ASSERT_EQ(r.size(), 44100u * 4);
    int nonZero = 0;
    double errorPower = 0, correlation = 0;
    for (std::size_t i = 0; i < 44100; ++i) {
        const auto v = static_cast<std::int16_t>(r[4 * i] | r[4 * i + 1] << 8);
        const double source = 100 * std::sin(2 * M_PI * 1000 * i / 44100.0) / 256.0;  // in 16-bit steps
        nonZero += v != 0;
        errorPower += (v - source) * (v - source);
        correlation += v * source;
        ASSERT_LT(std::abs(v - source), 1.5) << i;  // the dither's step and the rounding's half step
    }
    EXPECT_GT(nonZero, 10000) << "plain rounding of 0.39 steps would give silence";
    EXPECT_GT(correlation, 0) << "the tone is still there";
    const double rms = std::sqrt(errorPower / 44100);
    EXPECT_GT(rms, 0.4);  // rounding alone: 0.29 of a step; TPDF dither: 0.5
    EXPECT_LT(rms, 0.65);
}
