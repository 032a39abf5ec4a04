#pragma once

#include <cstdint>
#include <string>

class CChildFrame;

// Byte transfers between files and memory, exported to the effect modules.

// Reads `count` bytes at `fileOffset` (negative: 0) into buffer + bufferOffset
// (negative: 0). The bytes read; 0 when the file cannot be opened.
long copy_file_to_memory(const char* path, void* buffer, long bufferOffset, long count, long fileOffset,
                         int showWaitCursor);
// Writes `count` bytes from buffer + bufferOffset into the existing file at
// `fileOffset` (negative: 0). 1 on success; a file that does not open gets
// "CMTF: Was not able to open file <path>" in a box titled "Record File".
int copy_memory_to_file(const char* path, const char* buffer, long bufferOffset, unsigned long count,
                        long fileOffset, int showWaitCursor);
// A buffer length that splits `total` into nearly equal pieces of at most
// `chunk`, rounded down to a multiple of `align`.
unsigned long compute_sample_length(unsigned long total, unsigned long align, unsigned long chunk);

// Writes `bytes` bytes of `fill` at `offset` in pieces of at most 32768.
int write_silence(const std::string& path, std::uint64_t offset, std::uint64_t bytes, unsigned char fill);
// The silence value of a document: 128 for 8-bit data, 0 otherwise.
unsigned char silence_byte(const CChildFrame& frame);

// Rounds a byte offset or count down to a whole frame: no rounding for
// 1-byte frames, even for 2-byte frames, a multiple of 4 otherwise.
std::uint64_t align_to_frame(const CChildFrame& frame, std::uint64_t bytes);

// The frame's own copy of its highlight (when "Backup for undo" is on), in a
// temporary file of the work folder. 1 on success or when switched off.
int copy_selected_area_to_pseudo_clipboard(CChildFrame& frame);
