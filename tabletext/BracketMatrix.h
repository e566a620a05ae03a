#pragma once
// A matrix written in brackets, as in [1 2; 3 4] or [[1, 2], [3, 4]].

#include <string_view>

#include "TextTable.h"

namespace TableText {

// A bracketed matrix: rows separated by ";" or line breaks, entries by blanks or commas,
// or nested rows as in [[1, 2], [3, 4]]. An empty table when the text is not one.
TextTable ParseBracketMatrix(std::string_view text, TableBound bound = {});

}  // namespace TableText
