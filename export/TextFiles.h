#pragma once
// The exports that are text files, all in UTF-8 without a byte order mark.
//
// Web page: an HTML5 page that is also well-formed XML, holding one <table> with a <tr> per
// row and a <td> per cell; number cells carry class="n" and are right-aligned.
//
// CSV: after RFC 4180: a line per row ending in CR LF, fields separated by commas, a field
// quoted (with quotes doubled) when it holds a comma, a quote, a CR or a LF.
//
// XML: a small format of our own:
//
//   <?xml version="1.0" encoding="UTF-8"?>
//   <sheet rows="3" cols="2">
//     <row index="1"><cell col="1">A =</cell></row>
//     <row index="2"><cell col="1">1</cell><cell col="2">-2.5</cell></row>
//   </sheet>
//
// rows and cols give the table's size; row index and cell col are 1-based positions in it.
// Only non-empty cells are written, and rows without any are left out. Texts are escaped
// as HtmlEscape.h says.

#include "CellSource.h"

namespace Export {

bool WriteWebPage(const CellSource& cells, char decimalSeparator, const Sink& sink);
bool WriteCsv(const CellSource& cells, const Sink& sink);
bool WriteXml(const CellSource& cells, const Sink& sink);

}  // namespace Export
