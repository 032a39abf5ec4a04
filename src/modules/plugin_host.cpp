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
#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/port-props/port-props.h>
#include <lv2/units/units.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <memory>
#include <optional>
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
    LilvNode *audio, *control, *input, *output, *toggled, *integer, *optional, *enumeration, *sampleRate, *logarithmic,
        *reportsLatency, *designation, *latency, *cv, *atom, *unit, *unitSymbol;
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
        sampleRate = lilv_new_uri(world, LV2_CORE__sampleRate);
        logarithmic = lilv_new_uri(world, LV2_PORT_PROPS__logarithmic);
        reportsLatency = lilv_new_uri(world, LV2_CORE__reportsLatency);
        designation = lilv_new_uri(world, LV2_CORE__designation);
        latency = lilv_new_uri(world, LV2_CORE__latency);
        cv = lilv_new_uri(world, LV2_CORE__CVPort);
        atom = lilv_new_uri(world, LV2_ATOM__AtomPort);
        unit = lilv_new_uri(world, LV2_UNITS__unit);
        unitSymbol = lilv_new_uri(world, LV2_UNITS__symbol);
    }
    ~World()
    {
        for (LilvNode* n : {audio, control, input, output, toggled, integer, optional, enumeration, sampleRate,
                            logarithmic, reportsLatency, designation, latency, cv, atom, unit, unitSymbol})
            lilv_node_free(n);
        lilv_world_free(world);
    }
    // The control output through which a plug-in reports its latency.
    bool isLatencyPort(const LilvPlugin* plugin, const LilvPort* port) const
    {
        if (lilv_port_has_property(plugin, port, reportsLatency))
            return true;
        LilvNodes* designations = lilv_port_get_value(plugin, port, designation);
        bool found = false;
        LILV_FOREACH(nodes, it, designations)
        found = found || lilv_node_equals(lilv_nodes_get(designations, it), latency);
        lilv_nodes_free(designations);
        return found;
    }
};

// The symbol of a port's unit: the common units by name, others by the
// symbol their description gives.
std::string unitOf(const World& w, const LilvPlugin* plugin, const LilvPort* port)
{
    LilvNodes* units = lilv_port_get_value(plugin, port, w.unit);
    std::string symbol;
    LILV_FOREACH(nodes, it, units)
    {
        const LilvNode* u = lilv_nodes_get(units, it);
        static const std::pair<const char*, const char*> kKnown[] = {
            {LV2_UNITS__hz, "Hz"},   {LV2_UNITS__khz, "kHz"},        {LV2_UNITS__db, "dB"},   {LV2_UNITS__ms, "ms"},
            {LV2_UNITS__s, "s"},     {LV2_UNITS__pc, "%"},           {LV2_UNITS__bpm, "bpm"}, {LV2_UNITS__cent, "cents"},
            {LV2_UNITS__degree, "degrees"}, {LV2_UNITS__semitone12TET, "semitones"}, {LV2_UNITS__frame, "frames"},
            {LV2_UNITS__beat, "beats"}, {LV2_UNITS__oct, "octaves"}, {LV2_UNITS__coef, ""}};
        if (lilv_node_is_uri(u))
            for (const auto& [uri, name] : kKnown)
                if (std::strcmp(lilv_node_as_uri(u), uri) == 0)
                    symbol = name;
        if (symbol.empty())
            if (LilvNode* given = lilv_world_get(w.world, u, w.unitSymbol, nullptr)) {
                symbol = lilv_node_as_string(given);
                lilv_node_free(given);
            }
    }
    lilv_nodes_free(units);
    return symbol;
}

