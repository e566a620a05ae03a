// The element-wise routines behind "A+B", "A-B", "Const.*A", "A.*B" and "A'":
// AddMatrices, MultiplyElementwise, ScaleMatrix and TransposeMatrix.
//
// Every routine walks i = 1..rows, re-reads cols at the start of each row, and walks
// j = 1..cols with 16-bit checked counters. A row whose every access lies within the
// bounds of every matrix involved (Matrix::Covers) is done through the row pointers
// without a check per element; any other row goes through the checked At, element by
// element, so that run-time error 9 comes at the same access, after the same elements,
// as it would with every access checked. Both ways store each element before inspecting
// it, in the same order, so a floating-point fault also leaves the same elements written.

#include <cstdint>

#include "Checked.h"
#include "Matrix.h"
#include "MatrixModule.h"

namespace {

// C(i, j) = rule(A(i, j), B(i, j)), with inspection after every store.
template <class Rule>
void CombineElements(std::int16_t rows, std::int16_t cols, const Matrix& A, const Matrix& B,
                     Matrix& C, Rule rule) {
    if (rows < 1) return;
    Checked::For(1, rows, [&](std::int16_t i) {
        const std::int16_t rowCols = cols;  // re-read for every row
        if (rowCols >= 1 && A.Covers(i, rowCols) && B.Covers(i, rowCols) && C.Covers(i, rowCols)) {
            const double* a = A.RowData(i);
            const double* b = B.RowData(i);
            double* c = C.RowData(i);
            for (int j = 0; j < rowCols; ++j) {
                c[j] = rule(a[j], b[j]);
                Checked::Inspect(c[j]);
            }
            Checked::StepPast(rowCols);
        } else {
            Checked::For(1, rowCols, [&](std::int16_t j) {
                const double a = A.At(i, j);
                const double b = B.At(i, j);
                double& c = C.At(i, j);
                c = rule(a, b);
                Checked::Inspect(c);
            });
        }
    });
}

// C(i, j) = rule(A(i, j)), with inspection after every store.
template <class Rule>
void MapElements(std::int16_t rows, std::int16_t cols, const Matrix& A, Matrix& C, Rule rule) {
    if (rows < 1) return;
    Checked::For(1, rows, [&](std::int16_t i) {
        const std::int16_t rowCols = cols;  // re-read for every row
        if (rowCols >= 1 && A.Covers(i, rowCols) && C.Covers(i, rowCols)) {
            const double* a = A.RowData(i);
            double* c = C.RowData(i);
            for (int j = 0; j < rowCols; ++j) {
                c[j] = rule(a[j]);
                Checked::Inspect(c[j]);
            }
            Checked::StepPast(rowCols);
        } else {
            Checked::For(1, rowCols, [&](std::int16_t j) {
                const double a = A.At(i, j);
                double& c = C.At(i, j);
                c = rule(a);
                Checked::Inspect(c);
            });
        }
    });
}

}  // namespace

namespace MatrixModule {

void AddMatrices(std::int16_t rows, std::int16_t cols, const Matrix& A, const Matrix& B,
                 Matrix& C) {
    CombineElements(rows, cols, A, B, C, [](double a, double b) { return a + b; });
}

void MultiplyElementwise(std::int16_t rows, std::int16_t cols, const Matrix& A, const Matrix& B,
                         Matrix& C) {
    CombineElements(rows, cols, A, B, C, [](double a, double b) { return a * b; });
}

void ScaleMatrix(std::int16_t rows, std::int16_t cols, double c, const Matrix& A, Matrix& C) {
    MapElements(rows, cols, A, C, [c](double a) { return a * c; });
}

// T(i, j) = A(j, i): i runs over T's rows and A's columns, j over T's columns and A's rows,
// with rows and cols paired with them exactly so on purpose: a non-square count pair
// stops with error 9 where A or T runs out. A plain copy, so no inspection.
void TransposeMatrix(std::int16_t rows, std::int16_t cols, const Matrix& A, Matrix& T) {
    if (rows < 1) return;
    Checked::For(1, rows, [&](std::int16_t i) {
        const std::int16_t rowCols = cols;  // re-read for every row
        if (rowCols >= 1 && A.Covers(rowCols, i) && T.Covers(i, rowCols)) {
            double* t = T.RowData(i);
            for (int j = 1; j <= rowCols; ++j)
                t[j - 1] = A.RowData(std::int16_t(j))[i - 1];
            Checked::StepPast(rowCols);
        } else {
            Checked::For(1, rowCols, [&](std::int16_t j) {
                const double a = A.At(j, i);
                T.At(i, j) = a;
            });
        }
    });
}

}  // namespace MatrixModule
