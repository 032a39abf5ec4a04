#include "app/app_paths.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string g_dataDirectory;

std::string envOr(const char* name, const std::string& fallback)
{
    const char* value = std::getenv(name);
    return value && *value ? std::string(value) : fallback;
}

bool isDirectory(const std::string& path)
{
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

std::string join_path(const std::string& dir, const std::string& name)
{
    if (dir.empty())
        return name;
    if (dir.back() == '/')
        return dir + name;
    return dir + "/" + name;
}

std::string file_name_part(const std::string& path)
{
    const auto slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool make_directories(const std::string& dir)
{
    if (dir.empty() || isDirectory(dir))
        return !dir.empty();
    const auto slash = dir.find_last_of('/', dir.size() > 1 ? dir.size() - 2 : 0);
    if (slash != std::string::npos && slash > 0)
        make_directories(dir.substr(0, slash));
    return (mkdir(dir.c_str(), 0755) == 0 || errno == EEXIST) && isDirectory(dir);
}

void ensure_runtime_directory()
{
    const char* existing = std::getenv("XDG_RUNTIME_DIR");
    if (existing && *existing)
        return;
    const std::string runtime = "/tmp/runtime-" + std::to_string(getuid());
    mkdir(runtime.c_str(), 0700);
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
}

std::string program_directory()
{
    char buffer[4096];
    const ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0)
        return ".";
    std::string exe(buffer, static_cast<size_t>(n));
    const auto slash = exe.find_last_of('/');
    return slash == std::string::npos ? std::string(".") : exe.substr(0, slash);
}

std::string user_directory()
{
    const char* own = std::getenv("ONDRAVA_HOME");
    if (own && *own)
        return own;
    const std::string home = envOr("HOME", "/tmp");
    return join_path(envOr("XDG_DATA_HOME", join_path(home, ".local/share")), "ondrava");
}

std::string default_data_directory() { return join_path(user_directory(), "work"); }

const std::string& data_directory()
{
    if (g_dataDirectory.empty())
        set_data_directory(default_data_directory());
    return g_dataDirectory;
}

void set_data_directory(const std::string& dir)
{
    g_dataDirectory = dir;
    make_directories(dir);
}
