// Drives the ondrava-cli executable as a user or a script would.

#include "app/file_names.h"
#include "support/cli_fixture.h"
#include "support/wav_builder.h"

#include <QImage>
#include <filesystem>
#include <fcntl.h>
#include <sstream>
#include <sys/wait.h>

using Bytes = WavBuilder::Bytes;
using W = WavBuilder;

using CliTest = CliFixture;

TEST_F(CliTest, InfoPrintsTheFormatAndTheInfoItems)
{
    Bytes body;
    W::putId(body, "INFO");
    for (const Bytes& item : {W::chunk("IART", {'A', 'n', 'n', 0}), W::chunk("INAM", {'T', 'u', 'n', 'e', 0})})
        body.insert(body.end(), item.begin(), item.end());
    writeFile(path("song.wav"), W::riff({W::chunk("LIST", body), W::chunk("fmt ", W::fmtBody(1, 2, 44100, 16)),
                                         W::chunk("data", W::randomBytes(4000, 1))}));
    const Run run = cli({"info", "song.wav"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(lines(run.out), (std::vector<std::string>{
                                  "format_tag: 1", "channels: 2", "rate: 44100", "bits: 16",
                                  "block_align: 4", "avg_bytes_per_sec: 176400", "data_bytes: 4000",
                                  "frames: 1000", "info.IART: Ann", "info.INAM: Tune"}));
}

TEST_F(CliTest, ABrokenFileGetsTheProgramsMessageAndExitCodeOne)
{
    Bytes bad = W::pcm(1, 8000, 8, {1, 2, 3});
    bad[8] = 'X';
    writeFile(path("bad.wav"), bad);
    const Run run = cli({"info", "bad.wav"});
    EXPECT_EQ(run.exitCode, 1);
    // The program's text, then the file it is about.
    EXPECT_EQ(run.err, "Format error on input file.\n\nbad.wav\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(cli({"open", "bad.wav"}).exitCode, 1);
    EXPECT_EQ(cli({"open", "missing.wav"}).err, "Cannot open input WAVE file.\n\nmissing.wav\n");
}

TEST_F(CliTest, OpenReportsLevelsAndLeavesNoFileBehind)
{
    writeFile(path("tone.wav"), W::pcm(2, 44100, 16, W::randomBytes(264600 * 2, 2)));
    Run run = cli({"open", "tone.wav"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(lines(run.out), (std::vector<std::string>{"total_samples: 264600", "levels: 8",
                                                         "max_zoom: 128", "overview_entries: 2064"}));
    EXPECT_TRUE(filesIn(path("ondrava/work")).empty());

    run = cli({"open", "tone.wav", "--width", "800", "--dump-overview"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const auto out = lines(run.out);
    ASSERT_EQ(out.size(), 4u + 2064u);
    EXPECT_EQ(out[1], "levels: 9");  // 264600 / 2^9 = 516, below 800 * 3 / 4
    EXPECT_TRUE(filesIn(path("ondrava/work")).empty());
}

TEST_F(CliTest, NewMakesTheNextSampleFileHere)
{
    const Run run = cli({"new", "--channels", "1", "--bits", "16", "--rate", "11025"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, path("SAMPLE1.WAV") + "\n");
    const Bytes b = readFile(path("SAMPLE1.WAV"));
    ASSERT_EQ(b.size(), 52u);
    EXPECT_EQ(b[22], 1);   // channels
    EXPECT_EQ(b[34], 16);  // bits
    EXPECT_EQ(cli({"info", "SAMPLE1.WAV"}).exitCode, 0);

    // 24-bit files in the extensible header, float ones with tag 3; both
    // begin as eight samples of silence.
    const Run made = cli({"new", "--channels", "2", "--bits", "24", "--rate", "96000"});
    ASSERT_EQ(made.exitCode, 0) << made.err;
    const Bytes deep = readFile(made.out.substr(0, made.out.size() - 1));
    ASSERT_EQ(deep.size(), 12u + 8 + 40 + 8 + 24);
    EXPECT_EQ(deep[20] | deep[21] << 8, 0xFFFE);
    EXPECT_EQ(deep[34], 24);
    EXPECT_EQ(Bytes(deep.end() - 24, deep.end()), Bytes(24, 0));
    const Run madeFloat = cli({"new", "--bits", "32f"});
    ASSERT_EQ(madeFloat.exitCode, 0) << madeFloat.err;
    const std::string floatName = madeFloat.out.substr(0, madeFloat.out.size() - 1);
    const Bytes floating = readFile(floatName);
    ASSERT_GT(floating.size(), 34u);
    EXPECT_EQ(floating[20], 3);
    EXPECT_EQ(floating[34], 32);
    const Run info = cli({"info", floatName});
    EXPECT_EQ(info.exitCode, 0) << info.err;
    EXPECT_NE(info.out.find("format_tag: 3"), std::string::npos) << info.out;
}

TEST_F(CliTest, UsageErrorsExitWithTwo)
{
    EXPECT_EQ(cli({}).exitCode, 2);
    EXPECT_EQ(cli({"frobnicate"}).exitCode, 2);
    EXPECT_EQ(cli({"info"}).exitCode, 2);
    EXPECT_EQ(cli({"open", "x.wav", "--width"}).exitCode, 2);
    EXPECT_EQ(cli({"open", "x.wav", "--width", "wide"}).exitCode, 2);
    EXPECT_EQ(cli({"new", "--bits", "12"}).exitCode, 2);
    EXPECT_EQ(cli({"new", "--bits", "32"}).exitCode, 2);  // float is "32f"
    EXPECT_EQ(cli({"--channels-from", "1"}).exitCode, 2);
    EXPECT_EQ(cli({"new", "--channels", "3"}).exitCode, 2);
    EXPECT_EQ(cli({"--help"}).exitCode, 0);
}

TEST_F(CliTest, TheProfileGetsTheDataDirectoryOnFirstUse)
{
    writeFile(path("a.wav"), W::pcm(1, 8000, 8, {1, 2, 3, 4}));
    ASSERT_EQ(cli({"info", "a.wav"}).exitCode, 0);
    const Bytes ini = readFile(path("config/Ondrava/Ondrava.ini"));
    const std::string text(ini.begin(), ini.end());
    EXPECT_NE(text.find(path("ondrava/work")), std::string::npos) << text;
}

TEST_F(CliTest, RenderDrawsTheDocumentAsTheWindowDoes)
{
    writeFile(path("tone.wav"), W::pcm(2, 44100, 16, W::randomBytes(441000 * 4, 3)));
    Run run = cli({"render", "tone.wav", "--width", "800", "--height", "300", "--level", "4", "--first", "10001",
                   "--time-format", "25", "--out", "tone.png"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(lines(run.out), (std::vector<std::string>{"level: 4", "first_sample: 10000", "values_per_column: 256"}));
    const QImage image(QString::fromStdString(path("tone.png")));
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(800, 300));
    EXPECT_EQ(image.pixel(3, 20) & 0xFFFFFF, qRgb(192, 192, 192) & 0xFFFFFF);  // the ruler
    EXPECT_EQ(image.pixel(3, 46) & 0xFFFFFF, qRgb(64, 64, 64) & 0xFFFFFF);     // a band's top row
    EXPECT_TRUE(filesIn(path("ondrava/work")).empty());

    EXPECT_EQ(cli({"render", "tone.wav", "--width", "800", "--height", "300"}).exitCode, 2);  // no --out
    EXPECT_EQ(cli({"render", "tone.wav", "--time-format", "29", "--out", "x.png"}).exitCode, 2);
    EXPECT_EQ(cli({"render", "missing.wav", "--out", "x.png"}).exitCode, 1);
}

TEST_F(CliTest, ConvertSavesThroughTheProgramsSavePath)
{
    writeFile(path("in.wav"), W::pcm(2, 44100, 16, W::randomBytes(44100 * 4, 4)));
    Run run = cli({"convert", "in.wav", "out.wav", "--channels", "1", "--bits", "8", "--rate", "22050"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    run = cli({"info", "out.wav"});
    const auto info = lines(run.out);
    ASSERT_GE(info.size(), 4u);
    EXPECT_EQ(info[1], "channels: 1");
    EXPECT_EQ(info[2], "rate: 22050");
    EXPECT_EQ(info[3], "bits: 8");

    run = cli({"convert", "in.wav", "packed.wav", "--adpcm"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "Halvorn Wave Converter: Conversion completed successfully!\n\npacked.wav\n");
    run = cli({"info", "packed.wav"});  // ADPCM is not PCM
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "Input file is not a PCM_WAVE file.\n\npacked.wav\n");

    EXPECT_EQ(cli({"convert", "in.wav", "bad.wav", "--rate", "48000", "--adpcm"}).exitCode, 1);
    EXPECT_EQ(cli({"convert", "in.wav"}).exitCode, 2);
    EXPECT_EQ(cli({"convert", "in.wav", "x.wav", "--bits", "12"}).exitCode, 2);
    // A target whose extension names no type we write is refused, and
    // nothing is written under its name.
    for (const char* target : {"out.m4a", "out.caf", "out.xyz", "take.1.m4a"}) {
        run = cli({"convert", "in.wav", target});
        EXPECT_EQ(run.exitCode, 2) << target;
        EXPECT_NE(run.err.find("is not a file type this program writes"), std::string::npos) << run.err;
        EXPECT_FALSE(file_exists(path(target))) << target;
    }
    // The last extension is what counts: a dotted WAV name still converts.
    EXPECT_EQ(cli({"convert", "in.wav", "take.1.wav"}).exitCode, 0);
    EXPECT_EQ(cli({"convert", "in.wav", "take.1.flac"}).exitCode, 0);
    const Bytes flac = readFile(path("take.1.flac"));
    ASSERT_GE(flac.size(), 4u);
    EXPECT_EQ(std::string(flac.begin(), flac.begin() + 4), "fLaC");
    EXPECT_TRUE(filesIn(path("ondrava/work")).empty());
}

TEST_F(CliTest, RunAppliesItsStepsInOrder)
{
    const Bytes data = W::randomBytes(20000, 5);
    writeFile(path("in.wav"), W::pcm(2, 22050, 16, data));
    Run run = cli({"run", "in.wav", "--select", "100:2100", "--save-selection", "sel.wav", "--channel", "left",
                   "--new-from-selection", "--save", "copy.wav"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const Bytes sel = readFile(path("sel.wav"));
    EXPECT_EQ(Bytes(sel.begin() + 44, sel.end()), Bytes(data.begin() + 200, data.begin() + 4200));
    // The new file from the left channel became the active document and was saved.
    const Bytes made = readFile(path("SAMPLE1.WAV"));
    EXPECT_EQ(readFile(path("copy.wav")), made);
    ASSERT_EQ(made.size(), 44u + 4000u);
    EXPECT_EQ(made[44 + 2], made[44]);  // the left sample stands in the right
    EXPECT_EQ(made[44 + 3], made[45]);

    EXPECT_EQ(cli({"run", "in.wav", "--select", "10:5"}).exitCode, 2);
    EXPECT_EQ(cli({"run", "in.wav", "--select", "0:999999"}).exitCode, 2);
    EXPECT_EQ(cli({"run", "in.wav", "--channel", "middle"}).exitCode, 2);
    EXPECT_EQ(cli({"run", "in.wav", "--frobnicate"}).exitCode, 2);
    EXPECT_EQ(cli({"run", "in.wav", "--save", "no/such/dir/x.wav"}).exitCode, 1);
    EXPECT_TRUE(filesIn(path("ondrava/work")).empty());
}

TEST_F(CliTest, AnAdpcmFileOpensThroughTheHelperWhenTheUserAgrees)
{
    writeFile(path("in.wav"), W::pcm(1, 22050, 16, W::randomBytes(44100, 6)));
    ASSERT_EQ(cli({"convert", "in.wav", "packed.wav", "--adpcm"}).exitCode, 0);
    // Refused: nothing opens.
    Run run = cli({"--no", "open", "packed.wav"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("is a compressed ADPCM file.\nConvert to PCM?"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(path("packed.pcm.wav")));
    // Agreed: the helper decodes it into the suggested name, 8-bit PCM, and it opens.
    run = cli({"--yes", "open", "packed.wav"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(lines(run.out).at(0), "total_samples: 22264");  // 22 whole blocks of 1012 samples
    run = cli({"info", "packed.pcm.wav"});
    EXPECT_EQ(lines(run.out).at(3), "bits: 8");
    EXPECT_FALSE(std::filesystem::exists(path("ondrava/outadpcm.wav")));
    EXPECT_FALSE(std::filesystem::exists(path("ondrava/finished")));
}

TEST_F(CliTest, EditStepsAndAClipboardThatOutlivesTheRun)
{
    const Bytes data = W::randomBytes(40000, 8);
    writeFile(path("a.wav"), W::pcm(2, 22050, 16, data));
    writeFile(path("b.wav"), W::pcm(2, 22050, 16, W::randomBytes(8000, 9)));
    // One run copies...
    Run run = cli({"run", "a.wav", "--select", "1000:3000", "--copy"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    // ...the next pastes at an insertion point.
    run = cli({"run", "b.wav", "--select", "2000:2000", "--paste", "--save", "pasted.wav"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const Bytes pasted = readFile(path("pasted.wav"));
    ASSERT_EQ(pasted.size(), 44u + 8000u + 4000u);
    EXPECT_EQ(Bytes(pasted.begin() + 44 + 4000, pasted.begin() + 44 + 8000), Bytes(data.begin() + 2000, data.begin() + 6000));

    // Cut, undo, redo: the saves in between show each version.
    run = cli({"run", "a.wav", "--select", "0:10000", "--cut", "--save", "cut.wav", "--undo", "--save", "undone.wav",
               "--redo", "--save", "redone.wav"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(readFile(path("cut.wav")).size(), 44u + 20000u);
    EXPECT_EQ(readFile(path("undone.wav")), readFile(path("a.wav")));
    EXPECT_EQ(readFile(path("redone.wav")), readFile(path("cut.wav")));

    // Mix and cross-fade take their settings after them; silence by seconds.
    run = cli({"run", "a.wav", "--select", "0:4000", "--copy", "--select", "8000:12000", "--mix", "--clip-level", "0.5",
               "--target", "left", "--crossfade", "--curve", "exponential", "--insert-silence", "0.5", "--trim",
               "--crop", "--save", "edited.wav"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(readFile(path("edited.wav")).size(), 44u + 8000u);  // the cropped highlight
    // Crop clears the highlight, so Trim has nothing to keep.
    EXPECT_EQ(cli({"run", "a.wav", "--select", "0:4000", "--crop", "--trim"}).exitCode, 1);
    EXPECT_EQ(cli({"run", "a.wav", "--mix", "--clip-level", "3"}).exitCode, 2);
    EXPECT_EQ(cli({"run", "a.wav", "--insert-silence", "selection"}).exitCode, 1);
    EXPECT_TRUE(filesIn(path("ondrava/work")).size() >= 2u);  // the clipboard files stay
    for (const std::string& name : filesIn(path("ondrava/work")))
        EXPECT_EQ(name.find(".tmp"), std::string::npos) << name;  // every version file is gone
}

TEST_F(CliTest, EffectsAreListedAndRunThroughTheirDialogsSettings)
{
    const Run list = cli({"effects"});
    ASSERT_EQ(list.exitCode, 0) << list.err;
    EXPECT_NE(list.out.find("amplify: Amplify...\n  mode: Change the level by (db|percent|normalize, default db)"),
              std::string::npos)
        << list.out;
    EXPECT_NE(list.out.find("reverse: Reverse\n  (no parameters)"), std::string::npos) << list.out;

    // A constant 16000 in both channels, amplified by -6.02 dB in its second
    // half only.
    Bytes data;
    for (int i = 0; i < 4000; ++i) {
        W::put16(data, 16000);
        W::put16(data, 16000);
    }
    writeFile(path("c.wav"), W::pcm(2, 22050, 16, data));
    Run run = cli({"run", "c.wav", "--select", "4000:8000", "--effect", "amplify", "--param", "gain=-6.0206", "--save",
                   "half.wav"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const Bytes half = readFile(path("half.wav"));
    ASSERT_EQ(half.size(), 44u + 16000u);
    EXPECT_EQ(half[44 + 100], data[100]);
    EXPECT_EQ(half[44 + 8000] | half[44 + 8001] << 8, 8000);
    EXPECT_EQ(half[44 + 15998] | half[44 + 15999] << 8, 8000);

    // Bad names and settings are usage errors or the dialog's own reason.
    EXPECT_EQ(cli({"run", "c.wav", "--select", "0:8000", "--effect", "chorus"}).exitCode, 2);
    EXPECT_EQ(cli({"run", "c.wav", "--select", "0:8000", "--effect", "fade", "--param", "curve"}).exitCode, 2);
    run = cli({"run", "c.wav", "--select", "0:8000", "--effect", "fade", "--param", "range=500"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("range runs from 6 to 120"), std::string::npos) << run.err;
    EXPECT_EQ(cli({"run", "c.wav", "--effect", "reverse"}).exitCode, 1);  // no selection

    // The spectrum display as a picture.
    run = cli({"run", "c.wav", "--select", "0:8000", "--spectrum", "spectrum.png"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const QImage picture(QString::fromStdString(path("spectrum.png")));
    EXPECT_EQ(picture.size(), QSize(800, 400));
    EXPECT_EQ(cli({"run", "c.wav", "--spectrum", "none.png"}).exitCode, 1);

    // The magnified plot: a line of zeros over ten frames of the left channel.
    run = cli({"run", "c.wav", "--select", "100:300", "--draw", "0:0:0:9:0", "--save", "drawn.wav"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const Bytes drawn = readFile(path("drawn.wav"));
    EXPECT_EQ(drawn[44 + 200] | drawn[44 + 201] << 8, 0);           // frame 50, left
    EXPECT_EQ(drawn[44 + 202] | drawn[44 + 203] << 8, 16000);       // frame 50, right
    EXPECT_EQ(drawn[44 + 240] | drawn[44 + 241] << 8, 16000);       // frame 60, left: after the line
    EXPECT_EQ(cli({"run", "c.wav", "--select", "100:300", "--draw", "0:0:zero"}).exitCode, 2);
}

TEST_F(CliTest, MarksAreSetByRunKeptInTheFileAndListed)
{
    writeFile(path("in.wav"), W::pcm(2, 22050, 16, W::randomBytes(22050 * 4 * 2, 3)));
    Run run = cli({"run", "in.wav", "--mark", "1001:Intro", "--select", "22050:44100", "--mark-selection",
                   "--mark", "60000", "--save", "marked.wav"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    Run list = cli({"marks", "marked.wav"});
    ASSERT_EQ(list.exitCode, 0) << list.err;
    // Positions keep to whole frames.
    EXPECT_EQ(list.out, "0\t1000\t0.023 sec\tmark\tIntro\n"
                        "1\t22050\t0.500 sec\tpair-start:2\tMarker 22050\n"
                        "2\t44100\t1.000 sec\tpair-end\tMarker 44100\n"
                        "3\t60000\t1.361 sec\tmark\tMarker 60000\n");
    EXPECT_EQ(cli({"marks", "marked.wav", "--time-format", "25"}).out.substr(0, 23), "0\t1000\t00:00:00:00\tmark");

    ASSERT_EQ(cli({"run", "marked.wav", "--delete-mark", "1", "--save", "fewer.wav"}).exitCode, 0);
    EXPECT_EQ(cli({"marks", "fewer.wav"}).out, "0\t1000\t0.023 sec\tmark\tIntro\n"
                                               "1\t44100\t1.000 sec\tmark\tMarker 44100\n"
                                               "2\t60000\t1.361 sec\tmark\tMarker 60000\n");
    ASSERT_EQ(cli({"run", "marked.wav", "--delete-marks", "--save", "none.wav"}).exitCode, 0);
    Run none = cli({"marks", "none.wav"});
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_EQ(none.out, "");

    EXPECT_EQ(cli({"run", "in.wav", "--mark", "99999999"}).exitCode, 2);
    EXPECT_EQ(cli({"run", "in.wav", "--mark", "abc"}).exitCode, 2);
    EXPECT_EQ(cli({"run", "in.wav", "--delete-mark", "0"}).exitCode, 1);
    EXPECT_EQ(cli({"run", "in.wav", "--mark-selection"}).exitCode, 1);
    EXPECT_EQ(cli({"marks"}).exitCode, 2);
    EXPECT_EQ(cli({"marks", "missing.wav"}).exitCode, 1);
}

TEST_F(CliTest, ConvertGoesByExtensionAndPlugInsAreListedAndRun)
{
    const Bytes data = W::randomBytes(8000, 9);
    writeFile(path("in.wav"), W::pcm(2, 22050, 16, data));
    // A foreign type out and back in: the samples survive.
    ASSERT_EQ(cli({"convert", "in.wav", "out.aif"}).exitCode, 0);
    ASSERT_EQ(cli({"convert", "out.aif", "back.wav"}).exitCode, 0);
    const Bytes back = readFile(path("back.wav"));
    EXPECT_EQ(Bytes(back.end() - static_cast<long>(data.size()), back.end()), data);
    EXPECT_EQ(cli({"convert", "in.wav", "out.mp3"}).exitCode, 0);
    EXPECT_GT(readFile(path("out.mp3")).size(), 100u);

    Run list = cli({"plugins"});
    ASSERT_EQ(list.exitCode, 0);
    EXPECT_NE(list.out.find("http://plugin.org.uk/swh-plugins/amp\n  name: Simple amplifier"), std::string::npos);
    EXPECT_NE(list.out.find("  gain: Amps gain (dB), -70..70, default 0"), std::string::npos);
    Run run = cli({"run", "in.wav", "--plugin", "http://plugin.org.uk/swh-plugins/amp", "--param", "gain=-70",
                   "--save", "quiet.wav"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const Bytes quiet = readFile(path("quiet.wav"));
    int loudest = 0;
    for (std::size_t i = quiet.size() - data.size(); i + 1 < quiet.size(); i += 2)
        loudest = std::max(loudest, std::abs(static_cast<int>(static_cast<std::int16_t>(quiet[i] | quiet[i + 1] << 8))));
    EXPECT_LE(loudest, 12) << "-70 dB leaves almost nothing";
    EXPECT_EQ(cli({"run", "in.wav", "--plugin", "urn:none", "--save", "x.wav"}).exitCode, 1);
}

// An effect that would clip fails with the message and exit 1, leaving the
// target unwritten; --on-clip normalize (anywhere on the line) normalizes
// the result to -0.1 dBFS and --on-clip clip applies it clipped.
TEST_F(CliTest, AnEffectThatWouldClipFailsUnlessTheLineSaysWhatToDo)
{
    Bytes data;
    for (int i = 0; i < 44100; ++i)
        W::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(
                           16384 * std::sin(2 * M_PI * 441 * i / 44100.0)))));
    writeFile(path("sine.wav"), W::pcm(1, 44100, 16, data));
    const std::vector<std::string> amplify = {"run",     "sine.wav", "--select", "0:44100", "--effect",
                                              "amplify", "--param",  "gain=20", "--save"};
    const auto peakOf = [this](const std::string& name) {
        const Bytes b = readFile(path(name));
        int peak = 0;
        for (std::size_t i = 44; i + 1 < b.size(); i += 2)
            peak = std::max(peak, std::abs(static_cast<int>(static_cast<std::int16_t>(b[i] | b[i + 1] << 8))));
        return peak;
    };
    auto args = amplify;
    args.push_back("failed.wav");
    Run run = cli(args);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("Amplify would clip"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("--on-clip normalize"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(path("failed.wav")));

    args = amplify;
    args.push_back("normalized.wav");
    args.insert(args.begin(), {"--on-clip", "normalize"});
    run = cli(args);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NEAR(20 * std::log10(peakOf("normalized.wav") / 32768.0), -0.1, 0.01);

    args = amplify;
    args.push_back("clipped.wav");
    args.insert(args.end() - 2, {"--on-clip", "clip"});
    run = cli(args);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_GE(peakOf("clipped.wav"), 32767);
    EXPECT_EQ(cli({"--on-clip", "maybe", "run", "sine.wav"}).exitCode, 2);
}
