// Foreign formats through the converter helper on libsox: every type of the
// list written by us and read back by the sox program, written by sox and
// opened by us, sample for sample where the format keeps the samples; and the
// converter protocol's failures.

#include "app/app_paths.h"
#include "app/atomic_file.h"
#include "app/file_names.h"
#include "view/document_save.h"
#include "wavefile/mp3_export.h"
#include "wavefile/open_by_type.h"
#include "view/save_by_type.h"
#include "wavefile/avi_file.h"
#include "wavefile/file_types.h"
#include "wavefile/foreign_formats.h"
#include "wavefile/helper_programs.h"
#include "wavefile/realmedia_encoder.h"

#include "support/document_test.h"
#include "support/qt_application.h"

#include <QCoreApplication>
#include <cmath>
#include <cstdio>
#include <cstring>

using Bytes = WavBuilder::Bytes;

namespace {

int run(const std::string& command)
{
    const int status = std::system((command + " 2>/dev/null").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The 16-bit samples of a WAVE file's "data" chunk, wherever it lies.
std::vector<std::int16_t> samples16(const Bytes& wav)
{
    std::size_t at = 12;
    while (at + 8 <= wav.size()) {
        std::uint32_t size;
        std::memcpy(&size, wav.data() + at + 4, 4);
        if (std::memcmp(wav.data() + at, "data", 4) == 0) {
            const std::size_t bytes = std::min<std::size_t>(size, wav.size() - at - 8);
            std::vector<std::int16_t> out(bytes / 2);
            std::memcpy(out.data(), wav.data() + at + 8, out.size() * 2);
            return out;
        }
        at += 8 + size + (size & 1);
    }
    return {};
}

// The best correlation of the left channels of two interleaved stereo
// signals, `count` frames from the start of the first against the second
// delayed by up to `lags` frames (an encoder's delay).
double bestLeftCorrelation(const std::vector<std::int16_t>& original, const std::vector<std::int16_t>& back,
                           std::size_t lags, std::size_t count)
{
    double best = 0.0;
    for (std::size_t lag = 0; lag < lags && 2 * lag < back.size(); ++lag) {
        double xy = 0, xx = 0, yy = 0;
        for (std::size_t i = 0; i < count && 2 * (i + lag) < back.size(); ++i) {
            const double x = original[2 * i], y = back[2 * (i + lag)];
            xy += x * y;
            xx += x * x;
            yy += y * y;
        }
        if (xx > 0 && yy > 0)
            best = std::max(best, xy / std::sqrt(xx * yy));
    }
    return best;
}

}  // namespace

class ForeignFormatsTest : public DocumentTest {
protected:
    void SetUp() override
    {
        test_application();  // the encoder's end arrives through the event loop
        DocumentTest::SetUp();
        // A tone with noise: every bit of the samples matters.
        Bytes data;
        std::uint32_t seed = 5;
        for (int i = 0; i < 4000; ++i)
            for (int ch = 0; ch < 2; ++ch) {
                seed = seed * 1103515245 + 12345;
                const double v = std::sin(i * (ch ? 0.03 : 0.05)) * 20000 + static_cast<int>(seed >> 20) % 500;
                WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(v)));
            }
        source = data;
        writeFile(path("src.wav"), WavBuilder::pcm(2, 22050, 16, data));
        doc = open_document_file(path("src.wav"));
        ASSERT_TRUE(doc);
    }
    void TearDown() override
    {
        doc.reset();
        DocumentTest::TearDown();
    }
    // sox's own reading of a file as 16-bit WAV, with options for raw types.
    std::vector<std::int16_t> soxRead(const std::string& file, const std::string& options = "")
    {
        const std::string out = path("sox-read.wav");
        std::remove(out.c_str());
        if (run("sox " + options + " '" + file + "' -t wav -e signed-integer -b 16 '" + out + "'") != 0)
            return {};
        return samples16(readFile(out));
    }

    Bytes source;
    std::unique_ptr<CChildFrame> doc;
};

