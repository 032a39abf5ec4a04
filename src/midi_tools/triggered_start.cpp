#include "midi_tools/triggered_start.h"

#include "app/messages.h"
#include "audio/playback_engine.h"
#include "midi_tools/sampler.h"
#include "sync/chase_lock.h"
#include "view/child_frame.h"

#include <algorithm>
#include <cstdio>

TriggeredStart::TriggeredStart(CChildFrame& frame) : m_frame(frame)
{
    m_delay.setSingleShot(true);
    m_delay.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_delay, &QTimer::timeout, [this] { fire(); });
}

TriggeredStart::~TriggeredStart() { cancel(); }

void TriggeredStart::setStatus(const std::string& text)
{
    m_status = text;
    if (onStatus)
        onStatus(text);
}

int TriggeredStart::arm(const TriggerSettings& settings, int midiDevice)
{
    if (m_armed)
        return 0;
    if (settings.kind != TriggerKind::Delay &&
        !m_midi.open(midiDevice, [this](std::uint32_t m, std::int64_t at) { midi_message(m, at); })) {
        ErrMsg("Failed to open MIDI for input");
        return 0;
    }
    if (!armCommon(settings)) {
        m_midi.close();
        return 0;
    }
    return 1;
}

int TriggeredStart::arm_without_port(const TriggerSettings& settings) { return m_armed ? 0 : armCommon(settings); }

int TriggeredStart::armCommon(const TriggerSettings& settings)
{
    m_settings = settings;
    m_fired = false;
    m_mtc = MtcState{};
    if (settings.action == TriggerAction::Play) {
        // From the highlight's start, or the cursor.
        const std::uint32_t bps = static_cast<std::uint32_t>(std::max(1, m_frame.bytesPerSample()));
        const std::uint32_t unit =
            m_frame.bHighlight ? m_frame.nSelStart
                               : std::min(m_frame.pixel_to_sample(static_cast<float>(std::max(0, m_frame.nCaretX))),
                                          m_frame.nTotalSamples);
        if (!PlaybackEngine::instance().prepare_start(m_frame, unit * bps)) {
            // Not only a beep: the status and a message say why.
            message_beep();
            const std::string why = PlaybackEngine::instance().start_failure();
            setStatus("Not armed: " + why);
            ErrMsg("The start cannot be armed. %s", why.c_str());
            return 0;
        }
    }
    m_armed = true;
    char text[96];
    switch (settings.kind) {
    case TriggerKind::Delay:
        std::snprintf(text, sizeof text, "Starting in %.1f seconds", settings.delayMs / 1000.0);
        m_delay.start(std::max(0, settings.delayMs));
        break;
    case TriggerKind::TimeCode:
        std::snprintf(text, sizeof text, "Waiting for time code %s",
                      smpte_fields_text(settings.hours, settings.minutes, settings.seconds, settings.frames).c_str());
        break;
    case TriggerKind::SequencerStart: std::snprintf(text, sizeof text, "Waiting for the sequencer's Start"); break;
    case TriggerKind::Note:
        if (settings.note < 0)
            std::snprintf(text, sizeof text, "Waiting for a note");
        else
            std::snprintf(text, sizeof text, "Waiting for note %d", settings.note);
        break;
    }
    setStatus(text);
    return 1;
}

bool TriggeredStart::matches(std::uint32_t message)
{
    const int status = static_cast<int>(message & 0xFF);
    switch (m_settings.kind) {
    case TriggerKind::Delay: return false;
    case TriggerKind::SequencerStart: return status == 0xFA || status == 0xFB;
    case TriggerKind::Note: {
        const int note = static_cast<int>(message >> 8 & 0x7F);
        const int velocity = static_cast<int>(message >> 16 & 0x7F);
        // A note-on with velocity 0 is a note-off.
        if ((status & 0xF0) != 0x90 || velocity == 0)
            return false;
        if (m_settings.channel > 0 && (status & 0x0F) + 1 != m_settings.channel)
            return false;
        return m_settings.note < 0 || note == m_settings.note;
    }
    case TriggerKind::TimeCode:
        if (!mtc_take_message(m_mtc, message))
            return false;
        return mtc_time_seconds(m_mtc, m_settings.fps) >=
               smpte_seconds(m_settings.hours, m_settings.minutes, m_settings.seconds, m_settings.frames,
                             m_settings.fps) - 1e-9;
    }
    return false;
}

void TriggeredStart::midi_message(std::uint32_t message, std::int64_t)
{
    if (m_armed && !m_fired && matches(message))
        fire();
}

void TriggeredStart::fire()
{
    if (!m_armed || m_fired)
        return;
    m_fired = true;
    m_delay.stop();
    m_midi.close();
    if (m_settings.action == TriggerAction::Play) {
        PlaybackEngine& engine = PlaybackEngine::instance();
        setStatus(engine.start_prepared() ? "Playing" : "The output device did not start");
    } else {
        m_sampler = std::make_unique<Sampler>();
        m_sampler->onFinished = [this](bool adopted, double seconds) {
            m_armed = false;
            setStatus(adopted ? "Recorded" : "Nothing recorded");
            if (onRecorded)
                onRecorded(adopted, seconds);
        };
        if (!m_sampler->arm(m_frame, m_settings.recordSeconds, std::nullopt)) {
            m_armed = false;
            setStatus("The recording did not start");
            return;
        }
        setStatus("Recording");
    }
    if (onFired)
        onFired();
    if (m_settings.action == TriggerAction::Play)
        m_armed = false;
}

void TriggeredStart::cancel()
{
    m_delay.stop();
    m_midi.close();
    if (m_armed && !m_fired)
        PlaybackEngine::instance().cancel_prepared();
    if (m_sampler && m_sampler->armed())
        m_sampler->cancel();
    m_armed = false;
}

void TriggeredStart::stop_recording(bool wait)
{
    if (!m_sampler)
        return;
    if (wait)
        m_sampler->stop_now();
    else
        m_sampler->stop();
}
