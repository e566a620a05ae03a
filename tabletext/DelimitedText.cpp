#include "DelimitedText.h"

#include "NumberShape.h"

namespace TableText {

namespace {

bool NeedsQuotes(std::string_view text) {
    return text.find_first_of("\t\n\r\"") != std::string_view::npos;
}

void AppendQuoted(std::string& out, std::string_view text) {
    out.push_back('"');
    for (char c : text) {
        if (c == '"') out.push_back('"');
        out.push_back(c);
    }
    out.push_back('"');
}

// The blanks that a CSV field may have around it, trimmed when it is read.
bool IsSpaceOrTab(char c) {
    return c == ' ' || c == '\t';
}

// Reads delimited text with double-quote quoting into a table. A field that opens with a
// quote but does not close properly (the closing quote followed by something other than a
// separator or a line end) is read as plain text. Unless readAll, reading stops once the
// table's bound is full. Unless decimalSeparator is '\0' or ',', an unquoted field that is a
// number with a decimal comma is written with decimalSeparator.
TextTable ParseDelimited(std::string_view text, char separator, bool trimBlanks, TableBound bound,
                         bool readAll, char decimalSeparator = '\0') {
    constexpr NumberSyntax kDecimalComma{",", "Ee", false};
    TextTable table(bound);
    if (text.empty()) return table;
    // A line end after the last row closes that row; it does not open another.
    if (text.ends_with("\r\n"))
        text.remove_suffix(2);
    else if (text.back() == '\n' || text.back() == '\r')
        text.remove_suffix(1);
    table.Reserve(text.size(), text.size() / 4 + 1);

    const std::size_t size = text.size();
    const char stops[] = {separator, '\n', '\r', '\0'};
    const std::string_view stopSet(stops, 3);
    std::size_t pos = 0;
    bool noClosingQuote = false;  // a search already ran to the end without closing
    table.NewRow();
    for (;;) {
        std::size_t start = pos;
        if (trimBlanks)
            while (start < size && IsSpaceOrTab(text[start]) && text[start] != separator)
                ++start;
        bool quoted = false;
        if (start < size && text[start] == '"' && !noClosingQuote) {
            // Find the closing quote; doubled quotes stand for one.
            std::size_t scan = start + 1;
            std::size_t close = std::string_view::npos;
            for (;;) {
                const std::size_t q = text.find('"', scan);
                if (q == std::string_view::npos) break;
                if (q + 1 < size && text[q + 1] == '"') {
                    scan = q + 2;
                    continue;
                }
                close = q;
                break;
            }
            if (close == std::string_view::npos) noClosingQuote = true;
            if (close != std::string_view::npos) {
                std::size_t after = close + 1;
                if (trimBlanks)
                    while (after < size && IsSpaceOrTab(text[after]) && text[after] != separator)
                        ++after;
                if (after == size || stopSet.find(text[after]) != std::string_view::npos) {
                    std::size_t piece = start + 1;
                    while (piece < close) {
                        const std::size_t q = text.find('"', piece);
                        if (q >= close) {
                            table.Append(text.substr(piece, close - piece));
                            break;
                        }
                        table.Append(text.substr(piece, q + 1 - piece));
                        piece = q + 2;
                    }
                    quoted = true;
                    pos = after;
                }
            }
        }
        if (!quoted) {
            std::size_t end = text.find_first_of(stopSet, pos);
            if (end == std::string_view::npos) end = size;
            std::string_view field = text.substr(start, end - start);
            if (trimBlanks)
                while (!field.empty() && IsSpaceOrTab(field.back()))
                    field.remove_suffix(1);
            const std::size_t comma = field.find(',');
            if (decimalSeparator != '\0' && decimalSeparator != ',' &&
                comma != std::string_view::npos && HasNumberShape(field, kDecimalComma)) {
                table.Append(field.substr(0, comma));
                table.Append(decimalSeparator);
                table.Append(field.substr(comma + 1));
            } else {
                table.Append(field);
            }
            pos = end;
        }
        table.EndCell();
        if (pos >= size) break;
        const char c = text[pos++];
        if (c == separator) continue;
        if (c == '\r' && pos < size && text[pos] == '\n') ++pos;
        table.NewRow();
        if (!readAll && table.Full()) break;
    }
    return table;
}

}  // namespace

std::string EncodeTsv(const TextTable& table) {
    std::string out;
    out.reserve(static_cast<std::size_t>(table.Rows()) * static_cast<std::size_t>(table.Cols()) *
                4);
    for (int row = 0; row < table.Rows(); ++row) {
        for (int col = 0; col < table.Cols(); ++col) {
            if (col > 0) out.push_back('\t');
            const std::string_view text = table.Cell(row, col);
            if (NeedsQuotes(text))
                AppendQuoted(out, text);
            else
                out.append(text);
        }
        out.append("\r\n");  // each row ends as spreadsheets end it
    }
    return out;
}

TextTable ParseTsv(std::string_view text, TableBound bound) {
    return ParseDelimited(text, '\t', false, bound, false);
}

TextTable ParseCsv(std::string_view text, TableBound bound) {
    return ParseDelimited(text, ',', true, bound, true);
}

TextTable ParseSemicolonText(std::string_view text, TableBound bound, char decimalSeparator) {
    return ParseDelimited(text, ';', true, bound, true, decimalSeparator);
}

}  // namespace TableText
