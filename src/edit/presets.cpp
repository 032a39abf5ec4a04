#include "edit/presets.h"

#include "app/app_paths.h"
#include "app/messages.h"
#include "app/ini_file.h"
#include "edit/edit_dialogs.h"

#include <cstring>
#include <filesystem>

PresetContext& preset_context()
{
    static PresetContext context;
    return context;
}

void reset_preset_context() { preset_context() = PresetContext{}; }

std::string preset_file_path(const std::string& name)
{
    const std::string path = join_path(user_directory(), name);
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        const std::string shipped = join_path(join_path(program_directory(), "presets"), name);
        make_directories(user_directory());
        std::filesystem::copy_file(shipped, path, error);
    }
    return path;
}

void set_preset_context(const std::string& fileName, const std::string& title, const std::string& section,
                        const std::string& keyPrefix, const std::string& valuePrefix)
{
    PresetContext& c = preset_context();
    c.file = preset_file_path(fileName);
    c.title = title;
    c.section = section;
    c.keyPrefix = keyPrefix;
    c.valuePrefix = valuePrefix;
}

std::string preset_key(const std::string& prefix, int number) { return prefix + std::to_string(number); }

std::vector<std::string> list_presets(const PresetContext& c)
{
    std::vector<std::string> names;
    IniFile ini;
    if (!ini.load(c.file))
        return names;
    for (int n = 1; n <= kMaxPresets; ++n) {
        const auto name = ini.value(c.section, preset_key(c.keyPrefix, n));
        if (!name)
            break;
        names.push_back(*name);
    }
    return names;
}

std::string preset_values(const PresetContext& c, const std::string& name)
{
    IniFile ini;
    if (c.valuePrefix.empty() || !ini.load(c.file))
        return {};
    const auto names = list_presets(c);
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == name)
            return ini.value(c.section, preset_key(c.valuePrefix, static_cast<int>(i) + 1)).value_or("");
    return {};
}

bool delete_preset(const PresetContext& c, int index)
{
    IniFile ini;
    if (!ini.load(c.file))
        return false;
    const int count = static_cast<int>(list_presets(c).size());
    if (index < 0 || index >= count)
        return false;
    // Every later entry moves one number down; the last number goes.
    for (int n = index + 1; n < kMaxPresets; ++n)
        for (const std::string* prefix : {&c.keyPrefix, &c.valuePrefix}) {
            if (prefix->empty())
                continue;
            if (const auto next = ini.value(c.section, preset_key(*prefix, n + 1)))
                ini.set(c.section, preset_key(*prefix, n), *next);
            else
                ini.remove(c.section, preset_key(*prefix, n));
        }
    ini.remove(c.section, preset_key(c.keyPrefix, kMaxPresets));
    if (!c.valuePrefix.empty())
        ini.remove(c.section, preset_key(c.valuePrefix, kMaxPresets));
    return ini.save(c.file);
}

bool delete_preset_section(const PresetContext& c)
{
    IniFile ini;
    if (!ini.load(c.file))
        return false;
    ini.removeSection(c.section);
    return ini.save(c.file);
}

SavePresetResult save_preset(const PresetContext& c, const std::string& name, const std::string& values)
{
    IniFile ini;
    if (!ini.load(c.file)) {
        ErrMsg("Cannot read the preset file %s", c.file.c_str());
        return SavePresetResult::Failed;
    }
    const auto names = list_presets(c);
    int number = static_cast<int>(names.size()) + 1;
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == name) {
            if (message_box(nullptr, "Replace existing file?", "FILE ALREADY EXISTS",
                            MB_YESNOCANCEL | MB_ICONQUESTION) != IDYES)
                return SavePresetResult::Kept;
            number = static_cast<int>(i) + 1;
        }
    if (number > kMaxPresets) {
        message_beep();
        return SavePresetResult::Full;
    }
    ini.set(c.section, preset_key(c.keyPrefix, number), name.substr(0, 100));
    if (!c.valuePrefix.empty())
        ini.set(c.section, preset_key(c.valuePrefix, number), values);
    if (!ini.save(c.file)) {
        ErrMsg("Cannot write the preset file %s", c.file.c_str());
        return SavePresetResult::Failed;
    }
    return SavePresetResult::Saved;
}

int new_select_process(char* selectedName)
{
    PresetContext& c = preset_context();
    std::string chosen;
    const int result = edit_dialogs().runPresetSelect(c, chosen);
    c.selectedName = chosen.substr(0, 100);
    if (selectedName)
        std::strcpy(selectedName, c.selectedName.c_str());
    return result;
}

int new_save_process(char* presetFileName, char* title, char* section, char* keyPrefix, char* valuePrefix,
                     char* extra)
{
    PresetContext& c = preset_context();
    c.file = preset_file_path(presetFileName ? presetFileName : "");
    c.title = title ? title : "";
    c.section = section ? section : "";
    c.keyPrefix = keyPrefix ? keyPrefix : "";
    c.valuePrefix = valuePrefix ? valuePrefix : "";
    c.extra = extra ? extra : "";
    return edit_dialogs().runPresetSave(c);
}
