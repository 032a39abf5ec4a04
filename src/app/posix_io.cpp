#include "app/posix_io.h"

#include <cerrno>
#include <sys/types.h>
#include <unistd.h>

long long read_fully(int fd, void* buffer, long long count, long long offset)
{
    auto* out = static_cast<char*>(buffer);
    long long done = 0;
    while (done < count) {
        const size_t want = static_cast<size_t>(count - done);
        const ssize_t n = offset < 0 ? ::read(fd, out + done, want)
                                     : ::pread(fd, out + done, want, static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return done > 0 ? done : -1;
        if (n == 0)
            break;
        done += n;
    }
    return done;
}

bool write_fully(int fd, const void* buffer, long long count, long long offset)
{
    const auto* in = static_cast<const char*>(buffer);
    long long done = 0;
    while (done < count) {
        const size_t want = static_cast<size_t>(count - done);
        const ssize_t n = offset < 0 ? ::write(fd, in + done, want)
                                     : ::pwrite(fd, in + done, want, static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += n;
    }
    return true;
}
