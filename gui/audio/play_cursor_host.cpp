#include "audio/play_cursor_host.h"

#include "app/preferences.h"
#include "view/child_frame.h"
#include "view/time_format.h"
#include "view/child_frame_window.h"

#include <algorithm>

PlayCursorHost::PlayCursorHost(std::function<ChildFrameWindow*(CChildFrame&)> findWindow, QObject* parent)
    : QObject(parent), m_findWindow(std::move(findWindow))
{
    m_timer.setInterval(30);
    connect(&m_timer, &QTimer::timeout, this, &PlayCursorHost::tick);
}

void PlayCursorHost::startCursorTimer(CChildFrame& frame)
{
    // The range the engine plays (the highlight, the file, or from a click).
    const PlaybackEngine& engine = PlaybackEngine::instance();
    const std::uint32_t bps = static_cast<std::uint32_t>(std::max(1, frame.bytesPerSample()));
    m_rangeStart = engine.play_shown_start();
    m_rangeEnd = m_rangeStart + engine.play_total_bytes() / bps;
    m_frame = &frame;
    m_timer.start();
}

void PlayCursorHost::stopCursorTimer(CChildFrame&) { m_timer.stop(); }

void PlayCursorHost::playbackEnded(CChildFrame& frame)
{
    m_timer.stop();
    if (ChildFrameWindow* w = m_findWindow(frame))
        w->setPlayCursor(-1);
    m_frame = nullptr;
    emit ended();
}

std::uint32_t PlayCursorHost::playing_sample(const CChildFrame& f, float positionMs, std::uint32_t rangeStart,
                                             std::uint32_t rangeEnd)
{
    if (rangeEnd <= rangeStart)
        return rangeStart;
    // Loop passes add up in the device's position: fold them into the range.
    const double units = static_cast<double>(positionMs) * f.wfx.nSamplesPerSec / 1000.0 * f.wfx.nChannels;
    const auto length = static_cast<std::uint64_t>(rangeEnd - rangeStart);
    const auto offset = static_cast<std::uint64_t>(units) % length;
    return rangeStart + static_cast<std::uint32_t>(offset & ~static_cast<std::uint64_t>(f.wfx.nChannels - 1));
}

void PlayCursorHost::tick()
{
    PlaybackEngine& engine = PlaybackEngine::instance();
    if (!m_frame || !engine.is_playing())
        return;
    const float ms = engine.get_play_position_ms();
    const std::uint32_t at = playing_sample(*m_frame, ms, m_rangeStart, m_rangeEnd);
    if (ChildFrameWindow* w = m_findWindow(*m_frame))
        w->setPlayCursor(static_cast<std::int64_t>(at));
    emit positionChanged(ms, QString::fromStdString(position_text(*m_frame, at, preferences().timeFormat)).trimmed());
}

void PlayCursorHost::sequenceEntryChanged(CChildFrame&, int index, const std::string&) { emit sequenceEntry(index); }
