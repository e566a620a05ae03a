#pragma once
// The PDF form of a table of texts: A4 landscape pages holding the table with thin grid
// lines, 8-point DejaVu Sans (other fonts only for characters it lacks, embedded as subsets
// of what is used), numbers right-aligned and other texts left-aligned. Each page shows as
// many rows and columns as fit; columns that do not fit continue on further pages, taken in
// the order a spreadsheet prints: all rows of the first columns, then the next columns. A
// line at the top of each page names the rows and columns it holds. Texts are real text, so
// a reader can select and search them.

#include <cstddef>
#include <functional>
#include <string_view>

namespace Pdf {

// The table: rows x cols texts in UTF-8, 0-based.
struct Table {
    int rows = 0;
    int cols = 0;
    std::function<std::string_view(int row, int col)> text;
};

// Writes the PDF through `write`, which answers false when it could not take the bytes.
// Answers true when the whole document was written.
bool WriteTable(const Table& table, char decimalSeparator,
                const std::function<bool(const char* data, std::size_t size)>& write);

}  // namespace Pdf
