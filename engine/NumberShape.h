#pragma once
// The shape of a number text, the blanks around it, and the cell texts that are numbers.
//
// A number has an optional sign, digits with at most one decimal separator, and an
// optional exponent (a letter, an optional sign, digits). Which separators and exponent
// letters count, and whether the named values Inf and NaN do, depends on who reads it:
// a cell of the grid or an export takes the result sheet's own forms ("1E-05", "-2.5",
// "0,333333333333333" with a regional ","), a printed matrix pasted in also Fortran's
// "1D-3", Julia's "1.5f-3", "Inf", "NaN" and R's "NA".

#include <optional>
#include <string_view>

// Blanks separate the tokens of a line and surround a cell's number: space, tab, form feed
// and vertical tab. Line breaks are no blanks.
bool IsBlank(char c);
// The text without the blanks and line breaks around it.
std::string_view Trim(std::string_view text);

// What a reader takes for a number.
struct NumberSyntax {
    std::string_view decimalSeparators;  // any one of them may stand once among the digits
    std::string_view exponentLetters;    // any one of them may begin the exponent
    // "Inf", "Infinity" and "NaN" in any case, with or without a sign, and R's "NA".
    bool namedValues = false;
};

// The entries of a printed matrix, with "." or "," as the decimal separator.
constexpr NumberSyntax PrintedNumberSyntax(char decimalSeparator) {
    return {decimalSeparator == ',' ? "," : ".", "EeDdf", true};
}

// Whether the whole text, nothing before or after, is a number of the syntax.
bool HasNumberShape(std::string_view text, const NumberSyntax& syntax);

// The value of a cell's text, or nothing when it is not a number: the text without the
// blanks at either end must be a number with "E" or "e" as its exponent and a finite value.
// The decimal separator is "." and, when decimalSeparator is ",", also "," (the sheet writes
// numbers with the user's regional separator). Texts that merely begin with a number
// ("2 apples"), hexadecimal, "inf" and "nan" are texts.
std::optional<double> CellNumber(std::string_view utf8, char decimalSeparator = '.');
