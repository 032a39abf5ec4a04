#include "modules/effect_commands.h"

#include "app/app_paths.h"
#include "app/command_ids.h"
#include "app/string_table.h"
#include "edit/presets.h"
#include "edit/undo_labels.h"
#include "modules/effect_context.h"
#include "modules/module_entries.h"
#include "view/child_frame.h"

#include <filesystem>
#include <vector>

namespace {

// Entries that return nothing: a new version shown means they ran.
int changedBy(const CChildFrame& document, const std::function<void()>& entry)
{
    const std::string before = document.szFileName;
    entry();
    return document.szFileName != before ? 1 : 0;
}

// Clear and Amplify share the level module's entry.
int amplifyEntry(const EffectRun& r, int id)
{
    std::string work = data_directory();
    return amplify_waveform(r.mainWindow, r.frame, static_cast<unsigned short>(id), effect_context().setting, work.data());
}

EffectPresets echoPresets(const char* section, const char* key, const char* values)
{
    return {"HVNECHO.INI", "Select Echo / Reverb File", section, key, values};
}
EffectPresets filterPresets(const char* values)
{
    return {"HVNFILTR.INI", "Select Filter Parameters", "Filter Presets", "Filter Preset", values};
}

// The time of the noise profile's last writing (none when there is none).
std::filesystem::file_time_type profileStamp()
{
    std::error_code error;
    const auto t = std::filesystem::last_write_time(noise_profile_path(), error);
    return error ? std::filesystem::file_time_type{} : t;
}

std::vector<EffectCommand> makeEffectCommands()
{
    std::vector<EffectCommand> list = {
        // id, name, menu text, key, undo name, sets its length, presets, variants, entry
        {kCommandClear, "clear", "C&lear", "", "Clear", false, {}, {},
         [](const EffectRun& r) { return amplifyEntry(r, kCommandClear); }},
        {kEffectTempo, "tempo", "Stretch / Temp&o...", "Alt+Shift+1", "Tempo", true, {},
         {{1, "A&ccelerando..."}, {2, "Ritardando..."}},
         [](const EffectRun& r) { return stretch_selected_passage(r.frame, kEffectTempo, r.variant); }},
        {kEffectAmplify, "amplify", "&Amplify...", "Alt+Shift+2", "Amplify", false, {}, {},
         [](const EffectRun& r) { return amplifyEntry(r, kEffectAmplify); }},
        {kEffectPitch, "pitch", "Chan&ge Pitch...", "Alt+Shift+3", "Pitch", false, {}, {{1, "&Glissando..."}},
         [](const EffectRun& r) { return how_to_change_pitch(r.frame); }},
        {kEffectCompressor, "compressor", "Compressor...", "Alt+Shift+4", "Compress/Expand", false,
         EffectPresets{"HVNECHO.INI", load_string(5056), load_string(5057), load_string(5058), "Compressor Values"}, {},
         [](const EffectRun& r) { return amplify_waveform_by_envelope(r.frame, 1); }},
        {kEffectEcho, "echo", "&Echo...", "Alt+Shift+5", "Echo", true, echoPresets("Echo Presets", "Echo Preset", "Echo Values"), {},
         [](const EffectRun& r) { return echo_waveform(r.frame, kEffectEcho, 1); }},
        {kEffectEnvelope, "envelope", "E&nvelope...", "Alt+Shift+6", "Envelope", false, {}, {},
         [](const EffectRun& r) { return amplify_waveform_by_envelope(r.frame, 0); }},
        {kEffectEqualize, "equalize", "Eq&ualize...", "Alt+Shift+7", "Equalize", false,
         EffectPresets{"HVNEQUAL.INI", "Select Equalization File", "Equalization Values", "Equalize", "Equalize Values"}, {},
         [](const EffectRun& r) { return changedBy(r.document, [&] { get_equalization_selection(r.frame); }); }},
        {kEffectFade, "fade", "&Fade...", "Alt+Shift+8", "Fade", false, {}, {},
         [](const EffectRun& r) { return fade_waveform(r.frame, kEffectFade); }},
        {kEffectFlange, "flange", "Flan&ge...", "Alt+Shift+9", "Flange", false,
         EffectPresets{"HVNFLNGE.INI", "Select Flange Parameters", "Flange Presets", "Flange Preset", "Flange Values"}, {},
         [](const EffectRun& r) { return changedBy(r.document, [&] { flange_waveform(r.frame); }); }},
        {kEffectFilter, "filter", "Fi&lter...", "Alt+Shift+A", "Filter", false, filterPresets("Filter Values"), {},
         [](const EffectRun& r) { return changedBy(r.document, [&] { filter_waveform(r.frame); }); }},
        {kEffectModulate, "modulate", "&Modulate...", "Alt+Shift+B", "Modulate", false, {}, {},
         [](const EffectRun& r) { return modulate_waveform(r.frame, kEffectModulate); }},
        {kEffectNoiseReduction, "noise-reduction", "Noise reduction...", "Alt+Shift+C", "Noise reduction", false,
         EffectPresets{"HVNNOISE.INI", "Select Noise Reduction Parameters", "Noise Reduction Presets",
                       "Noise Reduction Preset", "Noise Reduction Values"},
         {},
         [](const EffectRun& r) {
             // Taking a profile changes no document but is done all the same.
             const auto before = profileStamp();
             return changedBy(r.document, [&] { remove_noise(r.frame); }) || profileStamp() != before ? 1 : 0;
         }},
        {kEffectPan, "pan", "&Pan...", "Alt+Shift+D", "Pan", false, {}, {},
         [](const EffectRun& r) { return pan_waveform(r.frame, kEffectPan); }},
        {kEffectQuantize, "quantize", "&Quantize...", "Alt+Shift+E", "Quantize", false, {}, {},
         [](const EffectRun& r) { return changedBy(r.document, [&] { shift_waveform(r.frame); }); }},
        {kEffectReverb, "reverb", "&Reverb...", "Alt+Shift+F", "Reverb", true,
         echoPresets("Reverb Presets", "Reverb Preset", "Reverb Values"), {},
         [](const EffectRun& r) { return echo_waveform(r.frame, kEffectReverb, 1); }},
        {kEffectReverse, "reverse", "Re&verse", "Alt+Shift+G", "Reverse", false, {}, {},
         [](const EffectRun& r) { return reverse_waveform(r.frame, kEffectReverse); }},
        {kEffectSpatial, "spatial", "Spatial locali&zation...", "Alt+Shift+H", "Localize sound", false, {}, {},
         [](const EffectRun& r) { return changedBy(r.document, [&] { set_spatial_localization(r.frame); }); }},
        {kEffectTones, "tones", "Tones / Effects...", "Alt+Shift+I", "Special effects", false,
         EffectPresets{"HVNTONES.INI", "Select Special Effects Parameters", "Effects Presets", "Effects Preset",
                       "Effects Values"},
         {},
         [](const EffectRun& r) { return changedBy(r.document, [&] { make_tones_or_effects(r.frame); }); }},
    };
    for (const EffectCommand& c : list)
        register_undo_label(c.id, c.undoName, c.changesLength);
    return list;
}

// The undo labels are known from the start, before any effect runs.
const bool labelsRegistered = !effect_commands().empty();

}  // namespace

