#pragma once
// Plain text as the user may have copied it from anywhere, read into a table: the one place
// that decides whether a text is a printed matrix, a bracketed one, comma-separated values
// or tab-separated text.

#include <string_view>

#include "TextTable.h"

namespace TableText {

// A matrix as programs print it and people write it (MatrixText), a bracketed matrix,
// semicolon- or comma-separated values when the text clearly is (no tabs, the same number
// of fields on every line; for semicolons, every comma a decimal comma between digits), else
// TSV. Numbers written with a decimal comma between semicolons take decimalSeparator.
// A printed matrix that cannot be read exactly gives a refused table (TextTable::Refused).
TextTable ParsePlainText(std::string_view text, TableBound bound = {}, char decimalSeparator = '.');

}  // namespace TableText
