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

}  // namespace TableText
