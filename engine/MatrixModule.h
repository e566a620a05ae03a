#pragma once
// The numeric routines of the calculator. Plain procedures without state: they read their
// operands, write into results that the caller has sized, and report trouble only by
// throwing RuntimeError. Counts are passed by value; no routine changes them.

#include <cstdint>

#include "Matrix.h"

namespace MatrixModule {

// Element-wise routines: element (i, j) for i = 1..rows, j = 1..cols, row by row.
void AddMatrices(std::int16_t rows, std::int16_t cols, const Matrix& A, const Matrix& B, Matrix& C);
void MultiplyElementwise(std::int16_t rows, std::int16_t cols, const Matrix& A, const Matrix& B,
                         Matrix& C);
void ScaleMatrix(std::int16_t rows, std::int16_t cols, double c, const Matrix& A, Matrix& C);
// T(i, j) = A(j, i) for i = 1..rows, j = 1..cols: a full transpose only when rows == cols.
void TransposeMatrix(std::int16_t rows, std::int16_t cols, const Matrix& A, Matrix& T);

// Doolittle LU without pivoting; false on a negligible pivot (A then left partly reduced).
bool DecomposeLU(std::int16_t n, Matrix& A, Matrix& L, Matrix& U);
// Householder QR of an m by n A (m >= n); false when m < n or a column is negligible.
bool DecomposeQR(std::int16_t m, std::int16_t n, Matrix& A, Matrix& R, Matrix& Q);

// C = A * B, C sized rowsA by colsB by the caller.
void MultiplyMatrices(std::int16_t rowsA, std::int16_t colsA, std::int16_t colsB, const Matrix& A,
                      const Matrix& B, Matrix& C);
// Determinant, inverse and rank work on private copies: A is never changed.
double MatrixDeterminant(std::int16_t n, const Matrix& A);
bool InvertMatrix(std::int16_t n, const Matrix& A, Matrix& Inv);
std::int16_t MatrixRank(std::int16_t rows, std::int16_t cols, const Matrix& A);

}  // namespace MatrixModule
