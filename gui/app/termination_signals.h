#pragma once

#include <QObject>

class QSocketNotifier;
class QWidget;

// Turns SIGTERM, SIGINT and SIGHUP into a close request of the main window,
// as the desktop asks before a log-off: a box that is open is answered
// Cancel, documents are closed (modified ones ask first) and their files
// removed. A refusal keeps the program running, with its window.
class TerminationSignals : public QObject {
    Q_OBJECT
public:
    explicit TerminationSignals(QWidget* mainWindow);
    ~TerminationSignals() override;

private:
    QSocketNotifier* m_notifier;
};
