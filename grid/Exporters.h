#pragma once
// Writing a grid's used range (headings excluded) to a file in one of five formats.
// Each writes through QSaveFile and answers true only when the whole file was written; on
// false any file that was already at path is left untouched. The path is used exactly as
// given, without adding an extension.

#include <QString>

class GridModel;

namespace GridExport {

// An Excel 97-2003 workbook (BIFF8 in a compound file): numbers as number cells, other
// texts as text cells. A used range beyond 65,536 rows or 256 columns answers false.
bool ExportExcel(const GridModel& grid, const QString& path);
// A UTF-8 HTML page holding the cells as a table.
bool ExportHtml(const GridModel& grid, const QString& path);
// A paginated PDF table.
bool ExportPdf(const GridModel& grid, const QString& path);
// Comma-separated values after RFC 4180, UTF-8.
bool ExportCsv(const GridModel& grid, const QString& path);
// A small XML format: <sheet rows cols><row index><cell col>text</cell>...</row></sheet>.
bool ExportXml(const GridModel& grid, const QString& path);

}  // namespace GridExport
