#pragma once

#include "sync/midi_input.h"
#include "sync/mtc.h"

#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class CChildFrame;
class Sampler;

// What starts a triggered playback or recording.
enum class TriggerKind {
    Delay,           // "RECORDPLAYDELAY": a set time after arming
    TimeCode,        // MIDI Time Code reaching a set time (no chase: stops are not followed)
    SequencerStart,  // a sequencer's Start or Continue message (0xFA, 0xFB)
    Note,            // "SEQUENCERINPUT": a note-on (a given note, or any)
};
enum class TriggerAction { Play, Record };

struct TriggerSettings {
    TriggerKind kind = TriggerKind::Delay;
    TriggerAction action = TriggerAction::Play;
    int delayMs = 0;
    // TimeCode: the time to start at, counted at `fps`.
    int hours = 0, minutes = 0, seconds = 0, frames = 0;
    int fps = 24;
    // Note: the note number (0..127), or -1 for any note; and the MIDI
    // channel (1..16), or 0 for any.
    int note = -1;
    int channel = 0;
    // Record: the take's length in seconds, 0 for until stopped.
    double recordSeconds = 0.0;
};

// A start that waits for its trigger. Playback is prepared when armed (the
// document from the cursor, or the highlight, held open on the device) so
// that at the trigger only the device has to start; a recording runs the
// sampler into the document from its start. MIDI messages and timers arrive
// on the user-interface thread.
class TriggeredStart {
public:
    explicit TriggeredStart(CChildFrame& frame);
    ~TriggeredStart();
    TriggeredStart(const TriggeredStart&) = delete;
    TriggeredStart& operator=(const TriggeredStart&) = delete;

    // Arms the trigger; the MIDI kinds open input port `midiDevice` ("Failed
    // to open MIDI for input" when it will not open). 1 when armed.
    int arm(const TriggerSettings& settings, int midiDevice);
    // The same, with MIDI messages fed by the caller (midi_message).
    int arm_without_port(const TriggerSettings& settings);
    void midi_message(std::uint32_t message, std::int64_t arrivedNs);
    // Fires now, whatever the trigger (the delay's timer calls it).
    void fire();
    // Gives up a trigger that has not fired, or discards a recording it
    // started.
    void cancel();
    // Ends a recording it started early, keeping what was recorded; with
    // `wait` the document has the take on return.
    void stop_recording(bool wait = false);
    bool armed() const { return m_armed; }
    bool fired() const { return m_fired; }
    const std::string& status() const { return m_status; }
    Sampler* sampler() const { return m_sampler.get(); }

    std::function<void(const std::string&)> onStatus;
    std::function<void()> onFired;
    // A recording it started is over (the document took the take or not).
    std::function<void(bool adopted, double seconds)> onRecorded;

private:
    int armCommon(const TriggerSettings& settings);
    void setStatus(const std::string& text);
    bool matches(std::uint32_t message);

    CChildFrame& m_frame;
    TriggerSettings m_settings;
    MidiInput m_midi;
    MtcState m_mtc;
    QTimer m_delay;
    std::unique_ptr<Sampler> m_sampler;
    bool m_armed = false;
    bool m_fired = false;
    std::string m_status;
};
