#pragma once
// The result sheet as a small printed report: the operands and the result, each block
// under its caption, numbers in their text form. Every writer starts by clearing the
// sheet to 31 rows by 11 columns, grows it to its needs, writes cell by cell, and scrolls.
// The writers only read what they are given (and, where the report calls for it, the
// window's B counts and MatA); they need no window to run.

#include <cstdint>

#include "Matrix.h"
#include "Operands.h"

class GridModel;

class ResultSheet {
public:
    // sheet: Grid3's table; window: the window's operands; decimalSeparator: the one of
    // the user's regional settings.
    ResultSheet(GridModel& sheet, const Operands& window, char decimalSeparator = '.');

    void ClearResultSheet();

    void ShowSumResult(std::int16_t rows, std::int16_t cols, const Matrix& A, const Matrix& B,
                       const Matrix& C);
    void ShowDifferenceResult(std::int16_t rows, std::int16_t cols, const Matrix& A,
                              const Matrix& B, const Matrix& C);
    void ShowScalarMultipleResult(std::int16_t rows, std::int16_t cols, double c, const Matrix& A,
                                  const Matrix& C);
    void ShowElementwiseProductResult(std::int16_t rows, std::int16_t cols, const Matrix& A,
                                      const Matrix& B, const Matrix& C);
    void ShowTransposeResult(std::int16_t rows, std::int16_t cols, const Matrix& A,
                             const Matrix& T);
    void ShowProductResult(std::int16_t rowsA, std::int16_t colsA, std::int16_t colsB,
                           const Matrix& A, const Matrix& B, const Matrix& C);
    void ShowDeterminantResult(std::int16_t n, const Matrix& A, double det);
    void ShowInverseResult(bool ok, std::int16_t n, const Matrix& A, const Matrix& Inv);
    void ShowRankResult(std::int16_t rows, std::int16_t cols, const Matrix& A, std::int16_t rank);

    void ShowLUResult(std::int16_t n, const Matrix& A, const Matrix& L, const Matrix& U);
    void ShowLUFailure(std::int16_t n, const Matrix& A, const Matrix& L, const Matrix& U);
    void ShowQRResult(std::int16_t m, std::int16_t p, const Matrix& A, const Matrix& R,
                      const Matrix& Q);
    void ShowQRFailure(std::int16_t m, std::int16_t p, const Matrix& A, const Matrix& R,
                       const Matrix& Q);

private:
    GridModel& sheet_;
    const Operands& window_;
    char separator_;
};
