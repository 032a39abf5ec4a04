#pragma once

#include "app/window_handle.h"
#include "audio/wave_out_device.h"
#include "sync/midi_input.h"
#include "sync/mtc.h"

#include <QTimer>
#include <cstdint>
#include <functional>
#include <string>

class CChildFrame;

// Controls of the "CHASELOCK" dialog.
constexpr int kChaseStatus = 273;
constexpr int kChaseCue = 274;
constexpr int kChaseInstruction1 = 377;
constexpr int kChaseInstruction2 = 378;
constexpr int kChaseTimeCode = 419;
constexpr int kChaseStart = 1893;
constexpr int kChaseNudgeBack = 427;
constexpr int kChaseNudgeForward = 428;

// The settings chase lock runs with, in one object; the names below refer
// into it.
struct ChaseSettings {
    // The frame rate chase lock counts and ticks at (24 until set: the loop
    // set-up sets 30, the command line --fps).
    int smpte_frame_rate = 24;
    // Frames added to the time code when re-arming after a restart, and
    // ticks of fresh code to wait before re-arming.
    int chase_preroll_frames = 0;
};
ChaseSettings& chase_settings();
void reset_chase_settings();

extern int& smpte_frame_rate;
extern int& chase_preroll_frames;

// Chase lock: playback of a document follows incoming MIDI Time Code. It
// starts when the code reaches the cue point, stops when the code stops
// (more than 20 ticks without a new complete time), and re-arms at the live
// code when it comes back. Everything runs on the user-interface thread: the
// MIDI messages and the tick (every smpte_frame_rate / 2 ms) arrive there.
// The dialog's texts go to its controls through the user-interface host and
// to `onText`.
class ChaseLock {
public:
    ChaseLock(CChildFrame& frame, HWND dialog = nullptr);
    ~ChaseLock();
    ChaseLock(const ChaseLock&) = delete;
    ChaseLock& operator=(const ChaseLock&) = delete;

    // Opening the dialog: opens MIDI input port `midiDevice` (a failure says
    // "Failed to open MIDI for input" and returns 0: the dialog ends) and
    // arms the 150 ms timer that shows the first texts.
    int open(int midiDevice);
    // The same with the messages fed by the caller (midi_message), for
    // sources that are not a MIDI port.
    void open_without_port();
    // The 150 ms timer's one firing.
    void show_ready_texts();
    // Start (control 1893): only while waiting to start; arms the cue and
    // starts the tick. A second press, Cancel or closing: cancel().
    void start();
    void cancel();
    // One MIDI message arrived at monotonic time `arrivedNs`.
    void midi_message(std::uint32_t message, std::int64_t arrivedNs);
    // One tick.
    void tick();
    // Controls 427 and 428 while playing: the read position moves back or
    // on by 10 ms (rounded down to four bytes).
    void nudge(bool forward);

    // The cue point (the loop set-up's SMPTE start).
    void set_cue(int hours, int minutes, int seconds, int frames);
    // Starts the prepared playback later in the file by the time code's
    // known delay (assembly, tick phase and output latency).
    void set_compensation(bool on) { m_compensate = on; }
    // Whether the ready texts and the ticks come from the built-in timers
    // (tests call show_ready_texts and tick themselves).
    void set_timers(bool on) { m_useTimers = on; }

    // Called when the dialog ends (a failure, Cancel); with the texts as they
    // change; with the play position text while playing (the position
    // window); when playback starts at the cue.
    std::function<void()> onEnded;
    std::function<void(int control, const std::string& text)> onText;
    std::function<void(const std::string& text)> onPlayPosition;
    std::function<void()> onPlaybackStarted;

    // The state, as named.
    MtcState mtc;
    bool mtc_running = false;
    int mtc_silent_ticks = 0;
    bool mtc_stopped = false;
    int mtc_restart_ticks = 0;
    int cue_hours = 0, cue_minutes = 0, cue_seconds = 0, cue_frames = 0;
    float cue_time_seconds = 0.0f;
    int cue_time_whole_seconds = 0;
    bool cue_armed = false;
    bool chase_start_pending = true;
    bool cue_set = false;
    // Where the prepared playback starts, in bytes.
    std::uint32_t cue_byte = 0;

    int tick_period_ms() const { return smpte_frame_rate / 2; }
    bool running() const { return !chase_start_pending; }
    const std::string& text(int control) const;
    // The alignment the last start used (for the record).
    const StartAlignment& last_alignment() const { return m_lastAlignment; }

private:
    // Arms the cue: with `afterRestart` the live code advanced by the
    // pre-roll becomes the cue. false when the cue lies outside the file.
    bool arm(bool afterRestart);
    bool playing() const;
    void stopPlayback();
    void setText(int control, const std::string& text);

    CChildFrame& m_frame;
    HWND m_dialog;
    MidiInput m_midi;
    bool m_midiOpen = false;
    QTimer m_readyTimer;
    QTimer m_tickTimer;
    bool m_useTimers = true;
    bool m_compensate = false;
    StartAlignment m_lastAlignment;
    std::string m_texts[5];
};

// "%02d:%02d:%02d:%02d"
std::string smpte_fields_text(int hours, int minutes, int seconds, int frames);
