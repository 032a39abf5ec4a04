#pragma once

#include <string>
#include <vector>

// The preset context: which preset file and which names the preset dialogs
// ("NEWSELECT" and "SAVE") work on. An effect's command handler sets it
// before calling its module. Presets are stored in the section under keys
// made with "%s%-d" from the key prefix and 1..100 ("Echo Preset1"), gapless;
// the value of such a key is the preset's name. Where a value prefix is set,
// the preset's settings are kept under that prefix and the same number.
struct PresetContext {
    std::string file;  // full path of the preset file
    std::string title;
    std::string section;
    std::string keyPrefix;
    std::string valuePrefix;  // the fifth string of new_save_process
    std::string extra;        // the sixth: the settings the save dialog stores with the name
    std::string selectedName;
};

constexpr int kMaxPresets = 100;

PresetContext& preset_context();
// No preset context (between tests).
void reset_preset_context();
// The preset file named `name` in the user's folder; on first use the
// starting presets shipped beside the program are copied there.
std::string preset_file_path(const std::string& name);
// Sets the context for an effect with presets.
void set_preset_context(const std::string& fileName, const std::string& title, const std::string& section,
                        const std::string& keyPrefix, const std::string& valuePrefix = {});

// The key of preset number n (1-based): "Echo Preset" + 1 -> "Echo Preset1".
std::string preset_key(const std::string& prefix, int number);
// The names in the section, from number 1 up to the first gap (at most 100).
std::vector<std::string> list_presets(const PresetContext& context);
// The settings stored with a preset (its value key), empty when none.
std::string preset_values(const PresetContext& context, const std::string& name);
// Removes entry `index` (0-based) and moves the later ones down a number.
// false when the file cannot be read or written.
bool delete_preset(const PresetContext& context, int index);
// Removes the whole section.
bool delete_preset_section(const PresetContext& context);

enum class SavePresetResult { Saved, Kept, Full, Failed };
// Stores a preset: an existing name asks "Replace existing file?" ("FILE
// ALREADY EXISTS", Yes/No/Cancel) and is overwritten only on Yes (Kept
// otherwise); a new name takes the next number; the 101st is refused (Full).
SavePresetResult save_preset(const PresetContext& context, const std::string& name, const std::string& values);

// The exported preset dialogs of the modules: the select dialog over the
// current context (its result, the chosen name copied to selectedName, at
// most 100 characters) and the save dialog (1 saved, 2 cancelled).
int new_select_process(char* selectedName);
int new_save_process(char* presetFileName, char* title, char* section, char* keyPrefix, char* valuePrefix,
                     char* extra);
