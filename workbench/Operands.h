#pragma once
// The main window's operand state: A and B with the counts read from the dimension boxes,
// and the constant c. Compute fills it; the result writers read parts of it directly.

#include <cstdint>

#include "Matrix.h"

struct Operands {
    Matrix MatA;
    Matrix MatB;
    std::int16_t RowsA = 0;
    std::int16_t ColsA = 0;
    std::int16_t RowsB = 0;
    std::int16_t ColsB = 0;
    double ConstC = 0.0;
};
