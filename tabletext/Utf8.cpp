#include "Utf8.h"

namespace Utf8 {

char32_t Decode(std::string_view text, std::size_t at, std::size_t& length) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(at);
    length = 1;
    if (first < 0x80) return first;
    std::size_t count;
    char32_t code;
    char32_t least;  // the smallest code that needs this many bytes
    if ((first & 0xE0) == 0xC0) {
        count = 2;
        code = first & 0x1F;
        least = 0x80;
    } else if ((first & 0xF0) == 0xE0) {
        count = 3;
        code = first & 0x0F;
        least = 0x800;
    } else if ((first & 0xF8) == 0xF0) {
        count = 4;
        code = first & 0x07;
        least = 0x10000;
    } else {
        return 0xFFFD;
    }
    if (at + count > text.size()) return 0xFFFD;
    for (std::size_t i = 1; i < count; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return 0xFFFD;
        code = (code << 6) | (byte(at + i) & 0x3F);
    }
    if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0xFFFD;
    length = count;
    return code;
}

void Append(std::string& out, char32_t code) {
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) code = 0xFFFD;
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (code >> 18)));
        out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

std::u16string ToUtf16(std::string_view text) {
    std::u16string units;
    units.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        std::size_t length = 0;
        const char32_t code = Decode(text, at, length);
        at += length;
        if (code < 0x10000) {
            units.push_back(static_cast<char16_t>(code));
        } else {
            units.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
            units.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
        }
    }
    return units;
}

}  // namespace Utf8
