#pragma once
// Reading and writing the characters of UTF-8 text.

#include <cstddef>
#include <string>
#include <string_view>

namespace Utf8 {

// The character that starts at text[at], with its length in bytes. A byte that does not
// start a well-formed sequence (a stray continuation byte, a cut or overlong sequence, an
// encoded surrogate, a code beyond U+10FFFF) reads as U+FFFD and takes one byte.
char32_t Decode(std::string_view text, std::size_t at, std::size_t& length);

// Appends a character; NUL, surrogates and codes beyond U+10FFFF are written as U+FFFD.
void Append(std::string& out, char32_t code);

// The text in UTF-16 code units, ill-formed bytes read as U+FFFD.
std::u16string ToUtf16(std::string_view text);

}  // namespace Utf8
