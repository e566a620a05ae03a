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
    bool afterBlank = false;  // a blank line stands above it
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

// A number, or a complex one: a matrix of them is recognised, then refused.
bool IsEntry(std::string_view token) {
    if (token.size() > 1 && (token[0] == '-' || token[0] == '+') && IsBlank(token[1]))
        token = Trim(token.substr(1));
    return IsNumber(token) || IsDecimalCommaNumber(token) || IsComplex(token);
}

// The line's tokens, a lone minus sign joined to the number after it ("- 2" in Maxima's
// display and some PDFs), and a lone sign to the imaginary part after it (Octave's "1 - 2i").
std::vector<std::string_view> EntryTokens(std::string_view line) {
    std::vector<std::string_view> tokens = Tokens(line);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const bool sign = tokens[i] == "-" ||
                          (tokens[i] == "+" && i + 1 < tokens.size() && IsComplex(tokens[i + 1]));
        if (sign && i + 1 < tokens.size() && IsEntry(tokens[i + 1])) {
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

// pandas labels a frame's columns 0, 1, 2 by default: a line of consecutive whole numbers
// (a wide frame's later blocks go on from where the last one ended).
bool IsNumberedHeading(const DataRow& row) {
    int previous = -1;
    for (std::string_view token : row.tokens) {
        if (token.empty() || token.size() > 6) return false;
        int number = 0;
        for (char c : token) {
            if (c < '0' || c > '9') return false;
            number = number * 10 + (c - '0');
        }
        if (previous >= 0 && number != previous + 1) return false;
        previous = number;
    }
    return true;
}

// A frame with numbered columns and rows, read as one block since its headings are numbers:
// split into its blocks of columns, each opened by its line of column numbers. Nothing
// changes unless every block then has its rows numbered under it; true when it did.
bool SplitNumberedHeadings(std::vector<Block>& blocks) {
    if (blocks.size() != 1 || blocks.front().labelled) return false;
    const std::vector<DataRow>& rows = blocks.front().rows;
    if (rows.size() < 2 || rows[1].tokens.size() != rows[0].tokens.size() + 1) return false;
    std::vector<Block> split;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        if ((r == 0 || rows[r].afterBlank) && IsNumberedHeading(rows[r])) {
            Block& block = split.emplace_back();
            block.headings = rows[r].tokens.size();
            block.factor = blocks.front().factor;
        } else if (r == 0) {
            return false;
        } else {
            split.back().rows.push_back(rows[r]);
        }
    }
    for (const Block& block : split)
        if (block.rows.empty() || !NumberedRows(block)) return false;
    blocks = std::move(split);
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
    bool blank = false;   // a blank line since the last row of entries
    bool elided = false;  // entries left out: the matrix is recognised, then refused
    std::string_view refusal;
    double factor = 1.0;
    for (std::string_view line : Lines(text)) {
        std::string_view content = Trim(line);
        // R's note that it stopped printing, and the size pandas writes under a frame.
        if (StartsWith(content, "[ reached ")) {
            elided = evidence = true;
            continue;
        }
        if (StartsWith(content, "[") && content.ends_with(" columns]") &&
            content.find(" rows x ") != std::string_view::npos) {
            evidence = otherLines = true;
            continue;
        }
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
            blank = true;
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
        std::vector<std::string_view> tokens = EntryTokens(content);
        // pandas ends the lines of a wrapped frame's headings with "\"; its elisions and
        // NumPy's, Julia's and R's stand where entries were left out.
        if (tokens.back() == "\\") {
            tokens.pop_back();
            evidence = true;
        }
        if (const auto kept = std::remove_if(tokens.begin(), tokens.end(), IsElision);
            kept != tokens.end()) {
            tokens.erase(kept, tokens.end());
            elided = true;
        }
        if (tokens.empty()) continue;
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
        for (std::size_t i = labelled ? 1 : 0; i < tokens.size() && refusal.empty(); ++i)
            refusal = Unreadable(tokens[i]);
        DataRow row{line, std::move(tokens), blank};
        blank = false;
        if (!labelled && !blocks.back().rows.empty() && blocks.back().labelled &&
            IsNumberedHeading(row)) {
            // The numbered column headings of a labelled frame's next block.
            blocks.emplace_back().headings = row.tokens.size();
            otherLines = evidence = true;
            continue;
        }
        Block& block = blocks.back();
        if (labelled && !block.labelled && block.rows.size() == 1 &&
            IsNumberedHeading(block.rows.front()) &&
            row.tokens.size() == block.rows.front().tokens.size() + 1) {
            // The first line was the numbered column headings over labelled rows.
            block.headings = block.rows.front().tokens.size();
            block.rows.clear();
            otherLines = evidence = true;
        }
        if (block.rows.empty()) {
            block.labelled = labelled;
            block.factor = factor;
        } else if (block.labelled != labelled) {
            return TextTable();
        }
        if (labelled && IsRLabel(row.tokens.front())) evidence = true;
        block.rows.push_back(std::move(row));
    }
    if (blocks.back().rows.empty()) blocks.pop_back();
    if (blocks.empty()) return TextTable();
    if (SplitNumberedHeadings(blocks)) evidence = otherLines = true;
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

    if (elided) return TextTable::Refused(std::string(kShortened));
    if (!refusal.empty()) return TextTable::Refused(std::string(refusal));

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
