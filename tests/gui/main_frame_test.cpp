#include "app/help_window.h"
#include "app/main_frame.h"
#include "app/preference_store.h"
#include "app/preferences.h"
#include "app/startup_files.h"
#include "app/tip_dialog.h"
#include "view/child_frame_window.h"

#include "gui_test.h"

#include <QAction>
#include <QDropEvent>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QTextBrowser>
#include <QApplication>
#include <functional>
#include <map>
#include <QToolBar>
#include <csignal>
#include <filesystem>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

using MainFrameTest = GuiTest;

namespace {

void closeTopLevels()
{
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->isVisible() && qobject_cast<QDialog*>(w))
            w->close();
}

}  // namespace

TEST_F(MainFrameTest, StartsWithNoProfileAtAll)
{
    ASSERT_FALSE(std::filesystem::exists(path("config/Ondrava/Ondrava.ini")));
    {
        CMainFrame frame;
        frame.show();
        frame.startUp();
        // The defaults: logo and tip shown, seconds, the bars with commands visible.
        EXPECT_TRUE(preferences().showLogo);
        EXPECT_EQ(preferences().timeFormat, 1);
        bool logo = false, tip = false;
        for (QWidget* w : QApplication::topLevelWidgets()) {
            logo |= w->objectName() == "LOGOBITMAP" && w->isVisible();
            tip |= w->objectName() == "TipDialog" && w->isVisible();
        }
        EXPECT_TRUE(logo);
        EXPECT_TRUE(tip);
        EXPECT_TRUE(frame.controlBar(0)->isVisible());
        EXPECT_EQ(frame.controlBar(0)->windowTitle(), "Files");
        EXPECT_EQ(frame.controlBar(10)->windowTitle(), "Spectrum Indicator");
        // The tutorial file names the main window.
        QSettings tutor(QString::fromStdString(path("ondrava/HVNTUTOR.INI")), QSettings::IniFormat);
        EXPECT_EQ(tutor.value("Tutorials/MainWindow").toString(), QString::number(frame.winId()));
        EXPECT_TRUE(tutor.contains("Tutorials/TransportPlay"));
        // The frame timer ticks every 600 ms.
        QTest::qWait(2000);
        EXPECT_GE(frame.timerTicks(), 2);
        closeTopLevels();
        frame.close();
    }
    // The empty data directory was filled in and written back.
    EXPECT_NE(profileText().find(path("ondrava/work")), std::string::npos);
    EXPECT_NE(profileText().find("WindowPos"), std::string::npos);
}

TEST_F(MainFrameTest, OpensFilesIntoWindowsAndRemembersThem)
{
    {
        auto doc = openTone(1, 16, 22050, 30000);  // writes tone.wav
    }
    CMainFrame frame;
    frame.show();
    ASSERT_TRUE(frame.openFile(QString::fromStdString(path("tone.wav"))));
    ASSERT_EQ(frame.documents().size(), 1);
    EXPECT_EQ(frame.mdiArea()->subWindowList().first()->windowTitle(), "tone.wav[*]");
    EXPECT_EQ(preferences().recentFiles.front(), path("tone.wav"));
    EXPECT_FALSE(frame.positionTexts().isEmpty());
    EXPECT_EQ(frame.positionTexts()[2].trimmed(), "1.361 sec");  // 30000 / 22050 s

    // The recent-file entry opens it again.
    frame.onCommand(kCommandRecentFirst);
    EXPECT_EQ(frame.documents().size(), 2);
    // A broken file shows the program's message and opens nothing.
    writeFile(path("bad.wav"), {'R', 'I', 'F', 'F'});
    EXPECT_FALSE(frame.openFile(QString::fromStdString(path("bad.wav"))));
    EXPECT_EQ(host.shown().back().text, "End of input file.\n\n" + path("bad.wav"));
    EXPECT_EQ(frame.documents().size(), 2);

    // View commands go to the active document.
    frame.onCommand(1020);
    EXPECT_EQ(frame.activeDocument()->frame().bHighlight, 1);
    EXPECT_TRUE(frame.action(11906)->isEnabled() || frame.timerTicks() == 0);

    // Files dropped on the frame open.
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(QString::fromStdString(path("tone.wav")))});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&frame, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&frame, &drop);
    EXPECT_EQ(frame.documents().size(), 3);
    frame.close();
    EXPECT_TRUE(frame.documents().isEmpty());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(filesIn(path("ondrava/work")).empty());
}

TEST_F(MainFrameTest, RestoresAWellFormedWindowPlacementOnly)
{
    preferences() = Preferences{};
    preferences().windowPos = "0,1,-1,-1,-1,-1,40,50,840,650";
    write_preferences();
    {
        CMainFrame frame;
        EXPECT_EQ(frame.geometry().size(), QSize(800, 600));
    }
    preferences().windowPos = "0,1,-1,-1,-1,-1,40,50,840";  // nine numbers: ignored
    write_preferences();
    CMainFrame frame;
    EXPECT_EQ(frame.size(), QSize(1100, 700));
    EXPECT_FALSE(parse_window_placement("0,1,-1,-1,-1,-1,40,50,840,650,7"));
    EXPECT_EQ(format_window_placement(*parse_window_placement("2,3,-1,-1,-1,-1,1,2,3,4")), "2,3,-1,-1,-1,-1,1,2,3,4");
}

