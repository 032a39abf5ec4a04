#include "app/instance_files.h"

#include "app/app_paths.h"
#include "app/atomic_file.h"
#include "app/clock.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* kLockName = "lock";
constexpr const char* kRecordPrefix = "doc-";
constexpr const char* kRecordSuffix = ".rec";

struct Instance {
    std::string directory;
    std::string dataDirectory;  // the data directory it was made in
    pid_t owner = 0;            // the process that made it
    UniqueFd lock;
};

Instance& self()
{
    static Instance instance;
    return instance;
}

// Locks of leftover folders this program is dealing with: held so that a
// second program starting at the same time leaves them alone.
std::map<std::string, UniqueFd>& heldLeftovers()
{
    static std::map<std::string, UniqueFd> locks;
    return locks;
}

std::string instancesRoot() { return join_path(data_directory(), ".ondrava"); }

// An exclusive lock on a folder's lock file; invalid when another program holds it.
UniqueFd lockFolder(const std::string& directory, bool create)
{
    UniqueFd fd(::open(join_path(directory, kLockName).c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0600));
    if (!fd.valid() || ::flock(fd.get(), LOCK_EX | LOCK_NB) != 0)
        return UniqueFd();
    return fd;
}

std::string escape(const std::string& value)
{
    std::string out;
    for (char c : value) {
        if (c == '\\')
            out += "\\\\";
        else if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

std::string unescape(const std::string& value)
{
    std::string out;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size()) {
            out += value[i + 1] == 'n' ? '\n' : value[i + 1];
            ++i;
        } else {
            out += value[i];
        }
    }
    return out;
}

JournalRecord readRecord(const std::string& path)
{
    JournalRecord record;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        const auto eq = line.find('=');
        if (eq != std::string::npos)
            record[line.substr(0, eq)] = unescape(line.substr(eq + 1));
    }
    return record;
}

std::vector<std::string> entriesOf(const std::string& directory)
{
    std::vector<std::string> names;
    if (DIR* dir = ::opendir(directory.c_str())) {
        while (const dirent* entry = ::readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..")
                names.push_back(name);
        }
        ::closedir(dir);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void removeTree(const std::string& path)
{
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0)
        return;
    if (S_ISDIR(st.st_mode)) {
        for (const std::string& name : entriesOf(path))
            removeTree(join_path(path, name));
        ::rmdir(path.c_str());
    } else {
        ::unlink(path.c_str());
    }
}

std::string recordPath(const std::string& id)
{
    return join_path(instance_directory(), std::string(kRecordPrefix) + id + kRecordSuffix);
}

}  // namespace

const std::string& instance_directory()
{
    Instance& instance = self();
    if (!instance.directory.empty() && instance.owner != ::getpid()) {
        // A forked child: the folder and its lock are its parent's.
        instance.lock.reset();
        instance.directory.clear();
    }
    if (!instance.directory.empty() && instance.dataDirectory == data_directory())
        return instance.directory;
    // The data directory has moved since the folder was made: the folder
    // moves with it (its journal is written anew as documents change).
    remove_instance_directory();
    instance.dataDirectory = data_directory();
    instance.owner = ::getpid();
    make_directories(instancesRoot());
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        char leaf[64];
        std::snprintf(leaf, sizeof leaf, "%ld-%08x", static_cast<long>(::getpid()), random());
        const std::string directory = join_path(instancesRoot(), leaf);
        if (::mkdir(directory.c_str(), 0700) != 0)
            continue;
        instance.lock = lockFolder(directory, true);
        instance.directory = directory;
        break;
    }
    if (instance.directory.empty()) {
        // No folder of our own could be made (a read-only data directory):
        // the exchange files go to the data directory itself.
        instance.directory = instance.dataDirectory;
    }
    return instance.directory;
}

std::string exchange_directory()
{
    const char* given = std::getenv(kExchangeDirectoryVariable);
    if (given && *given)
        return given;
    return instance_directory();
}

void remove_instance_directory()
{
    Instance& instance = self();
    if (!instance.directory.empty() && instance.directory != instance.dataDirectory && instance.owner == ::getpid())
        removeTree(instance.directory);
    instance.lock.reset();
    instance.directory.clear();
}

UniqueFd create_work_file(std::string& name, const char* suffix)
{
    make_directories(data_directory());
    long clock = static_cast<long>(millisecond_clock());
    for (int attempt = 0; attempt < 100000; ++attempt, ++clock) {
        long stamp = clock;
        while (stamp > 99999999)
            stamp -= 99999999;
        char text[32];
        std::snprintf(text, sizeof text, "%-8ld", stamp);
        const std::string candidate = join_path(data_directory(), text) + suffix;
        UniqueFd fd(::open(candidate.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (fd.valid()) {
            name = candidate;
            return fd;
        }
        if (errno != EEXIST)
            return UniqueFd();
    }
    errno = EEXIST;
    return UniqueFd();
}

void write_journal_record(const std::string& id, const JournalRecord& record)
{
    std::ostringstream text;
    for (const auto& [key, value] : record)
        text << key << '=' << escape(value) << '\n';
    const std::string path = recordPath(id);
    AtomicFile file;
    if (!file.begin(path))
        return;
    {
        std::ofstream out(file.temporaryPath(), std::ios::trunc);
        out << text.str();
        if (!out.flush())
            return;
    }
    // A record that cannot be put in place leaves the one before it, which
    // recovery then uses: there is nobody to tell while the user works.
    static_cast<void>(file.commit());
}

void remove_journal_record(const std::string& id) { ::unlink(recordPath(id).c_str()); }

std::vector<LeftoverInstance> find_leftover_instances()
{
    std::vector<LeftoverInstance> found;
    const std::string root = instancesRoot();
    const std::string& own = self().directory;
    std::vector<std::pair<long long, std::string>> folders;
    for (const std::string& name : entriesOf(root)) {
        const std::string directory = join_path(root, name);
        struct stat st {};
        if (directory == own || ::stat(directory.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
            continue;
        if (!heldLeftovers().count(directory)) {
            UniqueFd lock = lockFolder(directory, false);
            if (!lock.valid()) {
                // Running, being handled by another program, or a folder
                // that never got its lock file (made and left in the same
                // instant): only the last one is ours to take.
                if (::access(join_path(directory, kLockName).c_str(), F_OK) == 0)
                    continue;
                lock = lockFolder(directory, true);
                if (!lock.valid())
                    continue;
            }
            heldLeftovers()[directory] = std::move(lock);
        }
        folders.emplace_back(static_cast<long long>(st.st_mtime), directory);
    }
    std::sort(folders.begin(), folders.end());
    for (const auto& [time, directory] : folders) {
        LeftoverInstance leftover;
        leftover.directory = directory;
        for (const std::string& name : entriesOf(directory))
            if (name.rfind(kRecordPrefix, 0) == 0 && name.size() > std::string(kRecordSuffix).size() &&
                name.compare(name.size() - 4, 4, kRecordSuffix) == 0)
                leftover.documents.push_back(readRecord(join_path(directory, name)));
        found.push_back(std::move(leftover));
    }
    return found;
}

bool remove_leftover_instance(const std::string& directory)
{
    auto it = heldLeftovers().find(directory);
    if (it == heldLeftovers().end())
        return false;
    removeTree(directory);
    heldLeftovers().erase(it);
    return true;
}
