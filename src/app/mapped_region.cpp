#include "app/mapped_region.h"

#include <algorithm>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

MappedRegion::MappedRegion(MappedRegion&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0))
{
}

MappedRegion& MappedRegion::operator=(MappedRegion&& other) noexcept
{
    if (this != &other) {
        reset();
        m_data = std::exchange(other.m_data, nullptr);
        m_size = std::exchange(other.m_size, 0);
    }
    return *this;
}

bool MappedRegion::map(int fd, std::size_t length)
{
    reset();
    if (length == 0)
        return false;
    void* p = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (p == MAP_FAILED)
        return false;
    m_data = p;
    m_size = length;
    return true;
}

void MappedRegion::reset()
{
    if (m_data)
        munmap(m_data, m_size);
    m_data = nullptr;
    m_size = 0;
}

void MappedRegion::adviseSequential() const
{
    if (m_data)
        madvise(m_data, m_size, MADV_SEQUENTIAL);
}

void MappedRegion::release(std::size_t offset, std::size_t length) const
{
    if (!m_data || offset >= m_size)
        return;
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::size_t begin = (offset + page - 1) / page * page;
    std::size_t end = std::min(offset + length, m_size) / page * page;
    if (end > begin)
        madvise(static_cast<char*>(m_data) + begin, end - begin, MADV_DONTNEED);
}
