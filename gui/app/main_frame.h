#pragma once

#include "app/command_ids.h"

#include <QMainWindow>
#include <QStringList>
#include <map>
#include <vector>

class CChildFrame;
class ChildFrameWindow;
class TimemarkBars;
struct CueList;
class QAction;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class QTimer;
class QToolBar;

// The main frame: the MDI area with one window per document, the menus and
// control bars, the recent-file list, the position displays and the 600 ms
// frame timer. Menu and toolbar commands carry their command ids and reach
// one dispatcher.
class CMainFrame : public QMainWindow {
    Q_OBJECT
public:
    CMainFrame();
    ~CMainFrame() override;

    // Opens a file as a new document window; false when it cannot be opened
    // (the reason has been shown).
    bool openFile(const QString& path);
    // Runs a command id as if chosen from a menu.
    void onCommand(int id);
    // The cue list of a document changed (shown when it is the active one).
    void refillCueList(const CChildFrame* frame, const CueList& list);
    TimemarkBars* timemarkBars() const { return m_timemarkBars; }

    ChildFrameWindow* activeDocument() const;
    QList<ChildFrameWindow*> documents() const;
    QMdiArea* mdiArea() const { return m_mdi; }
    QAction* action(int id) const;
    QToolBar* controlBar(int index) const;
    const QStringList& positionTexts() const { return m_positionTexts; }
    int timerTicks() const { return m_ticks; }

    // Start-up after the window shows: tutorial handles, autostart, the
    // preferences once more, documents left by a crash, logo and tip.
    void startUp();
    // Offers the documents a program that crashed or was killed left behind:
    // opened as recovered documents, deleted, or kept for later.
    void offerRecovery();

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QAction* addCommand(QMenu* menu, int id, const QString& text, const QKeySequence& keys = {});
    void buildMenus();
    void buildControlBars();
    void rebuildRecentFiles();
    void updatePositionDisplays();
    void updateCommandStates();
    void applyWindowPlacement();
    void saveWindowPlacement();
    void newFile();
    // An effect command on the active document.
    void effectCommand(int id);
    // The Record command: the record dialog on the active document.
    void openRecordDialog();
    // The big play/record time window, created on first use.
    void showBigTime(const QString& time);
    void openWithDialog();
    void save(bool askName, bool selectionOnly);
    void newFromSelection();
    void editCommand(int id);
    void showPreferences();
    // The MIDI and triggered-start windows of the active document.
    void midiCommand(int id);
    QMdiSubWindow* addDocument(ChildFrameWindow* window);

    QMdiArea* m_mdi;
    QMenu* m_fileMenu = nullptr;
    QMenu* m_recentMenu = nullptr;
    std::map<int, QAction*> m_actions;
    std::vector<QToolBar*> m_bars;
    QLabel* m_position[3] = {};
    QLabel* m_playPosition = nullptr;
    class PlayCursorHost* m_playHost = nullptr;
    class PlayRecordTimeWindow* m_timeWindow = nullptr;
    // Accelerando, Ritardando and Glissando: further menu texts of commands.
    std::vector<QAction*> m_variantActions;
    QStringList m_positionTexts;
    QTimer* m_timer;
    TimemarkBars* m_timemarkBars = nullptr;
    int m_ticks = 0;
};

