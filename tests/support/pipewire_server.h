#pragma once

// A private PipeWire sound server for end-to-end tests, as a desktop runs
// it: a session bus, the PipeWire daemon and its session manager
// (WirePlumber) in a runtime folder of their own, with a null sink as the
// only output. ALSA's "default" device then leads to PipeWire, and
// pw-record captures what reaches the sink.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

// Starts `argv` with its output thrown away (or into `log`); its pid, or -1.
inline pid_t spawn_quietly(const std::vector<std::string>& argv, const std::string& log = "/dev/null")
{
    std::vector<char*> args;
    for (const auto& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    pid_t pid = -1;
    const int rc = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return rc == 0 ? pid : -1;
}

// Ends a child with `signal` and waits for it.
inline void end_child(pid_t& pid, int signal = SIGTERM)
{
    if (pid <= 0)
        return;
    ::kill(pid, signal);
    ::waitpid(pid, nullptr, 0);
    pid = -1;
}

// The output of a shell command.
inline std::string command_output(const std::string& command)
{
    std::string out;
    if (FILE* p = popen((command + " 2>/dev/null").c_str(), "r")) {
        char line[256];
        while (fgets(line, sizeof line, p))
            out += line;
        pclose(p);
    }
    return out;
}

class PipeWireServer {
public:
    ~PipeWireServer() { stop(); }

    // Starts everything in a fresh 0700 runtime folder, which becomes this
    // process's (and its children's); true once the null sink is the
    // default sink. `why` says what did not come up.
    bool start(std::string& why)
    {
        char folder[] = "/tmp/ondrava-pipewire-XXXXXX";
        if (!mkdtemp(folder)) {
            why = "no runtime folder";
            return false;
        }
        m_folder = folder;
        ::chmod(folder, 0700);
        setenv("XDG_RUNTIME_DIR", folder, 1);
        const std::string bus = "unix:path=" + m_folder + "/bus";
        setenv("DBUS_SESSION_BUS_ADDRESS", bus.c_str(), 1);
        const std::string log = m_folder + "/log";
        m_dbus = spawn_quietly({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + bus}, log);
        if (!waitFor([&] { return ::access((m_folder + "/bus").c_str(), F_OK) == 0; })) {
            why = "dbus-daemon did not start";
            return false;
        }
        m_pipewire = spawn_quietly({"pipewire"}, log);
        if (!waitFor([&] { return ::access((m_folder + "/pipewire-0").c_str(), F_OK) == 0; })) {
            why = "pipewire did not start";
            return false;
        }
        m_wireplumber = spawn_quietly({"wireplumber"}, log);
        pid_t sink = spawn_quietly({"pw-cli", "create-node", "adapter",
                                    "{ factory.name=support.null-audio-sink node.name=nullsink "
                                    "media.class=Audio/Sink object.linger=true audio.position=[FL FR] }"},
                                   log);
        ::waitpid(sink, nullptr, 0);
        if (!waitFor([] {
                return command_output("pw-metadata -n default 0 default.audio.sink").find("nullsink") !=
                       std::string::npos;
            })) {
            why = "the null sink did not become the default sink";
            return false;
        }
        return true;
    }

    void stop()
    {
        end_child(m_wireplumber);
        end_child(m_pipewire);
        end_child(m_dbus);
        if (!m_folder.empty()) {
            std::system(("rm -rf '" + m_folder + "'").c_str());
            m_folder.clear();
        }
    }

    // Starts capturing what reaches the sink into `wav` (16-bit, 48 kHz);
    // the pid of the capture, to be ended with end_child().
    pid_t capture(const std::string& wav) const
    {
        return spawn_quietly({"pw-record", "--target", "nullsink", "--rate", "48000", "--channels", "2",
                              "--format", "s16", "-P", "{ stream.capture.sink=true }", wav});
    }

private:
    template <typename F>
    static bool waitFor(F ready)
    {
        for (int i = 0; i < 100; ++i) {
            if (ready())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return ready();
    }

    std::string m_folder;
    pid_t m_dbus = -1;
    pid_t m_pipewire = -1;
    pid_t m_wireplumber = -1;
};
