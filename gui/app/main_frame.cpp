#include "app/main_frame.h"

#include "app/app_paths.h"
#include "app/progress.h"
#include "app/recovery_question.h"
#include "app/control_drawing.h"
#include "app/logo_window.h"
#include "app/messages.h"
#include "app/command_icons.h"
#include "app/preference_store.h"
#include "app/screen_area.h"
#include "app/timing_trace.h"
#include "app/preferences.h"
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
#include "audio/playback_engine.h"
#include "audio/play_cursor_host.h"
#include "audio/playback_loop_dialog.h"
#include "audio/play_record_time_window.h"
#include "audio/record_dialog.h"
#include "view/document_open.h"
#include "view/document_save.h"
#include "edit/copy_selection_dialog.h"
#include "edit/edit_operations.h"
#include "edit/pseudo_clipboard.h"
#include "edit/undo.h"
#include "edit/timemark_bars.h"
#include "edit/timemarks.h"
#include "modules/plugin_command.h"
#include "midi_tools/device_report.h"
#include "midi_tools/midi_keyboard_window.h"
#include "midi_tools/sampler_dialog.h"
#include "midi_tools/triggered_start_dialog.h"
#include "sync/chase_lock_dialog.h"
#include "view/mouse_selection.h"
#include "view/view_navigation.h"
#include "wavefile/wave_file_dialogs.h"
#include "view/open_by_type.h"
#include "view/save_by_type.h"
#include "wavefile/file_types.h"
#include "view/time_format.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include <QAction>
#include <QElapsedTimer>
#include <QComboBox>
#include <QVBoxLayout>
#include <QPlainTextEdit>
#include <QDialogButtonBox>
#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

