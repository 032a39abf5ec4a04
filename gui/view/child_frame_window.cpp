#include "view/child_frame_window.h"

#include "app/preferences.h"
#include "app/progress.h"
#include "app/qt_ui_host.h"
#include "app/command_icons.h"
#include "app/string_table.h"
#include "app/timing_trace.h"
#include "audio/playback_engine.h"
#include "app/transport_state.h"
#include "edit/copy_selection_dialog.h"
#include "edit/edit_operations.h"
#include "edit/timemark_dialogs.h"
#include "edit/timemarks.h"
#include "view/channel_cursors.h"
#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/mouse_selection.h"
#include "view/time_format.h"
#include "view/view_navigation.h"
#include "wavefile/avi_file.h"

#include <QTimer>
#include <QMdiSubWindow>
#include <QAction>
#include <QCloseEvent>
#include <QDrag>
#include <QMimeData>
#include <QGuiApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolBar>
#include <cmath>
#include <cstdlib>

namespace {

const char* const kHighlightMime = "application/x-ondrava-highlight";

QString toolTipOf(int id)
{
    const QString text = QString::fromStdString(load_string(id));
    const int newline = text.indexOf('\n');
    return newline >= 0 ? text.mid(newline + 1) : text;
}

}  // namespace

ChildFrameWindow::ChildFrameWindow(std::unique_ptr<CChildFrame> frame, QWidget* parent)
    : QWidget(parent),
      m_frame(std::move(frame)),
      m_renderer(screen_width_pixels()),
      m_playBar(new QToolBar(this)),
      m_status(new QLabel(this)),
      m_scroll(new QScrollBar(Qt::Horizontal, this))
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setAcceptDrops(true);
    updateTitle();
    setMinimumSize(160, nRulerHeight + nControlRowHeight + 40);
    m_frame->bColorDisplay = preferences().colorDisplay;
    m_frame->bToolTips = preferences().toolTips;
    m_fittedLevel = preferences().zoomedInitialDisplay ? kNotFitted : kFitPending;

    // The play bar: Play, Pause, Stop, Loop, a separator, Zoom In, Zoom Out.
    m_playBar->setObjectName(QStringLiteral("PLAYBAR"));
    m_playBar->setIconSize(QSize(12, 12));
    m_playBar->setStyleSheet(QStringLiteral("QToolBar { spacing: 0px; padding: 0px; } QToolButton { padding: 0px; margin: 0px; }"));
    for (int id : {kCommandPlay, kCommandPause, kCommandStop, kCommandLoop, 0, kCommandZoomIn, kCommandZoomOut}) {
        if (id == 0) {
            m_playBar->addSeparator();
            continue;
        }
        QAction* action = m_playBar->addAction(command_icon(id), QString());
        action->setData(id);
        action->setObjectName(QString::number(id));
        if (m_frame->bToolTips)
            action->setToolTip(id >= kCommandPlay && id <= kCommandLoop ? QStringList{"Play", "Pause", "Stop", "Loop"}[id - kCommandPlay]
                                                          : toolTipOf(id));
        // The transport buttons are the main frame's commands; zoom is ours.
        if (id == kCommandLoop) {
            action->setCheckable(true);
            action->setChecked(PlaybackEngine::instance().loopPlayback);
        }
        connect(action, &QAction::triggered, this, [this, id] {
            if (id >= kCommandPlay && id <= kCommandLoop)
                emit commandRequested(id);
            else
                command(id);
        });
    }
    m_status->setObjectName(QStringLiteral("1809"));
    m_status->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    m_status->setAlignment(Qt::AlignCenter);
    m_scroll->setObjectName(QStringLiteral("1811"));
    m_scroll->setRange(0, 100);
    m_scroll->setValue(0);
    connect(m_scroll, &QScrollBar::actionTriggered, this, [this](int action) {
        if (m_syncing)
            return;
        ScrollRequest request;
        switch (action) {
        case QAbstractSlider::SliderSingleStepSub: request = ScrollRequest::LineLeft; break;
        case QAbstractSlider::SliderSingleStepAdd: request = ScrollRequest::LineRight; break;
        case QAbstractSlider::SliderPageStepSub: request = ScrollRequest::PageLeft; break;
        case QAbstractSlider::SliderPageStepAdd: request = ScrollRequest::PageRight; break;
        case QAbstractSlider::SliderToMinimum: request = ScrollRequest::ToStart; break;
        case QAbstractSlider::SliderToMaximum: request = ScrollRequest::ToEnd; break;
        case QAbstractSlider::SliderMove: request = ScrollRequest::Thumb; break;
        default: return;
        }
        if (::scroll(*m_frame, request, m_scroll->sliderPosition()))
            changed();
        // The frame decides where the bar stands.
        QMetaObject::invokeMethod(this, [this] { syncScrollBar(); }, Qt::QueuedConnection);
    });
}

