#include "Exporters.h"

#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CellNumber.h"
#include "GridModel.h"
#include "PdfWriter.h"
#include "XlsWriter.h"

// What each export writes: the used range of the grid, that is data rows 1..LastUsedRow and
// data columns 1..LastUsedCol, without the heading row and column. An empty grid gives a
// valid file with no cells.
//
// Workbook (.xls): one worksheet "Sheet1", the used range from cell A1; a range wider than
// 256 columns or longer than 65,536 rows goes on over further worksheets; see XlsWriter.
//
// Web page: an HTML5 page in UTF-8 that is also well-formed XML, holding one <table> with a
// <tr> per row and a <td> per cell; number cells carry class="n" and are right-aligned.
//
// PDF: A4 landscape pages holding the table with thin grid lines; see PdfWriter.
//
// CSV: after RFC 4180, in UTF-8 without a byte order mark: a line per row ending in CR LF,
// fields separated by commas, a field quoted (with quotes doubled) when it holds a comma, a
// quote, a CR or a LF.
//
// XML: a small format of our own, in UTF-8:
//
//   <?xml version="1.0" encoding="UTF-8"?>
//   <sheet rows="3" cols="2">
//     <row index="1"><cell col="1">A =</cell></row>
//     <row index="2"><cell col="1">1</cell><cell col="2">-2.5</cell></row>
//   </sheet>
//
// rows and cols give the used range; row index and cell col are 1-based positions in it.
// Only non-empty cells are written, and rows without any are left out. Texts are escaped
// (&amp; &lt; &gt;, a CR as &#13;); characters that XML 1.0 cannot hold (control characters
// other than tab, LF and CR) are written as U+FFFD.

