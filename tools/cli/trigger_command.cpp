#include "cli_args.h"

#include "cli/headless_ui_host.h"
#include "app/preferences.h"
#include "audio/playback_engine.h"
#include "audio/portaudio_device.h"
#include "cli_playback_host.h"
#include "document_session.h"
#include "midi_tools/triggered_start.h"
#include "view/child_frame.h"
#include "view/document_save.h"

#include <QCoreApplication>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>

// ondrava-cli trigger FILE --on WHAT [--select START:END] [--record SECONDS]
//                          [--save OUT] [--midi-in N] [--device NAME|N]
// WHAT: delay:SECONDS, timecode:HH:MM:SS:FF[@FPS], start (a sequencer's
// Start or Continue), note (any) or note:N[@CHANNEL]. Waits for the trigger,
// then plays FILE (from the selection's start) to its end, or with --record
// records SECONDS into it from its start and saves it (to OUT, or FILE).
// Ctrl+C gives the trigger up or ends what it started.
namespace {

std::atomic<bool> g_interrupted{false};

bool parseTrigger(const std::string& text, TriggerSettings& s)
{
    char tail = 0;
    if (text.rfind("delay:", 0) == 0) {
        char* end = nullptr;
        const double seconds = std::strtod(text.c_str() + 6, &end);
        if (*end != '\0' || seconds < 0.0 || seconds > 3600.0)
            return false;
        s.kind = TriggerKind::Delay;
        s.delayMs = static_cast<int>(seconds * 1000.0 + 0.5);
        return true;
    }
    if (text.rfind("timecode:", 0) == 0) {
        s.kind = TriggerKind::TimeCode;
        s.fps = 24;
        const int n = std::sscanf(text.c_str() + 9, "%d:%d:%d:%d@%d%c", &s.hours, &s.minutes, &s.seconds, &s.frames,
                                  &s.fps, &tail);
        return (n == 4 || n == 5) && (s.fps == 24 || s.fps == 25 || s.fps == 30) && s.hours >= 0 && s.hours < 24 &&
               s.minutes >= 0 && s.minutes < 60 && s.seconds >= 0 && s.seconds < 60 && s.frames >= 0 &&
               s.frames < s.fps;
    }
    if (text == "start") {
        s.kind = TriggerKind::SequencerStart;
        return true;
    }
    if (text == "note") {
        s.kind = TriggerKind::Note;
        s.note = -1;
        return true;
    }
    if (text.rfind("note:", 0) == 0) {
        s.kind = TriggerKind::Note;
        s.channel = 0;
        const int n = std::sscanf(text.c_str() + 5, "%d@%d%c", &s.note, &s.channel, &tail);
        return (n == 1 || n == 2) && s.note >= 0 && s.note <= 127 && s.channel >= 0 && s.channel <= 16;
    }
    return false;
}

}  // namespace

int run_trigger_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {"on", "select", "record", "save", "midi-in", "device"}, {});
    auto usage = [] {
        std::cerr << "usage: ondrava-cli trigger FILE --on delay:S|timecode:HH:MM:SS:FF[@FPS]|start|note[:N[@CH]]\n"
                     "                            [--select START:END] [--record SECONDS] [--save OUT]\n"
                     "                            [--midi-in N] [--device NAME|N]\n";
        return kExitUsage;
    };
    TriggerSettings settings;
    if (!args || args->positionals().size() != 1 || !args->value("on") || !parseTrigger(*args->value("on"), settings))
        return usage();
    const auto midiIn = args->integer("midi-in", 0, 255, preferences().midiInputDevice);
    if (!midiIn || !apply_device_option(*args, !args->has("record")))
        return kExitUsage;
    if (const auto seconds = args->value("record")) {
        char* end = nullptr;
        settings.recordSeconds = std::strtod(seconds->c_str(), &end);
        if (*end != '\0' || settings.recordSeconds <= 0.0 || settings.recordSeconds > 24 * 3600.0)
            return usage();
        settings.action = TriggerAction::Record;
        use_portaudio_input();
    } else {
        use_portaudio_output();
    }

    DocumentSession session;
    if (!session.open(args->positionals()[0]))
        return kExitFailed;
    CChildFrame& f = *session.active();
    if (const auto sel = args->value("select"); sel && !select_from_argument(f, *sel))
        return kExitUsage;
    PlaybackEngine& engine = PlaybackEngine::instance();
    CliPlaybackHost playbackHost;
    engine.setHost(&playbackHost);

    bool recorded = false, adopted = false;
    {
        TriggeredStart trigger(f);
        trigger.onStatus = [](const std::string& text) {
            std::printf("%s\n", text.c_str());
            std::fflush(stdout);
        };
        trigger.onRecorded = [&](bool took, double) {
            recorded = true;
            adopted = took;
        };
        auto* headless = dynamic_cast<HeadlessUiHost*>(&uiHost());
        const std::size_t shownBefore = headless ? headless->shown().size() : 0;
        if (!trigger.arm(settings, static_cast<int>(*midiIn))) {
            engine.setHost(nullptr);
            // The program's own message, if it gave one, says why.
            if (settings.action == TriggerAction::Play && headless && headless->shown().size() == shownBefore)
                std::cerr << "ondrava-cli: playback cannot be prepared (no output device, a device that refuses the "
                             "format, or a start at the very end)\n";
            return kExitFailed;
        }
        std::signal(SIGINT, [](int) { g_interrupted = true; });
        std::signal(SIGTERM, [](int) { g_interrupted = true; });
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (g_interrupted.exchange(false)) {
                if (!trigger.fired())
                    trigger.cancel();
                else if (settings.action == TriggerAction::Play)
                    engine.stop_playback();
                else
                    trigger.stop_recording(true);
                if (!trigger.fired())
                    QCoreApplication::quit();
            }
            const bool done = trigger.fired() && (settings.action == TriggerAction::Play ? playbackHost.ended : recorded);
            if (done)
                QCoreApplication::quit();
        });
        poll.start(20);
        QCoreApplication::exec();
    }
    engine.wait_until_released(1000);
    engine.setHost(nullptr);
    if (settings.action == TriggerAction::Record) {
        if (!adopted)
            return kExitFailed;
        const std::string out = args->value("save").value_or(args->positionals()[0]);
        return save_waveform_file(f, out, 0, 0) ? kExitOk : kExitFailed;
    }
    return kExitOk;
}
