// Playback, then recording, of a long 48 kHz stereo stream through a JACK
// server on the dummy driver (256-frame period) while the view repaints every
// 30 ms, as the play cursor makes it; then the same length of a 44.1 kHz
// file, converted to the server's rate on the way out. Prints the xruns
// PortAudio and the server saw in each, our own starved periods, and the
// longest the user-interface thread was busy at one go.

#include "app/app_paths.h"
#include "audio/playback_engine.h"
#include "audio/portaudio_device.h"
#include "audio/record_engine.h"
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
#include <ctime>
#include <functional>

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
    f.layout.clientWidth = 1920;
    f.layout.clientHeight = 600;
    WaveformRenderer renderer(1920);
    QImage client;

    // Runs the event loop until `finished`, with the 30 ms repaint and a 1 ms
    // heartbeat whose longest gap is the longest the thread was busy.
    struct Load {
        double worstRepaint = 0;
        double worstGap = 0;
        double seconds = 0;
    };
    const auto underLoad = [&](const std::function<bool()>& finished) {
        Load load;
        QElapsedTimer clock;
        clock.start();
        QTimer repaint;
        QObject::connect(&repaint, &QTimer::timeout, [&] {
            QElapsedTimer t;
            t.start();
            PlaybackEngine::instance().get_play_position_ms();
            f.layout.redrawAll = true;
            renderer.paint(f, client, 1);
            load.worstRepaint = std::max(load.worstRepaint, t.nsecsElapsed() / 1e6);
        });
        repaint.start(30);
        qint64 last = clock.nsecsElapsed();
        QTimer heartbeat;
        QObject::connect(&heartbeat, &QTimer::timeout, [&] {
            const qint64 now = clock.nsecsElapsed();
            load.worstGap = std::max(load.worstGap, (now - last) / 1e6);
            last = now;
            if (finished())
                QCoreApplication::quit();
        });
        heartbeat.start(1);
        QCoreApplication::exec();
        load.seconds = clock.elapsed() / 1000.0;
        return load;
    };

    PlaybackEngine& engine = PlaybackEngine::instance();
    int xrunsBefore = serverXruns.load();
    if (!engine.play_the_wavefile(f)) {
        std::fprintf(stderr, "playback did not start\n");
        server.stop();
        return 1;
    }
    const Load played = underLoad([&] { return !engine.is_playing() && engine.bufferBytes().empty(); });
    std::printf("played %.1f s in %.1f s\n", engine.get_play_position_ms() / 1000.0, played.seconds);
    std::printf("  underruns: %d from PortAudio, %d from the server; %d periods starved of our buffers\n",
                portaudio_output_xruns(), serverXruns.load() - xrunsBefore, portaudio_output_starved());
    std::printf("  user-interface thread: longest busy gap %.2f ms (1 ms heartbeat), worst repaint %.2f ms\n",
                played.worstGap, played.worstRepaint);

    // The same length at 44.1 kHz: converted to 48 kHz in the callback.
    {
        const std::string wave44 = dir + "/long44.wav";
        const auto frames44 = static_cast<std::uint64_t>(seconds * 44100);
        write_bench_wave(
            wave44, frames44 * 4,
            [](std::uint64_t i, int channel) {
                return static_cast<std::int16_t>(std::sin(i * (channel ? 0.031 : 0.057)) * 12000);
            },
            44100);
        auto converted = open_document_file(wave44);
        xrunsBefore = serverXruns.load();
        if (!converted || !engine.play_the_wavefile(*converted)) {
            std::fprintf(stderr, "converted playback did not start\n");
            server.stop();
            return 1;
        }
        QElapsedTimer cpu;
        cpu.start();
        const std::clock_t cpuBefore = std::clock();
        const Load conv = underLoad([&] { return !engine.is_playing() && engine.bufferBytes().empty(); });
        const double cpuSeconds = static_cast<double>(std::clock() - cpuBefore) / CLOCKS_PER_SEC;
        std::printf("played a 44.1 kHz file of %.1f s in %.1f s, converted to 48 kHz (process CPU %.1f s)\n",
                    engine.get_play_position_ms() / 1000.0, conv.seconds, cpuSeconds);
        std::printf("  underruns: %d from PortAudio, %d from the server; %d periods starved of our buffers\n",
                    portaudio_output_xruns(), serverXruns.load() - xrunsBefore, portaudio_output_starved());
        std::printf("  user-interface thread: longest busy gap %.2f ms (1 ms heartbeat), worst repaint %.2f ms\n",
                    conv.worstGap, conv.worstRepaint);
    }

    // Recording: a JACK client plays a second of tone, looped, into the
    // input; the take is as long as the playback was.
    std::vector<float> tone(JackServer::kRate);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<float>(std::sin(i * 2 * M_PI * 441 / JackServer::kRate) * 0.4);
    JackPlayer source(tone, tone);
    use_portaudio_input();
    RecordEngine& recorder = RecordEngine::instance();
    recorder.insert_mode = 0;
    recorder.begin_dialog(f);
    recorder.set_record_position(0);
    if (!source.open() || !recorder.start_recording()) {
        std::fprintf(stderr, "recording did not start\n");
        server.stop();
        return 1;
    }
    source.playLooped();
    const std::uint64_t wanted = frames * 4;
    xrunsBefore = serverXruns.load();
    bool connected = false;
    const Load recorded = underLoad([&] {
        if (!connected)
            connected = source.connectToListeners() == 2;
        if (recorder.record_bytes_written() >= wanted && !recorder.idle())
            recorder.stop_recording();
        return recorder.idle();
    });
    std::printf("recorded %.1f s in %.1f s\n",
                static_cast<double>(recorder.record_length()) / (JackServer::kRate * 4), recorded.seconds);
    std::printf("  overruns: %d from PortAudio (%d for want of a free buffer), %d xruns from the server\n",
                portaudio_input_overruns(), portaudio_input_dropped(), serverXruns.load() - xrunsBefore);
    std::printf("  user-interface thread: longest busy gap %.2f ms (1 ms heartbeat), worst repaint %.2f ms\n",
                recorded.worstGap, recorded.worstRepaint);
    recorder.discard_take();
    source.close();
    if (watcher)
        jack_client_close(watcher);
    shutdown_audio();
    server.stop();
    return 0;
}
