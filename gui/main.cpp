// ondrava [FILE...]: the windowed program. Opens the files named on the
// command line once the main frame is up.

#include "app/instance_files.h"
#include "app/main_frame.h"
#include "app/qt_ui_host.h"
#include "app/termination_signals.h"
#include "audio/portaudio_device.h"
#include "view/display_levels.h"
#include "view/mp3_export.h"

#include <QApplication>
#include <QScreen>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
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
    for (const QString& file : app.arguments().mid(1))
        frame->openFile(file);

    const int result = app.exec();
    // MP3 encoders started by a save finish their files before the program goes.
    wait_for_mp3_encoders(5 * 60 * 1000);
    delete frame;
    // Every document has closed: this run's own folder goes with it.
    remove_instance_directory();
    setUiHost(nullptr);
    return result;
}
