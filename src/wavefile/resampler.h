#pragma once

#include <cstddef>

struct soxr;

// A streaming sample-rate converter on libsoxr (high quality), for
// interleaved float frames. Its output is aligned with its input: output
// frame k stands for input time k * inRate / outRate, whatever the filter's
// delay (the first frames come out once enough input is in).
class Resampler {
public:
    Resampler() = default;
    ~Resampler();
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;

    // Makes a converter from `inRate` to `outRate` for `channels`; false
    // when libsoxr cannot.
    bool open(double inRate, double outRate, int channels);
    void close();
    bool isOpen() const { return m_soxr != nullptr; }
    // Input frames per output frame.
    double ratio() const { return m_ratio; }

    // Pushes `frames` input frames and takes what is ready (at most `room`
    // output frames); `used` gets the input frames taken.
    std::size_t process(const float* in, std::size_t frames, std::size_t* used, float* out, std::size_t room);
    // The frames still held at the end of the input (at most `room`).
    std::size_t flush(float* out, std::size_t room);

    // Pull use: the converter asks `source` for input as it needs it. The
    // source fills at most `requested` frames of its own buffer, sets `data`
    // to it and returns the frames given (never 0: silence when it has none).
    using Source = std::size_t (*)(void* state, const float** data, std::size_t requested);
    bool setSource(Source source, void* state, std::size_t maxRequest);
    // Produces exactly `frames` output frames, pulling input as needed.
    std::size_t pull(float* out, std::size_t frames);

    // Forgets the signal so far (the next input starts afresh).
    void clear();

private:
    static std::size_t input(void* self, const void** data, std::size_t requested);

    soxr* m_soxr = nullptr;
    double m_ratio = 1.0;
    Source m_source = nullptr;
    void* m_state = nullptr;
    std::size_t m_maxRequest = 0;
};
