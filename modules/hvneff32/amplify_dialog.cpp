#include "hvneff32_dialogs.h"

EffectDialog amplify_dialog()
{
    EffectDialog d("amplify", "Amplify", 11501);
    d.choice("mode", "Change the level by", {"db", "percent", "normalize"});
    d.number("gain", "Gain", -60, 40, 0, 0.1, 1, "dB");
    d.number("percent", "Level", 0, 1000, 100, 1, 0, "%");
    d.number("peak", "Normalize the peak to", -40, 0, -0.1, 0.1, 1, "dB");
    return d;
}

EffectDialog fade_dialog()
{
    EffectDialog d("fade", "Fade", 11507);
    d.choice("direction", "Fade", {"in", "out"});
    d.choice("curve", "Curve", {"linear", "logarithmic"});
    d.number("range", "Logarithmic range", 6, 120, 60, 1, 0, "dB");
    return d;
}

EffectDialog pan_dialog()
{
    EffectDialog d("pan", "Pan", 11512);
    d.number("start", "Position at the start (-100 left, 100 right)", -100, 100, 0);
    d.number("end", "Position at the end", -100, 100, 0);
    d.choice("law", "Pan law", {"constant-power", "linear"});
    return d;
}

EffectDialog modulate_dialog()
{
    EffectDialog d("modulate", "Modulate", 11510);
    d.choice("mode", "Modulation", {"tremolo", "ring"});
    d.number("frequency", "Frequency", 0.1, 5000, 5, 0.1, 1, "Hz");
    d.number("depth", "Depth (tremolo)", 0, 100, 50, 1, 0, "%");
    d.choice("wave", "Wave form", {"sine", "triangle", "square"});
    return d;
}