TEST_F(ForeignFormatsTest, OurFilesReadBackBySoxSampleForSample)
{
    const std::vector<std::int16_t> original = samples16(WavBuilder::pcm(2, 22050, 16, source));
    // 16-bit stereo formats keep every sample.
    for (const char* ext : {"aif", "au", "sf"}) {
        const std::string file = path(std::string("out.") + ext);
        ASSERT_EQ(save_by_type(*doc, file, remember_file_type(file), 0), 1) << ext;
        EXPECT_EQ(soxRead(file), original) << ext;
        EXPECT_FALSE(file_exists(converter_output_path())) << "the success sign is taken away";
    }
    // Raw 16-bit: sox must be told what it is.
    ASSERT_EQ(save_by_type(*doc, path("out.sw"), 11, 0), 1);
    EXPECT_EQ(soxRead(path("out.sw"), "-t sw -r 22050 -c 2"), original);
    ASSERT_EQ(save_by_type(*doc, path("out.raw"), 5, 0), 1);
    EXPECT_EQ(soxRead(path("out.raw"), "-t s16 -r 22050 -c 2"), original);
    // The other headerless types, each as sox knows it, with what it keeps.
    struct Raw {
        const char* ext;
        const char* soxType;
        int tolerance;
    };
    for (const Raw& r : {Raw{"uw", "uw", 0}, Raw{"sb", "sb", 256}, Raw{"ub", "ub", 256}, Raw{"sou", "ub", 256},
                         Raw{"ul", "ul", 1100}}) {
        const std::string file = path(std::string("out.") + r.ext);
        ASSERT_EQ(save_by_type(*doc, file, remember_file_type(file), 0), 1) << r.ext;
        const auto back = soxRead(file, std::string("-t ") + r.soxType + " -r 22050 -c 2");
        ASSERT_EQ(back.size(), original.size()) << r.ext;
        int worst = 0;
        for (std::size_t i = 0; i < back.size(); ++i)
            worst = std::max(worst, std::abs(back[i] - original[i]));
        EXPECT_LE(worst, r.tolerance) << r.ext;
    }
    // 8-bit formats keep the top eight bits.
    for (const char* ext : {"8sv", "iff", "voc"}) {
        const std::string file = path(std::string("out.") + ext);
        ASSERT_EQ(save_by_type(*doc, file, remember_file_type(file), 0), 1) << ext;
        const bool voc = std::string(ext) == "voc";
        const auto back = soxRead(file, std::string("-t ") + (voc ? "voc" : "8svx"));
        // SoX's VOC reader drops the last frames of a stereo 16-bit block.
        ASSERT_LE(back.size(), original.size()) << ext;
        ASSERT_GE(back.size() + (voc ? 8 : 0), original.size()) << ext;
        int worst = 0;
        for (std::size_t i = 0; i < back.size(); ++i)
            worst = std::max(worst, std::abs(back[i] - original[i]));
        EXPECT_LE(worst, voc ? 0 : 256) << ext;
    }
    // Mono-only formats get both channels mixed; the selection alone saves.
    doc->bHighlight = 1;
    doc->nSelStart = 200;
    doc->nSelEnd = 2200;
    ASSERT_EQ(save_by_type(*doc, path("part.smp"), 8, 1), 1);
    const auto part = soxRead(path("part.smp"));
    ASSERT_EQ(part.size(), 1000u);
    for (std::size_t i = 0; i < part.size(); i += 97) {
        const int mean = (original[200 + 2 * i] + original[201 + 2 * i]) / 2;
        EXPECT_NEAR(part[i], mean, 2) << i;
    }
}

