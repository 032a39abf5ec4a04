#include "app/file_names.h"

#include "app/app_paths.h"
#include "app/clock.h"
#include "app/messages.h"
#include "app/ui_host.h"
#include "app/unique_fd.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

bool g_mciErrors = true;

// Position where the file-name part of a path starts.
size_t nameStart(const std::string& path)
{
    const auto slash = path.find_last_of('/');
    return slash == std::string::npos ? 0 : slash + 1;
}

size_t firstDotInName(const std::string& path) { return path.find('.', nameStart(path)); }

}  // namespace

void ReplaceExt(std::string& name, const char* ext)
{
    const auto dot = firstDotInName(name);
    if (dot != std::string::npos)
        name.resize(dot);
    name += '.';
    name += ext;
}

void add_default_extension(std::string& name, const char* extWithDot)
{
    if (firstDotInName(name) == std::string::npos)
        name += extWithDot;
}

std::pair<std::string, std::string> split_at_extension(const std::string& path)
{
    const auto dot = firstDotInName(path);
    if (dot == std::string::npos)
        return {path, std::string()};
    return {path.substr(0, dot), path.substr(dot)};
}

std::string get_extension(const std::string& name)
{
    const auto dot = firstDotInName(name);
    return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

std::string last_extension(const std::string& name)
{
    const std::string leaf = name.substr(name.find_last_of('/') + 1);
    const auto dot = leaf.rfind('.');
    return dot == std::string::npos ? std::string() : leaf.substr(dot);
}

std::uint64_t get_named_file_length(const std::string& name)
{
    const UniqueFd file(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    const int fd = file.get();
    if (fd < 0)
        return 0;
    struct stat st {};
    const bool ok = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    return ok ? static_cast<std::uint64_t>(st.st_size) : 0;
}

int file_exists(const std::string& name)
{
    const UniqueFd file(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    const int fd = file.get();
    if (fd < 0)
        return 0;
    return 1;
}

int rename_file(const std::string& newName, const std::string& oldName)
{
    if (std::rename(oldName.c_str(), newName.c_str()) != 0) {
        ErrMsg("Failed to rename file");
        return 0;
    }
    return 1;
}

int move_file(const std::string& newName, const std::string& oldName)
{
    if (std::rename(oldName.c_str(), newName.c_str()) == 0)
        return 1;
    if (errno == EXDEV) {
        std::error_code error;
        std::filesystem::copy_file(oldName, newName, std::filesystem::copy_options::overwrite_existing, error);
        if (!error) {
            std::filesystem::remove(oldName, error);
            return 1;
        }
        std::filesystem::remove(newName, error);
    }
    ErrMsg("Failed to rename file");
    return 0;
}

std::string name_for_converted_file(const std::string& source, const std::string& wanted)
{
    struct stat st {};
    if (::stat(wanted.c_str(), &st) != 0)
        return wanted;
    const auto [stem, extension] = split_at_extension(wanted);
    std::string other;
    for (int n = 2; n < 10000 && other.empty(); ++n) {
        const std::string candidate = stem + "-" + std::to_string(n) + extension;
        if (::stat(candidate.c_str(), &st) != 0)
            other = candidate;
    }
    if (other.empty())
        return ::access(wanted.c_str(), W_OK) == 0 &&
                       ask_yes_no(nullptr,
                                  file_name_part(wanted) + " already exists. Replace it with the converted " +
                                      file_name_part(source) + "?",
                                  kProductName) == IDYES
                   ? wanted
                   : std::string();
    const std::string question = file_name_part(wanted) + " already exists beside " + file_name_part(source) +
                                 ".\n\nYes replaces it with the converted audio. No keeps it and saves the "
                                 "conversion as " +
                                 file_name_part(other) + ".";
    return ask_yes_no(nullptr, question, kProductName) == IDYES ? wanted : other;
}

void show_file_size(HWND dialog, const std::string& name)
{
    if (!file_exists(name))
        return;
    char text[64];
    std::snprintf(text, sizeof text, "%ld bytes", static_cast<long>(get_named_file_length(name)));
    uiHost().setControlText(dialog, 417, text);
}

void make_unique_file_name(std::string& out, const char* suffix)
{
    long clock = static_cast<long>(millisecond_clock());
    if (clock > 99999999)
        clock -= 99999999;
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "%-8ld", clock);
    out = join_path(data_directory(), stamp) + suffix;
}

double path_free_bytes(const std::string& path)
{
    struct statvfs vfs {};
    if (statvfs(path.c_str(), &vfs) != 0)
        return 0.0;
    return static_cast<double>(vfs.f_bavail) * static_cast<double>(vfs.f_frsize);
}

double drive_free_bytes(int) { return path_free_bytes(data_directory()); }

void set_mci_error_reporting(bool enabled) { g_mciErrors = enabled; }

int send_mci_command(const std::string& command)
{
    if (g_mciErrors)
        ErrMsg("The specified device is not open or is not recognized by MCI. (%s)",
               command.c_str());
    return 0;
}
