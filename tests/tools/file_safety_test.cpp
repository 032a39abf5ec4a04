// The user's files under everything that can go wrong around a save: a kill
// at any moment, a full disk, two programs side by side, a crash with open
// documents, a helper that never answers. Each drives the real ondrava-cli.

#include "support/cli_fixture.h"
#include "support/wav_builder.h"

#include <chrono>
#include <filesystem>
#include <thread>

using Bytes = WavBuilder::Bytes;
using W = WavBuilder;

namespace {

using Clock = std::chrono::steady_clock;

void sleepMs(double ms) { std::this_thread::sleep_for(std::chrono::microseconds(static_cast<long long>(ms * 1000))); }

}  // namespace

class FileSafetyTest : public CliFixture {
protected:
    // Working, overview and version files left in the data folder.
    std::vector<std::string> workingFiles()
    {
        std::vector<std::string> names;
        if (std::filesystem::exists(path("ondrava/work")))
            for (const std::string& name : filesIn(path("ondrava/work")))
                names.push_back(name);
        return names;
    }
};

// A kill -9 at several moments of an edit saved over the file it came from:
// afterwards the file is either exactly what it was or exactly the finished
// result, never anything between.
TEST_F(FileSafetyTest, AKillDuringASaveOverTheOpenFileNeverLosesIt)
{
    const Bytes original = W::pcm(2, 44100, 16, W::randomBytes(48u << 20, 31));
    writeFile(path("ref.wav"), original);
    const std::vector<std::string> edit = {"--select", "0:8000000", "--effect", "reverse", "--save"};
    auto args = [&](const std::string& file) {
        std::vector<std::string> a = {"--yes", "run", file};
        a.insert(a.end(), edit.begin(), edit.end());
        a.push_back(file);
        return a;
    };
    const auto started = Clock::now();
    const Run reference = cli(args("ref.wav"));
    const double fullMs = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
    ASSERT_EQ(reference.exitCode, 0) << reference.err;
    const Bytes finished = readFile(path("ref.wav"));
    ASSERT_NE(finished, original);

    int killedMidway = 0;
    for (double fraction : {0.3, 0.5, 0.6, 0.7, 0.8, 0.85, 0.9, 0.95}) {
        writeFile(path("song.wav"), original);
        auto run = start(args("song.wav"));
        sleepMs(fullMs * fraction);
        if (run->running())
            ++killedMidway;
        run->signal(SIGKILL);
        run->wait();
        const Bytes after = readFile(path("song.wav"));
        EXPECT_TRUE(after == original || after == finished) << "killed at " << fraction << " of the run: "
                                                             << after.size() << " bytes";
    }
    EXPECT_GT(killedMidway, 0) << "no kill landed while the run was going";
}

// A disk that fills up during a save over the open file (a file-size limit
// between the working file and the saved one): the user's file survives, a
// message names the target, nothing is left under a temporary name.
TEST_F(FileSafetyTest, AFullDiskDuringASaveOverTheOpenFileLeavesItAsItWas)
{
    const Bytes original = W::pcm(1, 22050, 16, W::randomBytes(8u << 20, 32));
    writeFile(path("song.wav"), original);
    // Converting to stereo doubles the file: the working file fits, the save does not.
    const Run run = cli({"convert", "song.wav", "song.wav", "--channels", "2"}, {}, 12u << 20);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("Cannot write output WAVE file song.wav: File too large"), std::string::npos) << run.err;
    EXPECT_EQ(readFile(path("song.wav")), original);
    for (const std::string& name : filesIn(path("")))
        EXPECT_EQ(name.find("~ondrava-"), std::string::npos) << name;
    EXPECT_TRUE(workingFiles().empty());
}

// Fifty pairs of runs side by side, each opening a foreign file through the
// converter helper and saving it: every output holds its own input's
// samples. (They used to share the helper's exchange files and the working
// file names.)
TEST_F(FileSafetyTest, RunsSideBySideNeverTouchEachOthersFiles)
{
    constexpr int kRuns = 100;
    std::vector<Bytes> samples;
    for (int i = 0; i < kRuns; ++i) {
        samples.push_back(W::randomBytes(4000, static_cast<std::uint32_t>(100 + i)));
        writeFile(path("in" + std::to_string(i) + ".wav"), W::pcm(1, 8000, 16, samples.back()));
        ASSERT_EQ(std::system(("sox -q '" + path("in" + std::to_string(i) + ".wav") + "' '" +
                               path("in" + std::to_string(i) + ".au") + "'")
                                  .c_str()),
                  0);
    }
    for (int pair = 0; pair < kRuns; pair += 2) {
        std::vector<std::unique_ptr<CliProcess>> runs;
        for (int i = pair; i < pair + 2; ++i)
            runs.push_back(start({"--no", "convert", "in" + std::to_string(i) + ".au", "out" + std::to_string(i) + ".wav"},
                                 "run" + std::to_string(i)));
        for (auto& r : runs)
            EXPECT_EQ(r->wait(), 0);
    }
    for (int i = 0; i < kRuns; ++i) {
        const Bytes out = readFile(path("out" + std::to_string(i) + ".wav"));
        ASSERT_GE(out.size(), 44u) << i;
        EXPECT_EQ(Bytes(out.end() - 4000, out.end()), samples[static_cast<std::size_t>(i)]) << i;
    }
    EXPECT_TRUE(workingFiles().empty());
}

