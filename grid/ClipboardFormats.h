#pragma once
// The clipboard's side of a table of texts: the MIME types a table travels in, and the
// conversion between clipboard contents and a table. The text formats themselves (TSV, CSV,
// HTML, printed matrices) are read and written by the table-text readers.

#include <QByteArray>
#include <QString>
#include <memory>
#include <string_view>

#include "TextTable.h"

class QMimeData;

namespace ClipboardFormats {

// The MIME types read and written.
inline constexpr const char* kLibreOfficeTsv = "application/x-libreoffice-tsvc";
inline constexpr const char* kHtml = "text/html";
inline constexpr const char* kPlainText = "text/plain";
inline constexpr const char* kUtf8Text = "text/plain;charset=utf-8";

// Text that may arrive as UTF-16 (with or without a byte order mark) or UTF-8.
QString DecodeText(const QByteArray& bytes);

// The clipboard contents for a table (the tab-separated text, also as UTF-8 under its own
// type, and the HTML table), and the table that clipboard contents hold
// (LibreOffice's tab-separated format first, a data frame or MathML matrix in HTML, then
// plain text, then an HTML table), holding no more than the bound. Numbers written with a
// decimal comma in semicolon-separated text take the given decimal separator.
std::unique_ptr<QMimeData> ToMimeData(const TextTable& table);
TextTable FromMimeData(const QMimeData& mime, TableBound bound = {}, char decimalSeparator = '.');

}  // namespace ClipboardFormats
