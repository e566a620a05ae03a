#pragma once
// The texts that travel over the clipboard as a table, and the formats they travel in:
// tab-separated text with spreadsheet quoting, an HTML table, comma-separated values and a
// bracketed matrix such as [1 2; 3 4]. Pure functions, independent of any clipboard.

#include <QByteArray>
#include <QString>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class QMimeData;

// A table of UTF-8 texts kept in one buffer: rows may be of different lengths, and a cell
// beyond the end of its row reads as "". Compact enough for a million cells.
class TextTable {
public:
    int Rows() const { return static_cast<int>(rowStarts_.size()); }
    int Cols() const { return cols_; }  // the length of the longest row
    bool IsEmpty() const { return rowStarts_.empty(); }
    std::string_view Cell(int row, int col) const;
    int RowLength(int row) const;

    // Building row by row: NewRow, then per cell Append (any number of pieces) and EndCell.
    void NewRow();
    void Append(std::string_view piece) { bytes_.append(piece); }
    void Append(char c) { bytes_.push_back(c); }
    void EndCell();
    void AddCell(std::string_view text) {
        Append(text);
        EndCell();
    }
    void Reserve(std::size_t bytes, std::size_t cells);

    // The table as nested vectors, for comparisons.
    std::vector<std::vector<std::string>> ToVectors() const;
    static TextTable FromVectors(const std::vector<std::vector<std::string>>& rows);

private:
    std::string bytes_;
    std::vector<std::size_t> cellEnds_;   // where each cell's text ends in bytes_
    std::vector<std::size_t> rowStarts_;  // the index of each row's first cell
    int cols_ = 0;
};

namespace ClipboardFormats {

// The MIME types read and written.
inline constexpr const char* kLibreOfficeTsv = "application/x-libreoffice-tsvc";
inline constexpr const char* kHtml = "text/html";
inline constexpr const char* kPlainText = "text/plain";

// Tab-separated text as spreadsheets write it: every row ends in "\n"; a cell holding a tab,
// a line break or a double quote is wrapped in double quotes with inner quotes doubled.
std::string EncodeTsv(const TextTable& table);
// A complete UTF-8 HTML document holding the cells as one <table>.
std::string EncodeHtml(const TextTable& table);

// Tab-separated text with the same quoting; "\r\n" and "\n" end rows, and a final line end
// adds no row.
TextTable ParseTsv(std::string_view text);
// Comma-separated values (RFC 4180 quoting); blanks around unquoted values are dropped.
TextTable ParseCsv(std::string_view text);
// A bracketed matrix: rows separated by ";" or line breaks, entries by blanks or commas,
// or nested rows as in [[1, 2], [3, 4]]. An empty table when the text is not one.
TextTable ParseBracketMatrix(std::string_view text);
// The first <table> of an HTML fragment or page: rows of <td>/<th> cells, spans filled
// with empty cells, markup removed and character references decoded. Empty when none.
TextTable ParseHtmlTable(std::string_view html);
// Plain text as the user may have copied it from anywhere: a bracketed matrix when it is
// one, CSV when it clearly is (no tabs, the same number of fields on every line), else TSV.
TextTable ParsePlainText(std::string_view text);
// Text that may arrive as UTF-16 (with or without a byte order mark) or UTF-8.
QString DecodeText(const QByteArray& bytes);

// The clipboard contents for a table, and the table that clipboard contents hold
// (LibreOffice's tab-separated format first, then plain text, then an HTML table).
QMimeData* ToMimeData(const TextTable& table);
TextTable FromMimeData(const QMimeData& mime);

}  // namespace ClipboardFormats
