#include "app/preference_store.h"

#include "app/app_paths.h"
#include "app/preferences.h"

#include "app/ini_file.h"

#include <QSettings>
#include <QString>
#include <QStringList>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace {

struct YesNoKey {
    const char* key;
    bool Preferences::*field;
    bool defaultOn;
};

// The on/off keys of section "Preferences", in the order they are read.
constexpr YesNoKey kYesNoKeys[] = {
    {"Big volume indicators", &Preferences::bigVolumeIndicators, true},
    {"Show logo", &Preferences::showLogo, true},
    {"Voice message", &Preferences::voiceMessage, false},
    {"Big time display", &Preferences::bigTimeDisplay, false},
    {"Tip of the day", &Preferences::tipOfTheDay, true},
    {"Backup for undo", &Preferences::backupForUndo, true},
    {"Zoomed initial display", &Preferences::zoomedInitialDisplay, false},
    {"Control the system mixer", &Preferences::controlSystemMixer, false},
};

struct DeviceKey {
    const char* key;
    int Preferences::*field;
};

constexpr DeviceKey kDeviceKeys[] = {
    {"Default Wave input device", &Preferences::waveInputDevice},
    {"Default Wave output device", &Preferences::waveOutputDevice},
    {"Default Midi input device", &Preferences::midiInputDevice},
    {"Default Midi output device", &Preferences::midiOutputDevice},
};

constexpr const char* kColourKeys[kDisplayColourCount] = {
    "Data color", "Bkgnd color", "Grid color", "Wavecrest color", "Marker color", "Marker text",
};

std::string barSection(int bar) { return "General-Bar" + std::to_string(bar); }

// A value as text: one pair of enclosing double quotes is taken off, so that
// a comma list written with quotes (as some editors and older versions do)
// and one written without both read the same.
std::string readText(const IniFile& profile, const std::string& section, const std::string& name)
{
    std::string text = profile.value(section, name).value_or(std::string());
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        text = text.substr(1, text.size() - 2);
    return text;
}

int readInt(const IniFile& profile, const std::string& section, const std::string& name, int fallback)
{
    const std::string text = readText(profile, section, name);
    if (text.empty())
        return fallback;
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (errno != 0 || end == text.c_str() || *end != '\0' || value < INT_MIN || value > INT_MAX)
        return fallback;
    return static_cast<int>(value);
}

void writeInt(IniFile& profile, const std::string& section, const std::string& name, int value)
{
    profile.set(section, name, std::to_string(value));
}

// A name as Qt's settings class wrote it: "%General" for the section
// "General", "%20" for a space and so on.
bool writtenByQtSettings(const IniFile& profile)
{
    for (const std::string& section : profile.sectionNames()) {
        if (section.find('%') != std::string::npos)
            return true;
        for (const std::string& key : profile.keyNames(section))
            if (key.find('%') != std::string::npos)
                return true;
    }
    return false;
}

// Reads a profile in Qt's settings encoding into plain sections and keys.
IniFile convertedFromQtSettings(const std::string& path)
{
    QSettings old(QString::fromStdString(path), QSettings::IniFormat);
    IniFile profile;
    auto copyGroup = [&](const QString& section) {
        for (const QString& key : old.childKeys()) {
            const QVariant value = old.value(key);
            const QString text = value.typeId() == QMetaType::QStringList ? value.toStringList().join(',')
                                                                          : value.toString();
            profile.set(section.toStdString(), key.toStdString(), text.toStdString());
        }
    };
    copyGroup(QStringLiteral("General"));  // keys outside any group
    for (const QString& group : old.childGroups()) {
        old.beginGroup(group);
        copyGroup(group);
        old.endGroup();
    }
    return profile;
}

}  // namespace

std::string profile_path()
{
    const char* config = std::getenv("XDG_CONFIG_HOME");
    std::string base;
    if (config && *config == '/')
        base = config;
    else if (const char* home = std::getenv("HOME"); home && *home)
        base = std::string(home) + "/.config";
    else
        base = ".config";
    return base + "/Ondrava/Ondrava.ini";
}

IniFile load_profile()
{
    const std::string path = profile_path();
    IniFile profile;
    if (!profile.load(path))
        return profile;
    if (writtenByQtSettings(profile)) {
        profile = convertedFromQtSettings(path);
        save_profile(profile);
    }
    return profile;
}

bool save_profile(const IniFile& profile)
{
    const std::string path = profile_path();
    make_directories(path.substr(0, path.rfind('/')));
    return profile.save(path);
}

bool yes_no_setting(const IniFile& profile, const char* section, const char* name, bool defaultOn)
{
    const auto text = profile.value(section, name);
    return text ? *text == "yes" : defaultOn;
}

void write_yes_no(IniFile& profile, const char* section, const char* name, bool on)
{
    profile.set(section, name, on ? "yes" : "no");
}

