#include "edit/timemark_bars.h"

#include "app/command_icons.h"
#include "audio/timemark_playback.h"
#include "edit/timemarks.h"
#include "view/child_frame.h"
#include "view/child_frame_window.h"

#include <QAction>
#include <QComboBox>
#include <QToolBar>
#include <map>

TimemarkBars::TimemarkBars(QToolBar* timemarkBar, QToolBar* cueListBar,
                           std::function<ChildFrameWindow*()> activeDocument, QObject* parent)
    : QObject(parent), m_active(std::move(activeDocument))
{
    auto add = [this](QToolBar* bar, const QString& name, const QString& text, const QString& tip,
                      std::function<void(ChildFrameWindow&)> action) {
        static const std::map<QString, QString> icons = {
            {QStringLiteral("markAdd"), QStringLiteral("mark")},       {QStringLiteral("markPair"), QStringLiteral("mark-pair")},
            {QStringLiteral("markClear"), QStringLiteral("mark-clear")}, {QStringLiteral("cuePlay"), QStringLiteral("cue-play")},
            {QStringLiteral("cueSequence"), QStringLiteral("cue-sequence")},
        };
        QAction* a = bar->addAction(command_icon(icons.at(name)), text);
        a->setObjectName(name);
        a->setToolTip(tip);
        connect(a, &QAction::triggered, this, [this, action] { withDocument(action); });
    };
    add(timemarkBar, QStringLiteral("markAdd"), tr("Mark"), tr("Add a timemark at the cursor"),
        [](ChildFrameWindow& w) { add_timemark_from_bar(w.frame()); });
    add(timemarkBar, QStringLiteral("markPair"), tr("Pair"), tr("Mark the highlight's start and end"),
        [](ChildFrameWindow& w) { add_timemark_pair(w.frame()); });
    add(timemarkBar, QStringLiteral("markClear"), tr("Clear"), tr("Delete all timemarks"),
        [](ChildFrameWindow& w) { delete_all_timemarks(w.frame()); });

    m_combo = new QComboBox(cueListBar);
    m_combo->setObjectName(QStringLiteral("cueList"));
    m_combo->setMinimumContentsLength(16);
    m_combo->setToolTip(tr("Cue list"));
    cueListBar->addWidget(m_combo);
    connect(m_combo, &QComboBox::activated, this, [this](int) {
        const int mark = chosenMark();
        withDocument([mark](ChildFrameWindow& w) { select_timemark(w.frame(), mark); });
    });
    add(cueListBar, QStringLiteral("cuePlay"), tr("Play"), tr("Play from the chosen timemark"),
        [this](ChildFrameWindow& w) { play_from_timemark(w.frame(), chosenMark()); });
    add(cueListBar, QStringLiteral("cueSequence"), tr("Sequence"),
        tr("Play the cue list in order from the chosen timemark"),
        [this](ChildFrameWindow& w) { play_timemark_sequence(w.frame(), m_combo->currentIndex()); });
}

int TimemarkBars::chosenMark() const
{
    const int row = m_combo->currentIndex();
    return row >= 0 && row < static_cast<int>(m_markers.size()) ? m_markers[static_cast<std::size_t>(row)] : -1;
}

void TimemarkBars::withDocument(const std::function<void(ChildFrameWindow&)>& action)
{
    if (ChildFrameWindow* w = m_active()) {
        action(*w);
        w->refreshAfterEdit();
    }
}

void TimemarkBars::refill(const CChildFrame* frame, const CueList& list)
{
    ChildFrameWindow* active = m_active();
    if (frame && (!active || &active->frame() != frame))
        return;
    m_combo->clear();
    m_markers = list.markers;
    for (const std::string& name : list.names)
        m_combo->addItem(QString::fromStdString(name));
    m_combo->setCurrentIndex(list.current);
}

void TimemarkBars::showActive()
{
    ChildFrameWindow* active = m_active();
    if (!active) {
        refill(nullptr, CueList{});
        return;
    }
    refill(&active->frame(), cue_list(active->frame()));
}
