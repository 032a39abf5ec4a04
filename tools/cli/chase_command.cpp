#include "cli_args.h"

#include "app/preferences.h"
#include "audio/playback_engine.h"
#include "audio/portaudio_device.h"
#include "cli_playback_host.h"
#include "document_session.h"
#include "sync/chase_lock.h"
#include "view/child_frame.h"

#include <QCoreApplication>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <iostream>

// ondrava-cli chase FILE --cue HH:MM:SS:FF [--fps 24|25|30] [--midi-in N]
//                        [--device NAME|N] [--preroll FRAMES] [--compensate]
// Runs the chase lock without a display until interrupted: playback of FILE
// starts when the incoming MIDI Time Code reaches the cue, stops when the
// code stops and starts again when it returns. The status texts are printed
// as they change.
namespace {

std::atomic<bool> g_interrupted{false};

bool parseCue(const std::string& text, int (&fields)[4], int fps)
{
    char tail = 0;
    if (std::sscanf(text.c_str(), "%d:%d:%d:%d%c", &fields[0], &fields[1], &fields[2], &fields[3], &tail) != 4)
        return false;
    return fields[0] >= 0 && fields[0] <= 23 && fields[1] >= 0 && fields[1] <= 59 && fields[2] >= 0 &&
           fields[2] <= 59 && fields[3] >= 0 && fields[3] < fps;
}

}  // namespace

int run_chase_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {"cue", "fps", "midi-in", "device", "preroll"}, {"compensate"});
    auto usage = [] {
        std::cerr << "usage: ondrava-cli chase FILE --cue HH:MM:SS:FF [--fps 24|25|30] [--midi-in N] [--device NAME|N]\n"
                     "                          [--preroll FRAMES] [--compensate]\n";
        return kExitUsage;
    };
    if (!args || args->positionals().size() != 1 || !args->value("cue"))
        return usage();
    const auto fps = args->integer("fps", 24, 30, 24);
    const auto midiIn = args->integer("midi-in", 0, 255, preferences().midiInputDevice);
    const auto preroll = args->integer("preroll", 0, 1000, 0);
    if (!fps || !midiIn || !preroll || !apply_device_option(*args, true))
        return kExitUsage;
    if (*fps != 24 && *fps != 25 && *fps != 30) {
        std::cerr << "ondrava-cli: --fps is 24, 25 or 30\n";
        return kExitUsage;
    }
    int cue[4];
    if (!parseCue(*args->value("cue"), cue, static_cast<int>(*fps))) {
        std::cerr << "ondrava-cli: --cue takes HH:MM:SS:FF (frames below the rate)\n";
        return kExitUsage;
    }
    use_portaudio_output();
    smpte_frame_rate = static_cast<int>(*fps);
    chase_preroll_frames = static_cast<int>(*preroll);

    DocumentSession session;
    if (!session.open(args->positionals()[0]))
        return kExitFailed;
    CChildFrame& f = *session.active();
    PlaybackEngine& engine = PlaybackEngine::instance();
    CliPlaybackHost playbackHost;
    playbackHost.onEnded = [] {
        std::printf("playback ended\n");
        std::fflush(stdout);
    };
    engine.setHost(&playbackHost);

    int result = kExitOk;
    {
        ChaseLock chase(f);
        chase.set_cue(cue[0], cue[1], cue[2], cue[3]);
        chase.set_compensation(args->has("compensate") || preferences().compensateTimeCodeDelay);
        bool ended = false;
        chase.onEnded = [&] { ended = true; };
        chase.onText = [](int control, const std::string& text) {
            if (control != kChaseTimeCode)
                std::printf("%s\n", text.c_str());
            std::fflush(stdout);
        };
        chase.onPlaybackStarted = [&] {
            std::printf("playing from %.3f s\n", static_cast<double>(chase.cue_byte) / f.wfx.nAvgBytesPerSec);
            std::fflush(stdout);
        };
        if (!chase.open(static_cast<int>(*midiIn))) {
            engine.setHost(nullptr);
            return kExitFailed;
        }
        // The dialog's Start, pressed once the first texts are up.
        QTimer::singleShot(200, [&] {
            chase.start();
            if (!chase.cue_armed) {
                std::printf("the cue lies outside the file: nothing will play\n");
                std::fflush(stdout);
            }
        });
        std::signal(SIGINT, [](int) { g_interrupted = true; });
        std::signal(SIGTERM, [](int) { g_interrupted = true; });
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (g_interrupted.exchange(false) || ended)
                QCoreApplication::quit();
        });
        poll.start(20);
        QCoreApplication::exec();
        if (!ended)
            chase.cancel();
    }
    engine.stop_playback();
    engine.wait_until_released(1000);
    engine.setHost(nullptr);
    return result;
}
