#pragma once

#include <cstdint>
#include <string>

// The one block copier: every copy of sample data between files (opening,
// undo versions, the clipboard, recording, new files from a selection) goes
// through it, in 32768-byte blocks with the progress box and Cancel.

// What the copier needs of the document it works for.
struct CopyFormat {
    std::uint32_t samplesPerSec = 22050;
    std::uint16_t channels = 1;
    std::uint16_t bytesPerSample = 1;
};

constexpr std::uint32_t kCopyBlockSize = 32768;

// Copies `count` bytes from `source` at `sourceOffset` into the existing file
// `destination` at `destOffset` (-1 = at its end). Identical names copy
// nothing and succeed. Progress is shown when asked, and always when the count
// divided by the sample rate is 6 or more. While bCopyOneChannel is set every
// block is rewritten so that one channel stands in both (see the .cpp).
// 1 = copied, 0 = failed (message shown where one is due) or cancelled.
int copy_file_to_file(const CopyFormat& format, const std::string& destination,
                      const std::string& source, std::uint32_t count, std::uint32_t sourceOffset,
                      std::int32_t destOffset, int showProgress, const char* progressText);

// The one-channel rewrite of a block of `bytes` bytes, in place.
void rewrite_one_channel(unsigned char* block, long bytes, const CopyFormat& format, int selector);

// Whether the destination has room for `count` more bytes. A hook that always
// answers yes; a full disk shows up as a failed write instead.
bool destination_has_room(const std::string& destination, std::uint32_t count);
