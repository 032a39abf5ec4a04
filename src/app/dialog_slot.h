#pragma once

// The dialogs a subsystem asks of the user interface are an interface of its
// own (wavefile/wavefile_dialogs.h, edit/edit_dialogs.h ...), whose methods
// answer as a program without windows would (Cancel, or nothing shown). The
// program installs its implementation; until then, or after it is taken
// away, the interface's own answers stand.
template <typename Dialogs>
class DialogSlot {
public:
    static Dialogs& get()
    {
        static Dialogs fallback;
        return installed() ? *installed() : fallback;
    }
    static void set(Dialogs* dialogs) { installed() = dialogs; }

private:
    static Dialogs*& installed()
    {
        static Dialogs* dialogs = nullptr;
        return dialogs;
    }
};

// A host's installation as one subsystem's dialogs, for as long as the host
// lives: made with the subsystem's accessor and setter, it installs the host
// and, when it goes, takes it away unless another host was installed since.
template <typename Dialogs>
class DialogInstallation {
public:
    DialogInstallation(Dialogs* host, Dialogs& (*installed)(), void (*install)(Dialogs*))
        : m_host(host), m_installed(installed), m_install(install)
    {
        m_install(m_host);
    }
    ~DialogInstallation()
    {
        if (&m_installed() == m_host)
            m_install(nullptr);
    }
    DialogInstallation(const DialogInstallation&) = delete;
    DialogInstallation& operator=(const DialogInstallation&) = delete;

private:
    Dialogs* m_host;
    Dialogs& (*m_installed)();
    void (*m_install)(Dialogs*);
};
