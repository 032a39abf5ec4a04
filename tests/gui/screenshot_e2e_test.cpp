// Starts the real program under a virtual X display with a file, takes a
// screenshot of the whole screen and checks that a waveform is on it.

#include "desktop_session.h"
#include "support/wav_builder.h"

#include <QImage>
#include <cmath>
#include <sstream>

using ScreenshotTest = DesktopSessionTest;

TEST_F(ScreenshotTest, TheProgramShowsTheWaveformOfAFileNamedOnItsCommandLine)
{
    // Ten seconds of a 440 Hz tone, left loud and right quiet.
    WavBuilder::Bytes data;
    for (int i = 0; i < 441000; ++i) {
        const double s = std::sin(i * 2 * M_PI * 440 / 44100);
        WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(s * 20000)));
        WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(s * 6000)));
    }
    writeFile(path("tone.wav"), WavBuilder::pcm(2, 44100, 16, data));
    writeQuietProfile();

    // Screenshots once a second until the data colour shows, ten at most;
    // then the program is asked to end, as a window manager would.
    std::ostringstream script;
    script << "'" ONDRAVA_GUI "' '" << path("tone.wav") << "' &\n"
           << "pid=$!\n"
           << "for i in $(seq 1 10); do\n"
           << "  sleep 1\n"
           << "  import -window root '" << path("shot.png") << "'\n"
           << "  convert '" << path("shot.png")
           << "' -format %c histogram:info:- | grep -qi '#000080' && break\n"
           << "done\n"
           << "kill -TERM $pid\n"
           << "wait $pid\n"
           << "exit 0\n";
    ASSERT_EQ(runOnDesktop(script.str()), 0) << runLog();

    QImage shot(QString::fromStdString(path("shot.png")));
    ASSERT_FALSE(shot.isNull());
    EXPECT_EQ(shot.size(), QSize(1280, 800));
    long dataPixels = 0, background = 0, ruler = 0;
    for (int y = 0; y < shot.height(); ++y) {
        for (int x = 0; x < shot.width(); ++x) {
            const QRgb p = shot.pixel(x, y) & 0xFFFFFF;
            dataPixels += p == (qRgb(0, 0, 128) & 0xFFFFFF);
            background += p == (qRgb(0, 255, 255) & 0xFFFFFF);
            ruler += p == (qRgb(192, 192, 192) & 0xFFFFFF);
        }
    }
    // A tone fills much of each band with the data colour, on the cyan background.
    EXPECT_GT(dataPixels, 20000);
    EXPECT_GT(background, 20000);
    EXPECT_GT(ruler, 5000);
    // The document's files go when the program ends.
    EXPECT_TRUE(filesIn(path("ondrava/work")).empty());
}

namespace {

// Pixels of one colour in a column of a screenshot, between two rows.
int colourInColumn(const QImage& shot, int x, int top, int bottom, QRgb colour)
{
    int count = 0;
    for (int y = top; y < bottom; ++y)
        count += (shot.pixel(x, y) & 0xFFFFFF) == (colour & 0xFFFFFF);
    return count;
}

long colourCount(const QImage& shot, QRgb colour, QRect area)
{
    long count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            count += (shot.pixel(x, y) & 0xFFFFFF) == (colour & 0xFFFFFF);
    return count;
}

}  // namespace

