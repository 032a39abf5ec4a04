#pragma once

#include <cstddef>

// A shared read-write memory map of a whole file, unmapped when it goes out
// of scope. Its pages are file-backed: they cost page cache, not process
// memory, and the kernel may drop them.
class MappedRegion {
public:
    MappedRegion() = default;
    MappedRegion(MappedRegion&& other) noexcept;
    MappedRegion& operator=(MappedRegion&& other) noexcept;
    MappedRegion(const MappedRegion&) = delete;
    MappedRegion& operator=(const MappedRegion&) = delete;
    ~MappedRegion() { reset(); }

    // Maps `length` bytes of the open descriptor; false when mapping fails.
    bool map(int fd, std::size_t length);
    void reset();

    void* data() const { return m_data; }
    std::size_t size() const { return m_size; }
    bool mapped() const { return m_data != nullptr; }

    // Hints that the mapping will be read front to back.
    void adviseSequential() const;
    // Lets go of the resident pages of a range already processed; they are
    // read back from the file if touched again.
    void release(std::size_t offset, std::size_t length) const;

private:
    void* m_data = nullptr;
    std::size_t m_size = 0;
};
