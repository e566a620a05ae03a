#pragma once
// Little-endian integers appended to or patched into a byte string: the byte order of the
// workbook's records and of the compound file that holds them.

#include <cstddef>
#include <cstdint>
#include <string>

namespace LittleEndian {

inline void Put8(std::string& out, std::uint8_t v) {
    out.push_back(static_cast<char>(v));
}
inline void Put16(std::string& out, std::uint16_t v) {
    out.push_back(static_cast<char>(v & 0xFF));
    out.push_back(static_cast<char>(v >> 8));
}
inline void Put32(std::string& out, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}
inline std::uint16_t Get16(const std::string& in, std::size_t at) {
    return static_cast<std::uint16_t>(static_cast<unsigned char>(in[at]) |
                                      static_cast<unsigned char>(in[at + 1]) << 8);
}
inline void Set16(std::string& out, std::size_t at, std::uint16_t v) {
    out[at] = static_cast<char>(v & 0xFF);
    out[at + 1] = static_cast<char>(v >> 8);
}
inline void Set32(std::string& out, std::size_t at, std::uint32_t v) {
    for (std::size_t i = 0; i < 4; ++i)
        out[at + i] = static_cast<char>((v >> (8 * i)) & 0xFF);
}

}  // namespace LittleEndian
