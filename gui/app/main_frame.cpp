#include "app/main_frame.h"

#include "app/app_paths.h"
#include "app/progress.h"
#include "app/recovery_question.h"
#include "app/control_drawing.h"
#include "app/logo_window.h"
#include "app/preference_store.h"
#include "app/screen_area.h"
#include "app/timing_trace.h"
#include "app/preferences_dialog.h"
#include "app/qt_ui_host.h"
#include "app/startup_files.h"
#include "app/string_table.h"
#include "app/tip_dialog.h"
#include "app/edit_menu_state.h"
#include "modules/effect_commands.h"
#include "view/child_frame.h"
#include "view/child_frame_window.h"
#include "view/display_levels.h"
#include "audio/play_cursor_host.h"
#include "audio/playback_loop_dialog.h"
#include "view/document_open.h"
#include "view/document_save.h"
#include "edit/edit_operations.h"
#include "edit/timemark_bars.h"
#include "edit/timemarks.h"
#include "modules/plugin_command.h"
#include "wavefile/wave_file_dialogs.h"
#include "view/time_format.h"

#include <QElapsedTimer>
#include <QComboBox>
#include <QApplication>
#include <QDragEnterEvent>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QStatusBar>
#include <QToolBar>

namespace {

// A numbered menu text "Text\tKeys" or a prompt "Status text\nTool tip".
struct CommandText {
    QString text;
    QKeySequence keys;
    QString prompt;
};

CommandText commandText(int id, const QString& fallback)
{
    const QString raw = QString::fromStdString(load_string(id));
    CommandText t;
    if (raw.isEmpty()) {
        t.text = fallback;
        return t;
    }
    if (raw.contains('\n')) {
        t.prompt = raw.section('\n', 0, 0);
        t.text = fallback.isEmpty() ? raw.section('\n', 1) : fallback;
        return t;
    }
    // Some ids name a bitmap in the table ("rrecord"): a menu text given here wins.
    t.text = fallback.isEmpty() ? raw.section('\t', 0, 0) : fallback;
    if (raw.contains('\t'))
        t.keys = QKeySequence(raw.section('\t', 1));
    return t;
}

}  // namespace

CMainFrame::CMainFrame() : m_mdi(new QMdiArea(this)), m_timer(new QTimer(this))
{
    setObjectName(QStringLiteral("CMainFrame"));
    setWindowTitle(QStringLiteral("Ondrava"));
    setCentralWidget(m_mdi);
    setAcceptDrops(true);
    m_mdi->setViewMode(QMdiArea::SubWindowView);
    read_preferences();
    // Messages that name a document (the close prompt, an effect's) belong
    // to that document's window.
    set_document_window_lookup([this](HWND handle) -> QWidget* {
        for (ChildFrameWindow* doc : documents())
            if (doc->frame().hWaveWnd == handle)
                return doc;
        return nullptr;
    });
    buildMenus();
    buildControlBars();
    for (int i = 0; i < 3; ++i) {
        m_position[i] = new QLabel(this);
        m_position[i]->setObjectName(QStringLiteral("position%1").arg(i));
        m_position[i]->setMinimumWidth(150);
        statusBar()->addPermanentWidget(m_position[i]);
    }
    m_playPosition = new QLabel(this);
    m_playPosition->setObjectName(QStringLiteral("playPosition"));
    m_playPosition->setMinimumWidth(150);
    statusBar()->addPermanentWidget(m_playPosition);
    statusBar()->showMessage(tr("Ready"));
    applyWindowPlacement();
    // Playback reports to the document windows: the moving play cursor, the
    // play position, the end.
    m_playHost = new PlayCursorHost(
        [this](CChildFrame& frame) -> ChildFrameWindow* {
            for (ChildFrameWindow* w : documents())
                if (&w->frame() == &frame)
                    return w;
            return nullptr;
        },
        this);
    PlaybackEngine::instance().setHost(m_playHost);
    connect(m_playHost, &PlayCursorHost::positionChanged, this, [this](float, const QString& text) {
        m_playPosition->setText(tr("Play: %1").arg(text));
        // The big time display, when the option is on.
        if (preferences().bigTimeDisplay && !PlaybackEngine::instance().play_short())
            showBigTime(text);
    });
    connect(m_playHost, &PlayCursorHost::ended, this, [this] { m_playPosition->clear(); });
    // A cue sequence shows the entry playing in the cue list.
    connect(m_playHost, &PlayCursorHost::sequenceEntry, this, [this](int row) {
        if (m_timemarkBars && row < m_timemarkBars->combo()->count())
            m_timemarkBars->combo()->setCurrentIndex(row);
    });
    connect(m_mdi, &QMdiArea::subWindowActivated, this, [this](QMdiSubWindow*) {
        ChildFrameWindow* doc = activeDocument();
        set_active_frame(doc ? &doc->frame() : nullptr);
        m_timemarkBars->showActive();
        updateCommandStates();
    });
    // The frame timer: menu states and displays follow the documents.
    connect(m_timer, &QTimer::timeout, this, [this] {
        ++m_ticks;
        updateCommandStates();
    });
    // The new file made from a highlight comes back through command 11310.
    set_open_opened_file_handler([this] { onCommand(kCommandOpenOpened); });
    updateCommandStates();
}

