#pragma once
// The table of texts that the clipboard formats read into and write from.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// A table of UTF-8 texts kept in one buffer: rows may be of different lengths, and a cell
// beyond the end of its row reads as "". Compact enough for a million cells.
class TextTable {
public:
    int Rows() const { return static_cast<int>(rowStarts_.size()); }
    int Cols() const { return cols_; }  // the length of the longest row
    bool IsEmpty() const { return rowStarts_.empty(); }
    std::string_view Cell(int row, int col) const;
    int RowLength(int row) const;

    // Building row by row: NewRow, then per cell Append (any number of pieces) and EndCell.
    void NewRow();
    void Append(std::string_view piece) { bytes_.append(piece); }
    void Append(char c) { bytes_.push_back(c); }
    void EndCell();
    void AddCell(std::string_view text) {
        Append(text);
        EndCell();
    }
    void Reserve(std::size_t bytes, std::size_t cells);

    // The table as nested vectors, for comparisons.
    std::vector<std::vector<std::string>> ToVectors() const;
    static TextTable FromVectors(const std::vector<std::vector<std::string>>& rows);

private:
    std::string bytes_;
    std::vector<std::size_t> cellEnds_;   // where each cell's text ends in bytes_
    std::vector<std::size_t> rowStarts_;  // the index of each row's first cell
    int cols_ = 0;
};

namespace ClipboardFormats {

// The text without the blanks and line breaks around it.
std::string_view Trim(std::string_view text);

}  // namespace ClipboardFormats
