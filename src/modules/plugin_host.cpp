#include "modules/plugin_host.h"

#include "app/atomic_file.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/unique_fd.h"
#include "modules/effect_dialog.h"
#include "wavefile/riff_file.h"
#include "wavefile/sample_format.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"
#include "modules/module_dialogs.h"

#include <lilv/lilv.h>
#include <lv2/core/lv2.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <memory>
#include <unistd.h>

namespace {

constexpr const char* kAudioPort = LV2_CORE__AudioPort;
constexpr const char* kControlPort = LV2_CORE__ControlPort;
constexpr const char* kInputPort = LV2_CORE__InputPort;
constexpr const char* kOutputPort = LV2_CORE__OutputPort;

// One lilv world for the process, loaded on first use and again when the
// user's LV2 folder may have changed.
struct World {
    LilvWorld* world = nullptr;
    LilvNode *audio, *control, *input, *output, *toggled, *integer, *optional, *enumeration;
    World()
    {
        world = lilv_world_new();
        lilv_world_load_all(world);
        audio = lilv_new_uri(world, kAudioPort);
        control = lilv_new_uri(world, kControlPort);
        input = lilv_new_uri(world, kInputPort);
        output = lilv_new_uri(world, kOutputPort);
        toggled = lilv_new_uri(world, LV2_CORE__toggled);
        integer = lilv_new_uri(world, LV2_CORE__integer);
        optional = lilv_new_uri(world, LV2_CORE__connectionOptional);
        enumeration = lilv_new_uri(world, LV2_CORE__enumeration);
    }
    ~World()
    {
        for (LilvNode* n : {audio, control, input, output, toggled, integer, optional, enumeration})
            lilv_node_free(n);
        lilv_world_free(world);
    }
};

std::unique_ptr<World>& world()
{
    static std::unique_ptr<World> w;
    if (!w)
        w = std::make_unique<World>();
    return w;
}

std::string text(const LilvNode* node) { return node ? lilv_node_as_string(node) : std::string(); }

// What a plug-in looks like to the host; false when it is no effect it can run.
bool describe(World& w, const LilvPlugin* plugin, PluginInfo& info)
{
    info.uri = text(lilv_plugin_get_uri(plugin));
    LilvNode* name = lilv_plugin_get_name(plugin);
    info.name = text(name);
    lilv_node_free(name);
    const std::uint32_t ports = lilv_plugin_get_num_ports(plugin);
    std::vector<float> mins(ports), maxs(ports), defs(ports);
    lilv_plugin_get_port_ranges_float(plugin, mins.data(), maxs.data(), defs.data());
    for (std::uint32_t i = 0; i < ports; ++i) {
        const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
        const bool in = lilv_port_is_a(plugin, port, w.input);
        if (lilv_port_is_a(plugin, port, w.audio)) {
            (in ? info.audioInputs : info.audioOutputs) += 1;
        } else if (lilv_port_is_a(plugin, port, w.control)) {
            if (!in)
                continue;
            PluginPort p;
            p.symbol = text(lilv_port_get_symbol(plugin, port));
            LilvNode* portName = lilv_port_get_name(plugin, port);
            p.name = text(portName);
            lilv_node_free(portName);
            p.min = std::isnan(mins[i]) ? 0.0f : mins[i];
            p.max = std::isnan(maxs[i]) ? std::max(1.0f, p.min) : maxs[i];
            p.value = std::isnan(defs[i]) ? p.min : std::clamp(defs[i], p.min, p.max);
            p.toggled = lilv_port_has_property(plugin, port, w.toggled);
            p.integer = lilv_port_has_property(plugin, port, w.integer);
            if (lilv_port_has_property(plugin, port, w.enumeration)) {
                LilvScalePoints* points = lilv_port_get_scale_points(plugin, port);
                LILV_FOREACH(scale_points, it, points)
                {
                    const LilvScalePoint* sp = lilv_scale_points_get(points, it);
                    p.choices.emplace_back(text(lilv_scale_point_get_label(sp)),
                                           lilv_node_as_float(lilv_scale_point_get_value(sp)));
                }
                lilv_scale_points_free(points);
                std::sort(p.choices.begin(), p.choices.end(),
                          [](const auto& a, const auto& b) { return a.second < b.second; });
            }
            info.controls.push_back(std::move(p));
        } else if (!lilv_port_has_property(plugin, port, w.optional)) {
            return false;  // a port of another kind that must be connected
        }
    }
    return info.audioInputs >= 1 && info.audioOutputs >= 1 && info.audioInputs <= 2 && info.audioOutputs <= 2;
}

// The samples of a WAVE file as floats, by channel.
struct Signal {
    int channels = 0;
    int bits = 16;
    std::uint32_t rate = 0;
    std::vector<std::vector<float>> data;
};

bool readWave(const std::string& path, Signal& s, std::string& error)
{
    if (!ReadInputWaveformHeader(path, 0)) {
        error = "The plug-in's input is not a PCM WAVE file.";
        return false;
    }
    s.channels = current_wave_format.nChannels;
    s.bits = current_wave_format.wBitsPerSample;
    s.rate = current_wave_format.nSamplesPerSec;
    if (!is_document_format(current_wave_format.wFormatTag, s.channels, s.bits)) {
        error = "The plug-in host reads 8-, 16- and 24-bit and float mono or stereo files.";
        return false;
    }
    const std::uint32_t bytes = data_chunk_size;
    std::vector<std::uint8_t> raw(bytes);
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const int fd = file.get();
    if (fd < 0)
        return false;
    const auto start = static_cast<long long>(data_chunk_offset);
    const long long got = read_fully(fd, raw.data(), bytes, start);
    if (got != bytes) {
        error = "The plug-in's input could not be read.";
        return false;
    }
    const SampleFormat format = stream_sample_format(s.bits);
    const std::size_t frameBytes = static_cast<std::size_t>(s.channels * s.bits / 8);
    const std::size_t frames = bytes / frameBytes;
    s.data.assign(static_cast<std::size_t>(s.channels), std::vector<float>(frames));
    for (std::size_t i = 0; i < frames; ++i)
        for (int c = 0; c < s.channels; ++c) {
            const std::uint8_t* p = raw.data() + i * frameBytes + static_cast<std::size_t>(c) * (s.bits / 8);
            s.data[static_cast<std::size_t>(c)][i] = sample_to_float(format, p);
        }
    return true;
}

bool writeWave(const std::string& path, const Signal& s)
{
    // Complete or not there at all: the program splices this file in.
    AtomicFile staged;
    RiffFile out;
    if (!staged.begin(path) || !out.open(staged.temporaryPath(), RiffFile::Mode::Create) ||
        !create_plain_waveform_header(out, s.channels, s.rate, s.bits))
        return false;
    const SampleFormat format = stream_sample_format(s.bits);
    const int frameBytes = s.channels * s.bits / 8;
    const std::size_t frames = s.data.empty() ? 0 : s.data[0].size();
    std::vector<std::uint8_t> raw(frames * static_cast<std::size_t>(frameBytes));
    for (std::size_t i = 0; i < frames; ++i)
        for (int c = 0; c < s.channels; ++c) {
            // Integer samples stop at full scale; float samples keep what
            // lies beyond it.
            const float given = s.data[static_cast<std::size_t>(c)][i];
            const float v = format == SampleFormat::F32 ? given : std::clamp(given, -1.0f, 1.0f);
            std::uint8_t* p = raw.data() + i * static_cast<std::size_t>(frameBytes) + static_cast<std::size_t>(c) * (s.bits / 8);
            float_to_sample(format, p, v);
        }
    return out.write(raw.data(), static_cast<long long>(raw.size())) == static_cast<long long>(raw.size()) &&
           ascend_and_update_waveform_file(out) == MMSYSERR_NOERROR && out.close() && staged.commit();
}

const LilvPlugin* findPlugin(World& w, const std::string& uri)
{
    LilvNode* node = lilv_new_uri(w.world, uri.c_str());
    const LilvPlugin* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(w.world), node);
    lilv_node_free(node);
    return plugin;
}

}  // namespace

