#pragma once

#include "app/main_frame.h"
#include "app/qt_ui_host.h"

#include "support/document_test.h"

#include <QApplication>
#include <QSettings>
#include <QTest>
#include <QTimer>

#include <functional>

// Runs `command` while a timer hands each modal window that comes up to
// `answer`, until `answer` says it is done with them.
template <typename Command>
void whileAnswering(Command command, std::function<bool(QWidget*)> answer)
{
    QTimer poll;
    bool done = false;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (QWidget* modal = QApplication::activeModalWidget(); modal && !done)
            done = answer(modal);
    });
    poll.start(10);
    command();
    poll.stop();
}

// Widget fixture: a private profile folder (no profile at all to begin with),
// a private user folder, and the headless host for messages unless a test
// installs the Qt one.
class GuiTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        setenv("XDG_CONFIG_HOME", path("config").c_str(), 1);
        setenv("ONDRAVA_HOME", path("ondrava").c_str(), 1);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, QString::fromStdString(path("config")));
    }
    void TearDown() override
    {
        unsetenv("XDG_CONFIG_HOME");
        unsetenv("ONDRAVA_HOME");
        DocumentTest::TearDown();
    }
    std::string profileText()
    {
        const auto bytes = readFile(path("config/Ondrava/Ondrava.ini"));
        return {bytes.begin(), bytes.end()};
    }
};

// The program's main frame with the real Qt message host installed, as the
// windowed program runs them.
class MainFrameGuiTest : public GuiTest {
protected:
    void SetUp() override
    {
        GuiTest::SetUp();
        frame = std::make_unique<CMainFrame>();
        qtHost = std::make_unique<QtUiHost>(frame.get());
        setUiHost(qtHost.get());
    }
    void TearDown() override
    {
        frame.reset();
        setUiHost(&host);
        qtHost.reset();
        GuiTest::TearDown();
    }
    std::unique_ptr<CMainFrame> frame;
    std::unique_ptr<QtUiHost> qtHost;
};
