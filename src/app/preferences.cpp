#include "app/preferences.h"

#include <cstdio>
#include <cstdlib>

Preferences& preferences()
{
    static Preferences prefs;
    return prefs;
}

const std::vector<std::pair<std::string, Rgb>>& colour_palette()
{
    static const std::vector<std::pair<std::string, Rgb>> palette = {
        {"Black", rgb(0, 0, 0)},          {"White", rgb(255, 255, 255)},
        {"Red", rgb(255, 0, 0)},          {"Green", rgb(0, 255, 0)},
        {"Blue", rgb(0, 0, 255)},         {"Yellow", rgb(255, 255, 0)},
        {"Cyan", rgb(0, 255, 255)},       {"Magenta", rgb(255, 0, 255)},
        {"DarkBlue", rgb(0, 0, 128)},     {"DarkGreen", rgb(0, 128, 0)},
        {"DarkRed", rgb(128, 0, 0)},      {"DarkCyan", rgb(0, 128, 128)},
        {"DarkMagenta", rgb(128, 0, 128)}, {"Olive", rgb(128, 128, 0)},
        {"Gray", rgb(128, 128, 128)},     {"LightGray", rgb(192, 192, 192)},
        {"DarkGray", rgb(64, 64, 64)},
    };
    return palette;
}

std::string colour_name(Rgb colour)
{
    for (const auto& [name, value] : colour_palette())
        if (value == colour)
            return name;
    char text[16];
    std::snprintf(text, sizeof text, "#%06x", colour & 0xFFFFFFu);
    return text;
}

bool parse_colour(const std::string& text, Rgb& colour)
{
    for (const auto& [name, value] : colour_palette()) {
        if (name == text) {
            colour = value;
            return true;
        }
    }
    if (text.size() == 7 && text[0] == '#') {
        char* end = nullptr;
        const unsigned long value = std::strtoul(text.c_str() + 1, &end, 16);
        if (end == text.c_str() + 7) {
            colour = static_cast<Rgb>(value);
            return true;
        }
    }
    return false;
}
