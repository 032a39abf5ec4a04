#include "spl_dialogs.h"

#include "dynamics_dsp.h"
#include "tone_dsp.h"

EffectDialog echo_dialog()
{
    EffectDialog d("echo", "Echo", 11504, true);
    d.number("delay", "Delay", 1, 5000, 250, 1, 0, "ms");
    d.number("feedback", "Each further echo", 0, 95, 50, 1, 0, "%");
    d.number("level", "First echo", 0, 100, 50, 1, 0, "%");
    d.number("dry", "Direct sound", 0, 100, 100, 1, 0, "%");
    d.toggle("tail", "Let the tail ring past the highlight", false);
    return d;
}

EffectDialog reverb_dialog()
{
    EffectDialog d("reverb", "Reverb", 11514, true);
    d.number("room", "Room size", 0, 100, 50, 1, 0, "%");
    d.number("damping", "Damping", 0, 100, 50, 1, 0, "%");
    d.number("wet", "Reverberation", 0, 100, 33, 1, 0, "%");
    d.number("dry", "Direct sound", 0, 100, 100, 1, 0, "%");
    d.number("width", "Stereo width", 0, 100, 100, 1, 0, "%");
    d.toggle("tail", "Let the tail ring past the highlight", true);
    return d;
}

EffectDialog compressor_dialog()
{
    EffectDialog d("compressor", "Compressor / Expander", 11503, true);
    d.choice("type", "Type", {"compressor", "expander"});
    d.number("threshold", "Threshold", -60, 0, -20, 0.5, 1, "dB");
    d.number("ratio", "Ratio", 1, 20, 4, 0.1, 1, ": 1");
    d.number("attack", "Attack", 0.1, 500, 5, 0.1, 1, "ms");
    d.number("release", "Release", 1, 5000, 100, 1, 0, "ms");
    d.number("makeup", "Make-up gain", 0, 30, 0, 0.5, 1, "dB");
    return d;
}

EffectDialog envelope_dialog()
{
    EffectDialog d("envelope", "Envelope", 11505);
    d.textParameter("points", "Points (position %:level %, ...)", "0:100,100:100", [](const std::string& text) {
        std::vector<EnvelopePoint> points;
        return parse_envelope(text, points);
    });
    return d;
}

EffectDialog spatial_dialog()
{
    EffectDialog d("spatial", "Spatial Localization", 11516);
    d.choice("method", "Method", {"hrtf", "cues"});
    d.number("azimuth", "Direction (0 ahead, 90 right, -90 left)", -180, 180, 45, 1, 0, "degrees");
    d.number("elevation", "Height (HRTF)", -90, 90, 0, 1, 0, "degrees");
    return d;
}

EffectDialog tones_dialog(double rate)
{
    EffectDialog d("tones", "Tones / Effects", 11517, true);
    d.choice("kind", "Generate", {"tone", "sweep", "noise", "dtmf"});
    d.choice("wave", "Wave form", {"sine", "square", "triangle", "sawtooth"});
    d.number("frequency", "Frequency (sweep: from)", 1, rate / 2, 440, 1, 1, "Hz");
    d.number("end", "Sweep to", 1, rate / 2, 4000, 1, 1, "Hz");
    d.choice("sweep", "Sweep", {"logarithmic", "linear"});
    d.choice("noise", "Noise", {"white", "pink"});
    d.number("level", "Level", -60, 0, -6, 0.5, 1, "dB");
    d.textParameter("digits", "Telephone keys (DTMF)", "0123456789*#", check_dtmf_digits);
    d.number("tone", "Key length", 10, 2000, 100, 10, 0, "ms");
    d.number("gap", "Pause between keys", 0, 2000, 100, 10, 0, "ms");
    return d;
}
