#pragma once

#include <optional>
#include <string>
#include <vector>

// The main window's placement as stored in "Settings"/"WindowPos": flags,
// show command, minimised x and y, maximised x and y, and the normal rectangle.
struct WindowPlacement {
    unsigned flags = 0;
    unsigned showCommand = 1;  // 1 normal, 2 minimised, 3 maximised
    int minX = -1, minY = -1, maxX = -1, maxY = -1;
    int left = 0, top = 0, right = 0, bottom = 0;
};
constexpr unsigned kShowMaximized = 3;
constexpr unsigned kShowMinimized = 2;

// Exactly ten numbers in "%u,%u,%d,%d,%d,%d,%d,%d,%d,%d", or nothing.
std::optional<WindowPlacement> parse_window_placement(const std::string& text);
std::string format_window_placement(const WindowPlacement& placement);

// The recent-file list: a file opened goes to the front, once; six at most.
void add_recent_file(std::vector<std::string>& list, const std::string& path);
// A list entry as the menu shows it: at most 60 characters, the end kept.
std::string recent_file_label(const std::string& path);

// "HVNTUTOR.INI" in the user folder, section "Tutorials": the decimal window
// handles of the main window and the record and play transport windows, so
// that a tutorial program can find them. Rewritten at every start.
bool write_tutorial_handles(const std::string& userDir, unsigned long long mainWindow,
                            unsigned long long transportRecord, unsigned long long transportPlay);

// The companion composition program, whose running enables autostart.
constexpr const char* kCompanionProgram = "ondrava-composer";
// Whether a process of that name runs (looked up in /proc).
bool companion_program_running();
// "HVNDFALT.INI" in the user folder, section "Autostart", key "LoadFile":
// the file to open at start-up, at most 260 characters; empty for none.
std::string autostart_file(const std::string& userDir);
