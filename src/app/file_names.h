#pragma once

#include "app/window_handle.h"

#include <cstdint>
#include <string>
#include <utility>

// File-name and file helpers used all over the program and by the modules.
// Extension rules look at the file-name part only (after the last '/'), so a
// dot in a folder name never counts; inside the name the first '.' counts.

// Replaces everything from the first '.' of the name with ".ext"; a name
// without a dot gets ".ext" appended. take.1.wav with "wav" becomes take.wav.
void ReplaceExt(std::string& name, const char* ext);
// Appends `extWithDot` only when the name has no '.' at all.
void add_default_extension(std::string& name, const char* extWithDot);
// Everything after the first '.' of the name; empty when there is none.
std::string get_extension(const std::string& name);
// The name's last extension with its dot (".flac" of "take.1.flac"); empty
// when the name (not its folder) has none.
std::string last_extension(const std::string& name);
// The path up to its name's first '.', and the rest from that dot on (empty
// when the name has none): folder/take.1.wav is folder/take and .1.wav.
std::pair<std::string, std::string> split_at_extension(const std::string& path);

// The file's length in bytes; 0 when it cannot be opened.
std::uint64_t get_named_file_length(const std::string& name);
int file_exists(const std::string& name);
// Renames; on failure tells the user "Failed to rename file". 1 on success.
int rename_file(const std::string& newName, const std::string& oldName);
// Moves a file, also to another file system (by copying); on failure tells
// the user "Failed to rename file". 1 on success.
int move_file(const std::string& newName, const std::string& oldName);
// Where a file converted from `source` goes when the program would name it
// `wanted` (song.au becomes song.WAV beside it). When nothing is there, or
// the user agrees to replace what is, `wanted`; otherwise the first free
// name of the form NAME-2.EXT, NAME-3.EXT ... beside it, which the question
// has already named. Empty when no name can be found.
std::string name_for_converted_file(const std::string& source, const std::string& wanted);

// Writes "%ld bytes" with the file's size into control 417 of the dialog.
void show_file_size(HWND dialog, const std::string& name);

// Data directory + the millisecond clock as "%-8ld" (less 99999999 when above
// it) + suffix. Names made within the same millisecond are equal, so callers
// wait 20 ms after making one. The padding blanks are part of the name.
void make_unique_file_name(std::string& out, const char* suffix);

// Free bytes on the file system that holds `path`; 0 when it cannot be read.
double path_free_bytes(const std::string& path);
// Free bytes of a "drive". There are no drive letters here: every drive number
// means the file system of the data directory.
double drive_free_bytes(int drive);

// Sends a media-control command string. No media-control devices exist on
// this platform, so every command fails; the failure is reported only while
// reporting is enabled. Returns 1 on success, 0 on failure.
int send_mci_command(const std::string& command);
void set_mci_error_reporting(bool enabled);
