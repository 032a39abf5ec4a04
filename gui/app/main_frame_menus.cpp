// The main frame's menus, its control bars and the recent-file list.

#include "app/main_frame.h"

#include "app/command_icons.h"
#include "app/qt_ui_host.h"
#include "app/startup_files.h"
#include "app/string_table.h"
#include "modules/effect_commands.h"
#include "view/child_frame_window.h"
#include "edit/timemark_bars.h"
#include "edit/timemarks.h"

#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>

namespace {

// The eleven control bars, in the order of their "General-Bar%d" sections.
const char* const kBarNames[kControlBarCount] = {
    "Files", "Edit", "Transport", "Cursor", "Effects", "Undo", "Timemark", "Cuelist",
    "Volume Indicator", "DB Meter", "Spectrum Indicator",
};

}  // namespace

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
    addCommand(edit, kCommandUndoList, QString())->setEnabled(false);
    edit->addSeparator();
    for (int id : {kCut, kCopy, kPaste, kReplace, kMix})
        addCommand(edit, id, QString());
    edit->addSeparator();
    addCommand(edit, kCrop, QString());
    addCommand(edit, kTrim, QString());
    addCommand(edit, kCommandClear, tr("C&lear"));
    addCommand(edit, kInsertSilence, QString(), QKeySequence(QStringLiteral("Alt+Shift+L")));
    edit->addSeparator();
    QMenu* marks = edit->addMenu(tr("Ti&memarks"));
    addCommand(marks, ID_TIMEMARK_ADD, tr("&Add Timemark"), QKeySequence(QStringLiteral("F9")));
    addCommand(marks, kCommandMarkHighlight, tr("Mark &Highlight"), QKeySequence(QStringLiteral("Shift+F9")));
    addCommand(marks, ID_TIMEMARK_DELETE_ALL, tr("&Delete All Timemarks"));
    edit->addSeparator();
    addCommand(edit, kCommandSelectAll, QString());

    QMenu* view = menuBar()->addMenu(tr("&View"));
    addCommand(view, kCommandZoomIn, tr("Zoom &In"), QKeySequence(QStringLiteral("Ctrl++")));
    addCommand(view, kCommandZoomOut, tr("Zoom &Out"), QKeySequence(QStringLiteral("Ctrl+-")));
    addCommand(view, kCommandZoomMaximum, QString());
    addCommand(view, kCommandZoomMinimum, QString());
    addCommand(view, kCommandFitToWindow, tr("&Fit to window"), QKeySequence(QStringLiteral("Ctrl+F")));
    view->addSeparator();
    addCommand(view, kCommandGoStart, QString());
    addCommand(view, kCommandGoEnd, QString());
    addCommand(view, kCommandGoHighlight, QString());
    view->addSeparator();
    QMenu* nudges = view->addMenu(tr("&Highlight edges"));
    addCommand(nudges, kCommandStartEarlierCoarse, tr("&Review (start 50 ms earlier)"));
    addCommand(nudges, kCommandEndLaterCoarse, tr("&Cue (end 50 ms later)"));
    addCommand(nudges, kCommandStartEarlier, tr("Start 5 ms &earlier"));
    addCommand(nudges, kCommandStartLater, tr("Start 5 ms &later"));
    addCommand(nudges, kCommandEndEarlier, tr("End 5 ms e&arlier"));
    addCommand(nudges, kCommandEndLater, tr("End 5 ms la&ter"));
    view->addSeparator();
    QMenu* bars = view->addMenu(tr("&Toolbars"));
    bars->setObjectName(QStringLiteral("toolbarsMenu"));
    QAction* status = view->addAction(tr("&Status Bar"));
    status->setCheckable(true);
    status->setChecked(true);
    connect(status, &QAction::toggled, statusBar(), &QWidget::setVisible);

    QMenu* play = menuBar()->addMenu(tr("&Play"));
    addCommand(play, kCommandPlay, tr("&Play"));
    addCommand(play, kCommandPause, tr("P&ause"));
    addCommand(play, kCommandStop, tr("&Stop"));
    play->addSeparator();
    // Ctrl+R is Edit ▸ Replace; Record has a key of its own.
    addCommand(play, kCommandRecord, tr("&Record..."), QKeySequence(QStringLiteral("Ctrl+Shift+R")));
    play->addSeparator();
    addCommand(play, kCommandLoop, tr("Lo&op playback"), QKeySequence(QStringLiteral("Alt+L")))->setCheckable(true);
    addCommand(play, 1024, tr("Setup pla&yback loop..."), QKeySequence(QStringLiteral("Alt+R")));
    play->addSeparator();
    addCommand(play, kCommandChaseLock, tr("SMPTE C&hase Lock..."));
    addCommand(play, kCommandDelayedStart, tr("&Delayed Start..."));
    addCommand(play, kCommandTriggeredStart, tr("&Triggered Start..."));
    addCommand(play, kCommandSampler, tr("Sa&mpler..."));

    // The effects, as their descriptions give them (Clear is on the Edit menu).
    QMenu* operations = menuBar()->addMenu(tr("&Operations"));
    addCommand(operations, kCommandSpectrum, tr("&Spectrum..."));
    addCommand(operations, kCommandMagnifiedPlot, tr("Magnified &plot..."));
    operations->addSeparator();
    addCommand(operations, kCommandPlugIn, tr("DirectX Plug-&In..."));
    addCommand(operations, kCommandRegisterPlugIn, tr("&Register DirectX Plug-In..."));
    operations->addSeparator();
    for (const EffectCommand& c : effect_commands()) {
        if (c.id == kCommandClear)
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
    commands[1] = {kCommandSelectAll};
    commands[2] = {kCommandRecord, kCommandPlay, kCommandPause, kCommandStop};
    commands[3] = {kCommandGoStart, kCommandGoEnd, kCommandGoHighlight, 0, kCommandStartEarlierCoarse, kCommandStartEarlier, kCommandStartLater, kCommandEndEarlier, kCommandEndLater, kCommandEndLaterCoarse, 0, kCommandZoomIn, kCommandZoomOut, kCommandZoomMaximum, kCommandZoomMinimum,
                   kCommandFitToWindow};
    // The bars show each command as a vector icon (sharp at any pixel
    // density) with its full text as the tool tip; the menus keep the texts.
    for (const auto& ids : commands)
        for (int id : ids)
            if (QAction* a = id ? action(id) : nullptr) {
                a->setIcon(command_icon(id));
                QString tip = a->text().remove('&');
                if (id >= kCommandStartEarlierCoarse && id <= kCommandEndLater)
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
