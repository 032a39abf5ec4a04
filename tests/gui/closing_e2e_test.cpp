// The whole program under a virtual display with a window manager, driven by
// mouse and keys: a document is edited, and the program is asked to quit
// (Ctrl+Q, then SIGTERM as at a log-out). It asks "OK to close" each time
// instead of crashing, keeps everything on Cancel, and ends cleanly on OK
// without touching the file it opened.

#include "desktop_session.h"
#include "support/wav_builder.h"

#include <QImage>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <sstream>

using ClosingE2eTest = DesktopSessionTest;

namespace {

// Pixels of the message box's light face in the middle of the screen, where
// the question stands.
long boxPixels(const QImage& shot)
{
    long count = 0;
    for (int y = 300; y < 500; ++y)
        for (int x = 400; x < 880; ++x)
            count += (shot.pixel(x, y) & 0xFFFFFF) == (qRgb(239, 239, 239) & 0xFFFFFF);
    return count;
}

}  // namespace

TEST_F(ClosingE2eTest, QuittingWithAnEditedDocumentAsksAndNeverCrashes)
{
    WavBuilder::Bytes data;
    for (int i = 0; i < 441000; ++i) {
        const auto s = static_cast<std::int16_t>(std::sin(i * 2 * M_PI * 440 / 44100) * 20000);
        WavBuilder::put16(data, static_cast<std::uint16_t>(s));
        WavBuilder::put16(data, static_cast<std::uint16_t>(s / 3));
    }
    const WavBuilder::Bytes original = WavBuilder::pcm(2, 44100, 16, data);
    writeFile(path("tone.wav"), original);
    writeQuietProfile();

    const std::string shot = path("shot");
    std::ostringstream script;
    script
        << "openbox >/dev/null 2>&1 &\n"
        << "sleep 1\n"
        << "'" ONDRAVA_GUI "' '" << path("tone.wav") << "' &\n"
        << "pid=$!\n"
        << "win=$(xdotool search --sync --onlyvisible --name '^Ondrava$' | head -1)\n"
        << "sleep 1.5\n"
        << "eval $(xdotool getwindowgeometry --shell $win)\n"
        // A highlight dragged across the waveform, then Cut: the document is modified.
        << "xdotool mousemove $((X + 110)) $((Y + 200)) mousedown 1 mousemove $((X + 250)) $((Y + 200)) "
           "mousemove $((X + 400)) $((Y + 200)) mouseup 1\n"
        << "sleep 0.5\n"
        << "xdotool key ctrl+x\n"
        << "sleep 1\n"
        << "xdotool key ctrl+q\n"
        << "sleep 1.5\n"
        << "import -window root '" << shot << "1.png'\n"
        << "kill -0 $pid && echo alive-after-quit\n"
        << "xdotool key Escape\n"
        << "sleep 1\n"
        << "import -window root '" << shot << "2.png'\n"
        << "kill -TERM $pid\n"
        << "sleep 1.5\n"
        << "import -window root '" << shot << "3.png'\n"
        << "kill -0 $pid && echo alive-after-term\n"
        << "xdotool key Return\n"
        << "wait $pid\n"
        << "echo exit=$?\n";
    ASSERT_EQ(runOnDesktop(script.str()), 0) << runLog();
    const std::string text = runLog();
    EXPECT_NE(text.find("alive-after-quit"), std::string::npos) << text;
    EXPECT_NE(text.find("alive-after-term"), std::string::npos) << text;
    EXPECT_NE(text.find("exit=0"), std::string::npos) << text;

    // The question is on screen after Ctrl+Q and after SIGTERM, gone after Cancel.
    const QImage asked(QString::fromStdString(shot + "1.png"));
    const QImage cancelled(QString::fromStdString(shot + "2.png"));
    const QImage askedAgain(QString::fromStdString(shot + "3.png"));
    ASSERT_FALSE(asked.isNull());
    ASSERT_FALSE(cancelled.isNull());
    ASSERT_FALSE(askedAgain.isNull());
    EXPECT_GT(boxPixels(asked), boxPixels(cancelled) + 5000);
    EXPECT_GT(boxPixels(askedAgain), boxPixels(cancelled) + 5000);

    // The file it opened is as it was; its working files are gone.
    EXPECT_EQ(readFile(path("tone.wav")), original);
    for (const std::string& name : filesIn(path("ondrava/work")))
        EXPECT_TRUE(name == "clipbord.clp" || name == "cliptext.clp" || name == "clipbord.lck") << name;
}

// SIGTERM while a box is open: the About box, and the message about a file
// that cannot be opened. The box is answered Cancel and the program ends, as
// at a log-off; no windowless process is left.
TEST_F(ClosingE2eTest, SigtermWithABoxOpenEndsTheProgram)
{
    writeFile(path("quiet.wav"), WavBuilder::pcm(2, 44100, 16, WavBuilder::indexedFrames(44100)));
    writeFile(path("broken.wav"), WavBuilder::Bytes(300, 0x55));
    writeQuietProfile();
    for (const std::string which : {"about", "message"}) {
        const std::string shot = path(which + ".png");
        std::ostringstream script;
        script
            << "openbox >/dev/null 2>&1 &\n"
            << "sleep 1\n"
            << "'" ONDRAVA_GUI "' '" << path(which == "about" ? "quiet.wav" : "broken.wav") << "' &\n"
            << "pid=$!\n"
            << "sleep 3\n"
            << (which == "about" ? "xdotool key alt+h; sleep 0.5; xdotool key a; sleep 1\n" : "")
            << "import -window root '" << shot << "'\n"
            << "kill -TERM $pid\n"
            // Ended within five seconds, or it is reported and killed.
            << "for i in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done\n"
            << "if kill -0 $pid 2>/dev/null; then echo still-running; kill -9 $pid; fi\n"
            << "wait $pid\n"
            << "echo exit=$?\n";
        ASSERT_EQ(runOnDesktop(script.str()), 0) << runLog();
        const std::string text = runLog();
        EXPECT_EQ(text.find("still-running"), std::string::npos) << which << ": " << text;
        EXPECT_NE(text.find("exit=0"), std::string::npos) << which << ": " << text;
        // The box was on screen when the signal came.
        const QImage boxOpen(QString::fromStdString(shot));
        ASSERT_FALSE(boxOpen.isNull());
        EXPECT_GT(boxPixels(boxOpen), 5000) << which;
    }
}

// --help and --version answer on the terminal without a window (no display
// needed); an unknown option is a usage error, not a file to open.
TEST_F(ClosingE2eTest, HelpAndVersionAnswerWithoutAWindow)
{
    auto run = [&](const std::string& args, int& status) {
        const std::string out = path("out.txt");
        status = std::system(("env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb '" ONDRAVA_GUI "' " + args + " > '" +
                              out + "' 2>&1")
                                 .c_str());
        const auto bytes = readFile(out);
        return std::string(bytes.begin(), bytes.end());
    };
    int status = 0;
    std::string text = run("--help", status);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << text;
    EXPECT_EQ(text.rfind("Usage: ondrava [FILE...]\n", 0), 0u) << text;
    text = run("--version", status);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << text;
    EXPECT_EQ(text.rfind("Ondrava ", 0), 0u) << text;
    EXPECT_TRUE(text.size() > 8 && std::isdigit(static_cast<unsigned char>(text[8]))) << text;
    text = run("--no-such-option", status);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << text;
    EXPECT_NE(text.find("ondrava: unknown option --no-such-option"), std::string::npos) << text;
}