ChildFrameWindow::~ChildFrameWindow() = default;

int ChildFrameWindow::timeFormat() const { return preferences().timeFormat; }

void ChildFrameWindow::layoutControls()
{
    const int cx = width();
    const int cy = height();
    m_playBar->setGeometry(0, cy - 23, 118, 20);
    m_status->setGeometry(118, cy - 21, 40, 16);
    m_scroll->setGeometry(160, cy - 21, std::max(16, cx - 162), 16);
}

void ChildFrameWindow::syncScrollBar()
{
    m_syncing = true;
    m_scroll->setRange(0, scroll_bar_maximum(*m_frame));
    m_scroll->setPageStep(std::max(1, scroll_bar_maximum(*m_frame) / 5));
    m_scroll->setValue(scroll_bar_position(*m_frame));
    m_syncing = false;
    m_status->setText(QStringLiteral("%1/%2").arg(m_frame->nZoomLevel).arg(m_frame->nMaxZoomLevel));
}

void ChildFrameWindow::changed(bool scrollRange)
{
    if (scrollRange)
        compute_scroll_range(*m_frame);
    syncScrollBar();
    update();
    emit selectionChanged();
}

void ChildFrameWindow::paintEvent(QPaintEvent*)
{
    m_frame->layout.clientWidth = width();
    m_frame->layout.clientHeight = height();
    m_renderer.setColours(DisplayColours::fromPreferences(preferences()));
    m_renderer.setScale(static_cast<int>(std::ceil(devicePixelRatioF() - 0.01)));
    m_renderer.paint(*m_frame, m_client, timeFormat());
    if (!m_tracedWaveform && m_renderer.columnsDrawn() > 0 && timing_trace_enabled()) {
        m_tracedWaveform = true;
        timing_trace(QStringLiteral("waveform"), QString::fromStdString(m_frame->szDisplayName));
    }
    QPainter p(this);
    p.drawImage(0, 0, m_client);
    p.fillRect(QRect(0, height() - nControlRowHeight, width(), nControlRowHeight), palette().window());
    if (m_playCursor >= 0) {
        const float x = m_frame->sample_to_pixel(static_cast<std::uint32_t>(m_playCursor));
        const int s = m_renderer.scale();
        if (x >= 0 && x < width() && static_cast<int>(x) * s < m_client.width()) {
            // A red line a window pixel wide (two device pixels on a
            // double-density screen), but never red on red: over a reddish
            // pixel (the highlight) the cursor takes that pixel's opposite
            // colour, so it stays visible over any background.
            const int top = std::max(0, m_frame->nInfoHeight);
            const int bottom = std::min(m_client.height() / s, height() - nControlRowHeight);
            if (bottom > top) {
                QImage column(s, (bottom - top) * s, QImage::Format_RGB32);
                for (int y = 0; y < column.height(); ++y)
                    for (int dx = 0; dx < s; ++dx) {
                        const QColor under = m_client.pixelColor(static_cast<int>(x) * s + dx, top * s + y);
                        const bool reddish = under.red() > 150 && under.green() < 110 && under.blue() < 110;
                        column.setPixelColor(dx, y,
                                             reddish ? QColor(255 - under.red(), 255 - under.green(), 255 - under.blue())
                                                     : QColor(Qt::red));
                    }
                p.drawImage(QRectF(std::floor(x), top, 1, bottom - top), column);
            }
        }
    }
    paintVideo(p);
}

