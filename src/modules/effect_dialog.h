#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

// An effect's parameter dialog as data: the module fills in its parameters
// and their current values, the user interface shows them (a form in the
// program, options on the command line) and hands the chosen values back.

struct EffectParameter {
    enum class Kind { Number, Choice, Toggle, Text };
    std::string key;    // the command line's name, e.g. "gain"
    std::string label;  // the dialog's text
    Kind kind = Kind::Number;
    double min = 0, max = 1, value = 0, step = 1;
    int decimals = 0;
    std::string unit;                  // shown after a number
    bool slider = false;               // a number shown as a vertical slider (a graphic equalizer's bands)
    std::vector<std::string> choices;  // Choice: value is the index
    std::string text;                  // Text: the value itself
    // Text: checks a value; the reason when it is not acceptable.
    std::function<std::optional<std::string>(const std::string&)> check;
};

struct EffectDialog {
    EffectDialog() = default;
    EffectDialog(std::string effectName, std::string windowTitle, int help, bool keepsPresets = false)
        : name(std::move(effectName)), title(std::move(windowTitle)), helpContext(help), presets(keepsPresets)
    {
    }
    std::string name;   // the effect's command-line name, e.g. "amplify"
    std::string title;  // the window title
    int helpContext = 0;
    std::vector<EffectParameter> parameters;
    // Plays a short stretch of the selection with the current values.
    std::function<void(const EffectDialog&)> preview;
    // The effect keeps presets in the preset context the command set: the
    // dialog offers to pick one (new_select_process) and to save the
    // current values (new_save_process).
    bool presets = false;

    EffectParameter& add(EffectParameter p)
    {
        parameters.push_back(std::move(p));
        return parameters.back();
    }
    // The four kinds of parameter.
    EffectParameter& number(const std::string& key, const std::string& label, double min, double max, double value,
                            double step = 1, int decimals = 0, const std::string& unit = {});
    EffectParameter& choice(const std::string& key, const std::string& label, std::vector<std::string> choices,
                            int value = 0);
    EffectParameter& toggle(const std::string& key, const std::string& label, bool value);
    EffectParameter& textParameter(const std::string& key, const std::string& label, const std::string& value,
                                   std::function<std::optional<std::string>(const std::string&)> check = {});
    const EffectParameter* find(const std::string& key) const;
    // The value of a parameter; a key the dialog lacks throws std::logic_error.
    double value(const std::string& key) const;
    int choice(const std::string& key) const { return static_cast<int>(value(key)); }
    bool toggle(const std::string& key) const { return value(key) != 0; }
    // Sets a value from text (a number, a choice's name or index, yes/no);
    // the reason when the key is unknown or the value out of range.
    std::optional<std::string> set(const std::string& key, const std::string& text);
    const std::string& text(const std::string& key) const;
    // One line per parameter: key, range or choices, default.
    std::string describe() const;
    // The values as "key=value;key=value" (how presets store them), and
    // back; a malformed or out-of-range part is the reason returned.
    std::string valuesText() const;
    std::optional<std::string> applyValuesText(const std::string& text);
};

// Picks a preset through the "NEWSELECT" dialog and applies its values; true
// when one was applied.
bool pick_effect_preset(EffectDialog& dialog);
// Saves the dialog's values as a preset through the "SAVE" dialog.
bool save_effect_preset(const EffectDialog& dialog);

// Shows the dialog through the installed user interface; true for OK (the
// values in `dialog` are the chosen ones), false for Cancel.
bool run_effect_dialog(EffectDialog& dialog);
