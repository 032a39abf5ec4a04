// Starts the real program under a virtual X display with a file, takes a
// screenshot of the whole screen and checks that a waveform is on it.

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

#include <QImage>
#include <cmath>
#include <cstdlib>
#include <fstream>

using ScreenshotTest = TempDirTest;

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
    // A profile without logo and tip, so that nothing covers the window.
    std::filesystem::create_directories(path("config/Ondrava"));
    std::ofstream(path("config/Ondrava/Ondrava.ini"))
        << "[Preferences]\nShow logo=no\nTip of the day=no\n";

    // Screenshots once a second until the data colour shows, ten at most;
    // then the program is asked to end, as a window manager would.
    std::ofstream(path("look.sh")) << "'" ONDRAVA_GUI "' '" << path("tone.wav") << "' &\n"
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
    const std::string command = "cd '" + path("") + "' && XDG_CONFIG_HOME='" + path("config") +
                                "' ONDRAVA_HOME='" + path("ondrava") +
                                "' xvfb-run -a -s '-screen 0 1280x800x24' bash '" + path("look.sh") + "' > '" +
                                path("run.log") + "' 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;

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
