#include "ClipboardFormats.h"

#include <QMimeData>
#include <algorithm>
#include <cstdint>
#include <utility>

// ---------------------------------------------------------------------------------------
// TextTable

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

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// Reads delimited text with double-quote quoting into a table. A field that opens with a
// quote but does not close properly (the closing quote followed by something other than a
// separator or a line end) is read as plain text.
TextTable ParseDelimited(std::string_view text, char separator, bool trimBlanks) {
    TextTable table;
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
            while (start < size && IsBlank(text[start]) && text[start] != separator)
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
                    while (after < size && IsBlank(text[after]) && text[after] != separator)
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
                while (!field.empty() && IsBlank(field.back()))
                    field.remove_suffix(1);
            table.Append(field);
            pos = end;
        }
        table.EndCell();
        if (pos >= size) break;
        const char c = text[pos++];
        if (c == separator) continue;
        if (c == '\r' && pos < size && text[pos] == '\n') ++pos;
        table.NewRow();
    }
    return table;
}

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

// ---------------------------------------------------------------------------------------
// HTML

bool StartsWithNoCase(std::string_view text, std::size_t at, std::string_view word) {
    if (at + word.size() > text.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        char c = text[at + i];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != word[i]) return false;
    }
    return true;
}

std::size_t FindNoCase(std::string_view text, std::string_view word, std::size_t from = 0) {
    for (std::size_t at = from; at + word.size() <= text.size(); ++at)
        if (StartsWithNoCase(text, at, word)) return at;
    return std::string_view::npos;
}

void AppendUtf8(std::string& out, char32_t code) {
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) code = 0xFFFD;
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (code >> 18)));
        out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

// Decodes one character reference starting at '&'; answers how many bytes it used (0 when
// it is none, so the '&' stands for itself).
std::size_t DecodeReference(std::string_view text, std::size_t at, std::string& out) {
    const std::size_t semicolon = text.find(';', at);
    if (semicolon == std::string_view::npos || semicolon - at > 10) return 0;
    const std::string_view name = text.substr(at + 1, semicolon - at - 1);
    if (name.size() >= 2 && name[0] == '#') {
        const bool hex = name[1] == 'x' || name[1] == 'X';
        const std::string_view digits = name.substr(hex ? 2 : 1);
        if (digits.empty()) return 0;
        std::uint32_t code = 0;
        for (char c : digits) {
            int digit;
            if (c >= '0' && c <= '9')
                digit = c - '0';
            else if (hex && c >= 'a' && c <= 'f')
                digit = c - 'a' + 10;
            else if (hex && c >= 'A' && c <= 'F')
                digit = c - 'A' + 10;
            else
                return 0;
            code = std::min<std::uint32_t>(
                code * (hex ? 16 : 10) + static_cast<std::uint32_t>(digit), 0x110000);
        }
        AppendUtf8(out, code == 0xA0 ? U' ' : code);
        return semicolon - at + 1;
    }
    static constexpr std::pair<std::string_view, char> kNamed[] = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}, {"nbsp", ' '}};
    for (const auto& [entity, c] : kNamed) {
        if (name == entity) {
            out.push_back(c);
            return semicolon - at + 1;
        }
    }
    return 0;
}

// One cell's text as it is being gathered: runs of white space become one blank, as a
// browser shows them; <br> and block boundaries become line breaks.
class CellText {
public:
    void Text(std::string_view raw) {
        for (std::size_t i = 0; i < raw.size(); ++i) {
            const char c = raw[i];
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f') {
                pendingBlank_ = true;
            } else if (c == '&') {
                FlushBlank();
                const std::size_t used = DecodeReference(raw, i, text_);
                if (used == 0)
                    text_.push_back('&');
                else
                    i += used - 1;
            } else {
                FlushBlank();
                text_.push_back(c);
            }
        }
    }
    void LineBreak() {
        pendingBlank_ = false;
        text_.push_back('\n');
    }
    void BlockBoundary() {
        if (!text_.empty() && text_.back() != '\n') LineBreak();
        pendingBlank_ = false;
    }
    std::string Finish() {
        while (!text_.empty() && text_.back() == '\n')
            text_.pop_back();
        std::string result = std::move(text_);
        text_.clear();
        pendingBlank_ = false;
        return result;
    }

private:
    void FlushBlank() {
        if (pendingBlank_ && !text_.empty() && text_.back() != '\n') text_.push_back(' ');
        pendingBlank_ = false;
    }
    std::string text_;
    bool pendingBlank_ = false;
};

// The value of a span attribute (colspan="3", rowspan=2), limited to a sane size.
int SpanAttribute(std::string_view tag, std::string_view name) {
    const std::size_t at = FindNoCase(tag, name);
    if (at == std::string_view::npos) return 1;
    std::size_t pos = at + name.size();
    while (pos < tag.size() &&
           (tag[pos] == ' ' || tag[pos] == '=' || tag[pos] == '"' || tag[pos] == '\''))
        ++pos;
    int value = 0;
    while (pos < tag.size() && tag[pos] >= '0' && tag[pos] <= '9' && value < 1000)
        value = value * 10 + (tag[pos++] - '0');
    return std::clamp(value, 1, 1000);
}

