#pragma once

#include "wavefile/cue_chunk.h"
#include "wavefile/pcm_converter.h"
#include "wavefile/riff_file.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

struct InfoList;

// The format of the file being read, created or written. The start values
// (2 channels, 8 bits, 2 bytes per sample) are inconsistent on purpose: bytes
// per sample follows the bits only once a file is read or a bits button of a
// format dialog is pressed.
struct WaveFormat {
    std::uint16_t wFormatTag = 1;
    std::uint16_t nChannels = 2;
    std::uint16_t wBitsPerSample = 8;
    std::uint16_t nBytesPerSample = 2;
    std::uint32_t nSamplesPerSec = 22050;
};

// The 16-byte PCM record of a "fmt " chunk.
struct WaveFmtRecord {
    std::uint16_t wFormatTag = 1;
    std::uint16_t nChannels = 0;
    std::uint32_t nSamplesPerSec = 0;
    std::uint32_t nAvgBytesPerSec = 0;
    std::uint16_t nBlockAlign = 0;
    std::uint16_t wBitsPerSample = 0;

    static constexpr int kSize = 16;
    std::array<unsigned char, kSize> toBytes() const;
    static WaveFmtRecord fromBytes(const unsigned char* bytes);
};

// The state the file routines share, in one object: the format of the file
// being read, created or written and its chunks, what the last opening
// found, and the settings of the conversions. Each value keeps the name the
// program knows it by (below); reset_wave_state() puts all of them back.
struct WaveState {
    WaveFormat current_wave_format;
    WaveFmtRecord wave_fmt_record;
    // Descriptors of the "RIFF" and "data" chunks of the file being written,
    // kept from the header write to the final ascend, even across a close
    // and reopen of the file.
    ChunkInfo riff_chunk_info;
    ChunkInfo data_chunk_info;
    std::uint32_t data_chunk_size = 0;
    // Where the samples of the file last read start: the offset of its
    // "data" chunk's contents. Nothing before or after that chunk is audio.
    std::uint64_t data_chunk_offset = 0;
    // Set when the file last read ends before the size its "data" chunk
    // announces: data_chunk_size then counts the whole frames present.
    int data_chunk_truncated = 0;
    std::uint16_t input_format_tag = 0;
    int header_read_ok = 0;
    int info_chunk_present = 0;
    std::uint32_t new_file_counter = 0;
    // The INFO list of the file last opened through wioFileOpen, written back
    // by the header writer while info_chunk_present is set.
    std::shared_ptr<InfoList> last_info_list;
    // The cue points the next header written carries (cue_chunk.h).
    std::vector<CuePoint> cue_points_to_write;

    // Opening state shared by the open, new-file and converter paths.
    std::string szOpenedFileName;
    std::string szOpenedAviFileName;  // the AVI whose sound was opened (avi_file.h)
    // The file a media library decoded into szOpenedFileName (raw samples
    // in a file of this program's own, library_import.h, described by
    // current_wave_format and data_chunk_size), its tags as INFO items, and
    // what the title says of its channels; empty when the last opening was
    // no such import.
    std::string importedFrom;
    std::string importNote;
    std::shared_ptr<InfoList> importInfo;
    int bOpenedByConverter = 0;
    int bNeedsConversion = 0;
    // Set while a new file is made from a one-channel highlight.
    int bCopyOneChannel = 0;
    int nChannelSelector = 2;
    // The file type chosen last (file_types.h).
    int last_file_type = 0;

    // The sample-format conversion's parameters (pcm_converter.h).
    PcmConversionParameters conversion_parameters;
    // JAF: the ratio of the file being made or read, and the dialog's button
    // that is on (persisting through the program's run).
    float jaf_ratio = 1.0f;
    int jaf_button = 2000;
};
WaveState& wave_state();
// Puts every value of the wave state back to its start value.
void reset_wave_state();

extern WaveFormat& current_wave_format;
extern WaveFmtRecord& wave_fmt_record;
extern ChunkInfo& riff_chunk_info;
extern ChunkInfo& data_chunk_info;
extern std::uint32_t& data_chunk_size;
extern std::uint64_t& data_chunk_offset;
extern int& data_chunk_truncated;
extern std::uint16_t& input_format_tag;
extern int& header_read_ok;
extern int& info_chunk_present;
extern std::uint32_t& new_file_counter;
extern std::shared_ptr<InfoList>& last_info_list;
extern std::string& szOpenedFileName;
extern int& bOpenedByConverter;
extern int& bNeedsConversion;
extern int& bCopyOneChannel;
extern int& nChannelSelector;

// Fills wave_fmt_record from current_wave_format: tag 1, and average bytes
// and block align from bytes per sample as it stands.
void fill_fmt_record_from_current_format();
// Answers which formats the chosen wave input device supports, as a mask of
// the WAVE_FORMAT_* bits below. Until an audio back-end installs a query,
// every format counts as supported.
using InputCapsQuery = std::uint32_t (*)(int device);
void set_wave_input_caps_query(InputCapsQuery query);
std::uint32_t wave_input_caps(int device);
constexpr std::uint32_t WAVE_FORMAT_1M16 = 0x00000004;
constexpr std::uint32_t WAVE_FORMAT_1S16 = 0x00000008;
constexpr std::uint32_t WAVE_FORMAT_4M08 = 0x00000100;
