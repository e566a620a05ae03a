#pragma once
// The text a number is shown as: 15 significant digits, correctly rounded; positional for
// decimal exponents -4 to 14, otherwise scientific ("1E+15", "1E-05"); trailing zeros
// dropped; negative zero shown as "0"; the given decimal separator.

#include <cstddef>
#include <string>
#include <string_view>

// Writes the text into buffer (at least NumberTextCapacity bytes, not terminated) and
// returns its length. The allocation-free form, for writing millions of cells.
inline constexpr std::size_t NumberTextCapacity = 32;
std::size_t NumberToChars(double value, char* buffer, char decimalSeparator = '.');

std::string NumberToText(double value, char decimalSeparator = '.');

// Whether NumberToChars writes exactly this text for the value NumericValue reads from it:
// a positional number from 1E-04 to below 1E+15 of at most 15 significant digits and 15
// decimals, "-" only before a nonzero value, no zeros in front, none at the end of the
// decimals, and "." as the separator (the one NumericValue reads). So a cell typed in that
// form can be shown as it is.
bool IsNumberText(std::string_view text, char decimalSeparator = '.');
