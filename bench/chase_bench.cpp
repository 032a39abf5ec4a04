// Chase lock starts through a JACK server on the dummy driver (48 kHz,
// 256-frame period): a JACK client sends MIDI Time Code and records the
// program's output. For 24, 25 and 30 frames per second, ten starts (the cue,
// then nine restarts of the code at other times) with the specified
// behaviour and ten with the time code delay compensated. Prints the start
// error (the file position heard less the code's true position at that
// moment) in samples and in frames, mean and worst.

#include "app/app_paths.h"
#include "audio/playback_engine.h"
#include "audio/portaudio_device.h"
#include "audio/volume.h"
#include "sync/chase_lock.h"
#include "sync/midi_inputs.h"
#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/document_open.h"

#include "bench_session.h"
#include "support/jack_chase_rig.h"
#include "support/jack_server.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>

namespace {

bool runUntil(const std::function<bool()>& done, int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < milliseconds) {
        QCoreApplication::processEvents();
        QThread::msleep(1);
    }
    return done();
}

struct Series {
    std::vector<double> errors;  // seconds
};

// Ten starts at `fps`; the errors in seconds (empty on a failure).
Series chaseStarts(CChildFrame& doc, JackChaseRig& rig, int port, int fps, bool compensate, std::mt19937& random)
{
    Series series;
    PlaybackEngine& engine = PlaybackEngine::instance();
    smpte_frame_rate = fps;
    ChaseLock chase(doc);
    chase.set_compensation(compensate);
    chase.set_cue(0, 0, 5, 0);
    if (!chase.open(port) || !runUntil([&] { return chase.text(kChaseStatus) == "Waiting to start"; }, 2000))
        return series;
    chase.start();
    std::uniform_int_distribution<int> offset(0, 255);
    std::uniform_int_distribution<long> second(6, 50);
    for (int run = 0; run < 10; ++run) {
        if (!runUntil([&] { return rig.connectPlayers() == 2; }, 3000))
            return series;
        const long startFrame = run == 0 ? 3L * fps : second(random) * fps + offset(random) % fps;
        rig.startCode(fps, startFrame, static_cast<std::uint32_t>(offset(random)));
        if (!runUntil([&] { return rig.codeStartedAt().has_value(); }, 2000))
            return series;
        const std::int64_t codeStart = *rig.codeStartedAt();
        if (!runUntil([&] { return engine.is_playing(); }, 4000))
            return series;
        const std::int64_t until = rig.now() + 14400;
        runUntil([&] { return rig.now() >= until; }, 2000);
        const auto heard = rig.firstSoundAfter(codeStart);
        if (!heard)
            return series;
        const std::int64_t sounds = heard->graphFrame + rig.playbackLatency();
        series.errors.push_back(heard->documentFrame / static_cast<double>(rig.rate()) - rig.codeSecondsAt(sounds));
        rig.stopCode();
        if (!runUntil([&] { return !engine.is_playing(); }, 2000))
            return series;
        const std::int64_t rest = rig.now() + 4800;
        runUntil([&] { return rig.now() >= rest; }, 1000);
    }
    chase.cancel();
    engine.wait_until_released(1000);
    return series;
}

void report(int fps, bool compensate, const Series& s, std::uint32_t rate)
{
    if (s.errors.size() < 10) {
        std::printf("%2d fps %-12s failed after %zu starts\n", fps, compensate ? "compensated" : "specified",
                    s.errors.size());
        return;
    }
    double sum = 0.0, worst = 0.0;
    for (double e : s.errors) {
        sum += e;
        if (std::fabs(e) > std::fabs(worst))
            worst = e;
    }
    const double mean = sum / static_cast<double>(s.errors.size());
    std::printf("%2d fps %-12s mean %+8.1f samples (%+6.3f frames)   worst %+8.1f samples (%+6.3f frames)\n", fps,
                compensate ? "compensated" : "specified", mean * rate, mean * fps, worst * rate, worst * fps);
    std::printf("       each:");
    for (double e : s.errors)
        std::printf(" %+.0f", e * rate);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv)
{
    const BenchArgs args = parse_bench_args(argc, argv, "bench-chase-tmp");
    ensure_runtime_directory();
    QCoreApplication app(argc, argv);
    const BenchSession session(args.dir);
    const std::string wave = session.dir + "/chase.wav";
    write_bench_wave(
        wave, 60ull * JackServer::kRate * 4,
        [](std::uint64_t frame, int channel) {
            const auto f = static_cast<std::uint32_t>(frame);
            return channel ? JackChaseRig::rightOf(f) : JackChaseRig::leftOf(f);
        },
        JackServer::kRate);

    JackServer server;
    if (!server.start()) {
        std::fprintf(stderr, "jackd -d dummy did not start\n");
        return 1;
    }
    int result = 0;
    {
        JackChaseRig rig(static_cast<std::size_t>(600) * JackServer::kRate);
        set_screen_width_pixels(1920);
        use_portaudio_output();
        // The user's own level (255: unity on the stream): every sample
        // arrives as it is and tells its position.
        auto doc = open_document_file(wave);
        int port = -1;
        if (rig.open())
            for (const MidiPortInfo& p : midi_input_devices())
                if (p.name.find(rig.midiPortName()) != std::string::npos)
                    port = p.number;
        if (!doc || port < 0) {
            std::fprintf(stderr, "no document or no MIDI port of the rig\n");
            result = 1;
        } else {
            std::printf("48 kHz, 256-frame period, playback latency %u frames\n", rig.playbackLatency());
            std::mt19937 random(2026);
            for (bool compensate : {false, true})
                for (int fps : {24, 25, 30})
                    report(fps, compensate, chaseStarts(*doc, rig, port, fps, compensate, random), rig.rate());
        }
        doc.reset();
        rig.close();
    }
    shutdown_audio();
    server.stop();
    return result;
}
