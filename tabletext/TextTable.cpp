#include "TextTable.h"

#include <algorithm>
#include <climits>
#include <utility>

std::string_view TextTable::Cell(int row, int col) const {
    if (row < 0 || row >= Rows() || col < 0) return {};
    const std::size_t first = rowStarts_[static_cast<std::size_t>(row)];
    const std::size_t end =
        row + 1 < Rows() ? rowStarts_[static_cast<std::size_t>(row) + 1] : cellEnds_.size();
    const std::size_t index = first + static_cast<std::size_t>(col);
    if (index >= end) return {};
    const std::size_t begin = index == 0 ? 0 : cellEnds_[index - 1];
    return std::string_view(bytes_).substr(begin, cellEnds_[index] - begin);
}

TextTable::TextTable(TableBound bound) : bound_(bound) {
    bound_.rows = std::max(bound_.rows, 0);
    bound_.cols = std::max(bound_.cols, 0);
    UpdateKeep();
}

void TextTable::NewRow() {
    if (rowsRead_ == 1)
        firstRowCells_ = cellsInRow_;
    else if (rowsRead_ > 1 && cellsInRow_ != firstRowCells_)
        uneven_ = true;
    if (rowsRead_ < INT_MAX) ++rowsRead_;
    cellsInRow_ = 0;
    if (rowsRead_ <= bound_.rows) rowStarts_.push_back(cellEnds_.size());
    UpdateKeep();
}

void TextTable::EndCell() {
    if (rowsRead_ == 0) NewRow();
    if (keep_) {
        cellEnds_.push_back(bytes_.size());
        cols_ = std::max(cols_, static_cast<int>(cellEnds_.size() - rowStarts_.back()));
    } else if (InsideRowsAndCols()) {
        excess_ = true;
    }
    if (cellsInRow_ < INT_MAX) ++cellsInRow_;
    colsRead_ = std::max(colsRead_, cellsInRow_);
    UpdateKeep();
}

void TextTable::Reserve(std::size_t bytes, std::size_t cells) {
    // A bounded table keeps at most its bound's share of what the text holds.
    const std::size_t most = std::min(bound_.cells, static_cast<std::size_t>(bound_.rows) *
                                                        static_cast<std::size_t>(bound_.cols));
    if (cells > most) {
        bytes = static_cast<std::size_t>(static_cast<double>(bytes) * static_cast<double>(most) /
                                         static_cast<double>(cells));
        cells = most;
    }
    bytes_.reserve(bytes);
    cellEnds_.reserve(cells);
}

std::size_t TextTable::Bytes() const {
    return sizeof(*this) + bytes_.capacity() + cellEnds_.capacity() * sizeof(std::size_t) +
           rowStarts_.capacity() * sizeof(std::size_t);
}

int TextTable::RowLength(int row) const {
    if (row < 0 || row >= Rows()) return 0;
    const std::size_t end =
        row + 1 < Rows() ? rowStarts_[static_cast<std::size_t>(row) + 1] : cellEnds_.size();
    return static_cast<int>(end - rowStarts_[static_cast<std::size_t>(row)]);
}

std::vector<std::vector<std::string>> TextTable::ToVectors() const {
    std::vector<std::vector<std::string>> rows(static_cast<std::size_t>(Rows()));
    for (int row = 0; row < Rows(); ++row) {
        const std::size_t first = rowStarts_[static_cast<std::size_t>(row)];
        const std::size_t end =
            row + 1 < Rows() ? rowStarts_[static_cast<std::size_t>(row) + 1] : cellEnds_.size();
        for (std::size_t i = first; i < end; ++i)
            rows[static_cast<std::size_t>(row)].emplace_back(
                Cell(row, static_cast<int>(i - first)));
    }
    return rows;
}

TextTable TextTable::Refused(std::string reason) {
    TextTable table;
    table.refusal_ =
        reason.empty() ? std::string("The text cannot be read as a matrix.") : std::move(reason);
    return table;
}

TextTable TextTable::FromVectors(const std::vector<std::vector<std::string>>& rows) {
    TextTable table;
    for (const auto& row : rows) {
        table.NewRow();
        for (const auto& cell : row)
            table.AddCell(cell);
    }
    return table;
}