TEST_F(ForeignFormatsTest, SoxFilesOpenAsDocumentsBesideTheirSource)
{
    const std::vector<std::int16_t> original = samples16(WavBuilder::pcm(2, 22050, 16, source));
    for (const char* ext : {"aif", "au", "sf"}) {
        const std::string file = path(std::string("made.") + ext);
        ASSERT_EQ(run("sox '" + path("src.wav") + "' -t " + (std::string(ext) == "sf" ? "ircam" : ext) + " '" + file + "'"),
                  0)
            << ext;
        ASSERT_EQ(open_by_type(file, remember_file_type(file)), 1) << ext;
        EXPECT_EQ(szOpenedFileName, path("made.WAV"));
        auto opened = open_document_file(szOpenedFileName);
        ASSERT_TRUE(opened);
        EXPECT_EQ(opened->wfx.nChannels, 2);
        EXPECT_EQ(opened->wfx.nSamplesPerSec, 22050u);
        EXPECT_EQ(samples16(readFile(path("made.WAV"))), original) << ext;
        std::remove(path("made.WAV").c_str());
    }
    // A VOC file ends after its last declared block (libsox reports the end
    // of the file as an error there), and a ".snd" in the Sun/NeXT layout is
    // known by its ".snd" magic: both open with every sample (the 8-bit VOC's
    // as the sox program reads them).
    struct Case {
        const char* file;
        const char* soxType;
        bool narrow;
    };
    for (const Case c : {Case{"made.voc", "voc", true}, Case{"made.snd", "au", false}}) {
        const std::string file = path(c.file);
        ASSERT_EQ(run(std::string("sox '") + path("src.wav") + "' " + (c.narrow ? "-b 8 " : "") + "-t " + c.soxType +
                      " '" + file + "'"),
                  0)
            << c.file;
        ASSERT_EQ(open_by_type(file, remember_file_type(file)), 1) << c.file;
        auto opened = open_document_file(szOpenedFileName);
        ASSERT_TRUE(opened) << c.file;
        EXPECT_EQ(opened->wfx.nChannels, 2) << c.file;
        const Bytes made = readFile(path("made.WAV"));
        if (c.narrow) {
            EXPECT_EQ(opened->wfx.wBitsPerSample, 8);
            ASSERT_EQ(run("sox '" + file + "' -t u8 '" + path("voc.u8") + "'"), 0);
            const Bytes expected = readFile(path("voc.u8"));
            ASSERT_EQ(expected.size(), original.size());
            ASSERT_GE(made.size(), expected.size());
            EXPECT_EQ(Bytes(made.end() - static_cast<long>(expected.size()), made.end()), expected);
        } else {
            EXPECT_EQ(opened->wfx.nSamplesPerSec, 22050u);
            EXPECT_EQ(samples16(made), original) << c.file;
        }
        opened.reset();
        std::remove(path("made.WAV").c_str());
    }
    // A raw file is one channel at 44100 Hz.
    ASSERT_EQ(run("sox '" + path("src.wav") + "' -c 1 -r 44100 -t sw '" + path("mono.sw") + "'"), 0);
    ASSERT_EQ(open_by_type(path("mono.sw"), 11), 1);
    auto mono = open_document_file(szOpenedFileName);
    ASSERT_TRUE(mono);
    EXPECT_EQ(mono->wfx.nChannels, 1);
    EXPECT_EQ(mono->wfx.nSamplesPerSec, 44100u);
    EXPECT_EQ(mono->nTotalSamples * 2, get_named_file_length(path("mono.sw")));
    // 8-bit sources open as 8-bit documents.
    ASSERT_EQ(run("sox '" + path("src.wav") + "' -t 8svx '" + path("eight.8sv") + "'"), 0);
    ASSERT_EQ(open_by_type(path("eight.8sv"), 1), 1);
    auto eight = open_document_file(szOpenedFileName);
    ASSERT_TRUE(eight);
    EXPECT_EQ(eight->wfx.wBitsPerSample, 8);
}

TEST_F(ForeignFormatsTest, FailuresOpenNothingAndLoseNothing)
{
    // RealMedia and MP3 are written, never opened.
    writeFile(path("song.rm"), Bytes(100, 1));
    writeFile(path("song.mp3"), Bytes(100, 1));
    EXPECT_EQ(open_by_type(path("song.rm"), remember_file_type(path("song.rm"))), 0);
    EXPECT_EQ(open_by_type(path("song.mp3"), remember_file_type(path("song.mp3"))), 0);
    // A damaged foreign file leaves no target: nothing opens, no message.
    writeFile(path("broken.aif"), Bytes(64, 0x41));
    host.clearShown();
    EXPECT_EQ(open_by_type(path("broken.aif"), 2), 0);
    EXPECT_FALSE(file_exists(path("broken.WAV")));
    EXPECT_TRUE(host.shown().empty());
    // A missing converter.
    setenv("ONDRAVA_CRVCNVRT", path("no-such-helper").c_str(), 1);
    EXPECT_EQ(run_foreign_converter(path("src.wav"), path("x.aif")), 0);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().text, "CRVCNVRT.EXE missing.");
    EXPECT_EQ(save_by_type(*doc, path("y.au"), 3, 0), 0);
    EXPECT_FALSE(file_exists(path("y.au")));
    // A converter that never finishes: Escape ends the wait.
    const std::string stuck = writeScript("stuck.sh", "exec sleep 30\n");
    setenv("ONDRAVA_CRVCNVRT", stuck.c_str(), 1);
    host.requestCancel();
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(run_foreign_converter(path("src.wav"), path("z.aif")), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
    // A helper that dies at once, and one that never answers: the wait ends
    // after its polls.
    const std::string dies = writeScript("dies.sh", "exit 3\n");
    setenv("ONDRAVA_CRVCNVRT", dies.c_str(), 1);
    EXPECT_EQ(open_by_type(path("src.aif"), 2), 0);
    EXPECT_NE(host.shown().back().text.find("CRVCNVRT.EXE stopped"), std::string::npos) << host.shown().back().text;
    EXPECT_EQ(run_helper_until_finished(stuck, {}, 0, 10, 5), HelperWait::TimedOut);
    EXPECT_EQ(run_helper_until_finished(dies, {}, 0, 10, 1000), HelperWait::Ended);
    unsetenv("ONDRAVA_CRVCNVRT");
    EXPECT_EQ(doc->nTotalSamples, 8000u) << "the document is as it was";
}

