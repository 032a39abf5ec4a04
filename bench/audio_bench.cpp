// Playback of a long 48 kHz stereo document through a JACK server on the
// dummy driver (256-frame period) while the view repaints every 30 ms, as the
// play cursor makes it. Prints the underruns PortAudio and the server saw and
// the longest the user-interface thread was busy at one go.

#include "app/app_paths.h"
#include "audio/playback_engine.h"
#include "audio/portaudio_device.h"
#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/document_open.h"
#include "view/waveform_renderer.h"

#include "bench_session.h"
#include "support/jack_server.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTimer>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    const BenchArgs args = parse_bench_args(argc, argv, "bench-audio-tmp");
    double seconds = 600;
    for (int i = 1; i + 1 < argc; i += 2)
        if (std::strcmp(argv[i], "--seconds") == 0)
            seconds = std::strtod(argv[i + 1], nullptr);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    ensure_runtime_directory();
    QGuiApplication app(argc, argv);
    const BenchSession session(args.dir);
    const std::string& dir = session.dir;
    const std::string wave = dir + "/long.wav";
    const auto frames = static_cast<std::uint64_t>(seconds * JackServer::kRate);
    std::printf("making %.0f s of 48 kHz stereo 16-bit sound\n", seconds);
    write_bench_wave(
        wave, frames * 4,
        [](std::uint64_t frame, int channel) {
            return static_cast<std::int16_t>(std::sin(frame * (channel ? 0.031 : 0.057)) * 12000);
        },
        JackServer::kRate);

    JackServer server;
    if (!server.start()) {
        std::fprintf(stderr, "jackd -d dummy did not start\n");
        return 1;
    }
    // The server's own count of xruns, from a client of its own.
    std::atomic<int> serverXruns{0};
    jack_status_t status;
    jack_client_t* watcher = jack_client_open("ondrava-xruns", JackNoStartServer, &status);
    if (watcher) {
        jack_set_xrun_callback(
            watcher, [](void* count) { ++*static_cast<std::atomic<int>*>(count); return 0; }, &serverXruns);
        jack_activate(watcher);
    }

    set_screen_width_pixels(1920);
    use_portaudio_output();
    auto frame = open_document_file(wave);
    if (!frame) {
        std::fprintf(stderr, "cannot open %s\n", wave.c_str());
        server.stop();
        return 1;
    }
    CChildFrame& f = *frame;
    f.nClientWidth = 1920;
    f.nClientHeight = 600;
    WaveformRenderer renderer(1920);
    QImage client;

    PlaybackEngine& engine = PlaybackEngine::instance();
    QElapsedTimer clock;
    clock.start();
    if (!engine.play_the_wavefile(f)) {
        std::fprintf(stderr, "playback did not start\n");
        server.stop();
        return 1;
    }
    // The 30 ms repaint, and a 1 ms heartbeat whose longest gap is the
    // longest the thread was busy.
    double worstRepaint = 0;
    QTimer repaint;
    QObject::connect(&repaint, &QTimer::timeout, [&] {
        QElapsedTimer t;
        t.start();
        engine.get_play_position_ms();
        f.bRedrawAll = true;
        renderer.paint(f, client, 1);
        worstRepaint = std::max(worstRepaint, t.nsecsElapsed() / 1e6);
    });
    repaint.start(30);
    qint64 last = clock.nsecsElapsed();
    double worstGap = 0;
    QTimer heartbeat;
    QObject::connect(&heartbeat, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        worstGap = std::max(worstGap, (now - last) / 1e6);
        last = now;
        if (!engine.is_playing && engine.bufferBytes().empty())
            QCoreApplication::quit();
    });
    heartbeat.start(1);
    QCoreApplication::exec();

    std::printf("played %.1f s in %.1f s\n", engine.get_play_position_ms() / 1000.0, clock.elapsed() / 1000.0);
    std::printf("underruns: %d from PortAudio, %d from the server\n", portaudio_output_xruns(), serverXruns.load());
    std::printf("user-interface thread: longest busy gap %.2f ms (1 ms heartbeat), worst repaint %.2f ms\n",
                worstGap, worstRepaint);
    std::printf("recording: not measured (the recording engine is not built yet)\n");
    if (watcher)
        jack_client_close(watcher);
    shutdown_audio();
    server.stop();
    return 0;
}
