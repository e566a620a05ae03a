// Entries in columns separated by runs of blanks, as PDFs, web pages, terminals and
// fixed-width reports show them, and the printouts built on such columns: Octave's and
// MATLAB's display ("A =", "Columns 1 through 8", a common scale factor "1.0e+03 *"), R's
// printed matrices and vectors, Julia's display under "2×2 Matrix{Float64}:", and the bracket
// art of Maxima's display.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "MatrixTextParts.h"

namespace MatrixText::Parts {

namespace {

// One line of entries: its tokens, where the line starts (for column positions) and
// whether the first token is a row label.
struct DataRow {
    std::string_view line;
    std::vector<std::string_view> tokens;
};

// Rows that share their columns; a wide matrix is printed as several blocks of columns.
struct Block {
    std::vector<DataRow> rows;
    bool labelled = false;
    std::vector<int> columnOf;  // per row and token, the column by position; empty if unused
    int positionalColumns = 0;
    double factor = 1.0;
    std::size_t headings = 0;  // the tokens of the heading line above the rows
};

bool IsNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// "A =", "ans =": the name that Octave and MATLAB print above a value.
bool IsNameLine(std::string_view line) {
    if (line.empty() || !IsNameStart(line.front())) return false;
    std::size_t pos = 1;
    while (pos < line.size() && (IsNameStart(line[pos]) || (line[pos] >= '0' && line[pos] <= '9')))
        ++pos;
    return Trim(line.substr(pos)) == "=";
}

// "Columns 1 through 8:", "Columns 9 and 10:", "Column 11" open a block of columns.
bool IsColumnsLine(std::string_view line) {
    if (!StartsWith(line, "Column")) return false;
    const std::vector<std::string_view> tokens = Tokens(line);
    if (tokens.size() < 2 || (tokens[0] != "Columns" && tokens[0] != "Column")) return false;
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        std::string_view token = tokens[i];
        if (i + 1 == tokens.size() && token.ends_with(':')) token.remove_suffix(1);
        const bool number = !token.empty() && std::all_of(token.begin(), token.end(), [](char c) {
            return c >= '0' && c <= '9';
        });
        if (!number && token != "through" && token != "and" && token != "to") return false;
    }
    return true;
}

// "1.0e+03 *": the factor that multiplies every entry printed below it.
bool ReadScaleFactor(std::string_view line, double& factor) {
    if (line.empty() || line.back() != '*') return false;
    const std::vector<std::string_view> tokens = Tokens(line);
    std::string_view number;
    if (tokens.size() == 2 && tokens[1] == "*")
        number = tokens[0];
    else if (tokens.size() == 1 && tokens[0].size() > 1 && tokens[0].back() == '*')
        number = tokens[0].substr(0, tokens[0].size() - 1);
    else
        return false;
    if (!IsNumber(number) || number.find('/') != std::string_view::npos) return false;
    const std::string text(number);
    factor = std::strtod(text.c_str(), nullptr);
    return factor != 0 && factor == factor;
}

// R's labels: "[1,]" for a row, "[,1]" for a column, "[1]" for the place in a vector.
bool IsRLabel(std::string_view token) {
    if (token.size() < 3 || token.front() != '[' || token.back() != ']') return false;
    for (char c : token.substr(1, token.size() - 2))
        if (!(c >= '0' && c <= '9') && c != ',') return false;
    return true;
}

bool IsEntry(std::string_view token) {
    if (token.size() > 1 && token[0] == '-' && IsBlank(token[1])) token = Trim(token.substr(1));
    return IsNumber(token) || IsDecimalCommaNumber(token);
}

// The line's tokens, a lone minus sign joined to the number after it ("- 2" in Maxima's
// display and some PDFs).
std::vector<std::string_view> EntryTokens(std::string_view line) {
    std::vector<std::string_view> tokens = Tokens(line);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (tokens[i] == "-" && i + 1 < tokens.size() && IsEntry(tokens[i + 1])) {
            const char* first = tokens[i].data();
            const char* last = tokens[i + 1].data() + tokens[i + 1].size();
            tokens[kept++] = std::string_view(first, static_cast<std::size_t>(last - first));
            ++i;
        } else {
            tokens[kept++] = tokens[i];
        }
    }
    tokens.resize(kept);
    return tokens;
}

bool IsElision(std::string_view token) {
    return token == "..." || token == "\u22ee" || token == "\u22f1" || token == "\u2026";
}