CMainFrame::~CMainFrame()
{
    // Documents still open go with the MDI area after the menus have gone:
    // their activation must no longer reach this frame.
    disconnect(m_mdi, nullptr, this, nullptr);
    PlaybackEngine& engine = PlaybackEngine::instance();
    engine.stop_playback();
    engine.setHost(nullptr);
    set_open_opened_file_handler({});
    set_document_window_lookup({});
}

QAction* CMainFrame::addCommand(QMenu* menu, int id, const QString& fallback, const QKeySequence& keys)
{
    const CommandText t = commandText(id, fallback);
    auto* action = new QAction(t.text, this);
    action->setData(id);
    action->setObjectName(QString::number(id));
    action->setShortcut(keys.isEmpty() ? t.keys : keys);
    if (!t.prompt.isEmpty())
        action->setStatusTip(t.prompt);
    connect(action, &QAction::triggered, this, [this, id] {
        if (!timing_trace_enabled()) {
            onCommand(id);
            return;
        }
        // The command, how long it took, and the highlight (and channels) it worked on.
        QString highlight;
        if (ChildFrameWindow* doc = activeDocument())
            highlight = QStringLiteral("%1:%2 %3")
                            .arg(doc->frame().nSelStart)
                            .arg(doc->frame().nSelEnd)
                            .arg(doc->frame().bLeftChannel && doc->frame().bRightChannel ? QStringLiteral("both")
                                 : doc->frame().bLeftChannel                              ? QStringLiteral("left")
                                                                                          : QStringLiteral("right"));
        QElapsedTimer took;
        took.start();
        onCommand(id);
        timing_trace(QStringLiteral("command"), QStringLiteral("%1 %2 %3").arg(id).arg(took.elapsed()).arg(highlight));
    });
    if (menu)
        menu->addAction(action);
    m_actions[id] = action;
    return action;
}

QAction* CMainFrame::action(int id) const
{
    auto it = m_actions.find(id);
    return it == m_actions.end() ? nullptr : it->second;
}

QToolBar* CMainFrame::controlBar(int index) const { return m_bars.at(static_cast<size_t>(index)); }

ChildFrameWindow* CMainFrame::activeDocument() const
{
    QMdiSubWindow* sub = m_mdi->activeSubWindow();
    if (!sub && !m_mdi->subWindowList().isEmpty())
        sub = m_mdi->subWindowList().last();
    return sub ? qobject_cast<ChildFrameWindow*>(sub->widget()) : nullptr;
}

QList<ChildFrameWindow*> CMainFrame::documents() const
{
    QList<ChildFrameWindow*> list;
    for (QMdiSubWindow* sub : m_mdi->subWindowList())
        if (auto* doc = qobject_cast<ChildFrameWindow*>(sub->widget()))
            list.append(doc);
    return list;
}

QMdiSubWindow* CMainFrame::addDocument(ChildFrameWindow* window)
{
    QMdiSubWindow* sub = m_mdi->addSubWindow(window);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    window->updateTitle();
    sub->resize(std::max(640, m_mdi->width() * 3 / 4), std::max(300, m_mdi->height() * 2 / 3));
    // A document window is never narrower than a fifth of the screen.
    sub->setMinimumWidth(screen_width_pixels() / 5);
    connect(window, &ChildFrameWindow::selectionChanged, this, &CMainFrame::updatePositionDisplays);
    connect(window, &ChildFrameWindow::commandRequested, this, &CMainFrame::onCommand);
    sub->show();
    m_mdi->setActiveSubWindow(sub);
    set_active_frame(&window->frame());
    window->setFocus();
    return sub;
}