std::vector<PluginInfo> lv2_effect_plugins()
{
    world().reset();  // the user's folder may have changed: look again
    World& w = *world();
    std::vector<PluginInfo> list;
    const LilvPlugins* plugins = lilv_world_get_all_plugins(w.world);
    LILV_FOREACH(plugins, it, plugins)
    {
        PluginInfo info;
        if (describe(w, lilv_plugins_get(plugins, it), info))
            list.push_back(std::move(info));
    }
    std::sort(list.begin(), list.end(), [](const PluginInfo& a, const PluginInfo& b) { return a.name < b.name; });
    return list;
}

int process_file_with_plugin(const std::string& uri, const std::vector<std::pair<std::string, float>>& values,
                             const std::string& inputPath, const std::string& outputPath, std::string& error)
{
    World& w = *world();
    const LilvPlugin* plugin = findPlugin(w, uri);
    PluginInfo info;
    if (!plugin || !describe(w, plugin, info)) {
        error = "There is no effect plug-in " + uri + ".";
        return 0;
    }
    Signal in;
    if (!readWave(inputPath, in, error))
        return 0;
    // As many instances as the channels need: a mono plug-in runs once per
    // channel, a stereo one once (a mono file fed to both its inputs).
    const bool perChannel = info.audioInputs == 1 && info.audioOutputs == 1;
    const int instances = perChannel ? in.channels : 1;
    if (!perChannel && info.audioOutputs < in.channels) {
        error = "The plug-in " + info.name + " cannot give this file's channels.";
        return 0;
    }
    const std::uint32_t ports = lilv_plugin_get_num_ports(plugin);
    std::map<std::string, float> chosen;
    for (const PluginPort& p : info.controls)
        chosen[p.symbol] = p.value;
    for (const auto& [symbol, value] : values)
        if (chosen.count(symbol))
            chosen[symbol] = value;

    constexpr std::uint32_t kBlock = 4096;
    const std::size_t frames = in.data.empty() ? 0 : in.data[0].size();
    Signal out = in;
    for (auto& channel : out.data)
        std::fill(channel.begin(), channel.end(), 0.0f);
    for (int instanceIndex = 0; instanceIndex < instances; ++instanceIndex) {
        LilvInstance* instance = lilv_plugin_instantiate(plugin, in.rate, nullptr);
        if (!instance) {
            error = "The plug-in " + info.name + " failed to load.";
            return 0;
        }
        std::vector<float> controls(ports, 0.0f);
        std::vector<std::vector<float>> audioIn(static_cast<std::size_t>(info.audioInputs), std::vector<float>(kBlock));
        std::vector<std::vector<float>> audioOut(static_cast<std::size_t>(info.audioOutputs), std::vector<float>(kBlock));
        int ai = 0, ao = 0;
        for (std::uint32_t i = 0; i < ports; ++i) {
            const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
            const bool input = lilv_port_is_a(plugin, port, w.input);
            if (lilv_port_is_a(plugin, port, w.audio)) {
                float* buffer = input ? audioIn[static_cast<std::size_t>(ai++)].data()
                                      : audioOut[static_cast<std::size_t>(ao++)].data();
                lilv_instance_connect_port(instance, i, buffer);
            } else if (lilv_port_is_a(plugin, port, w.control)) {
                const std::string symbol = text(lilv_port_get_symbol(plugin, port));
                if (input && chosen.count(symbol))
                    controls[i] = chosen[symbol];
                lilv_instance_connect_port(instance, i, &controls[i]);
            } else {
                lilv_instance_connect_port(instance, i, nullptr);
            }
        }
        lilv_instance_activate(instance);
        for (std::size_t at = 0; at < frames; at += kBlock) {
            const auto n = static_cast<std::uint32_t>(std::min<std::size_t>(kBlock, frames - at));
            for (int k = 0; k < info.audioInputs; ++k) {
                const int source = perChannel ? instanceIndex : std::min(k, in.channels - 1);
                std::copy_n(in.data[static_cast<std::size_t>(source)].begin() + static_cast<long>(at), n,
                            audioIn[static_cast<std::size_t>(k)].begin());
            }
            lilv_instance_run(instance, n);
            for (int c = 0; c < (perChannel ? 1 : in.channels); ++c) {
                const int target = perChannel ? instanceIndex : c;
                std::copy_n(audioOut[static_cast<std::size_t>(c)].begin(), n,
                            out.data[static_cast<std::size_t>(target)].begin() + static_cast<long>(at));
            }
        }
        lilv_instance_deactivate(instance);
        lilv_instance_free(instance);
    }
    if (!writeWave(outputPath, out)) {
        error = "The plug-in's output could not be written.";
        return 0;
    }
    return 1;
}

