#include "app/startup_files.h"

#include "app/app_paths.h"
#include "app/ini_file.h"

#include <QString>
#include <algorithm>
#include <cstdio>
#include <dirent.h>
#include <fstream>

std::optional<WindowPlacement> parse_window_placement(const std::string& text)
{
    WindowPlacement p;
    int consumed = 0;
    const int fields = std::sscanf(text.c_str(), "%u,%u,%d,%d,%d,%d,%d,%d,%d,%d%n", &p.flags, &p.showCommand,
                                   &p.minX, &p.minY, &p.maxX, &p.maxY, &p.left, &p.top, &p.right, &p.bottom,
                                   &consumed);
    if (fields != 10 || static_cast<size_t>(consumed) != text.size())
        return std::nullopt;
    return p;
}

std::string format_window_placement(const WindowPlacement& p)
{
    char text[200];
    std::snprintf(text, sizeof text, "%u,%u,%d,%d,%d,%d,%d,%d,%d,%d", p.flags, p.showCommand, p.minX, p.minY,
                  p.maxX, p.maxY, p.left, p.top, p.right, p.bottom);
    return text;
}

void add_recent_file(std::vector<std::string>& list, const std::string& path)
{
    list.erase(std::remove(list.begin(), list.end(), path), list.end());
    list.insert(list.begin(), path);
    if (list.size() > 6)
        list.resize(6);
}

std::string recent_file_label(const std::string& path)
{
    if (path.size() <= 60)
        return path;
    return "..." + path.substr(path.size() - 57);
}

bool write_tutorial_handles(const std::string& userDir, unsigned long long mainWindow,
                            unsigned long long transportRecord, unsigned long long transportPlay)
{
    make_directories(userDir);
    const std::string path = join_path(userDir, "HVNTUTOR.INI");
    IniFile ini;
    if (!ini.load(path))
        return false;
    ini.set("Tutorials", "MainWindow", std::to_string(mainWindow));
    ini.set("Tutorials", "TransportRecord", std::to_string(transportRecord));
    ini.set("Tutorials", "TransportPlay", std::to_string(transportPlay));
    return ini.save(path);
}

bool companion_program_running()
{
    DIR* proc = opendir("/proc");
    if (!proc)
        return false;
    // The kernel keeps the first 15 characters of a process's name.
    const std::string wanted = std::string(kCompanionProgram).substr(0, 15);
    bool found = false;
    while (dirent* entry = readdir(proc)) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9')
            continue;
        std::ifstream comm(std::string("/proc/") + entry->d_name + "/comm");
        std::string name;
        if (std::getline(comm, name) && name == wanted) {
            found = true;
            break;
        }
    }
    closedir(proc);
    return found;
}

std::string autostart_file(const std::string& userDir)
{
    IniFile ini;
    ini.load(join_path(userDir, "HVNDFALT.INI"));
    std::string file = ini.value("Autostart", "LoadFile").value_or(std::string());
    if (file.size() > 260)
        file.resize(260);
    return file;
}
