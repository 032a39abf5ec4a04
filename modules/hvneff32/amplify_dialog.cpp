#include "hvneff32_dialogs.h"

EffectDialog amplify_dialog()
{
    EffectDialog d;
    d.name = "amplify";
    d.title = "Amplify";
    d.helpContext = 11501;
    d.add({"mode", "Change the level by", EffectParameter::Kind::Choice, 0, 2, 0, 1, 0, "", {"db", "percent", "normalize"}});
    d.add({"gain", "Gain", EffectParameter::Kind::Number, -60, 40, 0, 0.1, 1, "dB", {}});
    d.add({"percent", "Level", EffectParameter::Kind::Number, 0, 1000, 100, 1, 0, "%", {}});
    d.add({"peak", "Normalize the peak to", EffectParameter::Kind::Number, -40, 0, -0.1, 0.1, 1, "dB", {}});
    return d;
}

EffectDialog fade_dialog()
{
    EffectDialog d;
    d.name = "fade";
    d.title = "Fade";
    d.helpContext = 11507;
    d.add({"direction", "Fade", EffectParameter::Kind::Choice, 0, 1, 0, 1, 0, "", {"in", "out"}});
    d.add({"curve", "Curve", EffectParameter::Kind::Choice, 0, 1, 0, 1, 0, "", {"linear", "logarithmic"}});
    d.add({"range", "Logarithmic range", EffectParameter::Kind::Number, 6, 120, 60, 1, 0, "dB", {}});
    return d;
}

EffectDialog pan_dialog()
{
    EffectDialog d;
    d.name = "pan";
    d.title = "Pan";
    d.helpContext = 11512;
    d.add({"start", "Position at the start (-100 left, 100 right)", EffectParameter::Kind::Number, -100, 100, 0, 1, 0, "",
           {}});
    d.add({"end", "Position at the end", EffectParameter::Kind::Number, -100, 100, 0, 1, 0, "", {}});
    d.add({"law", "Pan law", EffectParameter::Kind::Choice, 0, 1, 0, 1, 0, "", {"constant-power", "linear"}});
    return d;
}

EffectDialog modulate_dialog()
{
    EffectDialog d;
    d.name = "modulate";
    d.title = "Modulate";
    d.helpContext = 11510;
    d.add({"mode", "Modulation", EffectParameter::Kind::Choice, 0, 1, 0, 1, 0, "", {"tremolo", "ring"}});
    d.add({"frequency", "Frequency", EffectParameter::Kind::Number, 0.1, 5000, 5, 0.1, 1, "Hz", {}});
    d.add({"depth", "Depth (tremolo)", EffectParameter::Kind::Number, 0, 100, 50, 1, 0, "%", {}});
    d.add({"wave", "Wave form", EffectParameter::Kind::Choice, 0, 2, 0, 1, 0, "", {"sine", "triangle", "square"}});
    return d;
}
