#pragma once

#include "audio/playback_engine.h"

#include <QObject>
#include <QTimer>
#include <functional>

class ChildFrameWindow;

// The window side of playback: the frame's 30 ms timer that moves the play
// cursor and the position display, and the end of playback. The windows are
// found from their documents through `findWindow`.
class PlayCursorHost : public QObject, public PlaybackHost {
    Q_OBJECT
public:
    explicit PlayCursorHost(std::function<ChildFrameWindow*(CChildFrame&)> findWindow, QObject* parent = nullptr);

    void startCursorTimer(CChildFrame& frame) override;
    void stopCursorTimer(CChildFrame& frame) override;
    void playbackEnded(CChildFrame& frame) override;
    void sequenceEntryChanged(CChildFrame& frame, int index, const std::string& name) override;

    // Where in the document (sample units) playback is now.
    static std::uint32_t playing_sample(const CChildFrame& frame, float positionMs, std::uint32_t rangeStart,
                                        std::uint32_t rangeEnd);

signals:
    // The play position moved: ms from the start of the range, and the
    // position in the document in the current time format.
    void positionChanged(float milliseconds, const QString& text);
    void ended();
    // A cue sequence moved on to entry `index` (its cue-list row).
    void sequenceEntry(int index);

private:
    void tick();

    std::function<ChildFrameWindow*(CChildFrame&)> m_findWindow;
    CChildFrame* m_frame = nullptr;
    std::uint32_t m_rangeStart = 0, m_rangeEnd = 0;
    QTimer m_timer;
};
