#pragma once

#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// A run of a command-line program the way a user starts one: in a folder,
// with an environment of its own, stdin from /dev/null and its output in
// files; optionally with a file-size limit (a full disk for that process).
// It can be waited for, interrupted (Ctrl+C) or killed at any moment.
class CliProcess {
public:
    struct Options {
        std::string directory;
        std::vector<std::string> environment;
        std::string stdoutFile = "/dev/null";
        std::string stderrFile = "/dev/null";
        rlim_t fileSizeLimit = RLIM_INFINITY;
    };

    CliProcess(const std::string& program, const std::vector<std::string>& args, const Options& options)
    {
        std::vector<std::string> argv = {program};
        argv.insert(argv.end(), args.begin(), args.end());
        std::vector<char*> argp, envp;
        for (auto& a : argv)
            argp.push_back(a.data());
        argp.push_back(nullptr);
        std::vector<std::string> env = options.environment;
        for (auto& e : env)
            envp.push_back(e.data());
        envp.push_back(nullptr);
        m_pid = fork();
        if (m_pid == 0) {
            if (!options.directory.empty() && chdir(options.directory.c_str()) != 0)
                _exit(126);
            const int in = open("/dev/null", O_RDONLY);
            const int out = open(options.stdoutFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            const int err = open(options.stderrFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0)
                _exit(126);
            if (options.fileSizeLimit != RLIM_INFINITY) {
                ::signal(SIGXFSZ, SIG_IGN);
                rlimit limit{options.fileSizeLimit, options.fileSizeLimit};
                setrlimit(RLIMIT_FSIZE, &limit);
            }
            execve(argp[0], argp.data(), envp.data());
            _exit(127);
        }
    }
    CliProcess(const CliProcess&) = delete;
    CliProcess& operator=(const CliProcess&) = delete;
    ~CliProcess()
    {
        if (m_pid > 0 && m_status < 0) {
            ::kill(m_pid, SIGKILL);
            wait();
        }
    }

    // The exit code, or 128 + the signal that ended it.
    int wait()
    {
        if (m_pid > 0 && m_status < 0) {
            int status = 0;
            waitpid(m_pid, &status, 0);
            m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        return m_status;
    }
    void signal(int sig) const
    {
        if (m_pid > 0 && m_status < 0)
            ::kill(m_pid, sig);
    }
    bool running()
    {
        if (m_pid <= 0 || m_status >= 0)
            return false;
        int status = 0;
        if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            return false;
        }
        return true;
    }

private:
    pid_t m_pid = -1;
    int m_status = -1;
};
