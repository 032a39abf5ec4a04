#pragma once

// A JACK server on the dummy driver for end-to-end audio tests: started
// under a name of its own before any audio library looks for a server, and
// stopped at the end. JackRecorder captures what other clients play into it.


#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <jack/jack.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

class JackServer {
public:
    static constexpr int kRate = 48000;

    // Starts `jackd -d dummy` and waits until a client can connect; it
    // becomes the default server of this process.
    bool start(const std::string& suffix = "")
    {
        jack_set_error_function([](const char*) {});
        jack_set_info_function([](const char*) {});
        name = "ondrava-test-" + std::to_string(::getpid()) + suffix;
        makeDefault();
        setenv("JACK_NO_AUDIO_RESERVATION", "1", 1);
        const std::string rate = std::to_string(kRate);
        std::vector<std::string> argv = {"jackd", "-n", name, "-d", "dummy", "-r", rate, "-p", "256"};
        std::vector<char*> args;
        for (auto& a : argv)
            args.push_back(a.data());
        args.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        const int rc = posix_spawnp(&m_pid, "jackd", &actions, nullptr, args.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (rc != 0)
            return false;
        // The server answers once jack_lsp can list its ports. The probe runs
        // in a child process: the JACK library serves one server per process,
        // and a client of a second server here would break this process's own
        // clients when that server goes away.
        for (int i = 0; i < 100; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            if (answers())
                return true;
        }
        return false;
    }

    // Whether a client can connect to the server (from a child process).
    bool answers() const
    {
        const int status = std::system(("jack_lsp -s '" + name + "' >/dev/null 2>&1").c_str());
        return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    void makeDefault() const { setenv("JACK_DEFAULT_SERVER", name.c_str(), 1); }

    void stop()
    {
        if (m_pid > 0) {
            ::kill(m_pid, SIGTERM);
            ::waitpid(m_pid, nullptr, 0);
            m_pid = -1;
        }
    }

    std::string name;

private:
    pid_t m_pid = -1;
};

// Connects the audio output ports of the other clients (not the server's,
// not those whose names begin with `own`) to `inputs`, in order; a port
// already joined counts. The number connected.
inline int connect_other_outputs(jack_client_t* client, const std::string& own, jack_port_t* const* inputs, int count)
{
    int connected = 0;
    const char** ports = jack_get_ports(client, nullptr, JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput);
    for (int i = 0; ports && ports[i] && connected < count; ++i) {
        const std::string port = ports[i];
        if (port.rfind("system:", 0) == 0 || port.rfind(own, 0) == 0)
            continue;
        if (jack_port_connected_to(inputs[connected], ports[i]) ||
            jack_connect(client, ports[i], jack_port_name(inputs[connected])) == 0)
            ++connected;
    }
    jack_free(ports);
    return connected;
}

class JackRecorder {
public:
    explicit JackRecorder(std::size_t capacityFrames) : m_left(capacityFrames), m_right(capacityFrames) {}
    ~JackRecorder() { close(); }

    bool open()
    {
        jack_status_t status;
        m_client = jack_client_open("ondrava-recorder", JackNoStartServer, &status);
        if (!m_client)
            return false;
        m_in[0] = jack_port_register(m_client, "in_1", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
        m_in[1] = jack_port_register(m_client, "in_2", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
        // A MIDI source, for the programs that list MIDI inputs.
        jack_port_register(m_client, "midi_out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        jack_set_process_callback(m_client, &JackRecorder::process, this);
        return m_in[0] && m_in[1] && jack_activate(m_client) == 0;
    }

    // Connects every output port of the other clients (not the server's own
    // capture ports) to the recorder, in order. The number connected.
    int connectPlayers() { return connect_other_outputs(m_client, "ondrava-recorder:", m_in, 2); }

    void close()
    {
        if (m_client) {
            jack_deactivate(m_client);
            jack_client_close(m_client);
            m_client = nullptr;
        }
    }

    std::size_t frames() const { return m_count.load(); }
    const std::vector<float>& left() const { return m_left; }
    const std::vector<float>& right() const { return m_right; }

private:
    static int process(jack_nframes_t n, void* arg)
    {
        auto* self = static_cast<JackRecorder*>(arg);
        const auto* l = static_cast<const float*>(jack_port_get_buffer(self->m_in[0], n));
        const auto* r = static_cast<const float*>(jack_port_get_buffer(self->m_in[1], n));
        std::size_t at = self->m_count.load(std::memory_order_relaxed);
        for (jack_nframes_t i = 0; i < n && at < self->m_left.size(); ++i, ++at) {
            self->m_left[at] = l[i];
            self->m_right[at] = r[i];
        }
        self->m_count.store(at, std::memory_order_release);
        return 0;
    }

    jack_client_t* m_client = nullptr;
    jack_port_t* m_in[2] = {nullptr, nullptr};
    std::vector<float> m_left, m_right;
    std::atomic<std::size_t> m_count{0};
};

// A JACK client that plays a signal into the other clients' input ports:
// silence until play() is called, then the signal once, then silence.
class JackPlayer {
public:
    JackPlayer(std::vector<float> left, std::vector<float> right) : m_left(std::move(left)), m_right(std::move(right)) {}
    ~JackPlayer() { close(); }

    bool open()
    {
        jack_status_t status;
        m_client = jack_client_open("ondrava-player", JackNoStartServer, &status);
        if (!m_client)
            return false;
        m_out[0] = jack_port_register(m_client, "out_1", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
        m_out[1] = jack_port_register(m_client, "out_2", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
        jack_set_process_callback(m_client, &JackPlayer::process, this);
        return m_out[0] && m_out[1] && jack_activate(m_client) == 0;
    }

    // Connects out_1 and out_2 to the first two input ports of the other
    // clients (not the server's playback ports, not the test recorder); may
    // be called again until both are. The number connected.
    int connectToListeners()
    {
        int connected = 0;
        int listener = 0;
        const char** ports = jack_get_ports(m_client, nullptr, JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput);
        for (int i = 0; ports && ports[i] && listener < 2; ++i) {
            const std::string port = ports[i];
            if (port.rfind("system:", 0) == 0 || port.rfind("ondrava-recorder:", 0) == 0)
                continue;
            jack_port_t* out = m_out[listener++];
            if (jack_port_connected_to(out, ports[i]) || jack_connect(m_client, jack_port_name(out), ports[i]) == 0)
                ++connected;
        }
        jack_free(ports);
        return connected;
    }

    void play() { m_playing = true; }
    // Plays the signal over and over until the client closes.
    void playLooped()
    {
        m_loop = true;
        m_playing = true;
    }
    bool done() const { return m_at.load() >= m_left.size(); }

    void close()
    {
        if (m_client) {
            jack_deactivate(m_client);
            jack_client_close(m_client);
            m_client = nullptr;
        }
    }

private:
    static int process(jack_nframes_t n, void* arg)
    {
        auto* self = static_cast<JackPlayer*>(arg);
        auto* l = static_cast<float*>(jack_port_get_buffer(self->m_out[0], n));
        auto* r = static_cast<float*>(jack_port_get_buffer(self->m_out[1], n));
        std::size_t at = self->m_at.load(std::memory_order_relaxed);
        for (jack_nframes_t i = 0; i < n; ++i) {
            const bool sounding = self->m_playing.load(std::memory_order_relaxed) && at < self->m_left.size();
            l[i] = sounding ? self->m_left[at] : 0.0f;
            r[i] = sounding ? self->m_right[at] : 0.0f;
            if (sounding)
                ++at;
            if (at == self->m_left.size() && self->m_loop.load(std::memory_order_relaxed))
                at = 0;
        }
        self->m_at.store(at, std::memory_order_release);
        return 0;
    }

    jack_client_t* m_client = nullptr;
    jack_port_t* m_out[2] = {nullptr, nullptr};
    std::vector<float> m_left, m_right;
    std::atomic<bool> m_playing{false};
    std::atomic<bool> m_loop{false};
    std::atomic<std::size_t> m_at{0};
};