TEST_F(ForeignFormatsTest, MpThreeGoesThroughTheEncoderBesideTheChosenName)
{
    const std::string mp3 = path("song.mp3");
    ASSERT_EQ(save_by_type(*doc, mp3, kTypeMp3, 0), 1);
    ASSERT_TRUE(wait_for_mp3_encoders(60000));
    ASSERT_TRUE(file_exists(mp3));
    EXPECT_FALSE(file_exists(mp3 + ".wav")) << "the temporary WAVE file goes when the encoder is done";
    // ffmpeg decodes it: the same length (give or take the encoder's padding)
    // and the same signal.
    const std::string decoded = path("decoded.wav");
    ASSERT_EQ(run("ffmpeg -v error -y -i '" + mp3 + "' -ar 22050 -ac 2 -c:a pcm_s16le '" + decoded + "'"), 0);
    const auto back = samples16(readFile(decoded));
    const std::vector<std::int16_t> original = samples16(WavBuilder::pcm(2, 22050, 16, source));
    // The encoder adds its delay and pads to whole frames: a tenth of a
    // second at most.
    const double seconds = static_cast<double>(back.size()) / 2 / 22050;
    EXPECT_GE(seconds, 4000.0 / 22050);
    EXPECT_LE(seconds, 4000.0 / 22050 + 0.12);
    EXPECT_GT(bestLeftCorrelation(original, back, 3000, 3000), 0.95);

    // Without the encoder: its message, and nothing written.
    setenv("ONDRAVA_BLADEENC", path("no-encoder").c_str(), 1);
    host.clearShown();
    EXPECT_EQ(save_by_type(*doc, path("other.mp3"), kTypeMp3, 0), 0);
    unsetenv("ONDRAVA_BLADEENC");
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().text, "BLADEENC.EXE missing.\n\n" + path("other.mp3"));
    EXPECT_FALSE(file_exists(path("other.mp3")));
    EXPECT_FALSE(file_exists(path("other.mp3.wav")));
}