// A user's session with the real program, the mouse and the keys: File >
// Open and a typed name, a drag that highlights, Operations > Reverse,
// closing the window and answering its question. Each step is checked on a
// screenshot; the file on disk is never touched.
TEST_F(ScreenshotTest, OpenSelectReverseCloseAndAnswerThePrompt)
{
    // A crescendo: the trace grows from left to right, so a reversed passage
    // shows as a wedge pointing the other way.
    WavBuilder::Bytes samples;
    const int frames = 441000;
    for (int i = 0; i < frames; ++i) {
        const double s = std::sin(i * 2 * M_PI * 440 / 44100) * 30000.0 * i / frames;
        WavBuilder::put16(samples, static_cast<std::uint16_t>(static_cast<std::int16_t>(s)));
        WavBuilder::put16(samples, static_cast<std::uint16_t>(static_cast<std::int16_t>(s / 2)));
    }
    const WavBuilder::Bytes original = WavBuilder::pcm(2, 44100, 16, samples);
    writeFile(path("crescendo.wav"), original);
    writeQuietProfile();

    const std::string shot = path("shot-");
    std::ostringstream script;
    script
        << "openbox >/dev/null 2>&1 &\n"
        << "sleep 1\n"
        << "'" ONDRAVA_GUI "' &\n"
        << "pid=$!\n"
        << "win=$(xdotool search --sync --onlyvisible --name '^Ondrava$' | head -1)\n"
        << "sleep 1.5\n"
        << "xdotool key ctrl+o\n"
        << "sleep 1.5\n"
        << "import -window root '" << shot << "dialog.png'\n"
        << "xdotool type --delay 20 '" << path("crescendo.wav") << "'\n"
        << "xdotool key Return\n"
        << "sleep 2\n"
        << "import -window root '" << shot << "open.png'\n"
        << "eval $(xdotool getwindowgeometry --shell $win)\n"
        << "xdotool mousemove $((X + 200)) $((Y + 250)) mousedown 1 mousemove $((X + 300)) $((Y + 250)) "
           "mousemove $((X + 450)) $((Y + 250)) mouseup 1\n"
        << "sleep 0.7\n"
        << "import -window root '" << shot << "select.png'\n"
        << "xdotool key alt+shift+g\n"  // Operations > Reverse
        << "sleep 2\n"
        << "import -window root '" << shot << "reverse.png'\n"
        << "xdotool key ctrl+F4\n"
        << "sleep 1.5\n"
        << "import -window root '" << shot << "prompt.png'\n"
        << "xdotool key Return\n"
        << "sleep 1.5\n"
        << "import -window root '" << shot << "closed.png'\n"
        << "kill -TERM $pid\n"
        << "wait $pid\n"
        << "echo exit=$?\n";
    ASSERT_EQ(runOnDesktop(script.str()), 0) << runLog();
    EXPECT_NE(runLog().find("exit=0"), std::string::npos);

    auto load = [&](const char* name) {
        QImage image(QString::fromStdString(shot + name + ".png"));
        EXPECT_FALSE(image.isNull()) << name;
        return image.convertToFormat(QImage::Format_RGB32);
    };
    const QRect screen(0, 0, 1280, 800);
    const QRgb data = qRgb(0, 0, 128), red = qRgb(255, 0, 0), yellow = qRgb(255, 255, 127);
    const QImage dialog = load("dialog"), opened = load("open"), selected = load("select"),
                 reversed = load("reverse"), prompt = load("prompt"), closed = load("closed");
    ASSERT_FALSE(closed.isNull());
    // The file dialog is up before the document is; the document shows its trace.
    EXPECT_LT(colourCount(dialog, data, screen), 100);
    EXPECT_GT(colourCount(opened, data, screen), 20000);

    // The highlight: red around the trace, which turns yellow. Its columns:
    int left = -1, right = -1;
    const int top = 150, bottom = 560;
    for (int x = 0; x < 1280; ++x)
        if (colourInColumn(selected, x, top, bottom, red) > 20) {
            left = left < 0 ? x : left;
            right = x;
        }
    ASSERT_GT(right - left, 100) << "no highlight after the drag";
    const int beforeLeft = colourInColumn(selected, left + 3, top, bottom, yellow);
    const int beforeRight = colourInColumn(selected, right - 3, top, bottom, yellow);
    const int afterLeft = colourInColumn(reversed, left + 3, top, bottom, yellow);
    const int afterRight = colourInColumn(reversed, right - 3, top, bottom, yellow);
    // Growing left to right before, shrinking after; the same heights swapped.
    EXPECT_GT(beforeRight, beforeLeft + 20);
    EXPECT_GT(afterLeft, afterRight + 20);
    EXPECT_NEAR(afterLeft, beforeRight, 6);
    EXPECT_NEAR(afterRight, beforeLeft, 6);
    // Outside the highlight nothing changed.
    for (const int x : {left - 20, right + 20})
        EXPECT_EQ(colourInColumn(selected, x, top, bottom, data), colourInColumn(reversed, x, top, bottom, data)) << x;

    // The question stands over the window (its light face in the middle of
    // the screen); after OK the document is gone.
    const QRect middle(440, 300, 400, 200);
    EXPECT_GT(colourCount(prompt, qRgb(239, 239, 239), middle), colourCount(reversed, qRgb(239, 239, 239), middle) + 3000);
    EXPECT_LT(colourCount(closed, data, screen), 100);
    EXPECT_LT(colourCount(closed, yellow, screen), 100);

    // Closing without saving leaves the file as it was, and no working files.
    EXPECT_EQ(readFile(path("crescendo.wav")), original);
    EXPECT_TRUE(filesIn(path("ondrava/work")).empty());
}

