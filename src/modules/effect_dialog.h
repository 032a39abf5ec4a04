#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

// An effect's parameter dialog as data: the module fills in its parameters
// and their current values, the user interface shows them (a form in the
// program, options on the command line) and hands the chosen values back.

struct EffectParameter {
    enum class Kind { Number, Choice, Toggle };
    std::string key;    // the command line's name, e.g. "gain"
    std::string label;  // the dialog's text
    Kind kind = Kind::Number;
    double min = 0, max = 1, value = 0, step = 1;
    int decimals = 0;
    std::string unit;                  // shown after a number
    std::vector<std::string> choices;  // Choice: value is the index
};

struct EffectDialog {
    std::string name;   // the effect's command-line name, e.g. "amplify"
    std::string title;  // the window title
    int helpContext = 0;
    std::vector<EffectParameter> parameters;
    // Plays a short stretch of the selection with the current values.
    std::function<void(const EffectDialog&)> preview;

    EffectParameter& add(EffectParameter p)
    {
        parameters.push_back(std::move(p));
        return parameters.back();
    }
    const EffectParameter* find(const std::string& key) const;
    double value(const std::string& key) const;
    int choice(const std::string& key) const { return static_cast<int>(value(key)); }
    bool toggle(const std::string& key) const { return value(key) != 0; }
    // Sets a value from text (a number, a choice's name or index, yes/no);
    // the reason when the key is unknown or the value out of range.
    std::optional<std::string> set(const std::string& key, const std::string& text);
    // One line per parameter: key, range or choices, default.
    std::string describe() const;
};

// Shows the dialog through the installed user interface; true for OK (the
// values in `dialog` are the chosen ones), false for Cancel.
bool run_effect_dialog(EffectDialog& dialog);
