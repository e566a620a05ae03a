#include "Exporters.h"

#include <QColor>
#include <QFileInfo>
#include <QFont>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QLineF>
#include <QList>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPen>
#include <QRawFont>
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
// PDF: A4 landscape pages holding the table with thin grid lines. Each page shows as many
// rows and columns as fit; columns that do not fit continue on further pages, taken in the
// order a spreadsheet prints: all rows of the first columns, then the next columns. A line
// at the top of each page names the rows and columns it holds.
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

// Draws the used range as a table on as many pages as it needs.
//
// A result sheet may hold millions of cells, so the common case is drawn without text
// layout: texts of printable ASCII are placed glyph by glyph from a table of glyphs and
// advances, and a whole row of a page goes out as one glyph run. Any other text (accents,
// other scripts, characters the font lacks) is drawn by QPainter::drawText, which shapes it
// and falls back to other fonts.
class PdfTable {
public:
    PdfTable(const UsedRange& range, QPdfWriter& writer) : range_(range), writer_(writer) {}

    bool Draw() {
        QPainter painter;
        if (!painter.begin(&writer_)) return false;
        Prepare(painter);
        MeasureColumns();
        const int pageWidth = writer_.width();
        const int pageHeight = writer_.height();
        const int rowsPerPage =
            std::max(1, static_cast<int>((pageHeight - captionHeight_) / rowHeight_));

        // Bands of columns that fit across a page.
        std::vector<std::pair<int, int>> columnBands;
        for (int first = 0; first < range_.cols;) {
            int last = first;
            double width = widths_[first];
            while (last + 1 < range_.cols && width + widths_[last + 1] <= pageWidth) {
                width += widths_[++last];
            }
            columnBands.emplace_back(first, last);
            first = last + 1;
        }

        bool firstPage = true;
        for (const auto& [firstCol, lastCol] : columnBands) {
            for (int firstRow = 0; firstRow < range_.rows; firstRow += rowsPerPage) {
                if (!firstPage && !writer_.newPage()) return false;
                firstPage = false;
                const int lastRow = std::min(range_.rows, firstRow + rowsPerPage) - 1;
                DrawPage(painter, firstRow, lastRow, firstCol, lastCol);
            }
        }
        return painter.end();
    }

private:
    static constexpr double PointSize = 8;

    void Prepare(QPainter& painter) {
        QFont base(QStringLiteral("DejaVu Sans"));
        base.setStyleHint(QFont::SansSerif);
        base.setPointSizeF(PointSize);
        font_ = QFont(base, &writer_);  // resolved for the writer's resolution
        painter.setFont(font_);
        raw_ = QRawFont::fromFont(font_);
        metrics_ = std::make_unique<QFontMetricsF>(font_, &writer_);
        padding_ = metrics_->averageCharWidth() * 0.6;
        rowHeight_ = std::ceil(metrics_->height() * 1.35);
        captionHeight_ = rowHeight_ * 1.5;
        ascent_ = metrics_->ascent();

        QString ascii;
        for (char16_t c = 0x20; c < 0x7F; ++c)
            ascii.append(QChar(c));
        const QList<quint32> glyphs = raw_.glyphIndexesForString(ascii);
        const QList<QPointF> advances = raw_.advancesForGlyphIndexes(glyphs);
        for (qsizetype i = 0; i < glyphs.size() && i < advances.size(); ++i) {
            glyphs_[0x20 + i] = glyphs[i];
            advances_[0x20 + i] = advances[i].x();
        }
    }

    // The width of a text drawn from the glyph table, or a negative number when the text
    // needs the general path.
    double FastWidth(std::string_view text) const {
        double width = 0;
        for (const char ch : text) {
            const auto c = static_cast<unsigned char>(ch);
            if (c >= 0x80 || glyphs_[c] == 0) return -1;
            width += advances_[c];
        }
        return width;
    }

    double TextWidth(std::string_view text) const {
        const double fast = FastWidth(text);
        if (fast >= 0) return fast;
        return metrics_->horizontalAdvance(QString::fromUtf8(text.data(), Size(text)));
    }

    static qsizetype Size(std::string_view text) { return static_cast<qsizetype>(text.size()); }

