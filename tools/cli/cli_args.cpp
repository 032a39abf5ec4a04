#include "cli_args.h"

#include "app/preferences.h"
#include "audio/portaudio_device.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

std::optional<CliArgs> CliArgs::parse(const std::vector<std::string>& args,
                                      const std::vector<std::string>& valueOptions,
                                      const std::vector<std::string>& flags)
{
    CliArgs parsed;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a.rfind("--", 0) != 0 || a == "--") {
            parsed.m_positionals.push_back(a);
            continue;
        }
        const std::string name = a.substr(2);
        if (std::find(flags.begin(), flags.end(), name) != flags.end()) {
            parsed.m_flags[name] = true;
        } else if (std::find(valueOptions.begin(), valueOptions.end(), name) != valueOptions.end()) {
            if (i + 1 >= args.size()) {
                std::cerr << "ondrava-cli: option " << a << " needs a value\n";
                return std::nullopt;
            }
            parsed.m_values[name] = args[++i];
        } else {
            std::cerr << "ondrava-cli: unknown option " << a << "\n";
            return std::nullopt;
        }
    }
    return parsed;
}

bool CliArgs::has(const std::string& name) const
{
    return m_flags.count(name) != 0 || m_values.count(name) != 0;
}

std::optional<std::string> CliArgs::value(const std::string& name) const
{
    auto it = m_values.find(name);
    if (it == m_values.end())
        return std::nullopt;
    return it->second;
}

std::optional<long> CliArgs::integer(const std::string& name, long min, long max, long fallback) const
{
    const auto text = value(name);
    if (!text)
        return fallback;
    char* end = nullptr;
    const long v = std::strtol(text->c_str(), &end, 10);
    if (text->empty() || *end != '\0' || v < min || v > max) {
        std::cerr << "ondrava-cli: --" << name << " must be a whole number from " << min << " to "
                  << max << "\n";
        return std::nullopt;
    }
    return v;
}

std::optional<int> CliArgs::bits(int fallback) const
{
    const auto text = value("bits");
    if (!text)
        return fallback;
    if (*text == "8" || *text == "16" || *text == "24")
        return std::stoi(*text);
    if (*text == "32f")
        return 32;
    std::cerr << "ondrava-cli: --bits must be 8, 16, 24 or 32f\n";
    return std::nullopt;
}

bool apply_device_option(const CliArgs& args, bool output)
{
    const auto given = args.value("device");
    if (!given)
        return true;
    const auto label = audio_device_label(output, *given);
    if (!label) {
        std::cerr << "ondrava-cli: no " << (output ? "output" : "input") << " device answers to --device " << *given
                  << " (see ondrava-cli devices)\n";
        return false;
    }
    (output ? preferences().waveOutputDeviceName : preferences().waveInputDeviceName) = *label;
    return true;
}
