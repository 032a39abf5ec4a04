#pragma once

#include <string>

class IniFile;
struct Preferences;

// The application profile: ~/.config/Ondrava/Ondrava.ini (under
// $XDG_CONFIG_HOME when set), an INI file read and written by the same
// reader and writer as the preset files, so that its sections and keys stand
// as the program names them ("[General]", "Data directory", "Big volume
// indicators") and a person can edit it.
std::string profile_path();

// Reads the profile. A profile that an earlier version wrote through Qt's
// settings class (sections such as "[%General]", percent-encoded names) is
// read that way once and rewritten in the plain form.
IniFile load_profile();
// Writes the profile, replacing the old file only once the new one is whole.
bool save_profile(const IniFile& profile);

// Reads every preference into `prefs`. An empty data directory is replaced by
// the default one, which is written into `profile` (true then: the profile
// needs saving); the data directory in use is set.
bool read_preferences(IniFile& profile, Preferences& prefs);
// Writes every preference into `profile`.
void write_preferences(IniFile& profile, const Preferences& prefs);

// Shorthands on the process-wide preferences and the user's profile file.
void read_preferences();
void write_preferences();

// The on/off encoding: on exactly when the stored text is "yes".
bool yes_no_setting(const IniFile& profile, const char* section, const char* key, bool defaultOn);
void write_yes_no(IniFile& profile, const char* section, const char* key, bool on);
