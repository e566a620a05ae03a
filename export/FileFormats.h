#pragma once
// The five file formats a table is exported in, and the one call that writes any of them.
//
// Workbook (.xls): one worksheet "Sheet1" from cell A1; a table wider than 256 columns or
// longer than 65,536 rows goes on over further worksheets (XlsWriter.h).
// Web page (.htm), CSV and XML: TextFiles.h. PDF: PdfWriter.h.
//
// Number texts are told from other texts by CellNumber (NumberShape.h), with "." and the
// given decimal separator.

#include "CellSource.h"

namespace Export {

enum class Format { Workbook, WebPage, Pdf, Csv, Xml };

// Writes the cells in the format to the sink; answers true only when the whole file was
// written.
bool Write(Format format, const CellSource& cells, char decimalSeparator, const Sink& sink);

}  // namespace Export
