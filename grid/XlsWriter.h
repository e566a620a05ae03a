#pragma once
// A writer of Excel 97-2003 workbooks: one worksheet in BIFF8 records, inside a compound
// file. Number texts become number cells, other non-empty texts become shared-string cells.

#include <functional>
#include <string_view>

#include "CompoundFile.h"

namespace Xls {

// The largest sheet a BIFF8 workbook holds.
inline constexpr int MaxRows = 65536;
inline constexpr int MaxCols = 256;
// The longest text a cell holds, in UTF-16 code units.
inline constexpr int MaxTextLength = 32767;

// The cells to write: rows x cols texts in UTF-8, (0, 0) being the top-left cell A1.
// A text need only stay valid until the next call of Text.
class CellSource {
public:
    virtual ~CellSource() = default;
    virtual int Rows() const = 0;
    virtual int Cols() const = 0;
    virtual std::string_view Text(int row, int col) const = 0;
};

// Writes the workbook to sink. decimalSeparator is the separator that number texts may use
// besides ".". Answers false, having sent nothing, when the sheet is beyond MaxRows or
// MaxCols or a text beyond MaxTextLength; otherwise answers whether the sink took it all.
bool WriteWorkbook(const CellSource& cells, const CompoundFile::Sink& sink,
                   char decimalSeparator = '.');

}  // namespace Xls