void CMainFrame::showPreferences()
{
    PreferencesDialog dialog(this);
    if (dialog.exec() == QDialog::Accepted) {
        for (ChildFrameWindow* doc : documents()) {
            doc->frame().layout.redrawAll = true;
            doc->update();
        }
        updatePositionDisplays();
    }
}

void CMainFrame::onCommand(int id)
{
    if (ChildFrameWindow::isViewCommand(id)) {
        if (ChildFrameWindow* doc = activeDocument())
            doc->command(id);
        return;
    }
    if (find_effect_command(id)) {
        effectCommand(id);
        return;
    }
    if (id >= kCommandRecentFirst && id < kCommandRecentFirst + 6) {
        const auto& files = preferences().recentFiles;
        const size_t index = static_cast<size_t>(id - kCommandRecentFirst);
        if (index < files.size())
            openFile(QString::fromStdString(files[index]));
        return;
    }
    switch (id) {
    case kCommandUndoList: case kUndoCommand: case kRedoCommand: case kCopy: case kCut: case kPaste: case kReplace: case kMix:
    case kCrop: case kTrim: case kInsertSilence:
        editCommand(id);
        break;
    case kCommandNew: newFile(); break;
    case kCommandMagnifiedPlot:
        if (ChildFrameWindow* doc = activeDocument()) {
            if (magnified_plot_command(doc->frame(), handle_of(this)))
                doc->refreshAfterEdit();
            updateCommandStates();
        }
        break;
    case kCommandSpectrum:
        if (ChildFrameWindow* doc = activeDocument())
            spectrum_command(doc->frame());
        break;
    case kCommandSave: save(false, false); break;
    case kCommandSaveAs: save(true, false); break;
    case kCommandSaveSelection: save(true, true); break;
    case kCommandNewFromSelection: newFromSelection(); break;
    case kCommandDelete: delete_waveform_file(this); break;
    case kCommandOpen: openWithDialog(); break;
    case kCommandOpenOpened: openFile(QString::fromStdString(szOpenedFileName)); break;
    case kCommandClose:
        if (QMdiSubWindow* sub = m_mdi->activeSubWindow())
            sub->close();
        break;
    case kCommandExit: close(); break;
    case kCommandPreferences: showPreferences(); break;
    case kCommandCascade: m_mdi->cascadeSubWindows(); break;
    case kCommandTile: m_mdi->tileSubWindows(); break;
    case kCommandHelp: new_show_context_help(handle_of(this), 0); break;
    case kCommandAbout:
        QMessageBox::about(this, tr("About Ondrava"),
                           tr("<b>Ondrava</b><br>Recording and editing digital audio."));
        break;
    case kCommandPlay:
        // Plays the highlight (or the whole file); a second Play stops.
        if (ChildFrameWindow* doc = activeDocument())
            PlaybackEngine::instance().play_the_wavefile(doc->frame());
        break;
    case kCommandPause: PlaybackEngine::instance().pause_playback(); break;
    case kCommandStop: PlaybackEngine::instance().stop_playback(); break;
    case kCommandLoop: {
        PlaybackEngine& engine = PlaybackEngine::instance();
        engine.loopPlayback = !engine.loopPlayback;
        for (ChildFrameWindow* w : documents())
            if (QAction* loop = w->playBar()->findChild<QAction*>(QStringLiteral("11404")))
                loop->setChecked(engine.loopPlayback);
        if (QAction* loop = action(kCommandLoop))
            loop->setChecked(engine.loopPlayback);
        break;
    }
    case 1024: {
        PlaybackLoopDialog dialog(this);
        dialog.exec();
        break;
    }
    case kCommandRecord: openRecordDialog(); break;
    case kCommandPlugIn:
        if (ChildFrameWindow* doc = activeDocument()) {
            if (plugin_process_command(doc->frame(), handle_of(this)))
                doc->refreshAfterEdit();
            updateCommandStates();
        }
        break;
    case kCommandRegisterPlugIn: {
        const QString bundle = QFileDialog::getExistingDirectory(this, tr("Register DirectX Plug-In"), QString(),
                                                                 QFileDialog::DontUseNativeDialog);
        if (!bundle.isEmpty())
            offer_plugin_registration(bundle.toStdString());
        break;
    }
    case kCommandChaseLock: case kCommandDelayedStart: case kCommandTriggeredStart: case kCommandSampler:
    case kCommandMidiKeyboard: case kCommandDevices:
        midiCommand(id);
        break;
    case ID_TIMEMARK_ADD: case kCommandMarkHighlight: case ID_TIMEMARK_DELETE_ALL:
        if (ChildFrameWindow* doc = activeDocument()) {
            if (id == ID_TIMEMARK_ADD)
                add_timemark(doc->frame());
            else if (id == kCommandMarkHighlight)
                add_timemark_pair(doc->frame());
            else
                delete_all_timemarks(doc->frame());
            doc->refreshAfterEdit();
        }
        break;
    default: break;
    }
}

