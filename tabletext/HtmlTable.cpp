#include "HtmlTable.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "HtmlEscape.h"
#include "MatrixTextParts.h"
#include "Utf8.h"

namespace TableText {

namespace {

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
        Utf8::Append(out, code == 0xA0 ? U' ' : code);
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
    explicit HtmlTableBuilder(TableBound bound)
        : table_(bound), maxCols_(static_cast<std::size_t>(table_.Bound().cols)) {}
    bool Full() const { return table_.Full(); }

    void StartRow() {
        EndRow();
        inRow_ = true;
        row_.clear();
    }
    void AddCell(std::string text, int colspan, int rowspan) {
        if (!inRow_) StartRow();
        SkipCovered();
        const std::size_t col = row_.size();
        if (col >= maxCols_) return;
        row_.push_back(std::move(text));
        row_.resize(std::min(col + static_cast<std::size_t>(colspan), maxCols_));
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
    std::size_t maxCols_;  // cells and spans stop at the bound
    std::vector<std::string> row_;
    std::vector<int> covered_;  // rows each column is still covered by a span from above
    bool inRow_ = false;
};

// What a table's reading keeps: every cell; only the <td> cells of a data frame, whose
// headings and index are <th>; or the cells of MathML's <mtable>.
enum class Cells { All, Data, MathMl };

// The first table of the page as the kind of reading keeps it. A span in a data frame or
// MathML matrix makes it no such table: spanned is then set and reading stops.
TextTable ReadTable(std::string_view html, TableBound bound, Cells kind, bool& spanned) {
    spanned = false;
    std::size_t pos = FindNoCase(html, kind == Cells::MathMl ? "<mtable" : "<table");
    if (pos == std::string_view::npos && kind == Cells::All) pos = FindNoCase(html, "<tr");
    if (pos == std::string_view::npos) return TextTable();

    HtmlTableBuilder builder(bound);
    CellText cell;
    bool inCell = false;
    int colspan = 1, rowspan = 1;
    int depth = 0;  // tables nested inside a cell only add to its text
    const auto closeCell = [&] {
        if (!inCell) return;
        builder.AddCell(cell.Finish(), colspan, rowspan);
        inCell = false;
    };

    while (pos < html.size() && !builder.Full() && !spanned) {
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
        if (kind == Cells::MathMl) {
            // MathML's table, rows and cells; its TeX annotation is no part of what shows.
            if (name == "annotation" || name == "annotation-xml") name = "style";
            if (name == "table" || name == "tr" || name == "td") name = "span";
            if (name == "mtable" || name == "mtr" || name == "mlabeledtr" || name == "mtd")
                name.erase(0, 1);
        }

        if (!ending && (name == "style" || name == "script")) {
            const std::size_t end =
                FindNoCase(html, "</" + std::string(tag.substr(0, nameEnd)), pos);
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
            if (!ending && (kind == Cells::All || name == "td")) {
                inCell = true;
                colspan = SpanAttribute(tag, "colspan");
                rowspan = SpanAttribute(tag, "rowspan");
                spanned = kind != Cells::All && (colspan > 1 || rowspan > 1);
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

}  // namespace

std::string EncodeHtml(const TextTable& table) {
    std::string out =
        "<html><head><meta charset=\"utf-8\"></head><body>\n<table border=\"1\" "
        "cellspacing=\"0\">\n";
    for (int row = 0; row < table.Rows(); ++row) {
        out += "<tr>";
        for (int col = 0; col < table.Cols(); ++col) {
            out += "<td>";
            AppendHtmlEscaped(out, table.Cell(row, col), LineBreaks::AsBr);
            out += "</td>";
        }
        out += "</tr>\n";
    }
    out += "</table>\n</body></html>\n";
    return out;
}

TextTable ParseHtmlTable(std::string_view html, TableBound bound) {
    bool spanned = false;
    return ReadTable(html, bound, Cells::All, spanned);
}

TextTable ParseHtmlMatrix(std::string_view html, TableBound bound) {
    using namespace MatrixText::Parts;
    const bool frame = FindNoCase(html, "<th") != std::string_view::npos;
    const bool math = FindNoCase(html, "<mtable") != std::string_view::npos;
    if (!frame && !math) return TextTable();
    // Read whole, so that whether it is a matrix does not depend on the bound; without
    // spans it holds no more cells than the page has cells.
    bool spanned = false;
    const TextTable whole = ReadTable(html, {}, math ? Cells::MathMl : Cells::Data, spanned);
    if (spanned) return TextTable();
    std::vector<std::vector<std::string>> rows;
    std::size_t entries = 0;
    for (int row = 0; row < whole.Rows(); ++row) {
        std::vector<std::string> cells;
        bool any = false;
        for (int col = 0; col < whole.RowLength(row); ++col) {
            // MathML writes "−" and blanks between the sign and the number.
            const std::string_view raw = whole.Cell(row, col);
            const std::optional<std::string> plain = NormaliseTypography(raw);
            std::string text(plain ? std::string_view(*plain) : raw);
            std::erase_if(text, [](char c) { return IsBlank(c) || c == '\n'; });
            if (!text.empty() && !IsNumber(text) && !IsComplex(text)) return TextTable();
            any = any || !text.empty();
            cells.push_back(std::move(text));
        }
        if (!any) continue;  // a row of headings only
        if (std::any_of(cells.begin(), cells.end(), [](const std::string& c) { return c.empty(); }))
            return TextTable();
        if (!rows.empty() && cells.size() != rows.front().size()) return TextTable();
        entries += cells.size();
        rows.push_back(std::move(cells));
    }
    if (entries < (math ? 1u : 2u)) return TextTable();
    TextTable table(bound);
    for (const auto& row : rows) {
        table.NewRow();
        for (const std::string& entry : row)
            AddEntry(table, entry);
    }
    return table.IsRefused() ? TextTable::Refused(table.Refusal()) : table;
}

}  // namespace TableText
