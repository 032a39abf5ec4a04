#include "app/preference_store.h"

#include "app/app_paths.h"
#include "app/preferences.h"

#include <QSettings>
#include <QString>

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

QString key(const char* section, const char* name)
{
    return QString::fromUtf8(section) + '/' + QString::fromUtf8(name);
}

QString barSection(int bar) { return QStringLiteral("General-Bar%1").arg(bar); }

int readInt(QSettings& profile, const QString& k, int fallback)
{
    bool ok = false;
    const int value = profile.value(k, fallback).toInt(&ok);
    return ok ? value : fallback;
}

std::string readText(QSettings& profile, const char* section, const char* name)
{
    return profile.value(key(section, name), QString()).toString().toStdString();
}

}  // namespace

std::unique_ptr<QSettings> open_profile()
{
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                       QStringLiteral("Ondrava"), QStringLiteral("Ondrava"));
}

bool yes_no_setting(QSettings& profile, const char* section, const char* name, bool defaultOn)
{
    const QString text =
        profile.value(key(section, name), QString::fromLatin1(defaultOn ? "yes" : "no")).toString();
    return text == QLatin1String("yes");
}

void write_yes_no(QSettings& profile, const char* section, const char* name, bool on)
{
    profile.setValue(key(section, name), QString::fromLatin1(on ? "yes" : "no"));
}

void read_preferences(QSettings& profile, Preferences& prefs)
{
    for (const YesNoKey& k : kYesNoKeys)
        prefs.*k.field = yes_no_setting(profile, "Preferences", k.key, k.defaultOn);
    prefs.timeFormat = readInt(profile, key("Preferences", "Time format"), kTimeFormatSeconds);
    prefs.markerNameOnTheFly = yes_no_setting(profile, "Preferences", "Marker name on the fly", false);
    prefs.compensateTimeCodeDelay = yes_no_setting(profile, "Preferences", "Compensate time code delay", false);
    for (int bar = 0; bar < kControlBarCount; ++bar) {
        prefs.barVisible[bar] = readInt(profile, barSection(bar) + "/Visible", 100) != 0;
        prefs.barDocking[bar] = readInt(profile, barSection(bar) + "/Docking", 0);
        prefs.barFloating[bar] = readInt(profile, barSection(bar) + "/Floating", 0) != 0;
    }
    for (const DeviceKey& k : kDeviceKeys)
        prefs.*k.field = readInt(profile, key("Preferences", k.key), 0);
    prefs.waveInputDeviceName = readText(profile, "Preferences", "Wave input device");
    prefs.waveOutputDeviceName = readText(profile, "Preferences", "Wave output device");
    prefs.openFolder = readText(profile, "Preferences", "Open folder");

    prefs.lastUsedDirectory = readText(profile, "Data directory", "Last used directory");
    if (prefs.lastUsedDirectory.empty()) {
        prefs.lastUsedDirectory = default_data_directory();
        profile.setValue(key("Data directory", "Last used directory"),
                         QString::fromStdString(prefs.lastUsedDirectory));
    }
    set_data_directory(prefs.lastUsedDirectory);

    prefs.preferredBrowser = readText(profile, "Internet browser", "Preferred browser");
    prefs.browserChosen = !prefs.preferredBrowser.empty();

    prefs.colorDisplay = readInt(profile, key("General", "Color"), 1) != 0;
    prefs.toolTips = readInt(profile, key("General", "ToolTips"), 1) != 0;

    const auto defaults = Preferences::defaultColours();
    for (int c = 0; c < kDisplayColourCount; ++c) {
        Rgb colour = defaults[c];
        parse_colour(readText(profile, "Colors", kColourKeys[c]), colour);
        prefs.colours[c] = colour;
    }

    prefs.windowPos = readText(profile, "Settings", "WindowPos");
    prefs.recentFiles.clear();
    for (int i = 1; i <= kRecentFileCount; ++i) {
        const std::string name =
            profile.value(QStringLiteral("Recent File List/File%1").arg(i)).toString().toStdString();
        if (name.empty())
            break;
        prefs.recentFiles.push_back(name);
    }
}

void write_preferences(QSettings& profile, const Preferences& prefs)
{
    for (const YesNoKey& k : kYesNoKeys)
        write_yes_no(profile, "Preferences", k.key, prefs.*k.field);
    profile.setValue(key("Preferences", "Time format"), prefs.timeFormat);
    write_yes_no(profile, "Preferences", "Marker name on the fly", prefs.markerNameOnTheFly);
    write_yes_no(profile, "Preferences", "Compensate time code delay", prefs.compensateTimeCodeDelay);
    for (int bar = 0; bar < kControlBarCount; ++bar) {
        profile.setValue(barSection(bar) + "/Visible", prefs.barVisible[bar] ? 100 : 0);
        profile.setValue(barSection(bar) + "/Docking", prefs.barDocking[bar]);
        profile.setValue(barSection(bar) + "/Floating", prefs.barFloating[bar] ? 1 : 0);
    }
    for (const DeviceKey& k : kDeviceKeys)
        profile.setValue(key("Preferences", k.key), prefs.*k.field);
    profile.setValue(key("Preferences", "Wave input device"), QString::fromStdString(prefs.waveInputDeviceName));
    profile.setValue(key("Preferences", "Wave output device"), QString::fromStdString(prefs.waveOutputDeviceName));
    profile.setValue(key("Preferences", "Open folder"), QString::fromStdString(prefs.openFolder));
    profile.setValue(key("Data directory", "Last used directory"),
                     QString::fromStdString(prefs.lastUsedDirectory));
    profile.setValue(key("Internet browser", "Preferred browser"),
                     QString::fromStdString(prefs.browserChosen ? prefs.preferredBrowser : ""));
    profile.setValue(key("General", "Color"), prefs.colorDisplay ? 1 : 0);
    profile.setValue(key("General", "ToolTips"), prefs.toolTips ? 1 : 0);
    for (int c = 0; c < kDisplayColourCount; ++c)
        profile.setValue(key("Colors", kColourKeys[c]),
                         QString::fromStdString(colour_name(prefs.colours[c])));
    if (!prefs.windowPos.empty())
        profile.setValue(key("Settings", "WindowPos"), QString::fromStdString(prefs.windowPos));
    profile.remove(QStringLiteral("Recent File List"));
    for (size_t i = 0; i < prefs.recentFiles.size() && i < kRecentFileCount; ++i)
        profile.setValue(QStringLiteral("Recent File List/File%1").arg(i + 1),
                         QString::fromStdString(prefs.recentFiles[i]));
    profile.sync();
}

void read_preferences()
{
    auto profile = open_profile();
    read_preferences(*profile, preferences());
    profile->sync();
}

void write_preferences()
{
    auto profile = open_profile();
    write_preferences(*profile, preferences());
}
