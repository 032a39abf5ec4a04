#pragma once

#include <QObject>
#include <functional>

class CChildFrame;
class ChildFrameWindow;
class QComboBox;
class QToolBar;
struct CueList;

// The main frame's "Timemark" bar (add a mark, add a pair from the
// highlight, delete every mark) and its "Cuelist" bar (the cue list combo
// box, going to and playing from the chosen mark, and playing the cue
// sequence from it).
class TimemarkBars : public QObject {
    Q_OBJECT
public:
    TimemarkBars(QToolBar* timemarkBar, QToolBar* cueListBar, std::function<ChildFrameWindow*()> activeDocument,
                 QObject* parent);

    // Shows `list` when `frame` is the active document.
    void refill(const CChildFrame* frame, const CueList& list);
    // The active document changed: its list is shown.
    void showActive();
    QComboBox* combo() const { return m_combo; }
    // The mark of the chosen row, or -1.
    int chosenMark() const;

private:
    void withDocument(const std::function<void(ChildFrameWindow&)>& action);

    std::function<ChildFrameWindow*()> m_active;
    QComboBox* m_combo;
    std::vector<int> m_markers;
};
