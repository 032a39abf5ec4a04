// ondrava [FILE...]: the windowed program. Opens the files named on the
// command line once the main frame is up.

#include "app/application.h"
#include "app/instance_files.h"
#include "app/main_frame.h"
#include "app/qt_ui_host.h"
#include "app/termination_signals.h"
#include "audio/portaudio_device.h"
#include "view/display_levels.h"
#include "wavefile/mp3_export.h"

#include <QScreen>
#include <cstdio>
#include <cstring>
#include <optional>

namespace {

// --help, --version and unknown options, before any window: the exit
// status when the program ends here, nothing to go on. "--" ends the options
// (a file may begin with "-").
std::optional<int> commandLineOptions(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const char* a = argv[i];
        if (std::strcmp(a, "--") == 0)
            break;
        if (std::strcmp(a, "--help") == 0 || std::strcmp(a, "-h") == 0) {
            std::printf("Usage: ondrava [FILE...]\n"
                        "Records and edits digital audio. Opens each FILE in a window of its own.\n\n"
                        "  -h, --help     show this text and exit\n"
                        "      --version  show the version and exit\n"
                        "  --             the names after it are files, even when they begin with '-'\n\n"
                        "The command line without windows is ondrava-cli (ondrava-cli --help).\n");
            return 0;
        }
        if (std::strcmp(a, "--version") == 0) {
            std::printf("Ondrava %s\n", ONDRAVA_VERSION);
            return 0;
        }
        // Qt's own options (-platform, -style ...) pass; other dashes do not.
        if (a[0] == '-' && a[1] == '-') {
            std::fprintf(stderr, "ondrava: unknown option %s (ondrava --help lists them)\n", a);
            return 2;
        }
    }
    return std::nullopt;
}

}  // namespace

int main(int argc, char** argv)
{
    if (const auto status = commandLineOptions(argc, argv))
        return *status;
    OndravaApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Ondrava"));
    QApplication::setOrganizationName(QStringLiteral("Ondrava"));
    if (QScreen* screen = QApplication::primaryScreen())
        set_screen_width_pixels(screen->geometry().width());

    // Playback goes to the device the preferences name (PortAudio).
    use_portaudio_output();
    use_portaudio_input();
    auto* frame = new CMainFrame;
    QtUiHost host(frame);
    setUiHost(&host);
    new TerminationSignals(frame);
    frame->show();
    frame->startUp();
    bool afterDashes = false;
    for (const QString& file : app.arguments().mid(1)) {
        if (!afterDashes && file == QStringLiteral("--")) {
            afterDashes = true;
            continue;
        }
        frame->openFile(file);
    }

    const int result = app.exec();
    // MP3 encoders started by a save finish their files before the program goes.
    wait_for_mp3_encoders(5 * 60 * 1000);
    delete frame;
    // Every document has closed: this run's own folder goes with it.
    remove_instance_directory();
    setUiHost(nullptr);
    return result;
}
