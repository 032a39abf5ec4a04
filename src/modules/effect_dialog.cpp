#include "modules/effect_dialog.h"

#include "app/ui_host.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

const EffectParameter* EffectDialog::find(const std::string& key) const
{
    for (const EffectParameter& p : parameters)
        if (p.key == key)
            return &p;
    return nullptr;
}

double EffectDialog::value(const std::string& key) const
{
    const EffectParameter* p = find(key);
    return p ? p->value : 0.0;
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
        }
        out << "\n";
    }
    return out.str();
}

bool run_effect_dialog(EffectDialog& dialog) { return uiHost().runEffectDialog(dialog); }