int PlugInProcessFile(const char* inputPath, const char* outputPath, HWND)
{
    const std::vector<PluginInfo> plugins = lv2_effect_plugins();
    if (plugins.empty()) {
        ErrMsg("No LV2 effect plug-ins are installed.");
        return 0;
    }
    std::vector<std::string> names;
    for (const PluginInfo& p : plugins)
        names.push_back(p.name + "  <" + p.uri + ">");
    const int chosen = module_dialogs().choosePlugin(names);
    if (chosen < 0 || chosen >= static_cast<int>(plugins.size()))
        return 0;
    const PluginInfo& plugin = plugins[static_cast<std::size_t>(chosen)];
    // The generic parameter dialog from the control ports.
    EffectDialog dialog("plugin", plugin.name, 0);
    for (const PluginPort& p : plugin.controls) {
        if (p.toggled) {
            dialog.toggle(p.symbol, p.name, p.value > 0.5f);
        } else if (!p.choices.empty()) {
            std::vector<std::string> labels;
            int current = 0;
            for (std::size_t i = 0; i < p.choices.size(); ++i) {
                labels.push_back(p.choices[i].first);
                if (std::fabs(p.choices[i].second - p.value) < 1e-6f)
                    current = static_cast<int>(i);
            }
            dialog.choice(p.symbol, p.name, labels, current);
        } else {
            const double range = static_cast<double>(p.max) - p.min;
            const int decimals = p.integer ? 0 : range >= 100 ? 1 : range >= 10 ? 2 : 3;
            dialog.number(p.symbol, p.name, p.min, p.max, p.value, p.integer ? 1 : std::pow(10.0, -decimals), decimals);
        }
    }
    if (!plugin.controls.empty() && !module_dialogs().runEffectDialog(dialog))
        return 0;
    std::vector<std::pair<std::string, float>> values;
    for (const PluginPort& p : plugin.controls) {
        const double v = dialog.value(p.symbol);
        if (!p.choices.empty())
            values.emplace_back(p.symbol, p.choices[static_cast<std::size_t>(std::clamp<int>(static_cast<int>(v), 0,
                                                                                              static_cast<int>(p.choices.size()) - 1))]
                                              .second);
        else if (p.toggled)
            values.emplace_back(p.symbol, v != 0 ? 1.0f : 0.0f);
        else
            values.emplace_back(p.symbol, static_cast<float>(v));
    }
    std::string error;
    if (!process_file_with_plugin(plugin.uri, values, inputPath, outputPath, error)) {
        ErrMsg("%s", error.c_str());
        return 0;
    }
    return 1;
}

bool bundle_declares_plugins(const std::string& folder)
{
    LilvWorld* w = lilv_world_new();
    std::string uri = "file://" + folder;
    if (uri.back() != '/')
        uri += '/';
    LilvNode* bundle = lilv_new_uri(w, uri.c_str());
    lilv_world_load_bundle(w, bundle);
    const bool declares = lilv_plugins_size(lilv_world_get_all_plugins(w)) > 0;
    lilv_node_free(bundle);
    lilv_world_free(w);
    return declares;
}
