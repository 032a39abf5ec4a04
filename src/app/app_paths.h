#pragma once

#include <string>

// Folders the program uses.
//
// The program folder holds what is shipped read-only beside the executables
// (helper programs, modules, help). The user folder, $ONDRAVA_HOME or else
// $XDG_DATA_HOME/ondrava, takes the files the program writes for itself. The
// data directory is where working, level, version and clipboard files are made
// and where file dialogs start; the preferences keep it ("Last used directory").

std::string program_directory();
std::string user_directory();
// The default data directory, used when the preferences name none.
std::string default_data_directory();

const std::string& data_directory();
// Sets the data directory; it is created when missing.
void set_data_directory(const std::string& dir);

// Joins a directory and a name with exactly one '/' between them.
std::string join_path(const std::string& dir, const std::string& name);
// The part of a path after its last '/'.
std::string file_name_part(const std::string& path);
// Gives Qt a private runtime folder when the session has none
// (XDG_RUNTIME_DIR unset, as under scripts and tests), so that it does not
// warn about making its own.
void ensure_runtime_directory();

// Creates a directory and its parents; true when it exists afterwards.
bool make_directories(const std::string& dir);