void ChildFrameWindow::paintVideo(QPainter& p)
{
    // A document from an AVI shows the video frame of the play position (or
    // of the cursor) in the corner of its waveform.
    if (m_frame->files.aviSource.empty())
        return;
    if (!m_video) {
        m_video = std::make_unique<AviFrames>();
        if (!m_video->open(m_frame->files.aviSource))
            m_frame->files.aviSource.clear();  // no video to show: stop trying
    }
    if (!m_video->isOpen())
        return;
    const std::uint32_t unit = m_playCursor >= 0 ? static_cast<std::uint32_t>(m_playCursor)
                               : m_frame->bHighlight
                                   ? m_frame->nSelStart
                                   : m_frame->pixel_to_sample(static_cast<float>(std::max(0, m_frame->nCaretX)));
    const double seconds = units_to_seconds(*m_frame, unit);
    if (m_videoPicture.isNull() || std::abs(seconds - m_videoSeconds) >= 0.04) {
        m_videoPicture = QImage(192, 144, QImage::Format_RGB32);
        display_AVI_file(*m_video, seconds, m_videoPicture);
        m_videoSeconds = seconds;
    }
    const QPoint at(width() - m_videoPicture.width() - 6, m_frame->nInfoHeight + nRulerHeight + 4);
    p.drawImage(at, m_videoPicture);
    p.setPen(Qt::black);
    p.drawRect(QRect(at, m_videoPicture.size()).adjusted(-1, -1, 0, 0));
}

void ChildFrameWindow::setPlayCursor(std::int64_t sampleUnit)
{
    if (sampleUnit == m_playCursor)
        return;
    m_playCursor = sampleUnit;
    update();
}

void ChildFrameWindow::resizeEvent(QResizeEvent*)
{
    m_frame->layout.clientWidth = width();
    m_frame->layout.clientHeight = height();
    m_frame->layout.sizeChanged = true;
    // The view follows the size while it is still the fitted one: the level
    // the fit chose, from the start of the file.
    const bool stillFitted = m_fittedLevel == kFitPending ||
                             (m_fittedLevel == m_frame->nZoomLevel && m_frame->nFirstSample == 0);
    if (!stillFitted)
        m_fittedLevel = kNotFitted;
    else if (!transport_state().busy()) {
        zoom_to_fit(*m_frame);
        m_fittedLevel = m_frame->nZoomLevel;
    }
    compute_scroll_range(*m_frame, true);
    update_highlight_pixels(*m_frame);
    layoutControls();
    syncScrollBar();
}

void ChildFrameWindow::mousePressEvent(QMouseEvent* event)
{
    const QPoint at = event->position().toPoint();
    const int mark = transport_state().busy() ? -1 : find_timemark(*m_frame, at.x(), at.y());
    if (mark >= 0 && event->button() == Qt::LeftButton) {
        // The mark is grabbed: a drag moves it, a click chooses it.
        m_grabbedMark = mark;
        m_grabX = at.x();
        return;
    }
    if (mark >= 0 && event->button() == Qt::RightButton) {
        TimemarkDialog dialog(*m_frame, mark, timeFormat(), this);
        dialog.run();
        changed();
        return;
    }
    if (event->button() == Qt::LeftButton) {
        m_pressAt = at;
        if (left_button_down(*m_frame, at.x(), at.y(), event->modifiers() & Qt::ShiftModifier))
            changed();
        // The pointer stays with the strip until it is released (where the
        // platform can hold it).
        if (m_frame->mouse.stripDrag && QGuiApplication::platformName() != QLatin1String("offscreen"))
            grabMouse();
    } else if (event->button() == Qt::RightButton) {
        switch (right_button_down(*m_frame, at.x(), at.y())) {
        case RightButtonAction::Play:
            // Without a highlight, playback starts from the click.
            PlaybackEngine::instance().play_from_unit = m_frame->pixel_to_sample(static_cast<float>(at.x()));
            emit commandRequested(kCommandPlay);
            break;
        case RightButtonAction::Stop: emit commandRequested(kCommandStop); break;
        case RightButtonAction::None: break;
        }
    }
}

void ChildFrameWindow::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint at = event->position().toPoint();
    if (m_grabbedMark >= 0) {
        setCursor(cursor_for(ViewCursor::Strip));
        return;
    }
    const int mark = find_timemark(*m_frame, at.x(), at.y());
    setToolTip(mark >= 0 ? QString::fromStdString(timemark_info_text(*m_frame, mark, false, 0, timeFormat()))
                         : QString());
    setCursor(cursor_for(mark >= 0 ? ViewCursor::Strip : cursor_at(*m_frame, at.x(), at.y())));
    const bool wasDragging = m_frame->mouse.highlightDragging;
    if (mouse_moved(*m_frame, at.x(), at.y(), event->buttons() & Qt::LeftButton,
                    event->modifiers() & Qt::ShiftModifier))
        changed();
    if (!wasDragging && m_frame->mouse.highlightDragging) {
        // The highlight goes out as data: another document window takes it.
        auto* drag = new QDrag(this);
        auto* mime = new QMimeData;
        mime->setData(kHighlightMime, QByteArray::number(reinterpret_cast<quintptr>(m_frame->hWaveWnd)));
        drag->setMimeData(mime);
        drag->exec(Qt::CopyAction);
        m_frame->mouse.highlightDragging = false;
        m_frame->mouse.highlightDragPending = false;
    }
}

void ChildFrameWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!event->mimeData()->hasFormat(kHighlightMime))
        return;
    CChildFrame* source = frame_from_handle(reinterpret_cast<HWND>(event->mimeData()->data(kHighlightMime).toULongLong()));
    if (source && source != m_frame.get())
        event->acceptProposedAction();
}

void ChildFrameWindow::dropEvent(QDropEvent* event)
{
    CChildFrame* source = frame_from_handle(reinterpret_cast<HWND>(event->mimeData()->data(kHighlightMime).toULongLong()));
    if (!source || source == m_frame.get())
        return;
    event->acceptProposedAction();
    dropHighlightFrom(*source);
}

void ChildFrameWindow::dropHighlightFrom(CChildFrame& source)
{
    CopySelectionDialog dialog(m_frame->bHighlight != 0, source.wfx.nChannels == 1, this);
    const int code = dialog.exec();
    if (code == 2)
        return;
    // A failure has said why; the view is brought up to date either way.
    static_cast<void>(edit_operation(source, *m_frame, true, code));
    changed(true);
}

void ChildFrameWindow::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint at = event->position().toPoint();
    if (m_grabbedMark >= 0) {
        const int mark = m_grabbedMark;
        m_grabbedMark = -1;
        if (std::abs(at.x() - m_grabX) > 1)
            move_timemark(*m_frame, mark, at.x());
        else
            select_timemark(*m_frame, mark);
        changed();
        return;
    }
    const bool strip = m_frame->mouse.stripDrag;
    if (strip && QWidget::mouseGrabber() == this)
        releaseMouse();
    const bool wasHighlighted = m_frame->bHighlight != 0;
    const bool insideHighlight = wasHighlighted && at.x() >= static_cast<int>(m_frame->fSelStartPixel) &&
                                 at.x() <= static_cast<int>(m_frame->fSelEndPixel);
    bool redraw = left_button_up(*m_frame, at.x(), at.y());
    // A click without a drag places the caret where Play starts (inside a
    // highlight too: only a drag takes a highlight out as data).
    const bool click = (at - m_pressAt).manhattanLength() <= 2 && !strip && !(event->modifiers() & Qt::ShiftModifier);
    if (click && !transport_state().busy() && (!m_frame->bHighlight || insideHighlight)) {
        m_frame->bHighlight = 0;
        m_frame->nCaretX = std::max(0, at.x());
        PlaybackEngine::instance().play_from_unit = m_frame->pixel_to_sample(static_cast<float>(m_frame->nCaretX));
        m_frame->layout.redrawAll = true;
        redraw = true;
        emit selectionChanged();
    }
    if (redraw)
        changed();
}

void ChildFrameWindow::keyPressEvent(QKeyEvent* event)
{
    ScrollRequest request;
    switch (event->key()) {
    case Qt::Key_PageUp: request = ScrollRequest::PageLeft; break;
    case Qt::Key_PageDown: request = ScrollRequest::PageRight; break;
    case Qt::Key_End: request = ScrollRequest::ToEnd; break;
    case Qt::Key_Home: request = ScrollRequest::ToStart; break;
    case Qt::Key_Left: request = ScrollRequest::LineLeft; break;
    case Qt::Key_Right: request = ScrollRequest::LineRight; break;
    case Qt::Key_O:
    case Qt::Key_P:
    case Qt::Key_Space:
        // Each starts playback when nothing plays and stops it when it does.
        emit commandRequested(transport_state().playing ? kCommandStop : kCommandPlay);
        return;
    default: QWidget::keyPressEvent(event); return;
    }
    if (::scroll(*m_frame, request))
        changed();
}