void CMainFrame::updateCommandStates()
{
    // Every command ends here: the titles' modified marks and the status
    // bar's positions follow what it did.
    for (ChildFrameWindow* w : documents())
        w->updateTitle();
    updatePositionDisplays();
    ChildFrameWindow* doc = activeDocument();
    const bool hasDocument = doc != nullptr;
    const bool hasHighlight = doc && doc->frame().bHighlight;
    for (int id : {kCommandZoomIn, kCommandZoomOut, kCommandZoomMaximum, kCommandZoomMinimum, kCommandFitToWindow, kCommandGoStart, kCommandGoEnd, kCommandSelectAll, kCommandRecord, kCommandClose,
                   kCommandSave, kCommandSaveAs})
        if (QAction* a = action(id))
            a->setEnabled(hasDocument);
    for (int id : {kCommandGoHighlight, kCommandStartEarlierCoarse, kCommandEndLaterCoarse, kCommandStartEarlier, kCommandStartLater, kCommandEndEarlier, kCommandEndLater, kCommandSaveSelection, kCommandNewFromSelection})
        if (QAction* a = action(id))
            a->setEnabled(hasHighlight);
    if (QAction* undo = action(kCommandUndoList)) {
        undo->setText(QString::fromStdString(edit_menu_state().undoText).section('\t', 0, 0));
        undo->setEnabled(doc && (doc->frame().bUndoAvailable || doc->frame().bRedoAvailable));
    }
    for (const EffectCommand& c : effect_commands())
        if (QAction* a = action(c.id))
            a->setEnabled(hasHighlight);
    for (int id : {kCommandSpectrum, kCommandMagnifiedPlot})
        if (QAction* a = action(id))
            a->setEnabled(hasHighlight);
    for (QAction* a : m_variantActions)
        a->setEnabled(hasHighlight);
    for (int id : {kCut, kCopy, kPaste, kReplace, kMix, kCrop, kTrim, kInsertSilence})
        if (QAction* a = action(id))
            a->setEnabled(hasDocument);
}

void CMainFrame::updatePositionDisplays()
{
    ChildFrameWindow* doc = activeDocument();
    QStringList texts;
    if (doc) {
        const CChildFrame& f = doc->frame();
        const int format = preferences().timeFormat;
        // Without a highlight (a fresh document, or after a Cut or an Undo)
        // the range is the whole file, as it is for the commands; never the
        // last highlight's.
        const std::uint32_t start = f.bHighlight ? f.nSelStart : 0;
        const std::uint32_t end = f.bHighlight ? f.nSelEnd : f.nTotalSamples;
        texts << QString::fromStdString(position_text(f, start, format))
              << QString::fromStdString(position_text(f, end, format))
              << QString::fromStdString(position_text(f, end - start, format));
    } else {
        texts << QString() << QString() << QString();
    }
    m_positionTexts = texts;
    const QString names[3] = {tr("Start"), tr("End"), tr("Length")};
    for (int i = 0; i < 3; ++i)
        m_position[i]->setText(texts[i].isEmpty() ? QString() : names[i] + ": " + texts[i].trimmed());
}