// Entries placed by where they stand: the columns are the runs of positions that some row
// fills. Used when rows hold different numbers of entries, so that an empty place in a
// fixed-width report stays an empty cell. False when two entries of a row share a column.
bool PlaceByPosition(Block& block) {
    std::vector<int> columnOf;
    std::vector<char> filled;
    for (const DataRow& row : block.rows) {
        for (std::string_view token : row.tokens) {
            const std::size_t start = static_cast<std::size_t>(token.data() - row.line.data());
            if (filled.size() < start + token.size()) filled.resize(start + token.size(), 0);
            std::fill(filled.begin() + static_cast<std::ptrdiff_t>(start),
                      filled.begin() + static_cast<std::ptrdiff_t>(start + token.size()), 1);
        }
    }
    std::vector<int> columnAt(filled.size(), -1);
    int columns = 0;
    for (std::size_t i = 0; i < filled.size(); ++i)
        if (filled[i]) columnAt[i] = (i > 0 && filled[i - 1]) ? columns - 1 : columns++;
    for (const DataRow& row : block.rows) {
        int previous = -1;
        for (std::string_view token : row.tokens) {
            const int column = columnAt[static_cast<std::size_t>(token.data() - row.line.data())];
            if (column <= previous) return false;
            columnOf.push_back(column);
            previous = column;
        }
    }
    block.columnOf = std::move(columnOf);
    block.positionalColumns = columns;
    return true;
}

// A data frame's rows numbered 1, 2, 3 (or from 0) under a heading one name short: the
// numbers are row names, not entries.
bool NumberedRows(const Block& block) {
    if (block.labelled || block.headings == 0) return false;
    int expected = -1;
    for (const DataRow& row : block.rows) {
        if (row.tokens.size() != block.headings + 1) return false;
        const std::string_view first = row.tokens.front();
        int number = 0;
        for (char c : first) {
            if (c < '0' || c > '9' || number > 100000) return false;
            number = number * 10 + (c - '0');
        }
        if (expected < 0 && number > 1) return false;
        if (expected >= 0 && number != expected) return false;
        expected = number + 1;
    }
    return true;
}

void AddToken(TextTable& table, std::string_view token, double factor) {
    if (token.size() > 1 && token[0] == '-' && IsBlank(token[1])) {
        std::string joined(1, '-');
        joined.append(Trim(token.substr(1)));
        AddEntry(table, joined, factor);
    } else {
        AddEntry(table, token, factor);
    }
}

}  // namespace

