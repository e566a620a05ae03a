#pragma once
// The main window's operand state: A and B with the counts read from the dimension boxes,
// and the constant c. Compute fills it; the result writers read parts of it directly.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Matrix.h"

class GridModel;

// Which entries of an operand were read from a cell whose text is the very text the sheet
// writes for the value (IsNumberText): the sheet copies those texts instead of writing the
// numbers anew. Known from the reading of the cells to the end of the Compute, and only while
// the matrix holds what was read.
struct TypedTexts {
    const GridModel* grid = nullptr;  // none known
    char separator = '.';             // the sheet's, which the texts were checked against
    std::int16_t rows = 0;
    std::int16_t cols = 0;
    std::size_t wordsPerRow = 0;  // rows start on a word of their own
    std::vector<std::uint64_t> bits;

    bool Typed(int row, int col) const {
        const std::size_t index = std::size_t(col - 1);
        return (bits[std::size_t(row - 1) * wordsPerRow + index / 64] >> (index % 64)) & 1;
    }
    void Forget() { *this = TypedTexts(); }
};

struct Operands {
    Matrix MatA;
    Matrix MatB;
    std::int16_t RowsA = 0;
    std::int16_t ColsA = 0;
    std::int16_t RowsB = 0;
    std::int16_t ColsB = 0;
    double ConstC = 0.0;
    TypedTexts TypedA;
    TypedTexts TypedB;
};
