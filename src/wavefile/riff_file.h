#pragma once

#include "app/unique_fd.h"

#include <cstdint>
#include <string>

// A four-character code as it is stored in a RIFF file: the first character
// in the lowest byte.
using FourCC = std::uint32_t;
constexpr FourCC make_fourcc(const char (&s)[5])
{
    return static_cast<FourCC>(static_cast<unsigned char>(s[0])) |
           static_cast<FourCC>(static_cast<unsigned char>(s[1])) << 8 |
           static_cast<FourCC>(static_cast<unsigned char>(s[2])) << 16 |
           static_cast<FourCC>(static_cast<unsigned char>(s[3])) << 24;
}

constexpr FourCC kRiff = make_fourcc("RIFF");
// The 64-bit forms of "RIFF" (EBU Tech 3306 and ITU-R BS.2088): sizes that do
// not fit 32 bits stand in a "ds64" chunk right after the form type.
constexpr FourCC kRf64 = make_fourcc("RF64");
constexpr FourCC kBw64 = make_fourcc("BW64");
constexpr FourCC kDs64 = make_fourcc("ds64");
constexpr FourCC kList = make_fourcc("LIST");
// The chunks of a RIFF WAVE file.
constexpr FourCC kWave = make_fourcc("WAVE");
constexpr FourCC kFmt = make_fourcc("fmt ");
constexpr FourCC kData = make_fourcc("data");

// A chunk descriptor: what descending into or creating a chunk records, and
// what ascending out of it needs to patch its size.
struct ChunkInfo {
    FourCC ckid = 0;
    std::uint32_t cksize = 0;
    FourCC fccType = 0;            // form or list type of "RIFF" and "LIST" chunks
    std::uint32_t dwDataOffset = 0;  // file offset of the chunk's data (after the size)
    std::uint32_t dwFlags = 0;
};

// Chunk flags and results.
constexpr std::uint32_t MMIO_DIRTY = 0x10000000;
constexpr unsigned MMIO_FINDCHUNK = 0x0010;
constexpr unsigned MMIO_FINDRIFF = 0x0020;
constexpr unsigned MMIO_FINDLIST = 0x0040;
constexpr unsigned MMIO_CREATERIFF = 0x0020;
constexpr unsigned MMIO_CREATELIST = 0x0040;
constexpr int MMSYSERR_NOERROR = 0;
constexpr int MMIOERR_CANNOTREAD = 259;
constexpr int MMIOERR_CANNOTWRITE = 260;
constexpr int MMIOERR_CANNOTSEEK = 261;
constexpr int MMIOERR_CHUNKNOTFOUND = 265;

// A RIFF file over a POSIX descriptor, with descend, ascend and create in
// the manner of the classic RIFF services, so that the bytes on disk are the
// same: little-endian sizes, one pad byte after odd-sized chunks, sizes
// patched on ascent of a chunk that was created.
class RiffFile {
public:
    enum class Mode { Read, ReadWrite, Create };

    RiffFile() = default;
    RiffFile(RiffFile&&) = default;
    RiffFile& operator=(RiffFile&&) = default;

    // Only regular files open; Create truncates or creates for reading and writing.
    bool open(const std::string& path, Mode mode);
    // false when the descriptor's close reported an error (data may be lost).
    bool close();
    bool isOpen() const { return m_fd.valid(); }
    int fd() const { return m_fd.get(); }

    // Bytes read or written, -1 on error.
    long long read(void* buffer, long long count);
    long long write(const void* buffer, long long count);
    // New position, -1 on error. whence as for lseek.
    long long seek(long long offset, int whence);
    long long position() const { return m_position; }
    long long size() const;

    // Reads the chunk header at the current position. With MMIO_FINDCHUNK,
    // MMIO_FINDRIFF or MMIO_FINDLIST, chunks are skipped until one with the id
    // (or form type) asked for in `ck` is found, within `parent` when given.
    int descend(ChunkInfo& ck, const ChunkInfo* parent, unsigned flags);
    // Leaves the chunk: a created chunk gets its true size written and an odd
    // one its pad byte; the position moves past the chunk's end.
    int ascend(ChunkInfo& ck);
    // Writes a chunk header (id, size, and form type for "RIFF"/"LIST").
    int createChunk(ChunkInfo& ck, unsigned flags);

    // The buffered-I/O state check of the classic services: fails only when
    // the file is not open.
    bool getInfo() const { return isOpen(); }
    bool setInfo() const { return isOpen(); }

private:
    bool readExact(void* buffer, long long count);
    bool writeAt(long long offset, const void* buffer, long long count);

    UniqueFd m_fd;
    long long m_position = 0;
};
