// At start the program offers the documents a killed one left behind.

#include "app/main_frame.h"
#include "app/preference_store.h"
#include "app/preferences.h"
#include "app/qt_ui_host.h"
#include "view/child_frame_window.h"
#include "view/document_journal.h"
#include "view/document_open.h"

#include "gui_test.h"
#include "support/child_program.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

class RecoveryTest : public GuiTest {
protected:
    // A program (a child process) opens song.wav, and is killed with it open.
    void leaveADocumentBehind()
    {
        ChildProgram other([this] {
            static std::unique_ptr<CChildFrame> open;  // stays open until the kill
            open = open_document_file(path("song.wav"));
            return open != nullptr;
        });
        ASSERT_TRUE(other.ready());
        other.kill();
    }

    // Starts the main frame and answers the recovery question with the
    // button named `answer`; what the question said.
    QString startAndAnswer(CMainFrame& frame, const char* answer)
    {
        QString text;
        auto* poll = new QTimer;
        QObject::connect(poll, &QTimer::timeout, poll, [&text, answer, poll] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box || box->objectName() != "RecoveryQuestion")
                return;
            text = box->text();
            box->findChild<QAbstractButton*>(answer)->click();
            poll->deleteLater();
        });
        poll->start(10);
        frame.show();
        frame.startUp();
        return text;
    }

    std::vector<std::string> workingFiles() const
    {
        std::vector<std::string> names;
        for (const std::string& name : filesIn(data_directory()))
            if (name.find(".tmp") != std::string::npos || name.find(".ovr") != std::string::npos)
                names.push_back(name);
        return names;
    }
};

TEST_F(RecoveryTest, DocumentsOfAKilledProgramAreOfferedAtStart)
{
    // The data folder the program takes from its (new) profile at start.
    read_preferences();
    preferences().showLogo = false;
    preferences().tipOfTheDay = false;
    write_preferences();
    const WavBuilder::Bytes data = WavBuilder::randomBytes(40000, 41);
    writeFile(path("song.wav"), WavBuilder::pcm(2, 44100, 16, data));

    // Kept for later: nothing changes.
    leaveADocumentBehind();
    {
        CMainFrame frame;
        QtUiHost qt(&frame);
        setUiHost(&qt);
        const QString text = startAndAnswer(frame, "keep");
        EXPECT_TRUE(text.contains("song.wav (recovered, ")) << text.toStdString();
        EXPECT_TRUE(frame.documents().isEmpty());
        setUiHost(&host);
    }
    EXPECT_FALSE(workingFiles().empty());

    // Opened: a document titled with the file's name and the time, holding
    // the samples, modified, saving to where it came from; the leftovers go.
    {
        CMainFrame frame;
        QtUiHost qt(&frame);
        setUiHost(&qt);
        EXPECT_FALSE(startAndAnswer(frame, "open").isEmpty());
        ASSERT_EQ(frame.documents().size(), 1);
        CChildFrame& f = frame.documents().first()->frame();
        EXPECT_EQ(f.szDisplayName.rfind("song.wav (recovered, ", 0), 0u) << f.szDisplayName;
        EXPECT_EQ(f.files.path, path("song.wav"));
        EXPECT_EQ(f.bModified, 1);
        EXPECT_EQ(readFile(f.szFileName), data);
        EXPECT_EQ(workingFiles().size(), 2u) << "only the new document's own working and overview files";
        f.bModified = 0;
        frame.close();
        setUiHost(&host);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(workingFiles().empty());

    // Deleted: gone without a document.
    leaveADocumentBehind();
    {
        CMainFrame frame;
        QtUiHost qt(&frame);
        setUiHost(&qt);
        EXPECT_FALSE(startAndAnswer(frame, "delete").isEmpty());
        EXPECT_TRUE(frame.documents().isEmpty());
        setUiHost(&host);
    }
    EXPECT_TRUE(workingFiles().empty()) << (workingFiles().empty() ? "" : workingFiles().front());
    EXPECT_TRUE(find_recoverable_documents().empty());
}