const std::vector<EffectCommand>& effect_commands()
{
    static const std::vector<EffectCommand> commands = makeEffectCommands();
    return commands;
}

void use_effect_presets(const EffectPresets& p)
{
    set_preset_context(p.file, p.title, p.section, p.keyPrefix, p.valuePrefix);
}

const EffectCommand* find_effect_command(const std::string& name)
{
    for (const EffectCommand& c : effect_commands())
        if (name == c.name)
            return &c;
    return nullptr;
}

const EffectCommand* find_effect_command(int id)
{
    for (const EffectCommand& c : effect_commands())
        if (id == c.id)
            return &c;
    return nullptr;
}

int run_effect_command(CChildFrame& f, int id, HWND mainWindow)
{
    const EffectCommand* c = find_effect_command(id);
    if (!c || f.szFileName.empty() || !f.bHighlight || f.nSelEnd <= f.nSelStart)
        return 0;
    if (c->presets)
        use_effect_presets(*c->presets);
    return c->run(EffectRun{f, f.hWaveWnd, mainWindow, effect_context().variant});
}

int spectrum_command(CChildFrame& f)
{
    if (f.szFileName.empty() || !f.bHighlight || f.nSelEnd <= f.nSelStart)
        return 0;
    show_3D_spectrum(f.hWaveWnd);
    return 1;
}

int magnified_plot_command(CChildFrame& f, HWND mainWindow)
{
    if (f.szFileName.empty() || !f.bHighlight || f.nSelEnd <= f.nSelStart)
        return 0;
    return changedBy(f, [&] { display_magnified_plot(mainWindow, f.hWaveWnd, effect_context().setting); });
}

int run_effect_variant(CChildFrame& f, int id, int variant, HWND mainWindow)
{
    const EffectVariantScope scope(variant);
    return run_effect_command(f, id, mainWindow);
}
