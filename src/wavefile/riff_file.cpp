#include "wavefile/riff_file.h"

#include "app/posix_io.h"
#include "wavefile/byte_order.h"

#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool RiffFile::open(const std::string& path, Mode mode)
{
    close();
    int flags = O_CLOEXEC;
    switch (mode) {
    case Mode::Read: flags |= O_RDONLY; break;
    case Mode::ReadWrite: flags |= O_RDWR; break;
    case Mode::Create: flags |= O_RDWR | O_CREAT | O_TRUNC; break;
    }
    UniqueFd fd(::open(path.c_str(), flags, 0644));
    if (!fd.valid())
        return false;
    struct stat st {};
    if (fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode))
        return false;
    m_fd = std::move(fd);
    m_position = 0;
    return true;
}

bool RiffFile::close()
{
    m_position = 0;
    return m_fd.reset();
}

long long RiffFile::size() const
{
    struct stat st {};
    if (!isOpen() || fstat(m_fd.get(), &st) != 0)
        return -1;
    return st.st_size;
}

long long RiffFile::read(void* buffer, long long count)
{
    if (!isOpen() || count < 0)
        return -1;
    const long long done = read_fully(m_fd.get(), buffer, count, m_position);
    if (done > 0)
        m_position += done;
    return done;
}

bool RiffFile::writeAt(long long offset, const void* buffer, long long count)
{
    return write_fully(m_fd.get(), buffer, count, offset);
}

long long RiffFile::write(const void* buffer, long long count)
{
    if (!isOpen() || count < 0 || !writeAt(m_position, buffer, count))
        return -1;
    m_position += count;
    return count;
}

long long RiffFile::seek(long long offset, int whence)
{
    if (!isOpen())
        return -1;
    long long target = offset;
    if (whence == SEEK_CUR)
        target = m_position + offset;
    else if (whence == SEEK_END)
        target = size() + offset;
    if (target < 0)
        return -1;
    m_position = target;
    return m_position;
}

bool RiffFile::readExact(void* buffer, long long count) { return read(buffer, count) == count; }

int RiffFile::descend(ChunkInfo& ck, const ChunkInfo* parent, unsigned flags)
{
    const long long limit =
        parent ? static_cast<long long>(parent->dwDataOffset) + parent->cksize : LLONG_MAX;
    const FourCC wantId = ck.ckid;
    const FourCC wantType = ck.fccType;
    for (;;) {
        if (m_position + 8 > limit)
            return MMIOERR_CHUNKNOTFOUND;
        unsigned char header[8];
        if (!readExact(header, 8))
            return MMIOERR_CHUNKNOTFOUND;
        ChunkInfo found;
        found.ckid = get_le32(header);
        found.cksize = get_le32(header + 4);
        found.dwDataOffset = static_cast<std::uint32_t>(m_position);
        if (found.ckid == kRiff || found.ckid == kList || found.ckid == kRf64 || found.ckid == kBw64) {
            unsigned char type[4];
            if (!readExact(type, 4))
                return MMIOERR_CHUNKNOTFOUND;
            found.fccType = get_le32(type);
        }
        bool match = true;
        if (flags & MMIO_FINDCHUNK)
            match = found.ckid == wantId;
        else if (flags & MMIO_FINDRIFF)
            match = found.ckid == kRiff && found.fccType == wantType;
        else if (flags & MMIO_FINDLIST)
            match = found.ckid == kList && found.fccType == wantType;
        if (match) {
            ck = found;
            return MMSYSERR_NOERROR;
        }
        const long long next =
            static_cast<long long>(found.dwDataOffset) + found.cksize + (found.cksize & 1);
        if (seek(next, SEEK_SET) < 0)
            return MMIOERR_CHUNKNOTFOUND;
    }
}

int RiffFile::ascend(ChunkInfo& ck)
{
    if (!isOpen())
        return MMIOERR_CANNOTSEEK;
    if (ck.dwFlags & MMIO_DIRTY) {
        const long long size = m_position - ck.dwDataOffset;
        if (size < 0 || size > 0xFFFFFFFFLL)
            return MMIOERR_CANNOTSEEK;
        if (static_cast<std::uint32_t>(size) != ck.cksize) {
            unsigned char field[4];
            put_le32(field, static_cast<std::uint32_t>(size));
            if (!writeAt(static_cast<long long>(ck.dwDataOffset) - 4, field, 4))
                return MMIOERR_CANNOTWRITE;
            ck.cksize = static_cast<std::uint32_t>(size);
        }
        if (size & 1) {
            const unsigned char pad = 0;
            if (!writeAt(m_position, &pad, 1))
                return MMIOERR_CANNOTWRITE;
        }
        ck.dwFlags &= ~MMIO_DIRTY;
    }
    const long long end = static_cast<long long>(ck.dwDataOffset) + ck.cksize + (ck.cksize & 1);
    return seek(end, SEEK_SET) < 0 ? MMIOERR_CANNOTSEEK : MMSYSERR_NOERROR;
}

int RiffFile::createChunk(ChunkInfo& ck, unsigned flags)
{
    if (flags & MMIO_CREATERIFF)
        ck.ckid = kRiff;
    else if (flags & MMIO_CREATELIST)
        ck.ckid = kList;
    unsigned char header[12];
    put_le32(header, ck.ckid);
    put_le32(header + 4, ck.cksize);
    long long length = 8;
    if (ck.ckid == kRiff || ck.ckid == kList || ck.ckid == kRf64) {
        put_le32(header + 8, ck.fccType);
        length = 12;
    }
    const long long start = m_position;
    if (write(header, length) != length)
        return MMIOERR_CANNOTWRITE;
    ck.dwDataOffset = static_cast<std::uint32_t>(start + 8);
    ck.dwFlags = MMIO_DIRTY;
    return MMSYSERR_NOERROR;
}