TextTable ParseColumns(std::string_view text, TableBound bound) {
    std::vector<Block> blocks(1);
    bool evidence = false;  // a printout's own mark: a name, a header, labels, bracket art
    bool otherLines = false;
    bool art = false, previousArtRow = false;
    double factor = 1.0;
    for (std::string_view line : Lines(text)) {
        std::string_view content = Trim(line);
        // Maxima's output label (%o1) and bracket art [ 1  2 ] around a row.
        if (StartsWith(content, "(%")) {
            const std::size_t close = content.find(')');
            if (close == std::string_view::npos) return TextTable();
            content = Trim(content.substr(close + 1));
            evidence = true;
        }
        bool artRow = false;
        if (content.size() >= 2 && (content.front() == '[' || content.front() == '|') &&
            (content.back() == ']' || content.back() == '|') &&
            !IsRLabel(Tokens(content).front())) {
            content = Trim(content.substr(1, content.size() - 2));
            art = evidence = artRow = true;
        }
        if (content.empty()) {
            previousArtRow = false;
            continue;
        }
        // A fraction in bracket art spans three lines: not a row of entries.
        if (artRow && previousArtRow) return TextTable();
        previousArtRow = artRow;
        const bool hasData = !blocks.front().rows.empty();
        if (IsNameLine(content)) {
            if (hasData) break;  // the next value printed: only the first is read
            evidence = otherLines = true;
            continue;
        }
        if (IsColumnsLine(content)) {
            if (!blocks.back().rows.empty()) blocks.emplace_back();
            evidence = otherLines = true;
            continue;
        }
        if (ReadScaleFactor(content, factor)) {
            evidence = otherLines = true;
            continue;
        }
        const std::vector<std::string_view> tokens = EntryTokens(content);
        if (std::any_of(tokens.begin(), tokens.end(), IsElision)) return TextTable();
        const std::size_t entries =
            static_cast<std::size_t>(std::count_if(tokens.begin(), tokens.end(), IsEntry));
        if (entries == 0) {
            // A heading (column labels, "Diagonal Matrix", Julia's "2×2 Matrix{Float64}:");
            // after rows of entries it opens the next block of a wide matrix.
            if (!blocks.back().rows.empty()) {
                if (tokens.front() == "[,1]") break;  // R's next value starts at column 1
                blocks.emplace_back();
            }
            blocks.back().headings = content.back() == ':' ? 0 : tokens.size();
            if (IsRLabel(tokens.front()) || content.back() == ':') evidence = true;
            otherLines = true;
            continue;
        }
        const bool labelled = !IsEntry(tokens.front());
        if (entries != tokens.size() - (labelled ? 1 : 0)) return TextTable();
        Block& block = blocks.back();
        if (block.rows.empty()) {
            block.labelled = labelled;
            block.factor = factor;
        } else if (block.labelled != labelled) {
            return TextTable();
        }
        if (labelled && IsRLabel(tokens.front())) evidence = true;
        block.rows.push_back({line, tokens});
    }
    if (blocks.back().rows.empty()) blocks.pop_back();
    if (blocks.empty()) return TextTable();
    for (Block& block : blocks)
        if (NumberedRows(block)) block.labelled = evidence = true;

    // R's vector: "[1]" and "[26]" label places in one long row.
    const Block& head = blocks.front();
    const bool rVector = blocks.size() == 1 && head.labelled &&
                         std::all_of(head.rows.begin(), head.rows.end(), [](const DataRow& row) {
                             return IsRLabel(row.tokens.front()) &&
                                    row.tokens.front().find(',') == std::string_view::npos;
                         });
    std::size_t widest = 0;
    for (Block& block : blocks) {
        if (block.rows.size() != head.rows.size() && !rVector) return TextTable();
        const std::size_t skip = block.labelled ? 1 : 0;
        bool even = true;
        for (const DataRow& row : block.rows) {
            even = even && row.tokens.size() == block.rows.front().tokens.size();
            widest = std::max(widest, row.tokens.size() - skip);
        }
        if (!even && !rVector) PlaceByPosition(block);
    }
    // Plain text needs more than one entry: one line of numbers, or rows of them; labels
    // beside a single column need a printout's own marks to tell them from prose.
    const bool singleLine = head.rows.size() == 1 && blocks.size() == 1;
    if (singleLine && (widest < 2 || (!otherLines && head.labelled))) return TextTable();
    if (widest < 2 && blocks.size() == 1 && head.labelled && !evidence) return TextTable();
    if (art && !evidence) return TextTable();
    // A decimal comma is read only between blank-separated entries: "1,2" alone on its
    // lines is comma-separated text.
    if (widest < 2 && blocks.size() == 1) {
        for (const DataRow& row : head.rows)
            for (std::string_view token : row.tokens)
                if (IsDecimalCommaNumber(token)) return TextTable();
    }

    TextTable table(bound);
    if (rVector) {
        table.NewRow();
        for (const DataRow& row : head.rows)
            for (std::size_t i = 1; i < row.tokens.size(); ++i)
                AddToken(table, row.tokens[i], head.factor);
        return table;
    }
    std::size_t cells = 0;
    for (const Block& block : blocks)
        for (const DataRow& row : block.rows)
            cells += row.tokens.size();
    table.Reserve(text.size(), cells);
    std::vector<std::size_t> next(blocks.size(), 0);  // the block's next position in columnOf
    for (std::size_t r = 0; r < head.rows.size() && !table.Full(); ++r) {
        table.NewRow();
        for (std::size_t b = 0; b < blocks.size(); ++b) {
            const Block& block = blocks[b];
            const DataRow& row = block.rows[r];
            const std::size_t skip = block.labelled ? 1 : 0;
            if (block.columnOf.empty()) {
                for (std::size_t i = skip; i < row.tokens.size(); ++i)
                    AddToken(table, row.tokens[i], block.factor);
                continue;
            }
            // Placed by position: empty cells where a row leaves a column out.
            int column = block.labelled ? 1 : 0;
            for (std::size_t i = 0; i < row.tokens.size(); ++i) {
                const int at = block.columnOf[next[b]++];
                if (i < skip) continue;
                for (; column < at; ++column)
                    table.AddCell({});
                AddToken(table, row.tokens[i], block.factor);
                ++column;
            }
            if (b + 1 < blocks.size())
                for (; column < block.positionalColumns; ++column)
                    table.AddCell({});
        }
    }
    return table;
}

}  // namespace MatrixText::Parts
