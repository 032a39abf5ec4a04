#pragma once

#include <unistd.h>

// Owns a POSIX file descriptor and closes it when it goes out of scope.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    int release()
    {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }
    // Closes the descriptor; returns false when close reported an error.
    bool reset(int fd = -1)
    {
        bool ok = true;
        if (m_fd >= 0)
            ok = ::close(m_fd) == 0;
        m_fd = fd;
        return ok;
    }

private:
    int m_fd = -1;
};