TEST_F(ForeignFormatsTest, AviSoundTracksOpenAndAviFilesAreWrittenWithVideo)
{
    // An AVI with a test picture and a PCM sound track made by ffmpeg.
    const std::string made = path("made.avi");
    ASSERT_EQ(run("ffmpeg -v error -y -f lavfi -i testsrc=size=160x120:rate=10 -i '" + path("src.wav") +
                  "' -t 0.18 -c:v mpeg4 -c:a pcm_s16le '" + made + "'"),
              0);
    auto fromAvi = open_document_file(made);
    ASSERT_TRUE(fromAvi);
    EXPECT_EQ(szOpenedFileName, exchange_file_path("TESTAVI.WAV"));
    EXPECT_EQ(fromAvi->files.aviSource, made);
    EXPECT_EQ(fromAvi->wfx.nChannels, 2);
    EXPECT_EQ(fromAvi->wfx.nSamplesPerSec, 22050u);
    const std::vector<std::int16_t> original = samples16(WavBuilder::pcm(2, 22050, 16, source));
    const auto track = samples16(readFile(szOpenedFileName));
    ASSERT_GE(track.size(), 3900u * 2);
    EXPECT_TRUE(std::equal(track.begin(), track.end(), original.begin())) << "the sound track sample for sample";

    // Saved as AVI: its own video is copied, the sound track is the document.
    ASSERT_EQ(save_by_type(*fromAvi, path("copy.avi"), kTypeAvi, 0), 1);
    std::string probe = path("probe.txt");
    ASSERT_EQ(run("ffprobe -v error -show_entries stream=codec_name -of csv=p=0 '" + path("copy.avi") + "' > '" + probe +
                  "'"),
              0);
    const Bytes codecs = readFile(probe);
    EXPECT_EQ(std::string(codecs.begin(), codecs.end()), "mpeg4\npcm_s16le\n");
    ASSERT_EQ(run("ffmpeg -v error -y -i '" + path("copy.avi") + "' -c:a pcm_s16le '" + path("copy.wav") + "'"), 0);
    EXPECT_EQ(samples16(readFile(path("copy.wav"))), track);

    // A document of its own gets a still picture of its waveform as video.
    ASSERT_EQ(save_by_type(*doc, path("still.avi"), kTypeAvi, 0), 1);
    ASSERT_EQ(run("ffprobe -v error -show_entries stream=codec_name -of csv=p=0 '" + path("still.avi") + "' > '" +
                  probe + "'"),
              0);
    const Bytes stillCodecs = readFile(probe);
    EXPECT_EQ(std::string(stillCodecs.begin(), stillCodecs.end()), "mjpeg\npcm_s16le\n");
    ASSERT_EQ(run("ffmpeg -v error -y -i '" + path("still.avi") + "' -c:a pcm_s16le '" + path("still.wav") + "'"), 0);
    EXPECT_EQ(samples16(readFile(path("still.wav"))), original);

    // The video frames show: different pictures at different times.
    AviFrames frames;
    ASSERT_TRUE(frames.open(made));
    const QImage first = frames.frameAt(0.0, 160, 120);
    const QImage later = frames.frameAt(0.15, 160, 120);
    ASSERT_FALSE(first.isNull());
    EXPECT_EQ(first.size(), QSize(160, 120));
    EXPECT_NE(first, later);
    QImage band(200, 100, QImage::Format_RGB32);
    display_AVI_file(frames, 0.0, band);
    EXPECT_NE(band.pixel(100, 50), qRgb(0, 0, 0)) << "the frame is drawn in the band";

    // An AVI without sound, and a damaged one: their messages, nothing opens.
    ASSERT_EQ(run("ffmpeg -v error -y -f lavfi -i testsrc=size=160x120:rate=10 -t 0.5 -c:v mpeg4 '" + path("mute.avi") +
                  "'"),
              0);
    host.clearShown();
    EXPECT_EQ(open_by_type(path("mute.avi"), kTypeAvi), 0);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().text, "AVIFileGetStream failed for audio");
    writeFile(path("broken.avi"), Bytes(300, 0x52));
    EXPECT_EQ(open_by_type(path("broken.avi"), kTypeAvi), 0);
    EXPECT_NE(host.shown().back().text.find("broken.avi"), std::string::npos);
    AviFrames none;
    EXPECT_FALSE(none.open(path("broken.avi")));
    EXPECT_TRUE(none.frameAt(0.0, 10, 10).isNull());
}

