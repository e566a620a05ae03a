#include "BracketMatrix.h"

#include <algorithm>

#include "NumberShape.h"

namespace TableText {

namespace {

// Adds the entries of one matrix row, separated by blanks or commas.
void AddMatrixRow(TextTable& table, std::string_view row) {
    row = Trim(row);
    if (row.empty()) return;
    table.NewRow();
    std::size_t pos = 0;
    while (pos < row.size()) {
        const std::size_t end = std::min(row.find_first_of(" \t\r\n,", pos), row.size());
        std::string_view entry = row.substr(pos, end - pos);
        if (!entry.empty()) {
            if (entry.size() >= 2 && entry.front() == '"' && entry.back() == '"')
                entry = entry.substr(1, entry.size() - 2);
            table.AddCell(entry);
        }
        pos = end + 1;
    }
}

}  // namespace

TextTable ParseBracketMatrix(std::string_view text, TableBound bound) {
    TextTable table(bound);
    text = Trim(text);
    if (text.size() < 2 || text.front() != '[' || text.back() != ']') return table;
    const std::string_view inner = text.substr(1, text.size() - 2);
    if (inner.find('[') != std::string_view::npos) {
        // Nested rows: [[1, 2], [3, 4]]; anything between the rows but commas is wrong.
        std::size_t pos = 0;
        while (pos < inner.size()) {
            const std::size_t open = inner.find('[', pos);
            const std::string_view between =
                inner.substr(pos, (open == std::string_view::npos ? inner.size() : open) - pos);
            if (between.find_first_not_of(" \t\r\n,;") != std::string_view::npos)
                return TextTable();
            if (open == std::string_view::npos) break;
            const std::size_t close = inner.find(']', open);
            if (close == std::string_view::npos) return TextTable();
            const std::string_view row = inner.substr(open + 1, close - open - 1);
            if (row.find('[') != std::string_view::npos) return TextTable();
            AddMatrixRow(table, row);
            pos = close + 1;
        }
        return table;
    }
    if (inner.find(']') != std::string_view::npos) return table;
    std::size_t pos = 0;
    while (pos <= inner.size()) {
        const std::size_t end = std::min(inner.find_first_of(";\n", pos), inner.size());
        AddMatrixRow(table, inner.substr(pos, end - pos));
        pos = end + 1;
    }
    return table;
}

}  // namespace TableText