void CMainFrame::applyWindowPlacement()
{
    // The window never opens larger than the screen's free area (a scaled
    // display has fewer logical pixels than the numbers suggest), nor off it.
    const QRect free = free_screen_area(this);
    const QSize largest = largest_window_size(this);
    const auto placement = parse_window_placement(preferences().windowPos);
    QRect wanted = placement ? QRect(QPoint(placement->left, placement->top),
                                     QPoint(placement->right - 1, placement->bottom - 1))
                             : QRect(0, 0, 1100, 700);
    wanted.setSize(wanted.size().boundedTo(largest));
    if (!placement)
        wanted.moveCenter(free.center());
    wanted.moveLeft(std::clamp(wanted.left(), free.left(), free.right() - wanted.width() + 1));
    wanted.moveTop(std::clamp(wanted.top(), free.top(), free.bottom() - wanted.height() + 1));
    setGeometry(wanted);
    if (!placement)
        return;
    if (placement->showCommand == kShowMaximized)
        setWindowState(windowState() | Qt::WindowMaximized);
}

void CMainFrame::saveWindowPlacement()
{
    WindowPlacement p;
    const QRect normal = normalGeometry().isValid() ? normalGeometry() : geometry();
    p.showCommand = isMaximized() ? kShowMaximized : isMinimized() ? kShowMinimized : 1;
    p.left = normal.left();
    p.top = normal.top();
    p.right = normal.right() + 1;
    p.bottom = normal.bottom() + 1;
    preferences().windowPos = format_window_placement(p);
}

void CMainFrame::startUp()
{
    write_tutorial_handles(user_directory(), static_cast<unsigned long long>(winId()), 0, 0);
    if (companion_program_running()) {
        szOpenedFileName.clear();
        const std::string file = autostart_file(user_directory());
        if (!file.empty()) {
            szOpenedFileName = file;
            onCommand(kCommandOpenOpened);
        }
    }
    read_preferences();
    offerRecovery();
    if (preferences().showLogo)
        (new LogoWindow(this))->show();
    if (preferences().tipOfTheDay) {
        auto* tip = new TipDialog(this);
        tip->setAttribute(Qt::WA_DeleteOnClose);
        tip->open();
    }
    m_ticks = 0;
    m_timer->start(600);
}

void CMainFrame::offerRecovery()
{
    const std::vector<RecoverableDocument> left = find_recoverable_documents();
    if (left.empty()) {
        // Folders of ended programs with nothing worth offering go quietly.
        delete_recoverable_documents();
        return;
    }
    switch (ask_about_recovery(this, left)) {
    case RecoveryAnswer::Keep:
        return;
    case RecoveryAnswer::Delete:
        delete_recoverable_documents();
        return;
    case RecoveryAnswer::Open:
        break;
    }
    bool allOpened = true;
    for (const RecoverableDocument& d : left) {
        auto frame = std::make_unique<CChildFrame>();
        if (!open_raw_document(*frame, d.workingFile, d.bytes, d.channels, d.bits, d.rate, d.originalName,
                               recovered_title(d))) {
            allOpened = false;
            continue;
        }
        addDocument(new ChildFrameWindow(std::move(frame)));
    }
    // Each opened document has its own copy now; the leftovers go only
    // when every one of them made it.
    if (allOpened)
        delete_recoverable_documents();
    updatePositionDisplays();
}

void CMainFrame::closeEvent(QCloseEvent* event)
{
    // Quitting while an operation runs: it is told to stop, and the program
    // closes once it has.
    if (long_operation_running()) {
        request_operation_abort();
        event->ignore();
        QTimer::singleShot(50, this, &QWidget::close);
        return;
    }
    m_mdi->closeAllSubWindows();
    if (!m_mdi->subWindowList().isEmpty()) {
        event->ignore();
        return;
    }
    saveWindowPlacement();
    for (int i = 0; i < kControlBarCount; ++i)
        if (!m_bars[static_cast<size_t>(i)]->actions().isEmpty())
            preferences().barVisible[static_cast<size_t>(i)] = m_bars[static_cast<size_t>(i)]->isVisible();
    write_preferences();
    event->accept();
    // The program ends with its main window, even when the close came from
    // inside another window's loop (a box answered by a signal) or other
    // windows are still up.
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
}

void CMainFrame::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void CMainFrame::dropEvent(QDropEvent* event)
{
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile())
            openFile(url.toLocalFile());
    event->acceptProposedAction();
}