namespace {

// The eleven control bars, in the order of their "General-Bar%d" sections.
const char* const kBarNames[kControlBarCount] = {
    "Files", "Edit", "Transport", "Cursor", "Effects", "Undo", "Timemark", "Cuelist",
    "Volume Indicator", "DB Meter", "Spectrum Indicator",
};

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
        if (preferences().bigTimeDisplay && !PlaybackEngine::instance().play_short)
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

void CMainFrame::buildMenus()
{
    m_fileMenu = menuBar()->addMenu(tr("&File"));
    addCommand(m_fileMenu, kCommandNew, tr("&New..."), QKeySequence::New);
    addCommand(m_fileMenu, kCommandOpen, tr("&Open..."), QKeySequence::Open);
    addCommand(m_fileMenu, kCommandClose, tr("&Close"), QKeySequence(QStringLiteral("Ctrl+F4")));
    m_fileMenu->addSeparator();
    addCommand(m_fileMenu, kCommandSave, tr("&Save"), QKeySequence::Save);
    addCommand(m_fileMenu, kCommandSaveAs, tr("Save &As..."), QKeySequence(QStringLiteral("Ctrl+Shift+S")));
    addCommand(m_fileMenu, kCommandSaveSelection, tr("Save Se&lection As..."));
    addCommand(m_fileMenu, kCommandNewFromSelection, tr("New File from Selectio&n"));
    m_fileMenu->addSeparator();
    addCommand(m_fileMenu, kCommandDelete, tr("&Delete Waveform File..."));
    m_fileMenu->addSeparator();
    m_recentMenu = m_fileMenu->addMenu(tr("Recent &Files"));
    m_fileMenu->addSeparator();
    addCommand(m_fileMenu, kCommandExit, tr("E&xit"), QKeySequence::Quit);
    rebuildRecentFiles();

    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    addCommand(edit, 11602, QString())->setEnabled(false);
    edit->addSeparator();
    for (int id : {11303, 11304, 11305, 11306, 11307})
        addCommand(edit, id, QString());
    edit->addSeparator();
    addCommand(edit, 11302, QString());
    addCommand(edit, 1881, QString());
    addCommand(edit, 11301, tr("C&lear"));
    addCommand(edit, 11518, QString(), QKeySequence(QStringLiteral("Alt+Shift+L")));
    edit->addSeparator();
    QMenu* marks = edit->addMenu(tr("Ti&memarks"));
    addCommand(marks, ID_TIMEMARK_ADD, tr("&Add Timemark"), QKeySequence(QStringLiteral("F9")));
    addCommand(marks, kCommandMarkHighlight, tr("Mark &Highlight"), QKeySequence(QStringLiteral("Shift+F9")));
    addCommand(marks, ID_TIMEMARK_DELETE_ALL, tr("&Delete All Timemarks"));
    edit->addSeparator();
    addCommand(edit, 1020, QString());

    QMenu* view = menuBar()->addMenu(tr("&View"));
    addCommand(view, 1898, tr("Zoom &In"), QKeySequence(QStringLiteral("Ctrl++")));
    addCommand(view, 1899, tr("Zoom &Out"), QKeySequence(QStringLiteral("Ctrl+-")));
    addCommand(view, 87, QString());
    addCommand(view, 88, QString());
    addCommand(view, ChildFrameWindow::kCommandFitToWindow, tr("&Fit to window"), QKeySequence(QStringLiteral("Ctrl+F")));
    view->addSeparator();
    addCommand(view, 11800, QString());
    addCommand(view, 11801, QString());
    addCommand(view, 11906, QString());
    view->addSeparator();
    QMenu* nudges = view->addMenu(tr("&Highlight edges"));
    addCommand(nudges, 11900, tr("&Review (start 50 ms earlier)"));
    addCommand(nudges, 11901, tr("&Cue (end 50 ms later)"));
    addCommand(nudges, 11902, tr("Start 5 ms &earlier"));
    addCommand(nudges, 11903, tr("Start 5 ms &later"));
    addCommand(nudges, 11904, tr("End 5 ms e&arlier"));
    addCommand(nudges, 11905, tr("End 5 ms la&ter"));
    view->addSeparator();
    QMenu* bars = view->addMenu(tr("&Toolbars"));
    bars->setObjectName(QStringLiteral("toolbarsMenu"));
    QAction* status = view->addAction(tr("&Status Bar"));
    status->setCheckable(true);
    status->setChecked(true);
    connect(status, &QAction::toggled, statusBar(), &QWidget::setVisible);

    QMenu* play = menuBar()->addMenu(tr("&Play"));
    addCommand(play, 11401, tr("&Play"));
    addCommand(play, 11402, tr("P&ause"));
    addCommand(play, 11403, tr("&Stop"));
    play->addSeparator();
    // Ctrl+R is Edit ▸ Replace; Record has a key of its own.
    addCommand(play, 1813, tr("&Record..."), QKeySequence(QStringLiteral("Ctrl+Shift+R")));
    play->addSeparator();
    addCommand(play, 11404, tr("Lo&op playback"), QKeySequence(QStringLiteral("Alt+L")))->setCheckable(true);
    addCommand(play, 1024, tr("Setup pla&yback loop..."), QKeySequence(QStringLiteral("Alt+R")));
    play->addSeparator();
    addCommand(play, kCommandChaseLock, tr("SMPTE C&hase Lock..."));
    addCommand(play, kCommandDelayedStart, tr("&Delayed Start..."));
    addCommand(play, kCommandTriggeredStart, tr("&Triggered Start..."));
    addCommand(play, kCommandSampler, tr("Sa&mpler..."));

    // The effects, as their descriptions give them (Clear is on the Edit menu).
    QMenu* operations = menuBar()->addMenu(tr("&Operations"));
    addCommand(operations, kCommandSpectrum, tr("&Spectrum..."));
    addCommand(operations, 393, tr("Magnified &plot..."));
    operations->addSeparator();
    addCommand(operations, kCommandPlugIn, tr("DirectX Plug-&In..."));
    addCommand(operations, kCommandRegisterPlugIn, tr("&Register DirectX Plug-In..."));
    operations->addSeparator();
    for (const EffectCommand& c : effect_commands()) {
        if (c.id == 11301)
            continue;
        addCommand(operations, c.id, tr(c.menuText), QKeySequence(QString::fromLatin1(c.shortcut)));
        // The other menu texts of the same command open its dialog on their variant.
        for (const EffectVariant& v : c.variants) {
            QAction* a = operations->addAction(tr(v.menuText));
            a->setObjectName(QStringLiteral("%1-%2").arg(c.id).arg(v.which));
            connect(a, &QAction::triggered, this, [this, id = c.id, which = v.which] {
                if (ChildFrameWindow* doc = activeDocument()) {
                    if (run_effect_variant(doc->frame(), id, which, handle_of(this)))
                        doc->refreshAfterEdit();
                    updateCommandStates();
                }
            });
            m_variantActions.push_back(a);
        }
    }

    QMenu* options = menuBar()->addMenu(tr("&Options"));
    addCommand(options, kCommandPreferences, tr("&Preferences..."));

    QMenu* tools = menuBar()->addMenu(tr("&Tools"));
    addCommand(tools, kCommandMidiKeyboard, tr("MIDI &Keyboard..."));
    addCommand(tools, kCommandDevices, tr("System &Devices..."));

    QMenu* window = menuBar()->addMenu(tr("&Window"));
    addCommand(window, kCommandCascade, tr("&Cascade"));
    addCommand(window, kCommandTile, tr("&Tile"));

    QMenu* help = menuBar()->addMenu(tr("&Help"));
    addCommand(help, kCommandHelp, tr("&Help Topics"), QKeySequence::HelpContents);
    addCommand(help, kCommandAbout, tr("&About Ondrava..."));
}

void CMainFrame::buildControlBars()
{
    const Preferences& prefs = preferences();
    QMenu* barsMenu = findChild<QMenu*>(QStringLiteral("toolbarsMenu"));
    std::vector<std::vector<int>> commands(kControlBarCount);
    commands[0] = {kCommandNew, kCommandOpen};
    commands[1] = {1020};
    commands[2] = {1813, 11401, 11402, 11403};
    commands[3] = {11800, 11801, 11906, 0, 11900, 11902, 11903, 11904, 11905, 11901, 0, 1898, 1899, 87, 88,
                   ChildFrameWindow::kCommandFitToWindow};
    // The bars show each command as a vector icon (sharp at any pixel
    // density) with its full text as the tool tip; the menus keep the texts.
    for (const auto& ids : commands)
        for (int id : ids)
            if (QAction* a = id ? action(id) : nullptr) {
                a->setIcon(command_icon(id));
                QString tip = a->text().remove('&');
                if (id >= 11900 && id <= 11905)
                    tip = QString::fromStdString(load_string(id)).section('\n', 0, 0);
                if (!a->shortcut().isEmpty())
                    tip += QStringLiteral(" (%1)").arg(a->shortcut().toString(QKeySequence::NativeText));
                a->setToolTip(tip);
            }
    for (int i = 0; i < kControlBarCount; ++i) {
        auto* bar = new QToolBar(tr(kBarNames[i]), this);
        bar->setObjectName(QStringLiteral("General-Bar%1").arg(i));
        bar->setToolButtonStyle(Qt::ToolButtonIconOnly);
        bar->setIconSize(QSize(20, 20));
        for (int id : commands[static_cast<size_t>(i)]) {
            if (id == 0)
                bar->addSeparator();
            else if (QAction* a = action(id))
                bar->addAction(a);
        }
        addToolBar(bar);
        m_bars.push_back(bar);
    }
    m_timemarkBars = new TimemarkBars(m_bars[6], m_bars[7], [this] { return activeDocument(); }, this);
    for (int i = 0; i < kControlBarCount; ++i) {
        QToolBar* bar = m_bars[static_cast<size_t>(i)];
        // Bars whose commands arrive with later parts of the program stay out
        // of sight until they have something to offer.
        const bool hasCommands = !bar->actions().isEmpty();
        bar->setVisible(hasCommands && prefs.barVisible[static_cast<size_t>(i)]);
        if (hasCommands && barsMenu)
            barsMenu->addAction(bar->toggleViewAction());
    }
}

void CMainFrame::rebuildRecentFiles()
{
    m_recentMenu->clear();
    const auto& files = preferences().recentFiles;
    for (size_t i = 0; i < files.size() && i < 6; ++i) {
        const int id = kCommandRecentFirst + static_cast<int>(i);
        auto* a = m_recentMenu->addAction(QStringLiteral("&%1 %2").arg(i + 1).arg(
            QString::fromStdString(recent_file_label(files[i]))));
        a->setData(id);
        connect(a, &QAction::triggered, this, [this, id] { onCommand(id); });
    }
    m_recentMenu->setEnabled(!files.empty());
}

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

bool CMainFrame::openFile(const QString& path)
{
    timing_trace(QStringLiteral("open"), path);
    auto frame = open_document_file(path.toStdString());
    if (!frame)
        return false;
    addDocument(new ChildFrameWindow(std::move(frame)));
    add_recent_file(preferences().recentFiles, path.toStdString());
    // The open and save dialogs start where the user last opened from.
    preferences().openFolder = QFileInfo(path).absolutePath().toStdString();
    write_preferences();
    rebuildRecentFiles();
    updatePositionDisplays();
    return true;
}

void CMainFrame::newFile()
{
    if (!create_new_empty_waveform_file(1))
        return;
    auto frame = std::make_unique<CChildFrame>();
    if (!open_document(*frame, true))
        return;
    addDocument(new ChildFrameWindow(std::move(frame)));
}

void CMainFrame::openWithDialog()
{
    OpenWaveDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    last_file_type = dialog.selectedType();
    openFile(dialog.selectedFiles().first());
}

void CMainFrame::save(bool askName, bool selectionOnly)
{
    ChildFrameWindow* doc = activeDocument();
    if (!doc)
        return;
    CChildFrame& f = doc->frame();
    std::string target = f.szPathName;
    int type = kTypeWav;
    if (askName || target.empty()) {
        SaveWaveDialog dialog(f, this);
        if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
            return;
        target = dialog.selectedFiles().first().toStdString();
        type = dialog.selectedType();
    } else {
        bSaveConverts = bSaveCompressed = 0;
    }
    const bool saved = save_by_type(f, target, type, selectionOnly ? 1 : 0) != 0;
    bSaveConverts = bSaveCompressed = 0;
    // Only a WAVE file becomes the document's own file.
    if (!saved || selectionOnly || (type != kTypeWav && type != kTypeAll))
        return;
    if (askName) {
        // The document now belongs to the file it was saved as.
        f.szPathName = target;
        f.szDisplayName = file_name_part(target);
        doc->updateTitle();
        add_recent_file(preferences().recentFiles, target);
        write_preferences();
        rebuildRecentFiles();
    }
}

void CMainFrame::editCommand(int id)
{
    ChildFrameWindow* doc = activeDocument();
    if (!doc)
        return;
    CChildFrame& f = doc->frame();
    f.nClientWidth = doc->width();
    f.nClientHeight = doc->height();
    const bool inserting = id == kCopy || id == kPaste || id == kReplace || id == kMix;
    // Without a highlight, the clipboard goes in at the caret.
    if (inserting && id != kCopy && !f.bHighlight) {
        const auto at = static_cast<std::uint32_t>(f.pixel_to_sample(static_cast<float>(std::max(0, f.nCaretX))) &
                                                   static_cast<std::uint32_t>(frame_mask(f)));
        set_selection_units(f, std::min(at, f.nTotalSamples), std::min(at, f.nTotalSamples));
    }
    CChildFrame* source = frame_from_handle(clipboard_source_frame);
    switch (id) {
    case 11602: undo_menu_command(f); break;
    case 11600:
    case 11601: undo_redo_toggle(f); break;
    case kCopy: copy_command(f); break;
    case kCut: edit_operation(f, f, true, kCut); break;
    case kPaste:
    case kReplace:
    case kMix: edit_operation(source ? *source : f, f, false, id); break;
    case kCrop: edit_operation(f, f, true, kCrop); break;
    case kTrim: trim_command(f); break;
    case kInsertSilence: {
        SilenceDialog dialog(this);
        const int result = dialog.exec();
        if (result == kInsertSilence) {
            if (!f.bHighlight) {
                message_beep();
                break;
            }
            insert_silence_command(f, f.nSelEnd - f.nSelStart);
        } else if (result == 11500) {
            const std::uint32_t seconds = static_cast<std::uint32_t>(silence_length.seconds + silence_length.minutes * 60);
            insert_silence_command(f, seconds * f.wfx.nChannels * f.wfx.nSamplesPerSec);
        }
        break;
    }
    default: break;
    }
    doc->refreshAfterEdit();
    updateCommandStates();
}

void CMainFrame::newFromSelection()
{
    if (ChildFrameWindow* doc = activeDocument())
        new_file_from_selection(doc->frame());
}

void CMainFrame::showPreferences()
{
    PreferencesDialog dialog(this);
    if (dialog.exec() == QDialog::Accepted) {
        for (ChildFrameWindow* doc : documents()) {
            doc->frame().bRedrawAll = true;
            doc->update();
        }
        updatePositionDisplays();
    }
}

void CMainFrame::midiCommand(int id)
{
    if (id == kCommandMidiKeyboard) {
        auto* keyboard = new MidiKeyboardWindow(this);
        if (!keyboard->openOutput()) {
            delete keyboard;
            return;
        }
        keyboard->show();
        return;
    }
    if (id == kCommandDevices) {
        auto* report = new QDialog(this);
        report->setObjectName(QStringLiteral("DEVICES"));
        report->setWindowTitle(tr("System Devices"));
        report->setAttribute(Qt::WA_DeleteOnClose);
        auto* layout = new QVBoxLayout(report);
        auto* text = new QPlainTextEdit(QString::fromStdString(system_device_report()), report);
        text->setReadOnly(true);
        text->setMinimumSize(560, 240);
        layout->addWidget(text);
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, report);
        connect(buttons, &QDialogButtonBox::rejected, report, &QDialog::reject);
        layout->addWidget(buttons);
        report->show();
        return;
    }
    ChildFrameWindow* doc = activeDocument();
    if (!doc)
        return;
    if (id == kCommandChaseLock) {
        auto* dialog = new ChaseLockDialog(doc->frame(), this);
        connect(dialog, &ChaseLockDialog::playPosition, m_playPosition, &QLabel::setText);
        if (!dialog->openInput()) {
            delete dialog;
            return;
        }
        dialog->show();
    } else if (id == kCommandSampler) {
        (new SamplerDialog(*doc, this))->show();
    } else {
        (new TriggeredStartDialog(*doc,
                                  id == kCommandDelayedStart ? TriggeredStartDialog::Mode::Delay
                                                             : TriggeredStartDialog::Mode::Midi,
                                  this))
            ->show();
    }
}

