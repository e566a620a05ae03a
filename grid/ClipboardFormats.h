#pragma once
// The texts that travel over the clipboard as a table, and the formats they travel in:
// tab-separated text with spreadsheet quoting, an HTML table, comma-separated values and a
// bracketed matrix such as [1 2; 3 4]. Pure functions, independent of any clipboard; each
// format family lives in its own file, and this one chooses among them.

#include <QByteArray>
#include <QString>
#include <string_view>

#include "BracketMatrix.h"
#include "DelimitedText.h"
#include "HtmlTable.h"
#include "TextTable.h"

class QMimeData;

namespace ClipboardFormats {

// The MIME types read and written.
inline constexpr const char* kLibreOfficeTsv = "application/x-libreoffice-tsvc";
inline constexpr const char* kHtml = "text/html";
inline constexpr const char* kPlainText = "text/plain";

// Plain text as the user may have copied it from anywhere: a matrix as programs print it
// and people write it (MatrixText), a bracketed matrix, CSV when it clearly is (no tabs,
// the same number of fields on every line), else TSV.
TextTable ParsePlainText(std::string_view text, TableBound bound = {});
// Text that may arrive as UTF-16 (with or without a byte order mark) or UTF-8.
QString DecodeText(const QByteArray& bytes);

// The clipboard contents for a table, and the table that clipboard contents hold
// (LibreOffice's tab-separated format first, then plain text, then an HTML table), holding
// no more than the bound.
QMimeData* ToMimeData(const TextTable& table);
TextTable FromMimeData(const QMimeData& mime, TableBound bound = {});

}  // namespace ClipboardFormats
