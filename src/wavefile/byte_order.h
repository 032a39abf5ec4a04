#pragma once

#include <cstdint>

// Little-endian fields of RIFF files, independent of the host's byte order.
inline std::uint16_t get_le16(const unsigned char* p)
{
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
inline std::uint32_t get_le32(const unsigned char* p)
{
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}
inline std::uint64_t get_le64(const unsigned char* p)
{
    return static_cast<std::uint64_t>(get_le32(p)) | static_cast<std::uint64_t>(get_le32(p + 4)) << 32;
}

inline void put_le16(unsigned char* p, std::uint16_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}
inline void put_le32(unsigned char* p, std::uint32_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v >> 16);
    p[3] = static_cast<unsigned char>(v >> 24);
}

inline void put_le64(unsigned char* p, std::uint64_t v)
{
    put_le32(p, static_cast<std::uint32_t>(v));
    put_le32(p + 4, static_cast<std::uint32_t>(v >> 32));
}