    // Each column is as wide as its widest text, within the width of a page.
    void MeasureColumns() {
        const double minimum = metrics_->averageCharWidth() * 4 + 2 * padding_;
        const double maximum = writer_.width();
        widths_.assign(static_cast<std::size_t>(range_.cols), minimum);
        for (int r = 0; r < range_.rows; ++r) {
            for (int c = 0; c < range_.cols; ++c) {
                const std::string_view text = range_.Text(r, c);
                if (text.empty()) continue;
                double& width = widths_[static_cast<std::size_t>(c)];
                width = std::max(width, std::min(maximum, TextWidth(text) + 2 * padding_));
            }
        }
    }

    void DrawPage(QPainter& painter, int firstRow, int lastRow, int firstCol, int lastCol) {
        const double top = captionHeight_;
        double right = 0;
        std::vector<double> lefts;
        for (int c = firstCol; c <= lastCol; ++c) {
            lefts.push_back(right);
            right += widths_[static_cast<std::size_t>(c)];
        }
        const double bottom = top + (lastRow - firstRow + 1) * rowHeight_;

        painter.setPen(QColor(96, 96, 96));
        painter.drawText(QPointF(0, ascent_), QStringLiteral("Rows %1\u2013%2, columns %3\u2013%4")
                                                  .arg(firstRow + 1)
                                                  .arg(lastRow + 1)
                                                  .arg(firstCol + 1)
                                                  .arg(lastCol + 1));

        QList<QLineF> lines;
        for (int r = firstRow; r <= lastRow + 1; ++r) {
            const double y = top + (r - firstRow) * rowHeight_;
            lines.append(QLineF(0, y, right, y));
        }
        for (const double x : lefts)
            lines.append(QLineF(x, top, x, bottom));
        lines.append(QLineF(right, top, right, bottom));
        painter.setPen(QPen(QColor(176, 176, 176), writer_.resolution() / 288.0));
        painter.drawLines(lines);

        painter.setPen(Qt::black);
        const char separator = UserDecimalSeparator();
        QList<quint32> glyphs;
        QList<QPointF> positions;
        for (int r = firstRow; r <= lastRow; ++r) {
            const double baseline =
                top + (r - firstRow) * rowHeight_ + (rowHeight_ - metrics_->height()) / 2 + ascent_;
            glyphs.clear();
            positions.clear();
            for (int c = firstCol; c <= lastCol; ++c) {
                const std::string_view text = range_.Text(r, c);
                if (text.empty()) continue;
                const double left = lefts[static_cast<std::size_t>(c - firstCol)];
                const double room = widths_[static_cast<std::size_t>(c)] - 2 * padding_;
                const double fast = FastWidth(text);
                if (fast < 0 || fast > room) {
                    // Shaped text; a text wider than a whole page is cut short with an ellipsis.
                    const QString shaped = metrics_->elidedText(
                        QString::fromUtf8(text.data(), Size(text)), Qt::ElideRight, room);
                    painter.drawText(QPointF(left + padding_, baseline), shaped);
                    continue;
                }
                // Numbers are right-aligned, other texts left-aligned, as in a spreadsheet.
                double x =
                    CellNumber(text, separator) ? left + padding_ + room - fast : left + padding_;
                for (const char ch : text) {
                    const auto code = static_cast<unsigned char>(ch);
                    // A space is left as a gap, which is how PDF readers find word breaks.
                    if (code != ' ') {
                        glyphs.append(glyphs_[code]);
                        positions.append(QPointF(x, baseline));
                    }
                    x += advances_[code];
                }
            }
            if (!glyphs.isEmpty()) {
                QGlyphRun run;
                run.setRawFont(raw_);
                run.setGlyphIndexes(glyphs);
                run.setPositions(positions);
                painter.drawGlyphRun(QPointF(0, 0), run);
            }
        }
    }

    const UsedRange& range_;
    QPdfWriter& writer_;
    QFont font_;
    QRawFont raw_;
    std::unique_ptr<QFontMetricsF> metrics_;
    std::array<quint32, 128> glyphs_{};
    std::array<double, 128> advances_{};
    std::vector<double> widths_;
    double padding_ = 0;
    double rowHeight_ = 1;
    double captionHeight_ = 0;
    double ascent_ = 0;
};

bool WritePdf(const UsedRange& range, QIODevice& device) {
    QPdfWriter writer(&device);
    writer.setCreator(QStringLiteral("Kelvara"));
    writer.setTitle(QStringLiteral("Kelvara results"));
    writer.setResolution(720);
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Landscape,
                                     QMarginsF(12, 12, 12, 12), QPageLayout::Millimeter));
    PdfTable table(range, writer);
    return table.Draw();
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
