#include "modules/effect_dialog.h"

#include <stdexcept>

#include "app/ui_host.h"
#include "edit/presets.h"
#include "modules/module_dialogs.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

EffectParameter& EffectDialog::number(const std::string& key, const std::string& label, double min, double max,
                                      double value, double step, int decimals, const std::string& unit)
{
    EffectParameter p;
    p.key = key;
    p.label = label;
    p.min = min;
    p.max = max;
    p.value = value;
    p.step = step;
    p.decimals = decimals;
    p.unit = unit;
    return add(std::move(p));
}

EffectParameter& EffectDialog::choice(const std::string& key, const std::string& label,
                                      std::vector<std::string> choices, int value)
{
    EffectParameter p;
    p.key = key;
    p.label = label;
    p.kind = EffectParameter::Kind::Choice;
    p.max = static_cast<double>(choices.size()) - 1;
    p.value = value;
    p.choices = std::move(choices);
    return add(std::move(p));
}

EffectParameter& EffectDialog::toggle(const std::string& key, const std::string& label, bool value)
{
    EffectParameter p;
    p.key = key;
    p.label = label;
    p.kind = EffectParameter::Kind::Toggle;
    p.value = value ? 1 : 0;
    return add(std::move(p));
}

EffectParameter& EffectDialog::textParameter(const std::string& key, const std::string& label, const std::string& value,
                                             std::function<std::optional<std::string>(const std::string&)> check)
{
    EffectParameter p;
    p.key = key;
    p.label = label;
    p.kind = EffectParameter::Kind::Text;
    p.text = value;
    p.check = std::move(check);
    return add(std::move(p));
}

const EffectParameter* EffectDialog::find(const std::string& key) const
{
    for (const EffectParameter& p : parameters)
        if (p.key == key)
            return &p;
    return nullptr;
}

double EffectDialog::value(const std::string& key) const
{
    // A key the dialog does not have is a mistake in the effect's code: it
    // stops the effect instead of reading as 0.
    const EffectParameter* p = find(key);
    if (!p)
        throw std::logic_error("the effect " + name + " has no parameter " + key);
    return p->value;
}

std::optional<std::string> EffectDialog::set(const std::string& key, const std::string& text)
{
    EffectParameter* p = const_cast<EffectParameter*>(find(key));
    if (!p)
        return "the effect " + name + " has no parameter " + key;
    double v = 0;
    if (p->kind == EffectParameter::Kind::Choice) {
        bool found = false;
        for (std::size_t i = 0; i < p->choices.size() && !found; ++i)
            if (p->choices[i] == text) {
                v = static_cast<double>(i);
                found = true;
            }
        if (!found) {
            std::ostringstream reason;
            reason << key << " is one of:";
            for (const std::string& c : p->choices)
                reason << " " << c;
            return reason.str();
        }
    } else if (p->kind == EffectParameter::Kind::Text) {
        if (p->check)
            if (auto reason = p->check(text))
                return key + ": " + *reason;
        p->text = text;
        return std::nullopt;
    } else if (p->kind == EffectParameter::Kind::Toggle) {
        if (text == "yes" || text == "on" || text == "1")
            v = 1;
        else if (text == "no" || text == "off" || text == "0")
            v = 0;
        else
            return key + " is yes or no";
    } else {
        char* end = nullptr;
        v = std::strtod(text.c_str(), &end);
        if (text.empty() || *end != '\0' || !std::isfinite(v))
            return key + " takes a number";
        if (v < p->min || v > p->max) {
            std::ostringstream reason;
            reason << key << " runs from " << p->min << " to " << p->max;
            return reason.str();
        }
    }
    p->value = v;
    return std::nullopt;
}

std::string EffectDialog::describe() const
{
    std::ostringstream out;
    for (const EffectParameter& p : parameters) {
        out << "  " << p.key << ": " << p.label;
        switch (p.kind) {
        case EffectParameter::Kind::Number:
            out << " (" << p.min << " to " << p.max << (p.unit.empty() ? "" : " " + p.unit) << ", default " << p.value
                << ")";
            break;
        case EffectParameter::Kind::Choice:
            out << " (";
            for (std::size_t i = 0; i < p.choices.size(); ++i)
                out << (i ? "|" : "") << p.choices[i];
            out << ", default " << p.choices[static_cast<std::size_t>(p.value)] << ")";
            break;
        case EffectParameter::Kind::Toggle:
            out << " (yes|no, default " << (p.value != 0 ? "yes" : "no") << ")";
            break;
        case EffectParameter::Kind::Text: out << " (default " << p.text << ")"; break;
        }
        out << "\n";
    }
    return out.str();
}

const std::string& EffectDialog::text(const std::string& key) const
{
    static const std::string none;
    const EffectParameter* p = find(key);
    return p ? p->text : none;
}

std::string EffectDialog::valuesText() const
{
    std::ostringstream out;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const EffectParameter& p = parameters[i];
        out << (i ? ";" : "") << p.key << "=";
        switch (p.kind) {
        case EffectParameter::Kind::Choice: out << p.choices[static_cast<std::size_t>(p.value)]; break;
        case EffectParameter::Kind::Toggle: out << (p.value != 0 ? "yes" : "no"); break;
        case EffectParameter::Kind::Text: out << p.text; break;
        case EffectParameter::Kind::Number: out << p.value; break;
        }
    }
    return out.str();
}

std::optional<std::string> EffectDialog::applyValuesText(const std::string& values)
{
    std::size_t at = 0;
    while (at < values.size()) {
        const std::size_t end = std::min(values.find(';', at), values.size());
        const std::string part = values.substr(at, end - at);
        const std::size_t eq = part.find('=');
        if (eq == std::string::npos || eq == 0)
            return "a malformed setting: " + part;
        if (auto reason = set(part.substr(0, eq), part.substr(eq + 1)))
            return reason;
        at = end + 1;
    }
    return std::nullopt;
}

bool run_effect_dialog(EffectDialog& dialog) { return module_dialogs().runEffectDialog(dialog); }

bool pick_effect_preset(EffectDialog& dialog)
{
    char name[128] = "";
    if (new_select_process(name) != 1)
        return false;
    const std::string values = preset_values(preset_context(), name);
    if (values.empty())
        return false;
    if (auto reason = dialog.applyValuesText(values)) {
        uiHost().messageBox(nullptr, "The preset \"" + std::string(name) + "\" is damaged: " + *reason, "Ondrava",
                            MB_OK | MB_ICONEXCLAMATION);
        return false;
    }
    return true;
}

bool save_effect_preset(const EffectDialog& dialog)
{
    PresetContext& c = preset_context();
    c.extra = dialog.valuesText();
    std::string file = c.file, title = c.title, section = c.section, prefix = c.keyPrefix, values = c.valuePrefix,
                extra = c.extra;
    // The context already holds the full path; the save process takes a name
    // in the user's folder.
    const auto slash = file.find_last_of('/');
    std::string leaf = slash == std::string::npos ? file : file.substr(slash + 1);
    return new_save_process(leaf.data(), title.data(), section.data(), prefix.data(), values.data(), extra.data()) == 1;
}
