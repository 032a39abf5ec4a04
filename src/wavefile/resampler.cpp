#include "wavefile/resampler.h"

#include <soxr.h>

Resampler::~Resampler() { close(); }

bool Resampler::open(double inRate, double outRate, int channels)
{
    close();
    soxr_error_t error = nullptr;
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    m_soxr = soxr_create(inRate, outRate, static_cast<unsigned>(channels), &error, &io, &quality, nullptr);
    if (error && m_soxr) {
        soxr_delete(m_soxr);
        m_soxr = nullptr;
    }
    m_ratio = inRate / outRate;
    return m_soxr != nullptr;
}

void Resampler::close()
{
    if (m_soxr)
        soxr_delete(m_soxr);
    m_soxr = nullptr;
}

std::size_t Resampler::process(const float* in, std::size_t frames, std::size_t* used, float* out, std::size_t room)
{
    std::size_t produced = 0;
    std::size_t taken = 0;
    if (m_soxr)
        soxr_process(m_soxr, in, frames, &taken, out, room, &produced);
    if (used)
        *used = taken;
    return produced;
}

std::size_t Resampler::flush(float* out, std::size_t room)
{
    std::size_t produced = 0;
    if (m_soxr)
        soxr_process(m_soxr, nullptr, 0, nullptr, out, room, &produced);
    return produced;
}

std::size_t Resampler::input(void* self, const void** data, std::size_t requested)
{
    auto* r = static_cast<Resampler*>(self);
    const float* frames = nullptr;
    const std::size_t given = r->m_source(r->m_state, &frames, requested);
    *data = frames;
    return given;
}

bool Resampler::setSource(Source source, void* state, std::size_t maxRequest)
{
    m_source = source;
    m_state = state;
    m_maxRequest = maxRequest;
    return m_soxr && !soxr_set_input_fn(m_soxr, &Resampler::input, this, maxRequest);
}

std::size_t Resampler::pull(float* out, std::size_t frames) { return m_soxr ? soxr_output(m_soxr, out, frames) : 0; }

void Resampler::clear()
{
    if (!m_soxr)
        return;
    soxr_clear(m_soxr);
    if (m_source)
        soxr_set_input_fn(m_soxr, &Resampler::input, this, m_maxRequest);
}