// The URID map plug-ins ask for: each URI a number of its own.
struct UridMap {
    std::vector<std::string> uris;
    LV2_URID_Map map{this, [](LV2_URID_Map_Handle h, const char* uri) -> LV2_URID {
                         auto& list = static_cast<UridMap*>(h)->uris;
                         for (std::size_t i = 0; i < list.size(); ++i)
                             if (list[i] == uri)
                                 return static_cast<LV2_URID>(i + 1);
                         list.emplace_back(uri);
                         return static_cast<LV2_URID>(list.size());
                     }};
    LV2_Feature feature{LV2_URID__map, &map};
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
            p.logarithmic = lilv_port_has_property(plugin, port, w.logarithmic);
            p.sampleRate = lilv_port_has_property(plugin, port, w.sampleRate);
            p.unit = p.sampleRate ? std::string("Hz") : unitOf(w, plugin, port);
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
        // Optional CV and atom ports are given silence and an empty sequence.
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

PluginPort PluginPort::at_rate(std::uint32_t rate) const
{
    PluginPort p = *this;
    if (sampleRate) {
        const auto r = static_cast<float>(rate);
        p.min = min * r;
        p.max = max * r;
        p.value = value * r;
        p.sampleRate = false;
    }
    return p;
}

namespace {

// Why an output is not sound, or nothing when it is: samples that are no
// numbers, or a constant other than silence where sound went in.
std::optional<std::string> unsound(const Signal& in, const Signal& out)
{
    const auto spread = [](const Signal& s) {
        float lo = 0, hi = 0;
        bool first = true;
        for (const auto& channel : s.data)
            for (float v : channel) {
                lo = first ? v : std::min(lo, v);
                hi = first ? v : std::max(hi, v);
                first = false;
            }
        return std::make_pair(lo, hi);
    };
    for (const auto& channel : out.data)
        for (float v : channel)
            if (!std::isfinite(v))
                return std::string("gave samples that are not numbers");
    const auto [inLo, inHi] = spread(in);
    const auto [outLo, outHi] = spread(out);
    if (inHi - inLo > 1e-3f && outHi - outLo < 1e-5f && std::fabs(outHi) > 1e-3f) {
        char text[96];
        std::snprintf(text, sizeof text, "gave a constant %.3f (DC) instead of sound", static_cast<double>(outHi));
        return std::string(text);
    }
    return std::nullopt;
}

}  // namespace

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
    // The defaults at this file's rate, then the values chosen, held to the
    // ports' ranges.
    std::map<std::string, float> chosen;
    std::map<std::string, PluginPort> byName;
    for (const PluginPort& p : info.controls) {
        const PluginPort here = p.at_rate(in.rate);
        chosen[p.symbol] = here.value;
        byName[p.symbol] = here;
    }
    for (const auto& [symbol, value] : values)
        if (chosen.count(symbol))
            chosen[symbol] = std::clamp(value, std::min(byName[symbol].min, byName[symbol].max), std::max(byName[symbol].min, byName[symbol].max));

