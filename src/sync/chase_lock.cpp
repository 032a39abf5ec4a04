#include "sync/chase_lock.h"
#include "wavefile/sample_format.h"

#include "app/control_drawing.h"
#include "app/messages.h"
#include "app/preferences.h"
#include "app/ui_host.h"
#include "audio/playback_engine.h"
#include "view/child_frame.h"
#include "view/mouse_selection.h"
#include "view/time_format.h"

#include <cstdio>

namespace {
ChaseSettings g_chaseSettings;
}  // namespace

ChaseSettings& chase_settings() { return g_chaseSettings; }
void reset_chase_settings() { g_chaseSettings = ChaseSettings{}; }

int& smpte_frame_rate = g_chaseSettings.smpte_frame_rate;
int& chase_preroll_frames = g_chaseSettings.chase_preroll_frames;

namespace {

// Stopped after this many ticks in a row without a new complete time.
constexpr int kSilentTicksToStop = 20;

int textSlot(int control)
{
    switch (control) {
    case kChaseStatus: return 0;
    case kChaseCue: return 1;
    case kChaseInstruction1: return 2;
    case kChaseInstruction2: return 3;
    case kChaseTimeCode: return 4;
    default: return -1;
    }
}

}  // namespace

std::string smpte_fields_text(int hours, int minutes, int seconds, int frames)
{
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d:%02d", hours, minutes, seconds, frames);
    return text;
}

ChaseLock::ChaseLock(CChildFrame& frame, HWND dialog) : m_frame(frame), m_dialog(dialog)
{
    m_readyTimer.setSingleShot(true);
    QObject::connect(&m_readyTimer, &QTimer::timeout, [this] { show_ready_texts(); });
    m_tickTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_tickTimer, &QTimer::timeout, [this] { tick(); });
    const SmpteTime& cue = PlaybackEngine::instance().smpte_start;
    set_cue(cue.hours, cue.minutes, cue.seconds, cue.frames);
}

ChaseLock::~ChaseLock()
{
    m_tickTimer.stop();
    m_readyTimer.stop();
    m_midi.close();
    PlaybackEngine& engine = PlaybackEngine::instance();
    engine.cancel_prepared();
    engine.set_keep_device_open(false);
    engine.release_held_device();
}

void ChaseLock::set_cue(int hours, int minutes, int seconds, int frames)
{
    cue_hours = hours;
    cue_minutes = minutes;
    cue_seconds = seconds;
    cue_frames = frames;
    cue_set = true;
}

const std::string& ChaseLock::text(int control) const
{
    static const std::string none;
    const int slot = textSlot(control);
    return slot < 0 ? none : m_texts[slot];
}

void ChaseLock::setText(int control, const std::string& text)
{
    const int slot = textSlot(control);
    if (slot >= 0) {
        if (m_texts[slot] == text)
            return;
        m_texts[slot] = text;
    }
    uiHost().setControlText(m_dialog, control, text);
    if (onText)
        onText(control, text);
}

int ChaseLock::open(int midiDevice)
{
    chase_start_pending = true;
    m_midiOpen = m_midi.open(midiDevice, [this](std::uint32_t message, std::int64_t at) { midi_message(message, at); });
    if (!m_midiOpen) {
        ErrMsg("Failed to open MIDI for input");
        if (onEnded)
            onEnded();
        return 0;
    }
    if (m_useTimers)
        m_readyTimer.start(150);
    return 1;
}

void ChaseLock::open_without_port()
{
    chase_start_pending = true;
    m_midiOpen = true;
    if (m_useTimers)
        m_readyTimer.start(150);
}

void ChaseLock::show_ready_texts()
{
    m_readyTimer.stop();
    if (m_midiOpen) {
        setText(kChaseInstruction2, "Ready for Midi Time Code Input");
        setText(kChaseInstruction1, "1) Start MTC Device; 2) Press Start");
    }
    setText(kChaseCue, smpte_fields_text(cue_hours, cue_minutes, cue_seconds, cue_frames));
    setText(kChaseStatus, "Waiting to start");
    setText(kChaseTimeCode, "00:00:00:00");
}

void ChaseLock::start()
{
    if (!chase_start_pending) {
        cancel();
        return;
    }
    chase_start_pending = false;
    uiHost().setControlText(m_dialog, kChaseStart, "&Cancel");
    mtc_silent_ticks = 0;
    mtc_restart_ticks = 0;
    mtc_running = false;
    mtc_stopped = false;
    cue_armed = false;
    if (cue_set)
        arm(false);
    if (m_useTimers)
        m_tickTimer.start(tick_period_ms());
    // Between a stop of the code and its return the device stays open, so
    // that a restart has only to let it play.
    PlaybackEngine::instance().set_keep_device_open(true);
}

void ChaseLock::cancel()
{
    m_midi.close();
    m_midiOpen = false;
    m_tickTimer.stop();
    m_readyTimer.stop();
    cue_armed = false;
    PlaybackEngine& engine = PlaybackEngine::instance();
    engine.cancel_prepared();
    engine.set_keep_device_open(false);
    engine.release_held_device();
    if (onEnded)
        onEnded();
}

void ChaseLock::midi_message(std::uint32_t message, std::int64_t arrivedNs)
{
    mtc_take_message(mtc, message, arrivedNs);
}

bool ChaseLock::playing() const
{
    const PlaybackEngine& engine = PlaybackEngine::instance();
    return engine.is_playing() && engine.playing_frame() == &m_frame;
}

void ChaseLock::stopPlayback()
{
    PlaybackEngine& engine = PlaybackEngine::instance();
    if (playing())
        engine.stop_playback();
}

