#include "app/termination_signals.h"

#include <QApplication>
#include <QDialog>
#include <QSocketNotifier>
#include <QTimer>
#include <QWidget>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_pipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    // Only async-signal-safe work here: the event loop does the rest.
    [[maybe_unused]] const ssize_t n = ::write(g_pipe[0], &byte, 1);
}

}  // namespace

TerminationSignals::TerminationSignals(QWidget* mainWindow) : QObject(mainWindow), m_notifier(nullptr)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_pipe) != 0)
        return;
    m_notifier = new QSocketNotifier(g_pipe[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [mainWindow] {
        char byte = 0;
        [[maybe_unused]] const ssize_t n = ::read(g_pipe[1], &byte, 1);
        // A box that is open is answered Cancel first (its own loop then
        // returns), then the main window closes as at a log-off.
        for (int i = 0; i < 16; ++i) {
            QWidget* modal = QApplication::activeModalWidget();
            if (!modal || modal == mainWindow)
                break;
            if (auto* dialog = qobject_cast<QDialog*>(modal))
                dialog->reject();
            else
                modal->close();
        }
        QTimer::singleShot(0, mainWindow, [mainWindow] { mainWindow->close(); });
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        sigaction(sig, &action, nullptr);
}

TerminationSignals::~TerminationSignals()
{
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        std::signal(sig, SIG_DFL);
    for (int& fd : g_pipe) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}