TEST_F(ForeignFormatsTest, RealMediaGoesThroughAnAviIntoTheEncoder)
{
    // The codec list and its descriptions.
    const auto mono = realmedia_audio_codecs(1);
    const auto stereo = realmedia_audio_codecs(2);
    for (const std::string& name : mono)
        EXPECT_EQ(name.find("Stereo"), std::string::npos) << name;
    EXPECT_GT(stereo.size(), mono.size());
    ASSERT_GT(mono.size(), 8u);
    EXPECT_EQ(mono[0], "6.5 Kbps Voice");
    EXPECT_EQ(realmedia_preselected_entry(1), 8);
    EXPECT_EQ(realmedia_preselected_entry(2), 7);
    EXPECT_EQ(realmedia_description(2, 7),
              "Use this option for stereo CD quality sound over 28.8 kbps modems.\nFrequency response: 4 kHz");
    EXPECT_EQ(realmedia_description(1, 7),
              "Use this option for mono quasi-CD quality sound over ISDN lines.\nFrequency response: 11 kHz");
    EXPECT_EQ(realmedia_description(1, 13), "");
    EXPECT_EQ(realmedia_video_codecs().back(), "none");

    // The stereo document with the preselected codec: AC-3 and RealVideo,
    // the clip's properties, and the same signal when ffmpeg decodes it.
    const std::string rm = path("song.rm");
    ASSERT_EQ(save_by_type(*doc, rm, kTypeRealMedia, 0), 1);
    EXPECT_FALSE(file_exists(join_path(user_directory(), "TESTAVI.avi")));
    const auto& lines = host.realMediaProgress();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines.back(), "Done.");
    EXPECT_EQ(lines[lines.size() - 2].rfind("Encoding: Audio(", 0), 0u);
    const std::string probe = path("probe.txt");
    ASSERT_EQ(run("ffprobe -v error -show_entries stream=codec_name:format_tags=title,author -of csv=p=0 '" + rm +
                  "' > '" + probe + "'"),
              0);
    const Bytes text = readFile(probe);
    const std::string shown(text.begin(), text.end());
    EXPECT_NE(shown.find("ac3"), std::string::npos) << shown;
    EXPECT_NE(shown.find("rv10"), std::string::npos) << shown;
    EXPECT_NE(shown.find("The Title"), std::string::npos) << shown;
    ASSERT_EQ(run("ffmpeg -v error -y -i '" + rm + "' -ar 22050 -ac 2 -c:a pcm_s16le '" + path("rm.wav") + "'"), 0);
    const auto back = samples16(readFile(path("rm.wav")));
    const std::vector<std::int16_t> original = samples16(WavBuilder::pcm(2, 22050, 16, source));
    EXPECT_NEAR(static_cast<double>(back.size()) / 2, 4000.0, 1200.0);
    EXPECT_GT(bestLeftCorrelation(original, back, 1500, 2000), 0.9);

    // The voice codec, no video.
    RealMediaSettings voice;
    voice.audioCodec = "6.5 Kbps Voice";
    voice.videoCodec = "none";
    host.setRealMediaSettings(voice);
    ASSERT_EQ(save_by_type(*doc, path("voice.rm"), kTypeRealMedia, 0), 1);
    ASSERT_EQ(run("ffprobe -v error -show_entries stream=codec_name,sample_rate -of csv=p=0 '" + path("voice.rm") +
                  "' > '" + probe + "'"),
              0);
    const Bytes voiceText = readFile(probe);
    EXPECT_EQ(std::string(voiceText.begin(), voiceText.end()), "ra_144,8000\n");

    // Names the encoder does not know, and an AVI without sound.
    RealMediaSettings wrong;
    wrong.audioCodec = "Bogus";
    host.setRealMediaSettings(wrong);
    host.clearShown();
    EXPECT_EQ(save_by_type(*doc, path("bad.rm"), kTypeRealMedia, 0), 0);
    EXPECT_EQ(host.shown().back().text, "Bogus is not a valid audio codec name.\n\n" + path("bad.rm"));
    wrong.audioCodec = "6.5 Kbps Voice";
    wrong.videoCodec = "Cinepak";
    host.setRealMediaSettings(wrong);
    EXPECT_EQ(save_by_type(*doc, path("bad.rm"), kTypeRealMedia, 0), 0);
    EXPECT_EQ(host.shown().back().text, "Cinepak is not a valid video codec name.\n\n" + path("bad.rm"));
    ASSERT_EQ(run("ffmpeg -v error -y -f lavfi -i testsrc=size=160x120:rate=10 -t 0.5 -c:v mpeg4 '" + path("mute.avi") +
                  "'"),
              0);
    EXPECT_EQ(encode_realmedia(path("mute.avi"), path("mute.rm"), RealMediaSettings{}, {}), 0);
    EXPECT_EQ(host.shown().back().text, "AVIFileGetStream failed for audio");
}