bool ChaseLock::arm(bool afterRestart)
{
    const int fps = smpte_frame_rate;
    if (afterRestart) {
        SmpteFields t{mtc_hours(mtc), mtc_minutes(mtc), mtc_seconds(mtc), mtc_frames(mtc)};
        t = smpte_advance_frames(t, chase_preroll_frames, fps);
        set_cue(t.hours, t.minutes, t.seconds, t.frames);
    }
    cue_time_seconds = static_cast<float>(smpte_seconds(cue_hours, cue_minutes, cue_seconds, cue_frames, fps));
    cue_time_whole_seconds = static_cast<int>(cue_time_seconds);
    const auto exact = static_cast<std::int64_t>(static_cast<double>(cue_time_seconds) * m_frame.wfx.nAvgBytesPerSec);
    const std::int64_t bytes =
        exact < 0 ? -1 : static_cast<std::int64_t>(align_position(static_cast<std::uint64_t>(exact), m_frame.wfx.nBlockAlign));
    const std::int64_t total = static_cast<std::int64_t>(m_frame.nTotalSamples) * m_frame.bytesPerSample();
    if (bytes < 0 || bytes >= total)
        return false;
    cue_byte = static_cast<std::uint32_t>(bytes);

    // The cue in the current time format, and the cursor there.
    const std::uint32_t units = cue_byte / static_cast<std::uint32_t>(std::max(1, m_frame.bytesPerSample()));
    std::string shown = position_text(m_frame, units, preferences().timeFormat);
    shown.erase(0, shown.find_first_not_of(' '));
    m_texts[textSlot(kChaseCue)] = shown;
    new_draw_text_on_control(m_dialog, kChaseCue, shown.c_str(), "Helv", 100, 0x00FF0000, 0, 0x00FFFFFF, 400);
    if (onText)
        onText(kChaseCue, shown);
    m_frame.bHighlight = 0;
    compute_operation_range(m_frame);
    m_frame.nCaretX = static_cast<int>(m_frame.sample_to_pixel(units));
    m_frame.layout.redrawAll = true;

    PlaybackEngine& engine = PlaybackEngine::instance();
    engine.cancel_prepared();
    cue_armed = engine.prepare_start(m_frame, cue_byte) != 0;
    return cue_armed;
}

void ChaseLock::tick()
{
    PlaybackEngine& engine = PlaybackEngine::instance();
    if (mtc.mtc_packed == mtc.mtc_last_packed)
        mtc.mtc_fresh = false;

    if (playing() && !mtc_stopped && onPlayPosition && !engine.play_short()) {
        const std::uint32_t units =
            engine.played_file_position() / static_cast<std::uint32_t>(std::max(1, m_frame.bytesPerSample()));
        std::string shown = position_text(m_frame, units, preferences().timeFormat);
        shown.erase(0, shown.find_first_not_of(' '));
        onPlayPosition(shown);
    }

    if (!mtc.mtc_fresh) {
        if (!mtc_running)
            return;
        if (!mtc_stopped && ++mtc_silent_ticks > kSilentTicksToStop) {
            mtc_stopped = true;
            setText(kChaseStatus, "MTC device stopped");
            setText(kChaseInstruction1, "Restart MTC Device");
            mtc_running = false;
            stopPlayback();
        }
        return;
    }

    mtc.mtc_last_packed = mtc.mtc_packed;
    mtc_silent_ticks = 0;
    mtc_running = true;
    setText(kChaseTimeCode, smpte_fields_text(mtc_hours(mtc), mtc_minutes(mtc), mtc_seconds(mtc), mtc_frames(mtc)));
    if (mtc_stopped) {
        if (++mtc_restart_ticks > chase_preroll_frames) {
            if (!arm(true))
                return;
            mtc_silent_ticks = 0;
            mtc_restart_ticks = 0;
            mtc_stopped = false;
            mtc_running = false;
            setText(kChaseStatus, "MTC device restarted");
            setText(kChaseInstruction1, "Press Cancel to quit");
        }
    }

    // In the cue's own precision: a cue taken from the live code is reached
    // by that same code.
    const float now = static_cast<float>(mtc_time_seconds(mtc, smpte_frame_rate));
    if (cue_armed && now >= static_cast<float>(cue_time_whole_seconds) && now >= cue_time_seconds) {
        cue_armed = false;
        setText(kChaseStatus, "Reached cuepoint");
        if (!playing()) {
            StartAlignment alignment;
            if (m_compensate && mtc.completedAtNs != 0 && m_frame.wfx.nAvgBytesPerSec) {
                // The complete time names the moment of its first quarter
                // frame: when its last one arrived the code stood 1.75
                // frames further on. From there the clock runs.
                alignment.enabled = true;
                alignment.referenceNs = mtc.completedAtNs;
                alignment.referenceSeconds = mtc_time_seconds(mtc, smpte_frame_rate) + 1.75 / smpte_frame_rate -
                                             static_cast<double>(cue_byte) / m_frame.wfx.nAvgBytesPerSec;
            }
            m_lastAlignment = alignment;
            if (engine.start_prepared(alignment) && onPlaybackStarted)
                onPlaybackStarted();
        }
    }
}

void ChaseLock::nudge(bool forward)
{
    if (!playing())
        return;
    const auto step = static_cast<std::int64_t>(align_position(m_frame.wfx.nAvgBytesPerSec / 100, m_frame.wfx.nBlockAlign));
    PlaybackEngine::instance().nudge_read_position(forward ? step : -step);
}