TEST_F(MainFrameTest, AutostartNeedsTheCompanionProgram)
{
    {
        auto doc = openTone(1, 8, 8000, 4000);
    }
    preferences() = Preferences{};
    preferences().showLogo = false;
    preferences().tipOfTheDay = false;
    write_preferences();
    std::filesystem::create_directories(path("ondrava"));
    QSettings ini(QString::fromStdString(path("ondrava/HVNDFALT.INI")), QSettings::IniFormat);
    ini.setValue("Autostart/LoadFile", QString::fromStdString(path("tone.wav")));
    ini.sync();
    EXPECT_EQ(autostart_file(path("ondrava")), path("tone.wav"));
    {
        CMainFrame frame;
        frame.startUp();
        EXPECT_TRUE(frame.documents().isEmpty());  // no companion: not read at all
        frame.close();
    }
    // A process of the companion's name: a copy of sleep under that name.
    const std::string companion = path("ondrava-composer");
    std::filesystem::copy_file("/bin/sleep", companion);
    char* argv[] = {const_cast<char*>(companion.c_str()), const_cast<char*>("30"), nullptr};
    pid_t pid = 0;
    ASSERT_EQ(posix_spawn(&pid, companion.c_str(), nullptr, nullptr, argv, environ), 0);
    QTest::qWait(100);
    EXPECT_TRUE(companion_program_running());
    {
        CMainFrame frame;
        frame.startUp();
        EXPECT_EQ(frame.documents().size(), 1);
        frame.close();
    }
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
}

TEST_F(MainFrameTest, MenusCarryTheProgramsTextsAndKeys)
{
    CMainFrame frame;
    EXPECT_EQ(frame.action(11800)->text(), "Go to &beginning");
    EXPECT_EQ(frame.action(11800)->shortcut(), QKeySequence("Ctrl+B"));
    EXPECT_EQ(frame.action(87)->shortcut(), QKeySequence("Alt+Z"));
    EXPECT_EQ(frame.action(88)->text(), "Minimum zoom");
    EXPECT_EQ(frame.action(1020)->shortcut(), QKeySequence("Ctrl+A"));
    EXPECT_EQ(frame.action(1898)->statusTip(), "Zoom In horizontal azis");
    EXPECT_EQ(frame.action(11602)->text(), "&Undo");
    EXPECT_FALSE(frame.action(1898)->isEnabled());  // no document yet
}

// Every key does one thing: a key bound to two commands is ambiguous to Qt,
// which then runs neither. Ctrl+R is Replace, as the Edit menu says.
TEST_F(MainFrameTest, EveryKeyOfEveryMenuDoesOneThing)
{
    CMainFrame frame;
    std::map<QString, QStringList> owners;
    std::function<void(QMenu*)> walk = [&](QMenu* menu) {
        for (QAction* a : menu->actions()) {
            if (a->menu())
                walk(a->menu());
            for (const QKeySequence& key : a->shortcuts())
                owners[key.toString()].push_back(a->text());
        }
    };
    int bound = 0;
    for (QAction* top : frame.menuBar()->actions())
        if (top->menu())
            walk(top->menu());
    for (const auto& [key, texts] : owners) {
        ++bound;
        EXPECT_EQ(texts.size(), 1) << key.toStdString() << " runs " << texts.join(", ").toStdString();
    }
    EXPECT_GT(bound, 40);
    ASSERT_TRUE(owners.count("Ctrl+R"));
    EXPECT_EQ(owners["Ctrl+R"].front(), "&Replace");
    EXPECT_FALSE(frame.action(1813)->shortcut().isEmpty()) << "Record has a key of its own";
}

// F1 with no browser chosen: the help opens in the program's own window
// (never nothing at all).
TEST_F(MainFrameGuiTest, HelpOpensInTheProgramsOwnWindowWithoutABrowser)
{
    preferences().browserChosen = false;
    preferences().preferredBrowser.clear();
    frame->show();
    frame->onCommand(kCommandHelp);
    HelpWindow* help = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* h = qobject_cast<HelpWindow*>(w); h && h->isVisible())
            help = h;
    ASSERT_NE(help, nullptr) << "no help window";
    EXPECT_TRUE(help->browser()->source().toLocalFile().endsWith("/help/Z32.html"))
        << help->browser()->source().toString().toStdString();
    EXPECT_FALSE(help->browser()->toPlainText().isEmpty());
    // F1 again raises the same window.
    frame->onCommand(kCommandHelp);
    int shown = 0;
    for (QWidget* w : QApplication::topLevelWidgets())
        shown += qobject_cast<HelpWindow*>(w) && w->isVisible();
    EXPECT_EQ(shown, 1);
    help->close();
}
