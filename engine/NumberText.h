#pragma once
// The text a number is shown as: 15 significant digits, correctly rounded; positional for
// decimal exponents -4 to 14, otherwise scientific ("1E+15", "1E-05"); trailing zeros
// dropped; negative zero shown as "0"; the given decimal separator.

#include <cstddef>
#include <string>

// Writes the text into buffer (at least NumberTextCapacity bytes, not terminated) and
// returns its length. The allocation-free form, for writing millions of cells.
inline constexpr std::size_t NumberTextCapacity = 32;
std::size_t NumberToChars(double value, char* buffer, char decimalSeparator = '.');

std::string NumberToText(double value, char decimalSeparator = '.');
