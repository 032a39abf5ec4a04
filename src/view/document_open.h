#pragma once

#include <cstdint>
#include <memory>
#include <string>

class CChildFrame;

// First step of opening szOpenedFileName: names the working file (".tmp" in
// the data directory, then a 20 ms wait so the next name differs) and the
// display name, and checks the file silently. 1 when it may be loaded; 0 with
// bNeedsConversion set when it is not plain PCM.
int prepare_working_file(CChildFrame& frame);

// Copies the samples into the working file ("Reading file %s..."), works out
// the display levels, maps the finest one and builds the overview. The
// current wave format and data_chunk_size must describe the opened file.
int load_document_file(CChildFrame& frame);

// The whole open of szOpenedFileName into a frame: check, field set-up,
// load, initial zoom. `newEmpty` marks a file just made by the New command.
// On failure the reason has been shown; the frame's files are removed when
// the frame is destroyed.
int open_document(CChildFrame& frame, bool newEmpty = false);

// Opens raw samples (a working file a crashed program left) as a document
// in the given format: `bytes` bytes from the start of `raw` are copied into
// a working file of the frame's own. The document is titled `title`, counts
// as modified, and saves to `pathName`. 1 on success.
int open_raw_document(CChildFrame& frame, const std::string& raw, std::uint64_t bytes, std::uint16_t channels,
                      std::uint16_t bits, std::uint32_t rate, const std::string& pathName, const std::string& title);

// Opens a file as a new document by its type (ADPCM is decoded first) and
// makes it the active one; null on failure.
std::unique_ptr<CChildFrame> open_document_file(const std::string& path);
