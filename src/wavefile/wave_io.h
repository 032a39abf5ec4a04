#pragma once

#include <cstdint>
#include <memory>
#include <vector>

struct InfoList;

// What wioFileOpen learns about a WAVE file of any format.
struct wave_io_info {
    std::uint32_t cbSize = sizeof(wave_io_info);
    std::uint32_t dwDataOffset = 0;
    std::uint32_t dwDataBytes = 0;
    std::uint32_t dwDataSamples = 0;  // sample frames, from "fact" or computed
    std::shared_ptr<InfoList> pInfo;
    std::vector<unsigned char> fmt;   // the whole "fmt " chunk, at least 18 bytes
};

// Result codes of wioFileOpen.
constexpr int WIOERR_NOERROR = 0;
constexpr int WIOERR_FORMAT = 101;     // no "fmt " chunk
constexpr int WIOERR_BADPARAM = 104;   // no place for the result
constexpr int WIOERR_FILEERROR = 106;  // cannot open, not RIFF WAVE, chunk past the RIFF end, short read
constexpr int WIOERR_NOMEM = 107;
constexpr int WIOERR_REFUSED = 108;    // the user refused a non-PCM file without "fact"

// Walks every chunk of a RIFF WAVE file; non-PCM formats are accepted. On
// success `result` holds the record; the INFO list, when the file has one,
// also becomes last_info_list and info_chunk_present is set.
int wioFileOpen(std::unique_ptr<wave_io_info>* result, const char* fileName, unsigned flags);
// Releases the record and its INFO list. 0, or WIOERR_BADPARAM when there is none.
int wioFileClose(std::unique_ptr<wave_io_info>* info);
