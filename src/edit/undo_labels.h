#pragma once

#include <optional>
#include <string>
#include <utility>

// The Edit menu texts of an operation's Undo and Redo, by operation code;
// nothing for codes that keep the labels they had.
std::optional<std::pair<std::string, std::string>> undo_labels(int code);

// Codes whose operations set the new version's length themselves.
bool changes_length(int code);

// Operations described above the editing (the effects, each in its one
// description) add their label and whether they set the length themselves.
void register_undo_label(int code, const char* name, bool changesLength);
