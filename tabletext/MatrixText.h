#pragma once
// Recognition of matrices as programs print them and people write them: columns aligned by
// blanks, NumPy, Octave and R printouts, Julia's display, nested lists (JSON, Python,
// Mathematica, Maxima), bracketed literals, LaTeX environments and Markdown or ASCII-art
// tables. The result holds one entry per cell, labels and brackets dropped.

#include <string_view>

#include "TextTable.h"

namespace MatrixText {

// The entries of the matrix that text shows, row by row; an empty table when the text is
// not recognised as a printed or written matrix, so that it can be pasted as it stands.
// Text holding a tab is only recognised in its bracketed or LaTeX forms: otherwise it is
// a spreadsheet's tab-separated text. The table keeps what lies inside the bound; whether
// the text is recognised does not depend on it (RowsRead() is 0 when it is not).
TextTable Parse(std::string_view text, TableBound bound = {});

}  // namespace MatrixText