// Places cells into rows, keeping the columns that row spans from above still cover.
class HtmlTableBuilder {
public:
    void StartRow() {
        EndRow();
        inRow_ = true;
        row_.clear();
    }
    void AddCell(std::string text, int colspan, int rowspan) {
        if (!inRow_) StartRow();
        SkipCovered();
        const std::size_t col = row_.size();
        row_.push_back(std::move(text));
        for (int i = 1; i < colspan; ++i)
            row_.emplace_back();
        if (covered_.size() < row_.size()) covered_.resize(row_.size(), 0);
        for (std::size_t c = col; c < row_.size(); ++c)
            covered_[c] = rowspan - 1;
    }
    void EndRow() {
        if (!inRow_) return;
        SkipCovered();
        for (std::size_t c = row_.size(); c < covered_.size(); ++c)
            if (covered_[c] > 0) --covered_[c];
        table_.NewRow();
        for (const std::string& cell : row_)
            table_.AddCell(cell);
        if (row_.empty()) table_.AddCell({});
        inRow_ = false;
    }
    TextTable Finish() {
        EndRow();
        return std::move(table_);
    }

private:
    // Columns that a span from a row above covers get an empty cell in this row.
    void SkipCovered() {
        while (row_.size() < covered_.size() && covered_[row_.size()] > 0) {
            --covered_[row_.size()];
            row_.emplace_back();
        }
    }
    TextTable table_;
    std::vector<std::string> row_;
    std::vector<int> covered_;  // rows each column is still covered by a span from above
    bool inRow_ = false;
};

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
        out.push_back('\n');
    }
    return out;
}

std::string EncodeHtml(const TextTable& table) {
    std::string out =
        "<html><head><meta charset=\"utf-8\"></head><body>\n<table border=\"1\" "
        "cellspacing=\"0\">\n";
    for (int row = 0; row < table.Rows(); ++row) {
        out += "<tr>";
        for (int col = 0; col < table.Cols(); ++col) {
            out += "<td>";
            for (char c : table.Cell(row, col)) {
                switch (c) {
                    case '&':
                        out += "&amp;";
                        break;
                    case '<':
                        out += "&lt;";
                        break;
                    case '>':
                        out += "&gt;";
                        break;
                    case '"':
                        out += "&quot;";
                        break;
                    case '\n':
                        out += "<br>";
                        break;
                    case '\r':
                        break;
                    default:
                        out.push_back(c);
                }
            }
            out += "</td>";
        }
        out += "</tr>\n";
    }
    out += "</table>\n</body></html>\n";
    return out;
}

TextTable ParseTsv(std::string_view text) {
    return ParseDelimited(text, '\t', false);
}

TextTable ParseCsv(std::string_view text) {
    return ParseDelimited(text, ',', true);
}

