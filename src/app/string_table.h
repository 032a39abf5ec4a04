#pragma once

#include <string>

// The program's numbered texts: messages shown by id, the names of the bitmaps
// of owner-drawn buttons (id, and id + 9000 for the disabled look), command
// prompts ("status text\ntool tip") and the texts of numbered menu commands.
// An unknown id yields an empty string, as a failed string load does.
std::string load_string(int id);
bool has_string(int id);
