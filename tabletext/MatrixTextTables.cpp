// Tables drawn with rules: Markdown's pipes, ASCII art with "+---+" borders and the box
// drawing characters of terminal tools. Separator rows are dropped, and so are a heading
// row and a label or index column.
#include <algorithm>
#include <string>

#include "MatrixTextParts.h"

namespace MatrixText::Parts {

namespace {

// Box drawing characters (U+2500 to U+257F) as ASCII: vertical rules as "|", the rest
// (horizontal rules, corners, crossings) as "-".
std::string PlainRules(std::string_view line) {
    std::string out;
    out.reserve(line.size());
    for (std::size_t i = 0; i < line.size(); ++i) {
        const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(line[k]); };
        if (i + 2 < line.size() && byte(i) == 0xE2 &&
            (byte(i + 1) == 0x94 || byte(i + 1) == 0x95)) {
            const unsigned code = 0x2500u + ((byte(i + 1) - 0x94u) << 6) + (byte(i + 2) & 0x3Fu);
            const bool vertical = code == 0x2502 || code == 0x2503 || code == 0x2551;
            out.push_back(vertical ? '|' : '-');
            i += 2;
        } else {
            out.push_back(line[i]);
        }
    }
    return out;
}

bool IsSeparatorRow(std::string_view line) {
    return line.find_first_not_of("-=+|: ") == std::string_view::npos &&
           line.find_first_of("-=") != std::string_view::npos;
}

bool IsEntryCell(std::string_view cell) {
    return IsNumber(cell) || IsDecimalCommaNumber(cell) || IsComplex(cell) || IsElision(cell);
}

}  // namespace

TextTable EntriesOfRows(const std::vector<std::vector<std::string>>& rows, TableBound bound) {
    const auto hasEntry = [](const std::vector<std::string>& row) {
        return std::any_of(row.begin(), row.end(),
                           [](const std::string& c) { return IsEntryCell(c); });
    };
    // A frame's headings over its index leave the corner empty; the headings may be numbers.
    bool labelled =
        rows.size() >= 2 && rows[0].front().empty() &&
        std::all_of(rows.begin() + 1, rows.end(),
                    [](const std::vector<std::string>& row) { return !row.front().empty(); });
    std::size_t first = labelled ? 1 : 0;
    while (first < rows.size() && !hasEntry(rows[first]))
        ++first;  // headings
    if (first == rows.size()) return TextTable();
    // Labels beside the rows.
    bool labels = true;
    for (std::size_t r = first; r < rows.size(); ++r)
        labels = labels && !rows[r].front().empty() && !IsEntryCell(rows[r].front());
    labelled = labelled || labels;
    std::size_t entries = 0;
    for (std::size_t r = first; r < rows.size(); ++r) {
        for (std::size_t c = labelled ? 1 : 0; c < rows[r].size(); ++c) {
            if (rows[r][c].empty()) continue;
            if (!IsEntryCell(rows[r][c])) return TextTable();
            ++entries;
        }
    }
    if (entries < 2) return TextTable();
    TextTable table(bound);
    for (std::size_t r = first; r < rows.size(); ++r) {
        table.NewRow();
        for (std::size_t c = labelled ? 1 : 0; c < rows[r].size(); ++c)
            AddEntry(table, rows[r][c]);
    }
    return table;
}

TextTable ParseRuledTable(std::string_view text, TableBound bound) {
    std::vector<std::vector<std::string>> rows;
    bool separator = false, allFramed = true;
    for (std::string_view raw : Lines(text)) {
        const std::string plain = PlainRules(raw);
        std::string_view line = Trim(plain);
        if (line.empty()) continue;
        if (IsSeparatorRow(line)) {
            separator = true;
            continue;
        }
        if (line.front() == '(' && line.back() == ')' &&
            line.find(" row") != std::string_view::npos)
            continue;  // a database shell's "(2 rows)"
        if (line.find('|') == std::string_view::npos) return TextTable();
        allFramed = allFramed && line.front() == '|';
        if (line.front() == '|') line.remove_prefix(1);
        if (!line.empty() && line.back() == '|') line.remove_suffix(1);
        std::vector<std::string>& cells = rows.emplace_back();
        std::size_t pos = 0;
        for (;;) {
            const std::size_t bar = std::min(line.find('|', pos), line.size());
            cells.emplace_back(Trim(line.substr(pos, bar - pos)));
            if (bar == line.size()) break;
            pos = bar + 1;
        }
    }
    if (rows.empty() || (!separator && !allFramed)) return TextTable();
    return EntriesOfRows(rows, bound);
}

}  // namespace MatrixText::Parts
