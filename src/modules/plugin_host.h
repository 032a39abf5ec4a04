#pragma once

#include "app/window_handle.h"

#include <cstdint>
#include <string>
#include <vector>

// The plug-in host ("PIHOST"): audio effect plug-ins in the LV2 form, found
// and run through lilv. The program hands it a WAVE file and gets one back.

struct PluginPort {
    std::string symbol;
    std::string name;
    float min = 0.0f, max = 1.0f, value = 0.0f;
    bool toggled = false;
    bool integer = false;
    bool logarithmic = false;
    // The range and default are fractions of the sample rate (a filter's
    // cut-off): at_rate() gives them in Hz.
    bool sampleRate = false;
    std::string unit;  // "Hz", "dB", "ms" ... or empty
    std::vector<std::pair<std::string, float>> choices;  // enumeration labels

    // The port as it stands at `rate`: a sample-rate port's range and default
    // in Hz, the others as they are.
    PluginPort at_rate(std::uint32_t rate) const;
};

struct PluginInfo {
    std::string uri;
    std::string name;
    int audioInputs = 0;
    int audioOutputs = 0;
    std::vector<PluginPort> controls;  // control inputs, in port order
};

// The installed LV2 effect plug-ins (audio in and out, nothing else that must
// be connected), by name.
std::vector<PluginInfo> lv2_effect_plugins();

// Shows the plug-in choice and the chosen plug-in's parameters, then runs it
// from the input WAVE file into the output WAVE file (same format). Non-zero
// on success, 0 when cancelled or failed.
int PlugInProcessFile(const char* inputPath, const char* outputPath, HWND mainWindow);

// Runs one plug-in with the given control values (symbol, value) on a WAVE
// file: what PlugInProcessFile does after its dialogs. 1 on success; the
// reason in `error` otherwise.
int process_file_with_plugin(const std::string& uri, const std::vector<std::pair<std::string, float>>& values,
                             const std::string& inputPath, const std::string& outputPath, std::string& error);

// Whether the LV2 bundle in `folder` declares at least one plug-in in its
// manifest (read with lilv, as the hosts read it).
bool bundle_declares_plugins(const std::string& folder);