TextTable ParseBracketMatrix(std::string_view text) {
    TextTable table;
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

TextTable ParseHtmlTable(std::string_view html) {
    std::size_t pos = FindNoCase(html, "<table");
    if (pos == std::string_view::npos) pos = FindNoCase(html, "<tr");
    if (pos == std::string_view::npos) return TextTable();

    HtmlTableBuilder builder;
    CellText cell;
    bool inCell = false;
    int colspan = 1, rowspan = 1;
    int depth = 0;  // tables nested inside a cell only add to its text
    const auto closeCell = [&] {
        if (!inCell) return;
        builder.AddCell(cell.Finish(), colspan, rowspan);
        inCell = false;
    };

    while (pos < html.size()) {
        const std::size_t open = html.find('<', pos);
        if (open == std::string_view::npos) break;
        if (inCell) cell.Text(html.substr(pos, open - pos));
        if (html.substr(open, 4) == "<!--") {
            const std::size_t end = html.find("-->", open + 4);
            pos = end == std::string_view::npos ? html.size() : end + 3;
            continue;
        }
        const std::size_t close = html.find('>', open);
        if (close == std::string_view::npos) break;
        const std::string_view tag = html.substr(open + 1, close - open - 1);
        pos = close + 1;

        const bool ending = !tag.empty() && tag.front() == '/';
        std::size_t nameEnd = ending ? 1 : 0;
        while (nameEnd < tag.size() && tag[nameEnd] != ' ' && tag[nameEnd] != '\t' &&
               tag[nameEnd] != '\n' && tag[nameEnd] != '\r' && tag[nameEnd] != '/')
            ++nameEnd;
        std::string name(tag.substr(ending ? 1 : 0, nameEnd - (ending ? 1 : 0)));
        for (char& c : name)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');

        if (!ending && (name == "style" || name == "script")) {
            const std::size_t end = FindNoCase(html, "</" + name, pos);
            pos = end == std::string_view::npos ? html.size() : end;
            continue;
        }
        if (name == "table") {
            if (!ending) {
                if (inCell) cell.Text(" ");
                ++depth;
            } else if (--depth <= 0) {
                break;
            }
            continue;
        }
        if (depth > 1) {
            if (inCell && (name == "td" || name == "th") && ending) cell.Text(" ");
            if (inCell && name == "tr" && ending) cell.LineBreak();
            continue;
        }
        if (name == "tr") {
            closeCell();
            if (ending)
                builder.EndRow();
            else
                builder.StartRow();
        } else if (name == "td" || name == "th") {
            closeCell();
            if (!ending) {
                inCell = true;
                colspan = SpanAttribute(tag, "colspan");
                rowspan = SpanAttribute(tag, "rowspan");
            }
        } else if (inCell && name == "br") {
            cell.LineBreak();
        } else if (inCell && (name == "p" || name == "div" || name == "li")) {
            cell.BlockBoundary();
        }
    }
    closeCell();
    return builder.Finish();
}

TextTable ParsePlainText(std::string_view text) {
    const std::string_view trimmed = Trim(text);
    if (trimmed.starts_with('[') && trimmed.ends_with(']')) {
        // Bracketed text that is no matrix is taken as it stands.
        TextTable matrix = ParseBracketMatrix(trimmed);
        return matrix.IsEmpty() ? ParseTsv(text) : matrix;
    }
    if (text.find('\t') == std::string_view::npos && text.find(',') != std::string_view::npos) {
        TextTable csv = ParseCsv(text);
        const int fields = csv.RowLength(0);
        bool even = true;
        for (int row = 1; row < csv.Rows() && even; ++row)
            even = csv.RowLength(row) == fields;
        // One line with a single comma reads as one value (a decimal comma, say).
        if (even && fields >= 2 && (csv.Rows() >= 2 || fields >= 3)) return csv;
    }
    return ParseTsv(text);
}

QString DecodeText(const QByteArray& bytes) {
    QString text;
    const auto byteAt = [&](qsizetype i) { return static_cast<unsigned char>(bytes[i]); };
    if (bytes.size() >= 2 && byteAt(0) == 0xFF && byteAt(1) == 0xFE) {
        text = QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData() + 2),
                                  (bytes.size() - 2) / 2);
    } else if (bytes.size() >= 2 && byteAt(0) == 0xFE && byteAt(1) == 0xFF) {
        QByteArray swapped = bytes.mid(2);
        for (qsizetype i = 0; i + 1 < swapped.size(); i += 2)
            std::swap(swapped[i], swapped[i + 1]);
        text = QString::fromUtf16(reinterpret_cast<const char16_t*>(swapped.constData()),
                                  swapped.size() / 2);
    } else if (bytes.contains('\0') && bytes.size() % 2 == 0) {
        // UTF-16 without a byte order mark: Latin text has its zero bytes in the odd
        // places when little-endian.
        qsizetype oddZeros = 0, evenZeros = 0;
        for (qsizetype i = 0; i < bytes.size(); ++i)
            if (bytes[i] == '\0') ++(i % 2 ? oddZeros : evenZeros);
        QByteArray units = bytes;
        if (evenZeros > oddZeros)
            for (qsizetype i = 0; i + 1 < units.size(); i += 2)
                std::swap(units[i], units[i + 1]);
        text = QString::fromUtf16(reinterpret_cast<const char16_t*>(units.constData()),
                                  units.size() / 2);
    } else {
        text = QString::fromUtf8(bytes);
    }
    while (!text.isEmpty() && (text.back() == QChar(0) || text.back() == QChar(0xFEFF)))
        text.chop(1);
    if (!text.isEmpty() && text.front() == QChar(0xFEFF)) text.remove(0, 1);
    return text;
}

QMimeData* ToMimeData(const TextTable& table) {
    auto* mime = new QMimeData;
    mime->setText(QString::fromUtf8(EncodeTsv(table)));
    mime->setHtml(QString::fromUtf8(EncodeHtml(table)));
    return mime;
}

TextTable FromMimeData(const QMimeData& mime) {
    if (mime.hasFormat(kLibreOfficeTsv)) {
        const QByteArray text = DecodeText(mime.data(kLibreOfficeTsv)).toUtf8();
        if (TextTable table = ParseTsv(text.toStdString()); !table.IsEmpty()) return table;
    }
    const QString html = mime.hasHtml() ? mime.html() : QString();
    if (mime.hasText()) {
        const QByteArray text = mime.text().toUtf8();
        const std::string_view view(text.constData(), static_cast<std::size_t>(text.size()));
        // Beside a spreadsheet's HTML table the text is that spreadsheet's own TSV.
        const bool fromSpreadsheet = html.contains(QLatin1String("<table"), Qt::CaseInsensitive);
        TextTable table = fromSpreadsheet ? ParseTsv(view) : ParsePlainText(view);
        if (!table.IsEmpty()) return table;
    }
    if (!html.isEmpty()) {
        const QByteArray bytes = html.toUtf8();
        return ParseHtmlTable(
            std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    }
    return TextTable();
}

}  // namespace ClipboardFormats
