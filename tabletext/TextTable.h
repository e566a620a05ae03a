#pragma once
// The table of texts that the clipboard formats read into and write from.

#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// How many rows and columns a table keeps, and how many cells in all; what lies beyond is
// read but not stored. The count of cells guards against texts that stand for far more
// cells than they hold, such as a web page's table of huge spans.
struct TableBound {
    int rows = INT_MAX;
    int cols = INT_MAX;
    std::size_t cells = SIZE_MAX;
};

// A table of UTF-8 texts kept in one buffer: rows may be of different lengths, and a cell
// beyond the end of its row reads as "". Compact enough for a million cells.
//
// A table may be bounded: the rows and cells that its builder adds beyond the bound are
// counted but never stored, so that a parser fills no more than its target can take
// however large the text it reads.
class TextTable {
public:
    TextTable() = default;
    explicit TextTable(TableBound bound);

    int Rows() const { return static_cast<int>(rowStarts_.size()); }
    int Cols() const { return cols_; }  // the length of the longest row
    bool IsEmpty() const { return rowStarts_.empty(); }
    std::string_view Cell(int row, int col) const;
    int RowLength(int row) const;

    // Building row by row: NewRow, then per cell Append (any number of pieces) and EndCell.
    void NewRow();
    void Append(std::string_view piece) {
        if (keep_) bytes_.append(piece);
    }
    void Append(char c) {
        if (keep_) bytes_.push_back(c);
    }
    void EndCell();
    void AddCell(std::string_view text) {
        Append(text);
        EndCell();
    }
    // Room for the given bytes and cells, as far as the bound lets them be stored.
    void Reserve(std::size_t bytes, std::size_t cells);

    // What the builder added, the rows and cells beyond the bound included: the number of
    // rows, the length of the longest row, and whether every row had the same length.
    int RowsRead() const { return rowsRead_; }
    int ColsRead() const { return colsRead_; }
    bool EvenRows() const { return !uneven_ && (rowsRead_ < 2 || cellsInRow_ == firstRowCells_); }
    // Whether the bound cut anything off.
    bool Cropped() const { return rowsRead_ > Rows() || colsRead_ > cols_ || excess_; }
    // Whether a row beyond the bound has begun, or a cell beyond its count of cells has
    // ended: nothing more will be stored.
    bool Full() const { return rowsRead_ > bound_.rows || excess_; }
    TableBound Bound() const { return bound_; }

    // Bytes of memory the table holds.
    std::size_t Bytes() const;

    // The table as nested vectors, for comparisons.
    std::vector<std::vector<std::string>> ToVectors() const;
    static TextTable FromVectors(const std::vector<std::vector<std::string>>& rows);

    // A text that clearly shows a matrix which cannot be read exactly (a shortened printout,
    // complex or non-finite entries) is refused rather than read as some other matrix: the
    // table holds no cells and says why, in one sentence the user is shown.
    static TextTable Refused(std::string reason);
    bool IsRefused() const { return !refusal_.empty(); }
    const std::string& Refusal() const { return refusal_; }
    // A reader that meets such an entry while it builds notes why (the first reason stays)
    // and reads on, so that the whole text is seen; it then hands on Refused(Refusal()).
    void NoteRefusal(std::string_view reason) {
        if (refusal_.empty()) refusal_ = reason;
    }

private:
    bool InsideRowsAndCols() const { return rowsRead_ <= bound_.rows && cellsInRow_ < bound_.cols; }
    void UpdateKeep() { keep_ = InsideRowsAndCols() && cellEnds_.size() < bound_.cells; }

    std::string bytes_;
    std::vector<std::size_t> cellEnds_;   // where each cell's text ends in bytes_
    std::vector<std::size_t> rowStarts_;  // the index of each row's first cell
    int cols_ = 0;

    TableBound bound_;
    bool keep_ = true;       // the cell being built lies inside the bound
    int rowsRead_ = 0;       // rows begun, those beyond the bound included
    int cellsInRow_ = 0;     // cells ended in the last row begun, likewise
    int colsRead_ = 0;       // the most cells any row had
    int firstRowCells_ = 0;  // the length of the first row, once it has ended
    bool uneven_ = false;    // a row that has ended differed from the first in length
    bool excess_ = false;    // a cell inside the rows and columns was left out for the count
    std::string refusal_;    // why the text was refused; empty when it was not
};
