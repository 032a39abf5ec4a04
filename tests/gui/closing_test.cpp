// Closing the program and its documents through the real Qt message host:
// the questions belong to the document's window, and quitting in the middle
// of an operation stops the operation first.

#include "app/main_frame.h"
#include "app/progress.h"
#include "app/qt_ui_host.h"
#include "view/child_frame_window.h"
#include "view/mouse_selection.h"

#include "gui_test.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QTimer>
#include <filesystem>

namespace {

// Answers the next message box with `button` once it is up, and tells
// which window it was shown over.
void answerNextMessageBox(QMessageBox::StandardButton button, QPointer<QWidget>* owner, bool* answered)
{
    auto* poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, poll, [=] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        *owner = box->parentWidget();
        *answered = true;
        box->button(button)->click();
        poll->deleteLater();
    });
    poll->start(10);
}

}  // namespace

class ClosingTest : public MainFrameGuiTest {
protected:
    void SetUp() override
    {
        MainFrameGuiTest::SetUp();
        frame->show();
    }
};

// "OK to close" for a modified document goes through the real host with the
// document's handle: the box sits over the document's window, Cancel keeps
// everything, OK closes it and removes its files.
TEST_F(ClosingTest, TheClosePromptBelongsToTheDocumentsWindow)
{
    auto f = openTone(2, 16, 22050, 22050);
    ASSERT_TRUE(f);
    f.reset();
    ASSERT_TRUE(frame->openFile(QString::fromStdString(path("tone.wav"))));
    ChildFrameWindow* doc = frame->activeDocument();
    ASSERT_TRUE(doc);
    doc->frame().bModified = 1;

    QPointer<QWidget> owner;
    bool answered = false;
    answerNextMessageBox(QMessageBox::Cancel, &owner, &answered);
    EXPECT_FALSE(frame->close());
    ASSERT_TRUE(answered);
    EXPECT_EQ(owner.data(), doc) << "the question is asked over the document's window";
    ASSERT_EQ(frame->documents().size(), 1);

    answered = false;
    answerNextMessageBox(QMessageBox::Ok, &owner, &answered);
    EXPECT_TRUE(frame->close());
    EXPECT_TRUE(answered);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(frame->documents().isEmpty());
    EXPECT_TRUE(filesIn(workDir()).empty());

    // A handle that is no widget at all, and one of a window that has gone,
    // put the box over the main window instead.
    EXPECT_EQ(widget_of(reinterpret_cast<HWND>(0x5010)), nullptr);
    HWND gone = nullptr;
    {
        QWidget temporary;
        gone = handle_of(&temporary);
        EXPECT_EQ(widget_of(gone), &temporary);
    }
    EXPECT_EQ(widget_of(gone), nullptr);
}

// Quitting while an effect runs: the effect is told to stop (the document
// stays as it was) and the program closes cleanly once it has.
TEST_F(ClosingTest, QuittingDuringAnEffectStopsItAndCloses)
{
    auto f = openTone(2, 16, 44100, 44100 * 120);  // two minutes
    ASSERT_TRUE(f);
    f.reset();
    ASSERT_TRUE(frame->openFile(QString::fromStdString(path("tone.wav"))));
    ChildFrameWindow* doc = frame->activeDocument();
    ASSERT_TRUE(doc);
    const std::string before = doc->frame().szFileName;
    doc->frame().bHighlight = 1;
    set_selection_units(doc->frame(), 0, doc->frame().nTotalSamples);

    // The effect's dialog is accepted as it comes; once its progress shows,
    // the user quits.
    bool quitDuringEffect = false;
    bool closedAtOnce = true;
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            dialog->accept();
        else if (!quitDuringEffect && long_operation_running()) {
            quitDuringEffect = true;
            closedAtOnce = frame->close();
        }
    });
    driver.start(0);  // at every pass of the event loop the effect lets run
    frame->onCommand(11504);  // Echo
    driver.stop();
    ASSERT_TRUE(quitDuringEffect) << "the effect ended before the quit";
    EXPECT_FALSE(closedAtOnce) << "the window waits for the operation";
    EXPECT_FALSE(long_operation_running());

    // The document is as it was, and the program goes once the operation has.
    QPointer<ChildFrameWindow> watched = doc;
    if (watched) {
        EXPECT_EQ(watched->frame().szFileName, before);
        EXPECT_EQ(watched->frame().bUndoAvailable, 0);
    }
    for (int i = 0; i < 100 && frame->isVisible(); ++i)
        QTest::qWait(20);
    EXPECT_FALSE(frame->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(frame->documents().isEmpty());
    EXPECT_TRUE(filesIn(workDir()).empty());
}