    constexpr std::uint32_t kBlock = 4096;
    const std::size_t frames = in.data.empty() ? 0 : in.data[0].size();
    Signal out = in;
    for (auto& channel : out.data)
        std::fill(channel.begin(), channel.end(), 0.0f);
    UridMap urids;
    const LV2_Feature* features[] = {&urids.feature, nullptr};
    for (int instanceIndex = 0; instanceIndex < instances; ++instanceIndex) {
        LilvInstance* instance = lilv_plugin_instantiate(plugin, in.rate, features);
        if (!instance) {
            error = "The plug-in " + info.name + " failed to load.";
            return 0;
        }
        std::vector<float> controls(ports, 0.0f);
        std::vector<std::vector<float>> audioIn(static_cast<std::size_t>(info.audioInputs), std::vector<float>(kBlock));
        std::vector<std::vector<float>> audioOut(static_cast<std::size_t>(info.audioOutputs), std::vector<float>(kBlock));
        // Optional ports of other kinds: CV ports get silence, atom inputs an
        // empty sequence, atom outputs room to write.
        std::vector<std::vector<float>> silence;
        std::vector<std::vector<std::uint64_t>> atoms;
        int latencyPort = -1;
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
                if (!input && w.isLatencyPort(plugin, port))
                    latencyPort = static_cast<int>(i);
                lilv_instance_connect_port(instance, i, &controls[i]);
            } else if (lilv_port_is_a(plugin, port, w.cv)) {
                silence.emplace_back(kBlock, 0.0f);
                lilv_instance_connect_port(instance, i, silence.back().data());
            } else if (lilv_port_is_a(plugin, port, w.atom)) {
                atoms.emplace_back(1024, 0);
                auto* sequence = reinterpret_cast<LV2_Atom_Sequence*>(atoms.back().data());
                sequence->atom.type = urids.map.map(urids.map.handle, LV2_ATOM__Sequence);
                sequence->atom.size = input ? static_cast<std::uint32_t>(sizeof(LV2_Atom_Sequence_Body))
                                            : static_cast<std::uint32_t>(atoms.back().size() * sizeof(std::uint64_t) -
                                                                         sizeof(LV2_Atom));
                lilv_instance_connect_port(instance, i, sequence);
            } else {
                lilv_instance_connect_port(instance, i, nullptr);
            }
        }
        lilv_instance_activate(instance);
        // A plug-in that reports a latency gives its output that many frames
        // late: those are dropped at the start, and silence after the end
        // pushes out the last frames, so that the output lines up with the
        // input sample for sample and has its length.
        std::size_t latency = 0, produced = 0, skipped = 0;
        const std::size_t longestLatency = static_cast<std::size_t>(in.rate) * 10;
        for (std::size_t at = 0; produced < frames; at += kBlock) {
            const std::size_t available = at < frames ? frames - at : 0;
            const auto n = static_cast<std::uint32_t>(std::min<std::size_t>(kBlock, available > 0 ? available : kBlock));
            for (int k = 0; k < info.audioInputs; ++k) {
                auto& buffer = audioIn[static_cast<std::size_t>(k)];
                std::fill(buffer.begin(), buffer.end(), 0.0f);
                const int source = perChannel ? instanceIndex : std::min(k, in.channels - 1);
                if (available > 0)
                    std::copy_n(in.data[static_cast<std::size_t>(source)].begin() + static_cast<long>(at), n,
                                buffer.begin());
            }
            lilv_instance_run(instance, n);
            if (latencyPort >= 0 && at == 0)
                latency = std::min(longestLatency, static_cast<std::size_t>(std::max(0.0f, std::round(controls[static_cast<std::size_t>(latencyPort)]))));
            const std::size_t drop = std::min<std::size_t>(n, latency - std::min(latency, skipped));
            skipped += drop;
            const std::size_t keep = std::min<std::size_t>(n - drop, frames - produced);
            for (int c = 0; c < (perChannel ? 1 : in.channels); ++c) {
                const int target = perChannel ? instanceIndex : c;
                std::copy_n(audioOut[static_cast<std::size_t>(c)].begin() + static_cast<long>(drop), keep,
                            out.data[static_cast<std::size_t>(target)].begin() + static_cast<long>(produced));
            }
            produced += keep;
            if (at > frames + longestLatency + kBlock)
                break;  // a plug-in that never gives its output
        }
        lilv_instance_deactivate(instance);
        lilv_instance_free(instance);
    }
    if (const auto why = unsound(in, out)) {
        error = "The plug-in " + info.name + " " + *why + "; nothing was changed.";
        return 0;
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
    // The ports at the rate of the sound they will work on.
    std::string error;
    if (!ReadInputWaveformHeader(inputPath, 0)) {
        ErrMsg("The plug-in's input is not a PCM WAVE file.");
        return 0;
    }
    const std::uint32_t rate = current_wave_format.nSamplesPerSec;
    std::vector<PluginPort> ports;
    for (const PluginPort& p : plugin.controls)
        ports.push_back(p.at_rate(rate));
    // The generic parameter dialog from the control ports.
    EffectDialog dialog("plugin", plugin.name, 0);
    for (const PluginPort& p : ports) {
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
            // A logarithmic port says so: its steps are better read as ratios.
            const std::string label = p.logarithmic ? p.name + " (logarithmic)" : p.name;
            dialog.number(p.symbol, label, p.min, p.max, p.value, p.integer ? 1 : std::pow(10.0, -decimals), decimals,
                          p.unit);
        }
    }
    if (!plugin.controls.empty() && !module_dialogs().runEffectDialog(dialog))
        return 0;
    std::vector<std::pair<std::string, float>> values;
    for (const PluginPort& p : ports) {
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