namespace GridExport {
namespace {

// Whether an export may write to path: it names nothing yet, or an ordinary file (also
// through a symbolic link). A device, pipe, socket or directory there is left alone; the
// save file would otherwise replace it with an ordinary file.
bool IsFileTarget(const QString& path) {
    const QFileInfo target(path);
    return !target.exists() || target.isFile();
}

// Writes a file through QSaveFile, so that a failed export never leaves a part-written file
// nor replaces the one that was there.
bool SaveFile(const QString& path, const std::function<bool(QSaveFile&)>& write) {
    if (path.isEmpty() || !IsFileTarget(path)) return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return false;
    if (!write(file)) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

bool WriteAll(QIODevice& device, std::string_view bytes) {
    return device.write(bytes.data(), static_cast<qint64>(bytes.size())) ==
           static_cast<qint64>(bytes.size());
}

// Text written in large blocks: the formats below write millions of small pieces.
class BlockWriter {
public:
    explicit BlockWriter(QIODevice& device) : device_(device) { buffer_.reserve(Block + 4096); }

    std::string& Text() { return buffer_; }
    // Writes the gathered text once a block is full; answers false once a write has failed.
    bool Spill() { return buffer_.size() < Block || Flush(); }
    bool Flush() {
        ok_ = ok_ && WriteAll(device_, buffer_);
        buffer_.clear();
        return ok_;
    }

private:
    static constexpr std::size_t Block = 1 << 20;
    QIODevice& device_;
    std::string buffer_;
    bool ok_ = true;
};

// The data cells of the used range, 0-based.
struct UsedRange {
    explicit UsedRange(const GridModel& grid)
        : grid(grid), rows(std::max(0, grid.LastUsedRow())), cols(std::max(0, grid.LastUsedCol())) {
        if (rows == 0 || cols == 0) rows = cols = 0;
    }
    std::string_view Text(int row, int col) const { return grid.CellUtf8(row + 1, col + 1); }

    const GridModel& grid;
    int rows;
    int cols;
};

class GridCells : public Xls::CellSource {
public:
    explicit GridCells(const GridModel& grid) : range_(grid) {}
    int Rows() const override { return range_.rows; }
    int Cols() const override { return range_.cols; }
    std::string_view Text(int row, int col) const override { return range_.Text(row, col); }

private:
    UsedRange range_;
};

constexpr std::string_view Replacement = "\xEF\xBF\xBD";  // U+FFFD

// Appends text escaped for XML character data (and HTML text or attribute values).
void AppendEscaped(std::string& out, std::string_view text) {
    std::size_t run = 0;  // start of the stretch that needs no escaping
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        std::string_view replacement;
        std::size_t skip = 1;
        if (c == '&') {
            replacement = "&amp;";
        } else if (c == '<') {
            replacement = "&lt;";
        } else if (c == '>') {
            replacement = "&gt;";
        } else if (c == '"') {
            replacement = "&quot;";
        } else if (c == '\r') {
            replacement = "&#13;";
        } else if (c < 0x20 && c != '\t' && c != '\n') {
            replacement = Replacement;
        } else if (c == 0xEF && i + 2 < text.size() && text[i + 1] == '\xBF' &&
                   (text[i + 2] == '\xBE' || text[i + 2] == '\xBF')) {
            replacement = Replacement;  // U+FFFE and U+FFFF are not XML characters either
            skip = 3;
        } else {
            continue;
        }
        out.append(text.substr(run, i - run));
        out.append(replacement);
        i += skip - 1;
        run = i + 1;
    }
    out.append(text.substr(run));
}

// ---- CSV ----------------------------------------------------------------------------------

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

bool WriteCsv(const UsedRange& range, QIODevice& device) {
    BlockWriter out(device);
    for (int r = 0; r < range.rows; ++r) {
        for (int c = 0; c < range.cols; ++c) {
            if (c > 0) out.Text().push_back(',');
            AppendCsvField(out.Text(), range.Text(r, c), range.cols == 1);
        }
        out.Text().append("\r\n");
        if (!out.Spill()) return false;
    }
    return out.Flush();
}

// ---- XML ----------------------------------------------------------------------------------

bool WriteXml(const UsedRange& range, QIODevice& device) {
    BlockWriter out(device);
    std::string& text = out.Text();
    text.append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<sheet rows=\"");
    text.append(std::to_string(range.rows));
    text.append("\" cols=\"");
    text.append(std::to_string(range.cols));
    text.append("\">\n");
    for (int r = 0; r < range.rows; ++r) {
        bool rowOpen = false;
        for (int c = 0; c < range.cols; ++c) {
            const std::string_view cell = range.Text(r, c);
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
            AppendEscaped(text, cell);
            text.append("</cell>");
        }
        if (rowOpen) text.append("</row>\n");
        if (!out.Spill()) return false;
    }
    text.append("</sheet>\n");
    return out.Flush();
}

// ---- HTML ---------------------------------------------------------------------------------

bool WriteHtml(const UsedRange& range, QIODevice& device) {
    const char separator = UserDecimalSeparator();
    BlockWriter out(device);
    std::string& text = out.Text();
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
    for (int r = 0; r < range.rows; ++r) {
        text.append("<tr>");
        for (int c = 0; c < range.cols; ++c) {
            const std::string_view cell = range.Text(r, c);
            text.append(CellNumber(cell, separator) ? "<td class=\"n\">" : "<td>");
            AppendEscaped(text, cell);
            text.append("</td>");
        }
        text.append("</tr>\n");
        if (!out.Spill()) return false;
    }
    text.append("</table>\n</body>\n</html>\n");
    return out.Flush();
}

// ---- PDF ----------------------------------------------------------------------------------

bool WritePdf(const UsedRange& range, QIODevice& device) {
    Pdf::Table table;
    table.rows = range.rows;
    table.cols = range.cols;
    table.text = [&range](int row, int col) { return range.Text(row, col); };
    return Pdf::WriteTable(table, UserDecimalSeparator(),
                           [&device](const char* data, std::size_t size) {
                               return WriteAll(device, std::string_view(data, size));
                           });
}

}  // namespace

bool ExportExcel(const GridModel& grid, const QString& path) {
    const GridCells cells(grid);
    return SaveFile(path, [&](QSaveFile& file) {
        return Xls::WriteWorkbook(
            cells, [&](std::string_view bytes) { return WriteAll(file, bytes); },
            UserDecimalSeparator());
    });
}

bool ExportHtml(const GridModel& grid, const QString& path) {
    const UsedRange range(grid);
    return SaveFile(path, [&](QSaveFile& file) { return WriteHtml(range, file); });
}

bool ExportPdf(const GridModel& grid, const QString& path) {
    const UsedRange range(grid);
    return SaveFile(path, [&](QSaveFile& file) { return WritePdf(range, file); });
}

bool ExportCsv(const GridModel& grid, const QString& path) {
    const UsedRange range(grid);
    return SaveFile(path, [&](QSaveFile& file) { return WriteCsv(range, file); });
}

bool ExportXml(const GridModel& grid, const QString& path) {
    const UsedRange range(grid);
    return SaveFile(path, [&](QSaveFile& file) { return WriteXml(range, file); });
}

}  // namespace GridExport
