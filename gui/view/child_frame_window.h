#pragma once

#include "view/waveform_renderer.h"

#include <QImage>
#include <QWidget>
#include <cstdint>
#include <memory>

class CChildFrame;
class QLabel;
class QPainter;
class QScrollBar;
class QToolBar;

// The window of one document: the waveform view with the play bar, the
// status box (1809) and the horizontal scroll bar (1811) in its bottom row.
// It owns the document; closing it asks first when the document is modified
// and then removes the document's files.
class ChildFrameWindow : public QWidget {
    Q_OBJECT
public:
    ChildFrameWindow(std::unique_ptr<CChildFrame> frame, QWidget* parent = nullptr);
    ~ChildFrameWindow() override;

    CChildFrame& frame() const { return *m_frame; }
    // A command of the document: zoom, navigation, select all, nudges.
    // Returns false when the command is not the document's.
    bool command(int id);
    static bool isViewCommand(int id);
    // After an edit changed the shown version: scroll range, bar and picture.
    void refreshAfterEdit() { changed(true); }
    // The window's title: the document's name, with an asterisk while it is
    // modified (on the window and on the sub-window around it).
    void updateTitle();
    // A highlight dragged here from another window: the "COPYSELECTION"
    // choice runs on this document with the clipboard copied from `source`.
    void dropHighlightFrom(CChildFrame& source);
    QScrollBar* scrollBar() const { return m_scroll; }
    QToolBar* playBar() const { return m_playBar; }
    const QImage& lastPaint() const { return m_client; }
    int timeFormat() const;
    // The play cursor at a sample unit, or none (-1).
    void setPlayCursor(std::int64_t sampleUnit);
    std::int64_t playCursor() const { return m_playCursor; }

signals:
    // The highlight or the view changed: position displays need redrawing.
    void selectionChanged();
    // A command for the main frame (play and stop from the right button and keys).
    void commandRequested(int id);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void layoutControls();
    void syncScrollBar();
    void changed(bool scrollRange = false);
    void paintVideo(QPainter& p);

    std::unique_ptr<CChildFrame> m_frame;
    // Wheel turns and touchpad pixels not yet amounting to a line.
    int m_wheelAngle = 0;
    // Where the left button went down, to tell a click from a drag.
    QPoint m_pressAt;
    int m_wheelPixels = 0;
    // A window opens fitted to its width and follows its size while the
    // user has not zoomed or scrolled away from that view: the level the fit
    // chose, or one of these.
    static constexpr int kNotFitted = -1;
    static constexpr int kFitPending = 0;  // fitted at the first size it gets
    int m_fittedLevel = kNotFitted;
    bool m_tracedWaveform = false;  // the first picture with data went to the timing trace
    WaveformRenderer m_renderer;
    QImage m_client;
    QToolBar* m_playBar;
    QLabel* m_status;
    QScrollBar* m_scroll;
    bool m_syncing = false;
    std::int64_t m_playCursor = -1;
    std::unique_ptr<class AviFrames> m_video;  // the video of the AVI the document came from
    QImage m_videoPicture;
    double m_videoSeconds = -1.0;
    int m_grabbedMark = -1;  // the time mark held by the left button
    int m_grabX = 0;
};
