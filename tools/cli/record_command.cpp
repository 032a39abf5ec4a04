#include "cli_args.h"

#include "app/posix_io.h"
#include "app/preferences.h"
#include "audio/portaudio_device.h"
#include "audio/record_engine.h"
#include "document_session.h"
#include "midi_tools/sampler.h"
#include "view/child_frame.h"
#include "view/document_save.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include <QCoreApplication>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <unistd.h>

// ondrava-cli record OUT --seconds S [--channels N] [--bits 8|16|24|32f] [--rate HZ]
//                        [--device NAME|N] [--trigger LEVEL]
// Records S seconds from a wave input device into a new WAVE file, through
// the sampler: a new document, one take from its start, the take adopted and
// saved. With --trigger the take starts when the signal's positive peak
// passes LEVEL (0..1). Ctrl+C ends the take early; what was
// recorded is saved.
namespace {

std::atomic<bool> g_stop{false};

bool parseLevel(const std::string& text, float& level)
{
    char* end = nullptr;
    level = std::strtof(text.c_str(), &end);
    return end && *end == '\0' && level >= 0.0f && level < 1.0f;
}

}  // namespace

int run_record_command(const std::vector<std::string>& argv)
{
    const auto args =
        CliArgs::parse(argv, {"seconds", "channels", "bits", "rate", "device", "trigger"}, {});
    if (!args || args->positionals().size() != 1 || !args->has("seconds")) {
        std::cerr << "usage: ondrava-cli record OUT --seconds S [--channels N] [--bits B] [--rate HZ] "
                     "[--device NAME|N] [--trigger LEVEL]\n";
        return kExitUsage;
    }
    const auto seconds = args->integer("seconds", 1, 24 * 3600, 1);
    if (!seconds || !apply_device_option(*args, false))
        return kExitUsage;
    use_portaudio_input();
    // Without a format the device's own rate, stereo where it can, 16-bit.
    const auto input = named_audio_device(false, preferences().waveInputDeviceName);
    if (!input) {
        std::cerr << "ondrava-cli: there is no wave input device\n";
        return kExitFailed;
    }
    const auto channels = args->integer("channels", 1, 2, std::min(2, input->channels));
    const auto bits = args->bits(16);
    const auto rate = args->integer("rate", 1000, 384000, static_cast<long>(input->defaultRate));
    if (!channels || !bits || !rate)
        return kExitUsage;
    float level = 0.0f;
    if (const auto trigger = args->value("trigger"); trigger && !parseLevel(*trigger, level)) {
        std::cerr << "ondrava-cli: --trigger takes a level from 0 to 1\n";
        return kExitUsage;
    }

    const std::string out = args->positionals()[0];
    current_wave_format.nChannels = static_cast<std::uint16_t>(*channels);
    current_wave_format.nSamplesPerSec = static_cast<std::uint32_t>(*rate);
    current_wave_format.wFormatTag = *bits == 32 ? 3 : 1;
    current_wave_format.wBitsPerSample = static_cast<std::uint16_t>(*bits);
    current_wave_format.nBytesPerSample = static_cast<std::uint16_t>(*bits / 8);
    if (!create_empty_waveform_file_named(out))
        return kExitFailed;
    DocumentSession session;
    if (!session.open(out))
        return kExitFailed;
    CChildFrame& f = *session.active();

    Sampler sampler;
    sampler.onStatus = [&](const std::string& text) { std::fprintf(stderr, "\r%s", text.c_str()); };
    bool finished = false, adopted = false;
    double recorded = 0.0;
    sampler.onFinished = [&](bool took, double seconds) {
        finished = true;
        adopted = took;
        recorded = seconds;
        QCoreApplication::quit();
    };
    std::optional<float> threshold;
    if (args->has("trigger"))
        threshold = level;
    if (!sampler.arm(f, static_cast<double>(*seconds), threshold))
        return kExitFailed;
    std::signal(SIGINT, [](int) { g_stop = true; });
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (g_stop.exchange(false))
            sampler.stop();
    });
    poll.start(20);
    if (!finished)
        QCoreApplication::exec();
    std::signal(SIGINT, SIG_DFL);
    if (threshold)
        std::fputc('\n', stderr);
    const bool lost = RecordEngine::instance().device_lost();
    if (!adopted || !save_waveform_file(f, out, 0, 0))
        return kExitFailed;
    std::printf("recorded %.3f s, %d overruns, %d starved periods\n", recorded,
                portaudio_input_overruns() - portaudio_input_dropped(), portaudio_input_dropped());
    return lost ? kExitFailed : kExitOk;
}
