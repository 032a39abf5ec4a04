#pragma once

#include <array>
#include <cstdint>
#include <vector>

// Microsoft ADPCM (format tag 2): 4 bits a sample in blocks, each block
// starting with a predictor index, a delta and two whole samples per channel.

// The format of a file as the codec needs it: the full "fmt " record with the
// ADPCM extra fields.
struct AdpcmFormat {
    std::uint16_t formatTag = 2;
    std::uint16_t channels = 1;
    std::uint32_t samplesPerSec = 22050;
    std::uint32_t avgBytesPerSec = 0;
    std::uint16_t blockAlign = 512;
    std::uint16_t bitsPerSample = 4;
    std::uint16_t extraSize = 1056;
    std::uint16_t samplesPerBlock = 1012;
    std::vector<std::array<std::int16_t, 2>> coefficients;  // empty for PCM

    // The 50-byte record of an ADPCM format (16 bytes for PCM), little-endian.
    std::vector<unsigned char> toBytes() const;
    // Reads a "fmt " chunk of at least 16 bytes; the ADPCM fields when present.
    static AdpcmFormat fromBytes(const unsigned char* bytes, std::size_t size);
};

// The standard coefficient set, in its order.
const std::array<std::array<std::int16_t, 2>, 7>& adpcm_standard_coefficients();

// Block align and samples per block of the ADPCM version of a PCM format:
// 256 bytes a channel, times rate / 11000 above 11025 Hz.
std::uint16_t adpcm_block_align(std::uint16_t channels, std::uint32_t rate);
std::uint16_t adpcm_samples_per_block(std::uint16_t blockAlign, std::uint16_t channels);

// Decodes the whole blocks of `count` source bytes into PCM of the
// destination's bits (8-bit output is v >> 8, plus 128). Returns the bytes
// written; 0 when a block names a predictor that does not exist (after the
// "Predictor out of range" message).
std::size_t decode_adpcm_block(const AdpcmFormat& source, const unsigned char* bytes, const AdpcmFormat& destination,
                               unsigned char* out, std::size_t count);

// Encodes `count` bytes of PCM (8 or 16 bits) into ADPCM blocks of the
// destination's block align; a short last block is filled with silence.
// Returns the bytes written.
std::size_t encode_adpcm_block(const AdpcmFormat& source, const unsigned char* bytes, const AdpcmFormat& destination,
                               unsigned char* out, std::size_t count);
