#pragma once
// Reading an operand's entries from its input grid.

#include <cstdint>

#include "Matrix.h"
#include "Operands.h"

class GridModel;

// m(i, j) = NumericValue of cell (i, j)'s text, for i = 1..rows and, within each, j = 1..cols:
// the values, and any run-time error with the cells read before it, are those of reading
// the cells one by one in that order. Large grids are read by all cores, whole rows each.
// With `typed`, also notes the cells whose texts the sheet, writing with `separator`, would
// write for their values (left empty when the cells are read one by one).
void ReadOperandEntries(const GridModel& grid, std::int16_t rows, std::int16_t cols, Matrix& m,
                        TypedTexts* typed = nullptr, char separator = '.');
