#pragma once
// A writer of Excel 97-2003 workbooks: BIFF8 records inside a compound file. Number texts
// become number cells, other non-empty texts become shared-string cells. A sheet larger
// than one worksheet holds goes on over further worksheets (see XlsWriter.cpp).

#include "CellSource.h"

namespace Xls {

// The largest worksheet BIFF8 holds.
inline constexpr int MaxRows = 65536;
inline constexpr int MaxCols = 256;
// The longest text a cell holds, in UTF-16 code units; longer texts are cut to it.
inline constexpr int MaxTextLength = 32767;

// Writes the workbook to sink. decimalSeparator is the separator that number texts may use
// besides ".". Answers false, having sent nothing, when the workbook would be larger than a
// compound file holds; otherwise answers whether the sink took it all.
bool WriteWorkbook(const Export::CellSource& cells, const Export::Sink& sink,
                   char decimalSeparator = '.');

}  // namespace Xls
