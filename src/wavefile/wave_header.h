#pragma once

#include "wavefile/cue_chunk.h"
#include "wavefile/sample_format.h"
#include "wavefile/wave_state.h"

#include <cstdint>
#include <string>
#include <vector>

class RiffFile;
struct ChunkInfo;
struct InfoList;

// What a header carries besides its sizes: the "fmt " record, the INFO list
// (none when null) and the cue points of the time marks.
struct WaveHeaderContent {
    WaveFmtRecord format;
    const InfoList* info = nullptr;
    std::vector<CuePoint> cues;
};
// Writes a header with that content, in the RF64 form when `rf64` is set;
// as create_waveform_format_header otherwise. The format becomes
// wave_fmt_record, the format of the file being written, which the final
// ascend reads.
[[nodiscard]] int write_waveform_header(RiffFile& file, std::uint32_t dataSize, const WaveHeaderContent& content,
                          bool rf64 = false);
// A PCM "fmt " record: tag 1, the block align and the byte rate computed
// (32 bits means float, tag 3).
WaveFmtRecord pcm_fmt_record(int channels, std::uint32_t rate, int bits);
// The record of samples stored in `format`: tag 1 for the integer forms, 3
// for float.
WaveFmtRecord sample_fmt_record(int channels, std::uint32_t rate, SampleFormat format);

// The tag of WAVE_FORMAT_EXTENSIBLE, and the size of its "fmt " record.
constexpr std::uint16_t kWaveFormatExtensible = 0xFFFE;
constexpr std::size_t kExtensibleFmtSize = 40;
// The bytes of a "fmt " chunk for the record: the 16-byte form for 8- and
// 16-bit PCM in one or two channels (as the program always wrote), the
// 18-byte form for float, the extensible form (PCM sub-format, all bits
// valid, the usual speakers) for deeper PCM.
std::vector<unsigned char> fmt_chunk_bytes(const WaveFmtRecord& format);
// The format tag a "fmt " chunk's first `size` bytes describe: the
// sub-format's tag for the extensible form, the tag itself otherwise.
std::uint16_t effective_format_tag(const unsigned char* record, std::size_t size);

// Writes "RIFF"/"WAVE", the INFO list when one is pending (info_chunk_present
// and last_info_list), the 16-byte "fmt " chunk from wave_fmt_record, the
// pending cue points, and opens the "data" chunk with the given size,
// leaving the file inside it for the caller's samples. 1 on success; on failure
// message 5031 has been shown and the file is left open for the caller.
[[nodiscard]] int create_waveform_format_header(RiffFile& file, std::uint32_t dataSize);

// The same header in the RF64 form (EBU Tech 3306) for files whose samples
// may pass 4 GiB: "RF64", a "ds64" chunk that will hold the 64-bit sizes,
// and 32-bit size fields of all ones. ascend_and_update_waveform_file
// completes it.
[[nodiscard]] int create_rf64_waveform_header(RiffFile& file);
// Whether a file of `dataBytes` bytes of samples needs the RF64 form.
bool needs_rf64(std::uint64_t dataBytes);

// Ascends out of "data" and "RIFF", writing their true sizes. The file must be
// positioned at the end of the samples; it may have been closed and reopened
// since the header was written. Returns the second ascend's result, 0 = success.
[[nodiscard]] int ascend_and_update_waveform_file(RiffFile& file);

// Checks that a file is a usable PCM WAVE file; on success the current wave
// format and data_chunk_size describe it. With `report` set, the reason of a
// failure (and the sound-board warnings) is shown. 1 = usable, 0 = not.
[[nodiscard]] int ReadInputWaveformHeader(const std::string& fileName, int report);
// The same check for a file of any format tag (a JAF file is Microsoft
// ADPCM): the format record and the data size are read, the tag is not tested.
[[nodiscard]] int read_waveform_header_any_format(const std::string& fileName, int report);
// Starts a RIFF WAVE file: "RIFF"/"WAVE", "fmt " with wave_fmt_record, and an
// open "data" chunk; each failure has its message ("Can't create RIFF chunk,
// nf 1512" and the others) and closes the file. 1 on success.
int begin_waveform_file(RiffFile& file, ChunkInfo& riff, ChunkInfo& data);

// Fills wave_fmt_record with a PCM format: tag 1, the block align and the
// byte rate computed.
void set_pcm_fmt_record(int channels, std::uint32_t rate, int bits);
// The header of a new PCM file in that format, without the INFO list or the
// time marks pending for the next save: create_waveform_format_header's work
// (and messages), leaving the file in its "data" chunk. 1 on success.
[[nodiscard]] int create_plain_waveform_header(RiffFile& file, int channels, std::uint32_t rate, int bits);

// Makes "SAMPLE%d.WAV" in the current directory (the counter counts per run),
// after the "CREATENEWFILE" dialog when asked: a 52-byte file whose data is
// eight bytes 80 00 80 00 80 00 80 00 in the current wave format. The name is
// left in szOpenedFileName. 1 on success, 0 on cancel or failure.
int create_new_empty_waveform_file(int showDialog);
// The same file under a given name; szOpenedFileName is set to it.
int create_empty_waveform_file_named(const std::string& name);

// The current directory with exactly one '/' after it.
std::string current_directory_with_slash();

// What the open dialog tells about a file under the cursor, read without any
// message: the format tag, rate, bits and channels of its "fmt " chunk.
struct WaveFacts {
    std::uint16_t formatTag = 0;
    std::uint32_t rate = 0;
    std::uint16_t bits = 0;
    std::uint16_t channels = 0;
};
bool read_wave_facts(const std::string& fileName, WaveFacts& facts);
// "MS RIFF Wave PCM", "MS RIFF Wave ADPCM" or "Unknown Format".
std::string wave_format_name(std::uint16_t formatTag);
// "%ld kHz %d bits Mono" or "... Stereo", with the rate in Hz as it has always read.
std::string wave_facts_text(const WaveFacts& facts);
