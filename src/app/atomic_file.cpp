#include "app/atomic_file.h"

#include "app/file_names.h"
#include "app/posix_io.h"
#include "app/unique_fd.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kTag = "~ondrava-";

std::string folderOf(const std::string& path)
{
    const auto slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Makes the rename durable: the folder's entry is flushed too.
void syncFolder(const std::string& path)
{
    UniqueFd dir(::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir.valid())
        ::fsync(dir.get());
}

mode_t currentUmask()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

}  // namespace

AtomicFile::~AtomicFile() { abandon(); }

bool AtomicFile::begin(const std::string& name)
{
    abandon();
    // Saving over a symbolic link replaces the file it points to, not the link.
    std::string target = name;
    struct stat link {};
    if (::lstat(name.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
        std::error_code error;
        const auto resolved = std::filesystem::canonical(name, error);
        if (!error)
            target = resolved.string();
    }
    m_target = target;
    // The extension is everything after the first dot of the name, as the
    // program's own extension rule reads it.
    const auto [stem, extension] = split_at_extension(target);
    const std::string pattern = stem + kTag + "XXXXXX" + extension;
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    UniqueFd fd(::mkstemps(buffer.data(), static_cast<int>(extension.size())));
    if (!fd.valid())
        return false;
    m_temporary = buffer.data();
    // mkstemps makes the file private; the save gets the permissions the
    // target had, or those a new file of the user's would get.
    struct stat st {};
    ::fchmod(fd.get(), ::stat(target.c_str(), &st) == 0 ? (st.st_mode & 07777) : (0666 & ~currentUmask()));
    return true;
}

bool AtomicFile::commit()
{
    if (m_temporary.empty()) {
        errno = EINVAL;
        return false;
    }
    if (!sync_file(m_temporary) || ::rename(m_temporary.c_str(), m_target.c_str()) != 0) {
        const int error = errno;
        abandon();
        errno = error;
        return false;
    }
    m_temporary.clear();
    syncFolder(m_target);
    return true;
}

void AtomicFile::abandon()
{
    if (!m_temporary.empty())
        ::unlink(m_temporary.c_str());
    m_temporary.clear();
}

void WritebackPacer::advance(long long writtenUpTo)
{
    constexpr long long kChunk = 8ll << 20;
    while (writtenUpTo - m_started >= kChunk) {
        // Writing of this chunk starts now; the one before it is waited for,
        // so dirty pages stay few however large the file.
        ::sync_file_range(m_fd, m_started, kChunk, SYNC_FILE_RANGE_WRITE);
        if (m_started >= kChunk)
            ::sync_file_range(m_fd, m_started - kChunk, kChunk,
                              SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
        m_started += kChunk;
    }
}

bool sync_file(const std::string& path)
{
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.valid())
        return false;
    if (::fsync(fd.get()) != 0)
        return false;
    return fd.reset();
}

bool copy_file_atomically(const std::string& target, const std::string& source)
{
    UniqueFd in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (!in.valid())
        return false;
    AtomicFile out;
    if (!out.begin(target))
        return false;
    UniqueFd fd(::open(out.temporaryPath().c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (!fd.valid())
        return false;
    std::vector<char> buffer(1 << 20);
    for (;;) {
        const long long got = read_fully(in.get(), buffer.data(), static_cast<long long>(buffer.size()));
        if (got < 0)
            return false;
        if (got == 0)
            break;
        if (!write_fully(fd.get(), buffer.data(), got))
            return false;
    }
    if (!fd.reset())
        return false;
    return out.commit();
}

bool install_file_atomically(const std::string& target, const std::string& source)
{
    if (!sync_file(source))
        return false;
    if (::rename(source.c_str(), target.c_str()) == 0) {
        syncFolder(target);
        return true;
    }
    if (errno != EXDEV)
        return false;
    if (!copy_file_atomically(target, source))
        return false;
    ::unlink(source.c_str());
    return true;
}

bool is_atomic_temporary_name(const std::string& leaf) { return leaf.find(kTag) != std::string::npos; }
