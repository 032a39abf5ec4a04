#include "modules/effect_commands.h"

#include "app/app_paths.h"
#include "app/string_table.h"
#include "edit/presets.h"
#include "modules/module_entries.h"
#include "view/child_frame.h"

#include <filesystem>
#include <vector>

int effect_setting = 24;
int effect_variant = 0;

namespace {

int changed(const CChildFrame& f, const std::string& before) { return f.szFileName != before ? 1 : 0; }

}  // namespace

const std::vector<EffectCommand>& effect_commands()
{
    static const std::vector<EffectCommand> commands = {
        {11301, "clear", "C&lear"},
        {11500, "tempo", "Stretch / Temp&o..."},
        {11501, "amplify", "&Amplify..."},
        {11502, "pitch", "Chan&ge Pitch..."},
        {11503, "compressor", "Compressor..."},
        {11504, "echo", "&Echo..."},
        {11505, "envelope", "E&nvelope..."},
        {11506, "equalize", "Eq&ualize..."},
        {11507, "fade", "&Fade..."},
        {11508, "flange", "Flan&ge..."},
        {11509, "filter", "Fi&lter..."},
        {11510, "modulate", "&Modulate..."},
        {11511, "noise-reduction", "Noise reduction..."},
        {11512, "pan", "&Pan..."},
        {11513, "quantize", "&Quantize..."},
        {11514, "reverb", "&Reverb..."},
        {11515, "reverse", "Re&verse"},
        {11516, "spatial", "Spatial locali&zation..."},
        {11517, "tones", "Tones / Effects..."},
    };
    return commands;
}

const EffectCommand* find_effect_command(const std::string& name)
{
    for (const EffectCommand& c : effect_commands())
        if (name == c.name)
            return &c;
    return nullptr;
}

int run_effect_command(CChildFrame& f, int id, HWND mainWindow)
{
    if (f.szFileName.empty() || !f.bHighlight || f.nSelEnd <= f.nSelStart)
        return 0;
    HWND frame = f.hWaveWnd;
    const auto code = static_cast<unsigned short>(id);
    std::string work = data_directory();
    // Entries that return nothing: a new version shown means they ran.
    const std::string before = f.szFileName;
    switch (id) {
    case 11301:
    case 11501: return amplify_waveform(mainWindow, frame, code, effect_setting, work.data());
    case 11500: return stretch_selected_passage(frame, 11500, effect_variant);
    case 11502: return how_to_change_pitch(frame);
    case 11503:
        set_preset_context("HVNECHO.INI", load_string(5056), load_string(5057), load_string(5058),
                           "Compressor Values");
        return amplify_waveform_by_envelope(frame, 1);
    case 11504:
        set_preset_context("HVNECHO.INI", "Select Echo / Reverb File", "Echo Presets", "Echo Preset", "Echo Values");
        return echo_waveform(frame, 11504, 1);
    case 11505: return amplify_waveform_by_envelope(frame, 0);
    case 11506:
        set_preset_context("HVNEQUAL.INI", "Select Equalization File", "Equalization Values", "Equalize",
                           "Equalize Values");
        get_equalization_selection(frame);
        return changed(f, before);
    case 11507: return fade_waveform(frame, code);
    case 11508:
        set_preset_context("HVNFLNGE.INI", "Select Flange Parameters", "Flange Presets", "Flange Preset",
                           "Flange Values");
        flange_waveform(frame);
        return changed(f, before);
    case 11509:
        set_preset_context("HVNFILTR.INI", "Select Filter Parameters", "Filter Presets", "Filter Preset",
                           "Filter Values");
        filter_waveform(frame);
        return changed(f, before);
    case 11510: return modulate_waveform(frame, code);
    case 11512: return pan_waveform(frame, code);
    case 11514:
        set_preset_context("HVNECHO.INI", "Select Echo / Reverb File", "Reverb Presets", "Reverb Preset",
                           "Reverb Values");
        return echo_waveform(frame, 11514, 1);
    case 11511: {
        set_preset_context("HVNFILTR.INI", "Select Filter Parameters", "Filter Presets", "Filter Preset",
                           "Noise Reduction Values");
        // Taking a profile changes no document but is done all the same.
        const auto stamp = [] {
            std::error_code error;
            const auto t = std::filesystem::last_write_time(noise_profile_path(), error);
            return error ? std::filesystem::file_time_type{} : t;
        };
        const auto profileBefore = stamp();
        remove_noise(frame);
        return changed(f, before) || stamp() != profileBefore ? 1 : 0;
    }
    case 11513:
        shift_waveform(frame);
        return changed(f, before);
    case 11515: return reverse_waveform(frame, code);
    case 11516:
        set_spatial_localization(frame);
        return changed(f, before);
    case 11517:
        set_preset_context("HVNTONES.INI", "Select Special Effects Parameters", "Effects Presets", "Effects Preset",
                           "Effects Values");
        make_tones_or_effects(frame);
        return changed(f, before);
    default: return 0;
    }
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
    const std::string before = f.szFileName;
    display_magnified_plot(mainWindow, f.hWaveWnd, effect_setting);
    return changed(f, before);
}

int run_effect_variant(CChildFrame& f, int id, int variant, HWND mainWindow)
{
    effect_variant = variant;
    const int result = run_effect_command(f, id, mainWindow);
    effect_variant = 0;
    return result;
}
