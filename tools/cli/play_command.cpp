#include "cli_args.h"

#include "app/preferences.h"
#include "audio/playback_engine.h"
#include "audio/portaudio_device.h"
#include "cli_playback_host.h"
#include "document_session.h"
#include "view/child_frame.h"

#include <QCoreApplication>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <iostream>

// ondrava-cli play FILE [--select START:END] [--loop N] [--device NAME|N]
//                       [--clipboard]
// Plays the document (or its selection, or the clipboard) on a wave output
// device and returns when playback ends; Ctrl+C stops it as Stop does.
namespace {

std::atomic<bool> g_stop{false};

}  // namespace

int run_play_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {"select", "loop", "device"}, {"clipboard"});
    if (!args || args->positionals().size() != 1) {
        std::cerr << "usage: ondrava-cli play FILE [--select START:END] [--loop N] [--device NAME|N] [--clipboard]\n";
        return kExitUsage;
    }
    const auto loops = args->integer("loop", 1, 1000000, 1);
    if (!loops || !apply_device_option(*args, true))
        return kExitUsage;
    use_portaudio_output();

    DocumentSession session;
    if (!session.open(args->positionals()[0]))
        return kExitFailed;
    CChildFrame& f = *session.active();
    if (const auto sel = args->value("select"); sel && !select_from_argument(f, *sel))
        return kExitUsage;

    PlaybackEngine& engine = PlaybackEngine::instance();
    CliPlaybackHost host;
    engine.setHost(&host);
    engine.loopPlayback = *loops > 1;
    engine.loop_count_enabled = *loops > 1;
    engine.loop_count = static_cast<int>(*loops);
    const int started = args->has("clipboard") ? engine.play_clipboard(f) : engine.play_the_wavefile(f);
    if (!started) {
        engine.setHost(nullptr);
        std::cerr << "ondrava-cli: playback did not start (no output device, a device that will not open, "
                     "or fewer than 30 samples)\n";
        return kExitFailed;
    }
    std::signal(SIGINT, [](int) { g_stop = true; });
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (g_stop.exchange(false))
            engine.stop_playback();
        if (host.ended)
            QCoreApplication::quit();
    });
    poll.start(20);
    QCoreApplication::exec();
    // Let the device's close completion arrive before the engine is left alone.
    engine.wait_until_released(1000);
    engine.setHost(nullptr);
    std::printf("played %.0f ms, %d underruns, %d starved periods\n", engine.get_play_position_ms(),
                portaudio_output_xruns(), portaudio_output_starved());
    return engine.device_lost() ? kExitFailed : kExitOk;
}
