#pragma once
// Plain text as the user may have copied it from anywhere, read into a table: the one place
// that decides whether a text is a printed matrix, a bracketed one, comma-separated values
// or tab-separated text.

#include <string_view>

#include "TextTable.h"

namespace TableText {

// A matrix as programs print it and people write it (MatrixText), a bracketed matrix, CSV
// when it clearly is (no tabs, the same number of fields on every line), else TSV.
TextTable ParsePlainText(std::string_view text, TableBound bound = {});

}  // namespace TableText
