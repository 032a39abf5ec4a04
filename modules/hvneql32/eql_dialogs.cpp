#include "eql_dialogs.h"

#include <string>

EffectDialog filter_dialog(double rate)
{
    EffectDialog d("filter", "Filter", 11509, true);
    d.choice("type", "Type", {"low-pass", "high-pass", "band-pass", "band-stop"});
    d.number("frequency", "Cut-off or centre frequency", 10, rate / 2 - 1, 1000, 10, 0, "Hz");
    d.number("bandwidth", "Bandwidth (band filters)", 1, rate / 2, 500, 10, 0, "Hz");
    d.choice("order", "Slope", {"2", "4", "6", "8"}, 1);
    return d;
}

EffectDialog equalizer_dialog()
{
    EffectDialog d("equalize", "Graphic Equalizer", 11506, true);
    for (int i = 0; i < 10; ++i) {
        const double f = kEqualizerBands[i];
        const std::string label = f < 1000 ? std::to_string(static_cast<int>(f)) + " Hz"
                                           : std::to_string(static_cast<int>(f / 1000)) + " kHz";
        d.number("band" + std::to_string(i + 1), label, -12, 12, 0, 0.5, 1, "dB").slider = true;
    }
    return d;
}

EffectDialog flange_dialog()
{
    EffectDialog d("flange", "Flange", 11508, true);
    d.number("delay", "Delay", 0.1, 20, 2, 0.1, 1, "ms");
    d.number("depth", "Sweep depth", 0, 10, 1.5, 0.1, 1, "ms");
    d.number("rate", "Sweep rate", 0.01, 10, 0.25, 0.01, 2, "Hz");
    d.number("feedback", "Feedback", -95, 95, 50, 1, 0, "%");
    d.number("mix", "Flanged sound", 0, 100, 50, 1, 0, "%");
    return d;
}

EffectDialog tempo_dialog()
{
    EffectDialog d("tempo", "Accelerando / Ritardando / Stretch / Tempo", 11500);
    d.choice("mode", "Change", {"constant", "gradual"});
    d.number("tempo", "Tempo (constant)", 25, 400, 100, 1, 1, "%");
    d.number("start", "Tempo at the start (gradual)", 25, 400, 100, 1, 1, "%");
    d.number("end", "Tempo at the end (gradual)", 25, 400, 150, 1, 1, "%");
    return d;
}

EffectDialog pitch_dialog()
{
    EffectDialog d("pitch", "Change Pitch / Glissando", 11502);
    d.choice("mode", "Change", {"constant", "glissando"});
    d.number("semitones", "Shift (constant)", -24, 24, 0, 0.1, 2, "semitones");
    d.number("start", "Shift at the start (glissando)", -24, 24, 0, 0.1, 2, "semitones");
    d.number("end", "Shift at the end (glissando)", -24, 24, 12, 0.1, 2, "semitones");
    return d;
}

EffectDialog noise_reduction_dialog()
{
    EffectDialog d("noise-reduction", "Noise Reduction", 11511, true);
    d.choice("step", "Step", {"reduce", "profile"});
    d.number("reduction", "Reduce the noise by", 0, 48, 18, 1, 0, "dB");
    d.number("oversubtraction", "Strength", 1, 4, 1.5, 0.1, 1, "");
    d.number("smoothing", "Smoothing", 0, 95, 60, 1, 0, "%");
    d.choice("fft", "Analysis size (profile)", {"1024", "2048", "4096"}, 1);
    return d;
}

EffectDialog shift_dialog()
{
    EffectDialog d("quantize", "Shift / Quantize", 11513);
    d.choice("mode", "Move the highlight", {"shift", "quantize"});
    d.number("shift", "By (shift; negative is earlier)", -10000, 10000, 10, 1, 1, "ms");
    d.number("tempo", "To the beat of (quantize)", 20, 400, 120, 1, 1, "beats per minute");
    d.choice("grid", "Grid (quantize)", {"1/1", "1/2", "1/4", "1/8", "1/16", "1/32"}, 2);
    return d;
}