// Opening a foreign file makes a WAVE file beside it; one that is already
// there is replaced only with the user's yes, and a failure removes only
// what it made.
TEST_F(ForeignFormatsTest, NeighboursAreNeverOverwrittenWithoutAYes)
{
    const std::vector<std::int16_t> original = samples16(WavBuilder::pcm(2, 22050, 16, source));
    ASSERT_EQ(run("sox '" + path("src.wav") + "' -t au '" + path("made.au") + "'"), 0);
    const Bytes mine = WavBuilder::pcm(1, 8000, 8, Bytes(100, 7));
    writeFile(path("made.WAV"), mine);

    // No: the user's file stays, the conversion takes the next free name,
    // and the question said which.
    host.setDefaultAgree(false);
    host.clearShown();
    ASSERT_EQ(open_by_type(path("made.au"), remember_file_type(path("made.au"))), 1);
    EXPECT_EQ(szOpenedFileName, path("made-2.WAV"));
    EXPECT_EQ(readFile(path("made.WAV")), mine);
    EXPECT_EQ(samples16(readFile(path("made-2.WAV"))), original);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_NE(host.shown().front().text.find("made.WAV already exists beside made.au"), std::string::npos);
    EXPECT_NE(host.shown().front().text.find("made-2.WAV"), std::string::npos);

    // Yes: replaced by the finished conversion.
    host.setDefaultAgree(true);
    ASSERT_EQ(open_by_type(path("made.au"), remember_file_type(path("made.au"))), 1);
    EXPECT_EQ(szOpenedFileName, path("made.WAV"));
    EXPECT_EQ(samples16(readFile(path("made.WAV"))), original);

    // A failed conversion beside an existing file: yes or no, the file stays
    // and nothing new is left.
    writeFile(path("broken.aif"), Bytes(64, 0x41));
    writeFile(path("broken.WAV"), mine);
    for (bool agree : {true, false}) {
        host.setDefaultAgree(agree);
        EXPECT_EQ(open_by_type(path("broken.aif"), 2), 0);
        EXPECT_EQ(readFile(path("broken.WAV")), mine);
        EXPECT_FALSE(file_exists(path("broken-2.WAV")));
    }
    for (const std::string& name : filesIn(path("")))
        EXPECT_FALSE(is_atomic_temporary_name(name)) << name;
}

// MP3 export writes beside the chosen name under temporary names: a file
// named like the encoder's input is not touched, and a failed encoding
// leaves the chosen name as it was.
TEST_F(ForeignFormatsTest, AnMpThreeExportTouchesNothingButItsTarget)
{
    const Bytes mine = Bytes(1234, 9);
    writeFile(path("keep.mp3.wav"), mine);
    writeFile(path("keep.mp3"), mine);
    ASSERT_EQ(save_by_type(*doc, path("keep.mp3"), kTypeMp3, 0), 1);
    ASSERT_TRUE(wait_for_mp3_encoders(60000));
    EXPECT_EQ(readFile(path("keep.mp3.wav")), mine);
    EXPECT_NE(readFile(path("keep.mp3")), mine) << "replaced by the finished MP3";

    // An encoder that fails: the old file stays, nothing else is left.
    const std::string failing = writeScript("fails.sh", "echo broken > \"${3%.wav}\"\nexit 1\n");
    setenv("ONDRAVA_BLADEENC", failing.c_str(), 1);
    writeFile(path("other.mp3"), mine);
    host.clearShown();
    ASSERT_EQ(save_by_type(*doc, path("other.mp3"), kTypeMp3, 0), 1);
    ASSERT_TRUE(wait_for_mp3_encoders(60000));
    unsetenv("ONDRAVA_BLADEENC");
    EXPECT_EQ(readFile(path("other.mp3")), mine);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_NE(host.shown().back().text.find("BLADEENC.EXE did not finish"), std::string::npos);
    for (const std::string& name : filesIn(path("")))
        EXPECT_FALSE(is_atomic_temporary_name(name)) << name;
}

// A document from an AVI saved over that same AVI keeps all of its video.
TEST_F(ForeignFormatsTest, SavingOverTheSourceAviKeepsItsVideo)
{
    const std::string made = path("movie.avi");
    ASSERT_EQ(run("ffmpeg -v error -y -f lavfi -i testsrc=size=160x120:rate=10 -i '" + path("src.wav") +
                  "' -t 0.18 -c:v mpeg4 -c:a pcm_s16le '" + made + "'"),
              0);
    const auto videoFrames = [&](const std::string& file) {
        const std::string out = path("frames.txt");
        run("ffprobe -v error -count_frames -select_streams v:0 -show_entries stream=nb_read_frames -of csv=p=0 '" +
            file + "' > '" + out + "'");
        const Bytes text = readFile(out);
        return std::atoi(std::string(text.begin(), text.end()).c_str());
    };
    const int before = videoFrames(made);
    ASSERT_GT(before, 0);
    auto fromAvi = open_document_file(made);
    ASSERT_TRUE(fromAvi);
    ASSERT_EQ(save_by_type(*fromAvi, made, kTypeAvi, 0), 1);
    EXPECT_EQ(videoFrames(made), before);
}
