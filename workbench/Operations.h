#pragma once
// The operations the window offers, one row each, in the order of their lists: the caption,
// the inputs the operation reads, the counts the dimension boxes refuse while it is chosen,
// and what Compute does for it (size the results, run the engine routine, hand operands and
// results to the result writer).

#include <span>

#include "Operands.h"

class ResultSheet;

enum class Operation {
    // The computations, in the order of their list.
    Sum,
    Difference,
    ScalarMultiple,
    ElementwiseProduct,
    Transpose,
    Product,
    Determinant,
    Inverse,
    Rank,
    // The decompositions, in the order of theirs.
    LUDecomposition,
    QRDecomposition,
};

// The column counts of A that the columns box takes while an operation is chosen, compared
// with the count in the rows box.
enum class ColumnsOfA { Any, EqualToRows, AtMostRows };

struct OperationRow {
    Operation operation;
    const char* caption;
    bool readsB = false;         // the dimensions and entries of B
    bool readsConstant = false;  // the constant c
    ColumnsOfA columnsOfA = ColumnsOfA::Any;
    bool rowsOfBEqualColumnsOfA = false;  // B's rows box takes only the columns of A
    void (*compute)(Operands& operands, ResultSheet& sheet) = nullptr;
};

// The rows of the two lists, in list order.
std::span<const OperationRow> Computations();
std::span<const OperationRow> Decompositions();

// The row at a position of a list, or nullptr for no choice (-1).
const OperationRow* RowAt(std::span<const OperationRow> list, int position);
