#pragma once

#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// Another running program, made by forking this one: it runs `body` (which
// returns whether it got ready) and then waits to be killed. Killing it with
// SIGKILL leaves behind exactly what a crash leaves.
class ChildProgram {
public:
    explicit ChildProgram(const std::function<bool()>& body)
    {
        int ready[2];
        if (pipe(ready) != 0)
            return;
        m_pid = fork();
        if (m_pid == 0) {
            close(ready[0]);
            const char byte = body() ? 1 : 0;
            [[maybe_unused]] const ssize_t n = write(ready[1], &byte, 1);
            pause();
            _exit(0);
        }
        close(ready[1]);
        char byte = 0;
        m_ready = m_pid > 0 && read(ready[0], &byte, 1) == 1 && byte == 1;
        close(ready[0]);
    }
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;
    ~ChildProgram() { kill(); }

    bool ready() const { return m_ready; }
    void kill()
    {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
            m_pid = -1;
        }
    }

private:
    pid_t m_pid = -1;
    bool m_ready = false;
};
