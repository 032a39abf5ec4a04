#include "midi_tools/sampler.h"

#include "audio/record_engine.h"
#include "view/child_frame.h"

#include <algorithm>
#include <unistd.h>

class Sampler::SamplerHost : public RecordHost {
public:
    explicit SamplerHost(Sampler& sampler) : m_sampler(sampler) {}
    void showTriggerStatus(const std::string& text) override
    {
        if (m_sampler.onStatus && text != m_last)
            m_sampler.onStatus(text);
        m_last = text;
    }

private:
    Sampler& m_sampler;
    std::string m_last;
};

Sampler::Sampler() : m_host(std::make_unique<SamplerHost>(*this))
{
    QObject::connect(&m_poll, &QTimer::timeout, [this] { poll(); });
}

Sampler::~Sampler() { cancel(); }

int Sampler::arm(CChildFrame& frame, double seconds, std::optional<float> threshold)
{
    RecordEngine& engine = RecordEngine::instance();
    if (m_armed || !engine.idle())
        return 0;
    engine.setHost(m_host.get());
    engine.insert_mode = 0;
    engine.auto_stop_enabled = false;
    engine.trigger_on_signal = threshold.has_value();
    // The take's length is the sampler's, not the trigger's own limit.
    engine.trigger_continue = true;
    engine.signal_threshold = threshold.value_or(0.0f);
    engine.begin_dialog(frame);
    engine.set_record_position(0);
    m_wanted = seconds > 0.0 ? static_cast<std::uint64_t>(seconds * engine.format.bytesPerSecond()) /
                                   std::max<std::uint32_t>(1, engine.format.block()) * engine.format.block()
                             : 0;
    if (!engine.start_recording()) {
        engine.discard_take();
        engine.setHost(nullptr);
        return 0;
    }
    m_frame = &frame;
    m_armed = true;
    m_stopRequested = false;
    m_poll.start(5);
    return 1;
}

void Sampler::stop()
{
    if (m_armed)
        m_stopRequested = true;
}

void Sampler::stop_now()
{
    if (!m_armed)
        return;
    RecordEngine& engine = RecordEngine::instance();
    engine.stop_recording();
    // Waiting runs the event loop: the poll may finish the take first.
    engine.wait_until_idle(2000);
    if (m_armed)
        finish();
}

void Sampler::poll()
{
    RecordEngine& engine = RecordEngine::instance();
    if (m_stopRequested || (m_wanted && engine.record_bytes_written() >= m_wanted)) {
        m_stopRequested = false;
        engine.stop_recording();
    }
    if (engine.idle())
        finish();
}

void Sampler::finish()
{
    if (!m_armed)
        return;
    m_poll.stop();
    RecordEngine& engine = RecordEngine::instance();
    // The take ends at the buffer that passed the length: cut it to size.
    if (m_wanted)
        engine.truncate_take(m_wanted);
    const double seconds =
        static_cast<double>(engine.record_length()) / std::max<std::uint32_t>(1, engine.format.bytesPerSecond());
    const bool recorded = engine.take_recorded();
    const bool adopted = engine.adopt_take() != 0 && recorded;
    engine.setHost(nullptr);
    m_armed = false;
    m_frame = nullptr;
    if (onFinished)
        onFinished(adopted, seconds);
}

void Sampler::cancel()
{
    if (!m_armed)
        return;
    m_poll.stop();
    RecordEngine& engine = RecordEngine::instance();
    engine.stop_recording();
    engine.wait_until_idle(2000);
    engine.discard_take();
    engine.setHost(nullptr);
    m_armed = false;
    m_frame = nullptr;
}
