#include "TextTable.h"

#include <algorithm>

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

void TextTable::NewRow() {
    rowStarts_.push_back(cellEnds_.size());
}

void TextTable::EndCell() {
    if (rowStarts_.empty()) NewRow();
    cellEnds_.push_back(bytes_.size());
    cols_ = std::max(cols_, static_cast<int>(cellEnds_.size() - rowStarts_.back()));
}

void TextTable::Reserve(std::size_t bytes, std::size_t cells) {
    bytes_.reserve(bytes);
    cellEnds_.reserve(cells);
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

TextTable TextTable::FromVectors(const std::vector<std::vector<std::string>>& rows) {
    TextTable table;
    for (const auto& row : rows) {
        table.NewRow();
        for (const auto& cell : row)
            table.AddCell(cell);
    }
    return table;
}

namespace ClipboardFormats {

std::string_view Trim(std::string_view text) {
    const auto blank = [](char c) {
        return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
    };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

}  // namespace ClipboardFormats