// A run killed with its document open leaves it to be recovered: listed by
// its original name and size, saved back whole, then removed.
TEST_F(FileSafetyTest, ADocumentOfAKilledRunIsRecovered)
{
    const Bytes data = W::randomBytes(24u << 20, 33);
    writeFile(path("take.wav"), W::pcm(2, 48000, 16, data));
    EXPECT_EQ(lines(cli({"recover", "--list"}).out), std::vector<std::string>{"Nothing to recover."});

    // Killed while a slow effect runs on the opened document.
    auto run = start({"--yes", "run", "take.wav", "--select", "0:12000000", "--effect", "tempo", "--param",
                      "tempo=150"});
    const auto started = Clock::now();
    bool journaled = false;
    while (!journaled && Clock::now() - started < std::chrono::seconds(20) && run->running()) {
        sleepMs(20);
        for (const auto& e : std::filesystem::recursive_directory_iterator(path("ondrava/work"),
                                                                          std::filesystem::directory_options::skip_permission_denied))
            journaled = journaled || e.path().extension() == ".rec";
    }
    ASSERT_TRUE(journaled) << "the document was never journaled";
    sleepMs(100);
    run->signal(SIGKILL);
    run->wait();
    ASSERT_FALSE(workingFiles().empty()) << "the killed run left its working files";

    const Run list = cli({"recover", "--list"});
    EXPECT_EQ(list.exitCode, 0) << list.err;
    const auto listed = lines(list.out);
    ASSERT_EQ(listed.size(), 1u) << list.out;
    EXPECT_EQ(listed[0].rfind("1\t" + std::to_string(data.size()) + " bytes\t48000 Hz 16-bit stereo\ttake.wav (recovered, ", 0),
              0u)
        << listed[0];
    EXPECT_NE(listed[0].find(path("take.wav")), std::string::npos);

    const Run saved = cli({"recover", "1", "back.wav"});
    EXPECT_EQ(saved.exitCode, 0) << saved.err;
    const Bytes back = readFile(path("back.wav"));
    ASSERT_EQ(back.size(), 44u + data.size());
    EXPECT_TRUE(std::equal(data.begin(), data.end(), back.begin() + 44)) << "the shown version is the original";
    EXPECT_EQ(cli({"recover", "7", "x.wav"}).exitCode, 1);
    EXPECT_EQ(cli({"recover"}).exitCode, 2);

    EXPECT_EQ(lines(cli({"recover", "--delete"}).out), std::vector<std::string>{"Removed 1 document."});
    EXPECT_EQ(lines(cli({"recover", "--list"}).out), std::vector<std::string>{"Nothing to recover."});
    EXPECT_TRUE(workingFiles().empty());
}

// A helper that never answers is not waited for for ever: Ctrl+C ends the
// wait at once, with the program's message naming the helper; a helper that
// crashes is named too.
TEST_F(FileSafetyTest, AHelperThatNeverAnswersOrCrashesIsNamed)
{
    const std::string script = writeScript("never.sh", "exec sleep 60\n");
    writeFile(path("packed.wav"),
              W::riff({W::chunk("fmt ", [] {
                           Bytes fmt = W::fmtBody(2, 1, 22050, 4, 50);
                           fmt[12] = 0;
                           fmt[13] = 2;  // block align 512
                           return fmt;
                       }()),
                       W::chunk("fact", {0, 4, 0, 0}), W::chunk("data", Bytes(1024, 0))}));
    auto run = start({"--yes", "open", "packed.wav"}, "run", {"ONDRAVA_WAVECONV=" + script});
    sleepMs(1500);
    ASSERT_TRUE(run->running());
    const auto interrupted = Clock::now();
    run->signal(SIGINT);
    const Run result = this->result(*run);
    EXPECT_LT(Clock::now() - interrupted, std::chrono::seconds(5));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("WAVECONV.EXE"), std::string::npos) << result.err;

    const std::string crash = writeScript("crash.sh", "kill -SEGV $$\n");
    const Run crashed = cli({"--yes", "open", "packed.wav"}, {"ONDRAVA_WAVECONV=" + crash});
    EXPECT_EQ(crashed.exitCode, 1);
    EXPECT_NE(crashed.err.find("WAVECONV.EXE stopped without finishing the conversion of"), std::string::npos)
        << crashed.err;

    const Run missing = cli({"--yes", "convert", "in.au", "out.wav"}, {"ONDRAVA_CRVCNVRT=" + path("nothing")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("CRVCNVRT.EXE missing."), std::string::npos) << missing.err;
}

// A file whose name looks like one of Qt's own options is converted by the
// helper like any other.
TEST_F(FileSafetyTest, HelpersTakeTheirArgumentsAsPlainNames)
{
    const Bytes data = W::randomBytes(2000, 34);
    writeFile(path("plain.wav"), W::pcm(1, 8000, 16, data));
    const std::string odd = "-qmljsdebugger=port:4000.au";
    ASSERT_EQ(std::system(("sox -q '" + path("plain.wav") + "' '" + path(odd) + "'").c_str()), 0);
    const Run run = cli({"convert", odd, "back.wav"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const Bytes back = readFile(path("back.wav"));
    ASSERT_GE(back.size(), 2000u);
    EXPECT_EQ(Bytes(back.end() - 2000, back.end()), data);
}
