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

// Whether an ADPCM format is one the codec can work with: 1 or 2 channels,
// 4 bits, a block align that holds the block headers, samples per block that
// the block can hold (at least the two header samples), and at least one
// coefficient pair. Every field of a file is checked here before anything is
// allocated from it.
bool adpcm_format_is_sound(const AdpcmFormat& format);
// The largest step size the decoder keeps: beyond it the adaptation
// (up to 768/256 a sample) could overflow.
constexpr int kAdpcmMaxDelta = 0x7FFFFFFF / 768;

// Decodes the whole blocks of `count` source bytes into PCM of the
// destination's bits (8-bit output is v >> 8, plus 128): samples per block
// frames each. Never writes more than `capacity` bytes (decoding stops at
// the last whole block that fits). Returns the bytes written; 0 when a block
// names a predictor that does not exist (after the "Predictor out of range"
// message) or the format is not sound.
std::size_t decode_adpcm_block(const AdpcmFormat& source, const unsigned char* bytes, const AdpcmFormat& destination,
                               unsigned char* out, std::size_t count, std::size_t capacity);

// Encodes `count` bytes of PCM (8 or 16 bits) into ADPCM blocks of the
// destination's block align; a short last block is filled with silence.
// Never writes more than `capacity` bytes. Returns the bytes written.
std::size_t encode_adpcm_block(const AdpcmFormat& source, const unsigned char* bytes, const AdpcmFormat& destination,
                               unsigned char* out, std::size_t count, std::size_t capacity);