void ChildFrameWindow::wheelEvent(QWheelEvent* event)
{
    if (event->modifiers() & Qt::ControlModifier) {
        // Ctrl+wheel zooms a level a notch, around the pointer: what is
        // under it stays under it.
        m_wheelAngle += event->angleDelta().y() + event->angleDelta().x();
        const int x = static_cast<int>(event->position().x());
        bool zoomed = false;
        while (std::abs(m_wheelAngle) >= 120) {
            const bool in = m_wheelAngle > 0;
            m_wheelAngle -= in ? 120 : -120;
            if (!transport_state().busy()) {
                m_frame->layout.clientWidth = width();
                zoomed = zoom_at(*m_frame, x, in) || zoomed;
            }
        }
        if (zoomed)
            changed();
        event->accept();
        return;
    }
    // The view scrolls sideways only: the wheel (plain or with Shift, which
    // some systems turn into a sideways turn) and a touchpad's sideways
    // swipe all move it, a notch or 40 pixels a line; away from the user
    // (or to the left) is earlier in the file.
    const QPoint angle = event->angleDelta();
    const QPoint pixels = event->pixelDelta();
    int lines = 0;
    if (!pixels.isNull()) {
        m_wheelPixels += std::abs(pixels.x()) > std::abs(pixels.y()) ? pixels.x() : pixels.y();
        lines = m_wheelPixels / 40;
        m_wheelPixels -= lines * 40;
    } else {
        m_wheelAngle += std::abs(angle.x()) > std::abs(angle.y()) ? angle.x() : angle.y();
        lines = m_wheelAngle / 120 * 3;
        m_wheelAngle -= m_wheelAngle / 120 * 120;
    }
    bool moved = false;
    for (int i = 0; i < std::abs(lines); ++i)
        moved = ::scroll(*m_frame, lines > 0 ? ScrollRequest::LineLeft : ScrollRequest::LineRight) || moved;
    if (moved)
        changed();
    event->accept();
}

void ChildFrameWindow::closeEvent(QCloseEvent* event)
{
    // Closing a document while an operation runs: the operation is told to
    // stop first, and the window closes once it has.
    if (long_operation_running()) {
        request_operation_abort();
        event->ignore();
        QTimer::singleShot(50, this, [this] {
            if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget()))
                sub->close();
            else
                close();
        });
        return;
    }
    if (m_frame->query_close()) {
        // A document that is playing stops before it goes.
        PlaybackEngine::instance().stop_and_release(*m_frame);
        event->accept();
    } else {
        event->ignore();
    }
}

bool ChildFrameWindow::isViewCommand(int id)
{
    switch (id) {
    case kCommandZoomIn: case kCommandZoomOut: case kCommandZoomMaximum: case kCommandZoomMinimum: case kCommandGoStart: case kCommandGoEnd: case kCommandGoHighlight: case kCommandSelectAll: case kCommandFitToWindow:
    case kCommandStartEarlierCoarse: case kCommandEndLaterCoarse: case kCommandStartEarlier: case kCommandStartLater: case kCommandEndEarlier: case kCommandEndLater:
        return true;
    default:
        return false;
    }
}

bool ChildFrameWindow::command(int id)
{
    CChildFrame& f = *m_frame;
    f.layout.clientWidth = width();
    f.layout.clientHeight = height();
    // Zoom and scroll input rests while sound plays or records.
    if (transport_state().busy() && id != kCommandSelectAll)
        return true;
    switch (id) {
    case kCommandZoomIn: zoom_in(f); break;
    case kCommandZoomOut: zoom_out(f); break;
    case kCommandZoomMaximum: zoom_maximum(f); break;
    case kCommandZoomMinimum: zoom_minimum(f); break;
    case kCommandFitToWindow:
        zoom_to_fit(f);
        m_fittedLevel = f.nZoomLevel;
        break;
    case kCommandGoStart: go_to_beginning(f); break;
    case kCommandGoEnd: go_to_end(f); break;
    case kCommandGoHighlight: go_to_highlight(f); break;
    case kCommandSelectAll: select_all(f); break;
    case kCommandStartEarlierCoarse: case kCommandEndLaterCoarse: case kCommandStartEarlier: case kCommandStartLater: case kCommandEndEarlier: case kCommandEndLater: nudge(f, id); break;
    default: return false;
    }
    changed();
    return true;
}

void ChildFrameWindow::updateTitle()
{
    const QString title = QString::fromStdString(m_frame->szDisplayName) + QStringLiteral("[*]");
    const bool modified = m_frame->bModified != 0;
    for (QWidget* w : {static_cast<QWidget*>(this), parentWidget()}) {
        if (!w)
            continue;
        if (w->windowTitle() != title)
            w->setWindowTitle(title);
        w->setWindowModified(modified);
    }
}
