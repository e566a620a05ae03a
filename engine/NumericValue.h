#pragma once
// Reading numbers from the texts of the dimension boxes, the grid cells and the constant.

#include <cstdint>
#include <string_view>

// The number a text begins with. Blanks, tabs and line feeds anywhere are skipped; then an
// optional sign, digits, an optional "." and more digits, and an optional exponent ("E" or
// "D", optional sign, digits); "&H" and "&O" start a hexadecimal or octal integer. Reading
// stops at the first character that cannot continue the number. Non-numeric text gives 0.
// A value beyond the range of a double raises 6.
double NumericValue(std::string_view text);
// The same, and whether the text is the one NumberToChars writes for the value with the given
// separator (IsNumberText), found in the same pass.
double NumericValue(std::string_view text, char decimalSeparator, bool& numberText);

// NumericValue rounded down to an integer, as a 16-bit count; outside -32768..32767 raises 6.
std::int16_t ReadDimension(std::string_view text);
