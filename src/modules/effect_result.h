#pragma once

#include "wavefile/sample_format.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class CChildFrame;

// Writes what an effect makes (floats, interleaved) into a document's new
// version, converted to the document's format. Where the highlight covers
// one channel of a stereo pair, the other keeps the bytes the shown version
// has at the same place. For documents of integer samples it also counts
// the samples beyond full scale, which the conversion clips, and keeps the
// result's peak; the exact values of every piece that clips wait in a
// scratch file (the others can be read back as written), so that the whole
// result can be written again at another gain (normalized).
class EffectResult {
public:
    // `shown` and `out`: the shown version, open for reading, and the new
    // one, open for reading and writing.
    EffectResult(const CChildFrame& frame, int shown, int out);
    ~EffectResult();
    EffectResult(const EffectResult&) = delete;
    EffectResult& operator=(const EffectResult&) = delete;

    // Writes `frames` frames at byte `at` of the new version; with
    // `keepOthers`, channels outside the highlight keep the shown version's
    // bytes (silence where it has none). false, said, on a failure.
    bool write(const float* values, std::size_t frames, std::uint64_t at, bool keepOthers);

    // The same for bytes already in the document's format (a reordering
    // that changes no sample); `bytes` is overwritten where channels are kept.
    bool writeBytes(unsigned char* bytes, std::size_t frames, std::uint64_t at, bool keepOthers);

    std::uint64_t clipped() const { return m_clipped; }
    float peak() const { return m_peak; }
    // Writes everything written so far again from its exact values times
    // `gain`. false, said, on a failure.
    bool rewrite(float gain);

private:
    struct Piece {
        std::uint64_t at;
        std::size_t frames;
        bool keepOthers;
        std::uint64_t spilledAt;  // byte in the scratch file, or kNotSpilled
    };
    static constexpr std::uint64_t kNotSpilled = ~std::uint64_t{0};
    bool encode(const float* values, std::size_t frames, std::uint64_t at, bool keepOthers);

    const CChildFrame& m_frame;
    int m_shown;
    int m_out;
    int m_channels;
    SampleFormat m_format;
    std::size_t m_frameBytes;
    std::uint64_t m_shownBytes;
    bool m_integer;
    std::string m_spillName;
    int m_spill = -1;
    std::uint64_t m_spilled = 0;
    std::vector<Piece> m_pieces;
    std::uint64_t m_clipped = 0;
    float m_peak = 0;
    std::vector<unsigned char> m_raw, m_kept;
    std::vector<float> m_scaled;
};

// Which channels the highlight covers: both, or one of a stereo pair.
bool channel_selected(const CChildFrame& frame, int channel);

// After an effect: when its result clipped samples, the user says whether
// to normalize it to -0.1 dBFS, to apply it clipped, or to cancel (the
// document stays as it was). true when the result may be committed.
bool settle_clipping(EffectResult& result, int code);
