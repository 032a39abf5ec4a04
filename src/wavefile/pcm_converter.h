#pragma once

#include <cstddef>
#include <cstdint>

// Conversion of PCM blocks between channel counts, sample widths and rates,
// for saving in another format and for pasting between documents. One
// conversion runs at a time; its parameters are process-wide and a rate
// change keeps the resampler's state from block to block.
struct PcmConversionParameters {
    std::uint32_t sourceRate = 22050;
    std::uint32_t sourceBytes = 1;
    std::uint32_t sourceChannels = 1;
    std::uint32_t destinationRate = 22050;
    std::uint32_t destinationBytes = 1;
    std::uint32_t destinationChannels = 1;
    // TPDF dither where the destination has fewer bits than the source (a
    // save or export at a lower resolution); the clipboard's conversions
    // for a paste round plainly.
    bool dither = false;
};
extern PcmConversionParameters& conversion_parameters;

// Starts a conversion with the parameters as they stand; false when the
// resampler cannot be made.
bool begin_pcm_conversion();
// Converts `count` source bytes into `out` (room for `capacity` bytes);
// returns the bytes written. Stereo becomes mono as the mean of the two
// channels, mono becomes stereo by doubling; 8-, 16-, 24-bit and float values
// (4 bytes a sample) are scaled to each other; the rate goes through libsoxr.
// Whole source frames are converted: `count` should hold whole frames.
std::size_t convert_pcm_block(const unsigned char* in, std::size_t count, unsigned char* out, std::size_t capacity);
// The samples the resampler still holds at the end of the input.
std::size_t finish_pcm_conversion(unsigned char* out, std::size_t capacity);
void end_pcm_conversion();

// The output buffer a block of `blockBytes` source bytes needs: four times
// the converted size.
std::size_t converted_buffer_size(std::size_t blockBytes);
