#pragma once

#include <memory>

class QSettings;
struct Preferences;

// The application profile: QSettings in INI format, user scope
// (~/.config/Ondrava/Ondrava.ini), with the program's sections and keys.
std::unique_ptr<QSettings> open_profile();

// Reads every preference into `prefs`. An empty data directory is replaced by
// the default one, which is written back; the data directory in use is set.
void read_preferences(QSettings& profile, Preferences& prefs);
// Writes every preference.
void write_preferences(QSettings& profile, const Preferences& prefs);

// Shorthands on the process-wide preferences and the user's profile.
void read_preferences();
void write_preferences();

// The on/off encoding: on exactly when the stored text is "yes".
bool yes_no_setting(QSettings& profile, const char* section, const char* key, bool defaultOn);
void write_yes_no(QSettings& profile, const char* section, const char* key, bool on);
