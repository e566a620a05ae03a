#include "TextFiles.h"

#include <string>
#include <string_view>

#include "HtmlEscape.h"
#include "NumberShape.h"

namespace Export {
namespace {

// Text handed to the sink in large blocks: the formats below write millions of small pieces.
class BlockWriter {
public:
    explicit BlockWriter(const Sink& sink) : sink_(sink) { buffer_.reserve(Block + 4096); }

    std::string& Text() { return buffer_; }
    // Hands on the gathered text once a block is full; answers false once a write has failed.
    bool Spill() { return buffer_.size() < Block || Flush(); }
    bool Flush() {
        ok_ = ok_ && sink_(buffer_);
        buffer_.clear();
        return ok_;
    }

private:
    static constexpr std::size_t Block = 1 << 20;
    const Sink& sink_;
    std::string buffer_;
    bool ok_ = true;
};

void AppendCsvField(std::string& out, std::string_view text, bool onlyField) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        // An empty record would read as a blank line; a lone empty field is quoted instead.
        if (text.empty() && onlyField) {
            out.append("\"\"");
        } else {
            out.append(text);
        }
        return;
    }
    out.push_back('"');
    for (const char c : text) {
        if (c == '"') out.push_back('"');
        out.push_back(c);
    }
    out.push_back('"');
}

}  // namespace

bool WriteCsv(const CellSource& cells, const Sink& sink) {
    BlockWriter out(sink);
    const int rows = cells.Rows();
    const int cols = cells.Cols();
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c) {
            if (c > 0) out.Text().push_back(',');
            AppendCsvField(out.Text(), cells.Text(r, c), cols == 1);
        }
        out.Text().append("\r\n");
        if (!out.Spill()) return false;
    }
    return out.Flush();
}

bool WriteXml(const CellSource& cells, const Sink& sink) {
    BlockWriter out(sink);
    std::string& text = out.Text();
    const int rows = cells.Rows();
    const int cols = cells.Cols();
    text.append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<sheet rows=\"");
    text.append(std::to_string(rows));
    text.append("\" cols=\"");
    text.append(std::to_string(cols));
    text.append("\">\n");
    for (int r = 0; r < rows; ++r) {
        bool rowOpen = false;
        for (int c = 0; c < cols; ++c) {
            const std::string_view cell = cells.Text(r, c);
            if (cell.empty()) continue;
            if (!rowOpen) {
                text.append("  <row index=\"");
                text.append(std::to_string(r + 1));
                text.append("\">");
                rowOpen = true;
            }
            text.append("<cell col=\"");
            text.append(std::to_string(c + 1));
            text.append("\">");
            TableText::AppendHtmlEscaped(text, cell);
            text.append("</cell>");
        }
        if (rowOpen) text.append("</row>\n");
        if (!out.Spill()) return false;
    }
    text.append("</sheet>\n");
    return out.Flush();
}

bool WriteWebPage(const CellSource& cells, char decimalSeparator, const Sink& sink) {
    BlockWriter out(sink);
    std::string& text = out.Text();
    const int rows = cells.Rows();
    const int cols = cells.Cols();
    text.append(
        "<!DOCTYPE html>\n"
        "<html xmlns=\"http://www.w3.org/1999/xhtml\" lang=\"en\">\n"
        "<head>\n"
        "<meta charset=\"utf-8\" />\n"
        "<title>Kelvara results</title>\n"
        "<style>\n"
        "table { border-collapse: collapse; font-family: sans-serif; font-size: 10pt; }\n"
        "td { border: 1px solid #c0c0c0; padding: 2px 6px; white-space: pre-wrap; }\n"
        "td.n { text-align: right; }\n"
        "</style>\n"
        "</head>\n"
        "<body>\n"
        "<table>\n");
    for (int r = 0; r < rows; ++r) {
        text.append("<tr>");
        for (int c = 0; c < cols; ++c) {
            const std::string_view cell = cells.Text(r, c);
            text.append(CellNumber(cell, decimalSeparator) ? "<td class=\"n\">" : "<td>");
            TableText::AppendHtmlEscaped(text, cell);
            text.append("</td>");
        }
        text.append("</tr>\n");
        if (!out.Spill()) return false;
    }
    text.append("</table>\n</body>\n</html>\n");
    return out.Flush();
}

}  // namespace Export
