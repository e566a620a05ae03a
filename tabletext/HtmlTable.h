#pragma once
// Tables in HTML: the document written to the clipboard and the table read from one.

#include <string>
#include <string_view>

#include "TextTable.h"

namespace TableText {

// A complete UTF-8 HTML document holding the cells as one <table>.
std::string EncodeHtml(const TextTable& table);
// The first <table> of an HTML fragment or page: rows of <td>/<th> cells, spans filled
// with empty cells, markup removed and character references decoded. Empty when none.
// Spans reach no further than the bound, and reading stops when it is full.
TextTable ParseHtmlTable(std::string_view html, TableBound bound = {});
// A matrix that a web page shows: a data frame's table (pandas, a notebook), whose headings
// and index are <th> cells, read as its <td> entries; or a MathML <mtable>, as pandoc and
// web pages write it, inside other text, its TeX annotation left aside. Empty unless every
// entry is a number and the rows are even; refused (TextTable::IsRefused) when an entry is
// complex or no finite number.
TextTable ParseHtmlMatrix(std::string_view html, TableBound bound = {});

}  // namespace TableText