// A six-channel 24-bit FLAC named on the command line: the program asks
// about its channels over its window, the answer (mix down) shows as a
// trace, and Save As with a name ending in .flac writes FLAC that flac
// itself decodes to the mix at 24 bits.
TEST_F(ScreenshotTest, ASixChannelFlacIsMixedDownAndSavedAsFlac)
{
    // Channel c (from 0) holds a 220 Hz tone at an amplitude of its own.
    const int rate = 48000, frames = 3 * rate;
    const double amplitude[6] = {0.5, 0.1, 0.3, 0.05, 0.2, 0.4};
    std::ostringstream synth;
    synth << "sox -n -r " << rate << " -b 24 -c 6 '" << path("surround.flac") << "' synth 3 sine 220 remix";
    for (int c = 0; c < 6; ++c)
        synth << " 1v" << amplitude[c];
    ASSERT_EQ(std::system((synth.str() + " 2>&1").c_str()), 0);
    const auto source = readFile(path("surround.flac"));
    writeQuietProfile();

    const std::string shot = path("shot-");
    std::ostringstream script;
    script << "openbox >/dev/null 2>&1 &\n"
           << "sleep 1\n"
           << "'" ONDRAVA_GUI "' '" << path("surround.flac") << "' &\n"
           << "pid=$!\n"
           << "xdotool search --sync --onlyvisible --name '^Channels$' >/dev/null\n"
           << "sleep 1\n"
           << "import -window root '" << shot << "question.png'\n"
           << "xdotool key Return\n"
           << "sleep 2\n"
           << "import -window root '" << shot << "mixed.png'\n"
           << "xdotool key ctrl+shift+s\n"
           << "sleep 1.5\n"
           << "xdotool key ctrl+a\n"
           << "xdotool type --delay 20 '" << path("mixed.flac") << "'\n"
           << "xdotool key Return\n"
           << "sleep 2\n"
           << "kill -TERM $pid\n"
           << "wait $pid\n"
           << "echo exit=$?\n";
    ASSERT_EQ(runOnDesktop(script.str()), 0) << runLog();
    EXPECT_NE(runLog().find("exit=0"), std::string::npos) << runLog();

    const QImage question(QString::fromStdString(shot + "question.png"));
    const QImage mixed(QString::fromStdString(shot + "mixed.png"));
    ASSERT_FALSE(question.isNull());
    ASSERT_FALSE(mixed.isNull());
    const QRgb data = qRgb(0, 0, 128);
    const QRect screen(0, 0, 1280, 800);
    // No trace while the question stands; the trace once it is answered.
    EXPECT_LT(colourCount(question, data, screen), 100);
    EXPECT_GT(colourCount(mixed, data, screen), 20000);

    // What flac decodes: the mix at 24 bits. Left: front left, centre and
    // back left, the latter two at -3 dB, over the sum of the weights.
    ASSERT_EQ(std::system(("flac -d -s -f --force-raw-format --endian=little --sign=signed -o '" + path("mixed.raw") +
                           "' '" + path("mixed.flac") + "'")
                              .c_str()),
              0)
        << runLog();
    const auto raw = readFile(path("mixed.raw"));
    ASSERT_EQ(raw.size(), static_cast<std::size_t>(frames) * 2 * 3);
    const double k = std::sqrt(0.5), sum = 1 + 2 * k;
    const double gains[2] = {(amplitude[0] + k * amplitude[2] + k * amplitude[4]) / sum,
                             (amplitude[1] + k * amplitude[2] + k * amplitude[5]) / sum};
    double peak[2] = {0, 0};
    for (int i = 0; i < frames; ++i)
        for (int c = 0; c < 2; ++c) {
            const std::uint8_t* p = raw.data() + (2 * i + c) * 3;
            const std::int32_t v = static_cast<std::int32_t>(static_cast<std::uint32_t>(p[0]) << 8 |
                                                              static_cast<std::uint32_t>(p[1]) << 16 |
                                                              static_cast<std::uint32_t>(p[2]) << 24) >> 8;
            peak[c] = std::max(peak[c], std::abs(v / 8388608.0));
        }
    EXPECT_NEAR(peak[0], gains[0], 0.002);
    EXPECT_NEAR(peak[1], gains[1], 0.002);
    // The source is as it was.
    EXPECT_EQ(readFile(path("surround.flac")), source);
    EXPECT_TRUE(filesIn(path("ondrava/work")).empty());
}