bool read_preferences(IniFile& profile, Preferences& prefs)
{
    for (const YesNoKey& k : kYesNoKeys)
        prefs.*k.field = yes_no_setting(profile, "Preferences", k.key, k.defaultOn);
    prefs.timeFormat = readInt(profile, "Preferences", "Time format", kTimeFormatSeconds);
    prefs.markerNameOnTheFly = yes_no_setting(profile, "Preferences", "Marker name on the fly", false);
    prefs.compensateTimeCodeDelay = yes_no_setting(profile, "Preferences", "Compensate time code delay", false);
    for (int bar = 0; bar < kControlBarCount; ++bar) {
        prefs.barVisible[bar] = readInt(profile, barSection(bar), "Visible", 100) != 0;
        prefs.barDocking[bar] = readInt(profile, barSection(bar), "Docking", 0);
        prefs.barFloating[bar] = readInt(profile, barSection(bar), "Floating", 0) != 0;
    }
    for (const DeviceKey& k : kDeviceKeys)
        prefs.*k.field = readInt(profile, "Preferences", k.key, 0);
    prefs.waveInputDeviceName = readText(profile, "Preferences", "Wave input device");
    prefs.waveOutputDeviceName = readText(profile, "Preferences", "Wave output device");
    prefs.openFolder = readText(profile, "Preferences", "Open folder");

    prefs.lastUsedDirectory = readText(profile, "Data directory", "Last used directory");
    const bool filledIn = prefs.lastUsedDirectory.empty();
    if (filledIn) {
        prefs.lastUsedDirectory = default_data_directory();
        profile.set("Data directory", "Last used directory", prefs.lastUsedDirectory);
    }
    set_data_directory(prefs.lastUsedDirectory);

    prefs.preferredBrowser = readText(profile, "Internet browser", "Preferred browser");
    prefs.browserChosen = !prefs.preferredBrowser.empty();

    prefs.colorDisplay = readInt(profile, "General", "Color", 1) != 0;
    prefs.toolTips = readInt(profile, "General", "ToolTips", 1) != 0;

    const auto defaults = Preferences::defaultColours();
    for (int c = 0; c < kDisplayColourCount; ++c) {
        Rgb colour = defaults[c];
        parse_colour(readText(profile, "Colors", kColourKeys[c]), colour);
        prefs.colours[c] = colour;
    }

    prefs.windowPos = readText(profile, "Settings", "WindowPos");
    prefs.recentFiles.clear();
    for (int i = 1; i <= kRecentFileCount; ++i) {
        const std::string name = readText(profile, "Recent File List", "File" + std::to_string(i));
        if (name.empty())
            break;
        prefs.recentFiles.push_back(name);
    }
    return filledIn;
}

void write_preferences(IniFile& profile, const Preferences& prefs)
{
    for (const YesNoKey& k : kYesNoKeys)
        write_yes_no(profile, "Preferences", k.key, prefs.*k.field);
    writeInt(profile, "Preferences", "Time format", prefs.timeFormat);
    write_yes_no(profile, "Preferences", "Marker name on the fly", prefs.markerNameOnTheFly);
    write_yes_no(profile, "Preferences", "Compensate time code delay", prefs.compensateTimeCodeDelay);
    for (int bar = 0; bar < kControlBarCount; ++bar) {
        writeInt(profile, barSection(bar), "Visible", prefs.barVisible[bar] ? 100 : 0);
        writeInt(profile, barSection(bar), "Docking", prefs.barDocking[bar]);
        writeInt(profile, barSection(bar), "Floating", prefs.barFloating[bar] ? 1 : 0);
    }
    for (const DeviceKey& k : kDeviceKeys)
        writeInt(profile, "Preferences", k.key, prefs.*k.field);
    profile.set("Preferences", "Wave input device", prefs.waveInputDeviceName);
    profile.set("Preferences", "Wave output device", prefs.waveOutputDeviceName);
    profile.set("Preferences", "Open folder", prefs.openFolder);
    profile.set("Data directory", "Last used directory", prefs.lastUsedDirectory);
    profile.set("Internet browser", "Preferred browser", prefs.browserChosen ? prefs.preferredBrowser : "");
    writeInt(profile, "General", "Color", prefs.colorDisplay ? 1 : 0);
    writeInt(profile, "General", "ToolTips", prefs.toolTips ? 1 : 0);
    for (int c = 0; c < kDisplayColourCount; ++c)
        profile.set("Colors", kColourKeys[c], colour_name(prefs.colours[c]));
    if (!prefs.windowPos.empty())
        profile.set("Settings", "WindowPos", prefs.windowPos);
    profile.removeSection("Recent File List");
    for (size_t i = 0; i < prefs.recentFiles.size() && i < kRecentFileCount; ++i)
        profile.set("Recent File List", "File" + std::to_string(i + 1), prefs.recentFiles[i]);
}

void read_preferences()
{
    IniFile profile = load_profile();
    if (read_preferences(profile, preferences()))
        save_profile(profile);
}

void write_preferences()
{
    IniFile profile = load_profile();
    write_preferences(profile, preferences());
    save_profile(profile);
}