void CMainFrame::refillCueList(const CChildFrame* frame, const CueList& list)
{
    if (m_timemarkBars)
        m_timemarkBars->refill(frame, list);
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
    case 11602: case 11600: case 11601: case kCopy: case kCut: case kPaste: case kReplace: case kMix:
    case kCrop: case kTrim: case kInsertSilence:
        editCommand(id);
        break;
    case kCommandNew: newFile(); break;
    case 393:
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
    case 11401:
        // Plays the highlight (or the whole file); a second Play stops.
        if (ChildFrameWindow* doc = activeDocument())
            PlaybackEngine::instance().play_the_wavefile(doc->frame());
        break;
    case 11402: PlaybackEngine::instance().pause_playback(); break;
    case 11403: PlaybackEngine::instance().stop_playback(); break;
    case 11404: {
        PlaybackEngine& engine = PlaybackEngine::instance();
        engine.loopPlayback = !engine.loopPlayback;
        for (ChildFrameWindow* w : documents())
            if (QAction* loop = w->playBar()->findChild<QAction*>(QStringLiteral("11404")))
                loop->setChecked(engine.loopPlayback);
        if (QAction* loop = action(11404))
            loop->setChecked(engine.loopPlayback);
        break;
    }
    case 1024: {
        PlaybackLoopDialog dialog(this);
        dialog.exec();
        break;
    }
    case 1813: openRecordDialog(); break;
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

void CMainFrame::effectCommand(int id)
{
    ChildFrameWindow* doc = activeDocument();
    if (!doc)
        return;
    if (run_effect_command(doc->frame(), id, handle_of(this)))
        doc->refreshAfterEdit();
    updateCommandStates();
}

void CMainFrame::openRecordDialog()
{
    ChildFrameWindow* doc = activeDocument();
    if (!doc || PlaybackEngine::instance().is_playing)
        return;
    RecordDialog dialog(
        doc->frame(),
        [this] {
            std::vector<std::pair<CChildFrame*, QString>> list;
            for (ChildFrameWindow* w : documents())
                list.emplace_back(&w->frame(), QString::fromStdString(w->frame().szDisplayName));
            return list;
        },
        [this](const QString& time) { showBigTime(time); }, this);
    dialog.exec();
    // The take went to the document that was recorded into, maybe not the
    // one the dialog opened on.
    for (ChildFrameWindow* w : documents())
        w->refreshAfterEdit();
    updateCommandStates();
}

void CMainFrame::showBigTime(const QString& time)
{
    if (!m_timeWindow)
        m_timeWindow = new PlayRecordTimeWindow(this);
    if (!time.isEmpty())
        m_timeWindow->showTime(time);
    m_timeWindow->show();
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
    for (int id : {1898, 1899, 87, 88, ChildFrameWindow::kCommandFitToWindow, 11800, 11801, 1020, 1813, kCommandClose,
                   kCommandSave, kCommandSaveAs})
        if (QAction* a = action(id))
            a->setEnabled(hasDocument);
    for (int id : {11906, 11900, 11901, 11902, 11903, 11904, 11905, kCommandSaveSelection, kCommandNewFromSelection})
        if (QAction* a = action(id))
            a->setEnabled(hasHighlight);
    if (QAction* undo = action(11602)) {
        undo->setText(QString::fromStdString(edit_menu_state().undoText).section('\t', 0, 0));
        undo->setEnabled(doc && (doc->frame().bUndoAvailable || doc->frame().bRedoAvailable));
    }
    for (const EffectCommand& c : effect_commands())
        if (QAction* a = action(c.id))
            a->setEnabled(hasHighlight);
    for (int id : {kCommandSpectrum, 393})
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
