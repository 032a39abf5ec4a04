// Every effect on ten minutes (by default) of 44.1 kHz stereo 16-bit sound,
// whole file highlighted, against SoX doing the nearest same effect on the
// same file in the same run (and against Rubber Band's own program, R3
// engine, for tempo and pitch), then the equalizer on a 24-bit copy. Prints each time, the ratio ours / theirs
// and our real-time factor. Both sides read the file and write a new one.

#include "modules/effect_commands.h"
#include "edit/undo.h"
#include "view/child_frame.h"
#include "view/document_open.h"
#include "view/mouse_selection.h"

#include "bench_session.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

namespace {

double seconds(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Case {
    const char* effect;
    std::vector<std::pair<std::string, std::string>> settings;
    std::string reference;  // the other program's command, IN and OUT filled in; empty: none
};

}  // namespace

int main(int argc, char** argv)
{
    BenchArgs args = parse_bench_args(argc, argv, "bench-effects-tmp");
    double length = 600;
    for (int i = 1; i + 1 < argc; i += 2)
        if (std::strcmp(argv[i], "--seconds") == 0)
            length = std::strtod(argv[i + 1], nullptr);
    BenchSession session(args.dir);
    const std::string& dir = session.dir;
    const std::string wave = dir + "/music.wav";
    const auto frames = static_cast<std::uint64_t>(length * 44100);
    std::printf("making %.0f s of 44.1 kHz stereo 16-bit sound\n", length);
    // Two chords and a little noise, so that every effect has work to do.
    std::uint32_t seed = 1;
    write_bench_wave(wave, frames * 4, [&seed](std::uint64_t n, int channel) {
        seed = seed * 1664525u + 1013904223u;
        const double t = static_cast<double>(n) / 44100;
        const double v = 0.25 * std::sin(2 * M_PI * 220 * t) + 0.15 * std::sin(2 * M_PI * (channel ? 277.2 : 329.6) * t) +
                         0.05 * (static_cast<double>(seed >> 8) / 16777216.0 - 0.5);
        return static_cast<std::int16_t>(v * 32767);
    });
    auto frame = open_document_file(wave);
    if (!frame)
        return 1;
    CChildFrame& f = *frame;
    const auto selectAll = [&f] {
        f.bHighlight = 1;
        set_selection_units(f, 0, f.nTotalSamples);
    };
    // The noise profile, from the first second.
    f.bHighlight = 1;
    set_selection_units(f, 0, 2 * 44100);
    session.host().setEffectSettings({{"step", "profile"}});
    run_effect_command(f, 11511);
    std::system(("sox '" + wave + "' -n trim 0 1 noiseprof '" + dir + "/noise.prof' 2>/dev/null").c_str());

    const std::string eq10 = "equalizer 31 1q 3 equalizer 62 1q 3 equalizer 125 1q 3 equalizer 250 1q 3 "
                             "equalizer 500 1q 3 equalizer 1000 1q 3 equalizer 2000 1q 3 equalizer 4000 1q 3 "
                             "equalizer 8000 1q 3 equalizer 16000 1q 3";
    const std::vector<Case> cases = {
        {"clear", {}, "sox IN OUT vol 0"},
        {"amplify", {{"gain", "-6"}}, "sox IN OUT vol -6dB"},
        {"fade", {{"direction", "out"}}, "sox IN OUT fade t 0 -0 " + std::to_string(length)},
        {"reverse", {}, "sox IN OUT reverse"},
        {"echo", {{"delay", "250"}, {"feedback", "50"}}, "sox IN OUT echos 1 1 250 0.5 500 0.25 750 0.125"},
        {"reverb", {}, "sox IN OUT reverb"},
        {"flange", {}, "sox IN OUT flanger"},
        {"equalize",
         {{"band1", "3"}, {"band2", "3"}, {"band3", "3"}, {"band4", "3"}, {"band5", "3"}, {"band6", "3"},
          {"band7", "3"}, {"band8", "3"}, {"band9", "3"}, {"band10", "3"}},
         "sox IN OUT " + eq10},
        {"filter", {{"type", "low-pass"}, {"frequency", "1000"}, {"order", "2"}}, "sox IN OUT lowpass 1000"},
        {"compressor", {}, "sox IN OUT compand 0.005,0.1 -60,-60,-20,-20,0,-15"},
        {"noise-reduction", {}, "sox IN OUT noisered NOISE 0.3"},
        {"pan", {{"start", "-50"}, {"end", "50"}}, "sox IN OUT remix 1v0.7 2v1"},
        {"modulate", {}, "sox IN OUT tremolo 5 50"},
        {"envelope", {{"points", "0:0,10:100,90:100,100:0"}}, "sox IN OUT fade t 60 -0 60"},
        {"tones", {}, "sox -n -r 44100 -c 2 -b 16 OUT synth " + std::to_string(length) + " sine 440"},
        {"spatial", {{"method", "cues"}}, ""},
        {"quantize", {{"shift", "-100"}}, ""},
        {"tempo", {{"tempo", "150"}}, "rubberband -3 -q -T 1.5 IN OUT"},
        {"pitch", {{"semitones", "3"}}, "rubberband -3 -q -p 3 IN OUT"},
    };
    std::printf("%-16s %9s %9s %8s %10s\n", "effect", "ours s", "ref s", "ratio", "x realtime");
    for (const Case& c : cases) {
        const EffectCommand* command = find_effect_command(c.effect);
        if (!command)
            continue;
        selectAll();
        if (std::string(c.effect) == "quantize")
            set_selection_units(f, 2 * 44100, f.nTotalSamples - 2 * 44100);
        session.host().setEffectSettings(c.settings);
        int ran = 0;
        sync();
        const double ours = seconds([&] { ran = run_effect_command(f, command->id); });
        session.host().setEffectSettings({});
        if (f.bUndoAvailable)
            undo_menu_command(f);  // back to the original for the next effect
        double reference = 0;
        if (!c.reference.empty()) {
            std::string cmd = c.reference;
            const auto put = [&cmd](const std::string& key, const std::string& value) {
                for (auto at = cmd.find(key); at != std::string::npos; at = cmd.find(key))
                    cmd.replace(at, key.size(), value);
            };
            put("NOISE", "'" + dir + "/noise.prof'");
            put("IN", "'" + wave + "'");
            put("OUT", "'" + dir + "/ref.wav'");
            sync();
            reference = seconds([&] { std::system((cmd + " 2>/dev/null").c_str()); });
            std::filesystem::remove(dir + "/ref.wav");
        }
        if (reference > 0)
            std::printf("%-16s %9.3f %9.3f %8.2f %10.0f%s\n", c.effect, ours, reference, ours / reference, length / ours,
                        ran ? "" : "  (did not run)");
        else
            std::printf("%-16s %9.3f %9s %8s %10.0f%s\n", c.effect, ours, "-", "-", length / ours,
                        ran ? "" : "  (did not run)");
        std::fflush(stdout);
    }

    // The same sound as a 24-bit document: the equalizer works on it at full
    // resolution, against SoX writing 24 bits too.
    const std::string wave24 = dir + "/music24.wav";
    std::system(("sox '" + wave + "' -b 24 '" + wave24 + "'").c_str());
    auto deep = open_document_file(wave24);
    if (!deep || deep->wfx.wBitsPerSample != 24) {
        std::printf("could not open the 24-bit copy\n");
        return 1;
    }
    deep->bHighlight = 1;
    set_selection_units(*deep, 0, deep->nTotalSamples);
    const EffectCommand* equalize = find_effect_command("equalize");
    session.host().setEffectSettings(cases[7].settings);
    int ran = 0;
    sync();
    const double ours = seconds([&] { ran = run_effect_command(*deep, equalize->id); });
    session.host().setEffectSettings({});
    sync();
    const double reference =
        seconds([&] { std::system(("sox '" + wave24 + "' -b 24 '" + dir + "/ref.wav' " + eq10).c_str()); });
    std::filesystem::remove(dir + "/ref.wav");
    std::printf("%-16s %9.3f %9.3f %8.2f %10.0f%s\n", "equalize 24-bit", ours, reference, ours / reference,
                length / ours, ran ? "" : "  (did not run)");
    return 0;
}
