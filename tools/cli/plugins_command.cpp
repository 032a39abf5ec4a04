#include "cli_args.h"

#include "modules/plugin_host.h"

#include <cstdio>
#include <iostream>

// ondrava-cli plugins: the installed LV2 effect plug-ins, each with its URI,
// audio inputs and outputs, and control ports (symbol, range, default, unit
// and kind), as `run --plugin URI --param SYMBOL=VALUE` takes them.
int run_plugins_command(const std::vector<std::string>& argv)
{
    if (!argv.empty()) {
        std::cerr << "usage: ondrava-cli plugins\n";
        return kExitUsage;
    }
    const auto plugins = lv2_effect_plugins();
    for (const PluginInfo& p : plugins) {
        std::printf("%s\n  name: %s\n  audio: %d in, %d out\n", p.uri.c_str(), p.name.c_str(), p.audioInputs,
                    p.audioOutputs);
        for (const PluginPort& c : p.controls) {
            // A port whose range is a fraction of the sample rate says so; it
            // takes --param values in Hz.
            const char* ofRate = c.sampleRate ? " x the sample rate" : "";
            std::string kind = c.unit.empty() || c.sampleRate ? std::string() : " " + c.unit;
            if (c.integer)
                kind += ", whole numbers";
            if (c.logarithmic)
                kind += ", logarithmic";
            if (c.toggled)
                kind += " (on/off)";
            std::printf("  %s: %s, %g..%g%s, default %g%s%s\n", c.symbol.c_str(), c.name.c_str(),
                        static_cast<double>(c.min), static_cast<double>(c.max), ofRate, static_cast<double>(c.value),
                        ofRate, kind.c_str());
            for (const auto& [label, value] : c.choices)
                std::printf("    %g: %s\n", static_cast<double>(value), label.c_str());
        }
    }
    if (plugins.empty())
        std::cerr << "no LV2 effect plug-ins are installed\n";
    return kExitOk;
}
