#pragma once
// The PDF form of a table of texts: A4 landscape pages holding the table with thin grid
// lines, 8-point DejaVu Sans (other fonts only for characters it lacks, embedded as subsets
// of what is used), numbers right-aligned and other texts left-aligned. Each page shows as
// many rows and columns as fit; columns that do not fit continue on further pages, taken in
// the order a spreadsheet prints: all rows of the first columns, then the next columns. A
// line at the top of each page names the rows and columns it holds. Texts are real text, so
// a reader can select and search them; NUL, noncharacters and ill-formed UTF-8 show as U+FFFD.

#include "CellSource.h"

namespace Pdf {

// Writes the PDF of the cells to the sink. Number texts (with "." or decimalSeparator) are
// right-aligned. Answers true when the whole document was written.
bool WriteTable(const Export::CellSource& cells, char decimalSeparator, const Export::Sink& sink);

}  // namespace Pdf
