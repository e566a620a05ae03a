// What Compute does for each operation, and the table of operations. Each computation sizes
// its results, runs one engine routine and calls one result writer; its results live until
// it returns.

#include "Operations.h"

#include <cstdint>
#include <iterator>

#include "MatrixModule.h"
#include "ResultSheet.h"

namespace {

void Sum(Operands& s, ResultSheet& sheet) {
    Matrix C;
    C.Resize(s.RowsA, s.ColsA);
    MatrixModule::AddMatrices(s.RowsA, s.ColsA, s.MatA, s.MatB, C);
    sheet.ShowSumResult(s.RowsA, s.ColsA, s.MatA, s.MatB, C);
}

// The engine has no subtraction: "A-B" is computed as the sum, and shown under its own caption.
void Difference(Operands& s, ResultSheet& sheet) {
    Matrix C;
    C.Resize(s.RowsA, s.ColsA);
    MatrixModule::AddMatrices(s.RowsA, s.ColsA, s.MatA, s.MatB, C);
    sheet.ShowDifferenceResult(s.RowsA, s.ColsA, s.MatA, s.MatB, C);
}

void ScalarMultiple(Operands& s, ResultSheet& sheet) {
    Matrix C;
    C.Resize(s.RowsA, s.ColsA);
    MatrixModule::ScaleMatrix(s.RowsA, s.ColsA, s.ConstC, s.MatA, C);
    sheet.ShowScalarMultipleResult(s.RowsA, s.ColsA, s.ConstC, s.MatA, C);
}

void ElementwiseProduct(Operands& s, ResultSheet& sheet) {
    Matrix C;
    C.Resize(s.RowsA, s.ColsA);
    MatrixModule::MultiplyElementwise(s.RowsA, s.ColsA, s.MatA, s.MatB, C);
    sheet.ShowElementwiseProductResult(s.RowsA, s.ColsA, s.MatA, s.MatB, C);
}

// The counts go in as given, so only a square A is transposed.
void Transpose(Operands& s, ResultSheet& sheet) {
    Matrix C;
    C.Resize(s.ColsA, s.RowsA);
    MatrixModule::TransposeMatrix(s.RowsA, s.ColsA, s.MatA, C);
    sheet.ShowTransposeResult(s.RowsA, s.ColsA, s.MatA, C);
}

void Product(Operands& s, ResultSheet& sheet) {
    Matrix C;
    C.Resize(s.RowsA, s.ColsB);
    MatrixModule::MultiplyMatrices(s.RowsA, s.ColsA, s.ColsB, s.MatA, s.MatB, C);
    sheet.ShowProductResult(s.RowsA, s.ColsA, s.ColsB, s.MatA, s.MatB, C);
}

void Determinant(Operands& s, ResultSheet& sheet) {
    const double det = MatrixModule::MatrixDeterminant(s.RowsA, s.MatA);
    sheet.ShowDeterminantResult(s.RowsA, s.MatA, det);
}

void Inverse(Operands& s, ResultSheet& sheet) {
    Matrix Inv;
    Inv.Resize(s.RowsA, s.RowsA);
    const bool ok = MatrixModule::InvertMatrix(s.RowsA, s.MatA, Inv);
    sheet.ShowInverseResult(ok, s.RowsA, s.MatA, Inv);
}

void Rank(Operands& s, ResultSheet& sheet) {
    const std::int16_t rank = MatrixModule::MatrixRank(s.RowsA, s.ColsA, s.MatA);
    sheet.ShowRankResult(s.RowsA, s.ColsA, s.MatA, rank);
}

// Of A taken as RowsA by RowsA.
void LUDecomposition(Operands& s, ResultSheet& sheet) {
    Matrix L, U;
    L.Resize(s.RowsA, s.RowsA);
    U.Resize(s.RowsA, s.RowsA);
    s.TypedA.Forget();  // the engine may work on A in place
    if (MatrixModule::DecomposeLU(s.RowsA, s.MatA, L, U))
        sheet.ShowLUResult(s.RowsA, s.MatA, L, U);
    else
        sheet.ShowLUFailure(s.RowsA, s.MatA, L, U);
}

void QRDecomposition(Operands& s, ResultSheet& sheet) {
    Matrix R, Q;
    R.Resize(s.RowsA, s.ColsA);
    Q.Resize(s.RowsA, s.RowsA);
    s.TypedA.Forget();  // the engine may work on A in place
    if (MatrixModule::DecomposeQR(s.RowsA, s.ColsA, s.MatA, R, Q))
        sheet.ShowQRResult(s.RowsA, s.ColsA, s.MatA, R, Q);
    else
        sheet.ShowQRFailure(s.RowsA, s.ColsA, s.MatA, R, Q);
}

constexpr OperationRow Rows[] = {
    {.operation = Operation::Sum, .caption = "A+B", .readsB = true, .compute = Sum},
    {.operation = Operation::Difference, .caption = "A-B", .readsB = true, .compute = Difference},
    {.operation = Operation::ScalarMultiple,
     .caption = "Const.*A",
     .readsConstant = true,
     .compute = ScalarMultiple},
    {.operation = Operation::ElementwiseProduct,
     .caption = "A.*B",
     .readsB = true,
     .compute = ElementwiseProduct},
    {.operation = Operation::Transpose, .caption = "A'", .compute = Transpose},
    {.operation = Operation::Product,
     .caption = "A*B",
     .readsB = true,
     .rowsOfBEqualColumnsOfA = true,
     .compute = Product},
    {.operation = Operation::Determinant,
     .caption = "Determinant(A)",
     .columnsOfA = ColumnsOfA::EqualToRows,
     .compute = Determinant},
    {.operation = Operation::Inverse,
     .caption = "Inverse(A)",
     .columnsOfA = ColumnsOfA::EqualToRows,
     .compute = Inverse},
    {.operation = Operation::Rank, .caption = "Rank(A)", .compute = Rank},
    {.operation = Operation::LUDecomposition,
     .caption = "LU Decomposition(A)",
     .columnsOfA = ColumnsOfA::EqualToRows,
     .compute = LUDecomposition},
    {.operation = Operation::QRDecomposition,
     .caption = "QR Decomposition(A)",
     .columnsOfA = ColumnsOfA::AtMostRows,
     .compute = QRDecomposition},
};

constexpr bool EachRowInItsPlace() {
    for (std::size_t i = 0; i < std::size(Rows); ++i)
        if (Rows[i].operation != Operation(i)) return false;
    return true;
}
static_assert(EachRowInItsPlace(), "the rows follow the order of Operation");

constexpr std::size_t kComputations = std::size_t(Operation::LUDecomposition);

}  // namespace

std::span<const OperationRow> Computations() {
    return std::span(Rows).first(kComputations);
}

std::span<const OperationRow> Decompositions() {
    return std::span(Rows).subspan(kComputations);
}

const OperationRow* RowAt(std::span<const OperationRow> list, int position) {
    if (position < 0 || std::size_t(position) >= list.size()) return nullptr;
    return &list[std::size_t(position)];
}
