#pragma once
// Deciding whether a cell's text is a number, for the exports that store numbers as numbers
// (the workbook) or show them as numbers (right-aligned in the web page).
//
// A cell is a number when its whole text, after blanks and tabs at either end are dropped,
// reads as one finite decimal number: an optional sign, digits with at most one decimal
// separator, and an optional exponent ("E" or "e", optional sign, digits). This covers every
// text the result sheet writes ("1E-05", "-2.5", "0.333333333333333"). Texts that merely
// begin with a number ("2 apples"), hexadecimal, "inf" and "nan" are texts.

#include <optional>
#include <string_view>

// The value of a number text, or nothing when the text is not a number. The decimal
// separator is "." and, when decimalSeparator is ",", also "," (the sheet writes numbers
// with the user's regional separator).
std::optional<double> CellNumber(std::string_view utf8, char decimalSeparator = '.');
