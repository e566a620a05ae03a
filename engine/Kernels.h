#pragma once
// Dense building blocks shared by the engine's routines: bounds checks that stand for a
// checked traversal, a cache-blocked multiply-and-accumulate whose every element is formed
// in a fixed order, and a finiteness scan. Internal to the engine.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Matrix.h"

namespace Kernels {

// Raises the error that reading rows 1..rows, columns 1..cols of m row by row through the
// checked element access would meet first: 9 at the first element outside m's bounds, 6
// when a 16-bit counter would step past 32767. Counts below 1 read nothing.
void CheckTraversal(std::int16_t rows, std::int16_t cols, const Matrix& m);

enum class Update { Add, Subtract };

// c(i, j) = c(i, j) + a(i, k) * b(k, j) (or - for Subtract) for k = 0 .. depth - 1 in this
// order, each product rounded before it is added: every element gets exactly the bits of
// the plain loop over k, whatever the blocking and however many workers share the work.
// Row-major operands with leading dimensions lda, ldb, ldc; c must not overlap a or b.
void MultiplyInto(Update update, std::ptrdiff_t m, std::ptrdiff_t n, std::ptrdiff_t depth,
                  const double* a, std::ptrdiff_t lda, const double* b, std::ptrdiff_t ldb,
                  double* c, std::ptrdiff_t ldc, bool parallel = true);

// Elimination steps k0 .. kEnd - 1 of Gaussian elimination applied to the columns
// c0 .. n - 1 of an n by n row-major array whose multipliers a(i, k) for those steps are
// already in place: a(i, j) = a(i, j) - a(i, k) * a(k, j) for every row i > k, in
// ascending k for each element. Requires c0 >= kEnd.
void EliminateColumns(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k0,
                      std::ptrdiff_t kEnd, std::ptrdiff_t c0);

// One step k of Gaussian elimination inside a panel of steps ending before k1: for every
// row i > k the multiplier a(i, k) / a(k, k) replaces a(i, k), and the panel's columns
// k + 1 .. k1 - 1 get a(i, j) = a(i, j) - multiplier * a(k, j). Columns from k1 on are
// left to EliminateColumns.
void EliminatePanelStep(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k,
                        std::ptrdiff_t k1);

// y[j] = y[j] - s * x[j] and y[j] = y[j] + s * x[j] for j = 0 .. count - 1, in the widest
// vectors of the processor (the same bits on every path).
void SubtractScaled(double* y, const double* x, double s, std::ptrdiff_t count);
void AddScaled(double* y, const double* x, double s, std::ptrdiff_t count);
// SubtractScaled, answering the largest |y[j]| afterwards and in where the first j holding
// it; NaNs are left out, and -1 stands for no value (and for no place).
double SubtractScaledMax(double* y, const double* x, double s, std::ptrdiff_t count,
                         std::ptrdiff_t& where);

// A buffer of doubles that the calling thread keeps between calls, so that repeated work
// neither asks the system for fresh zeroed pages nor gives them back every time. Its
// contents are unspecified. Each slot is one buffer per thread; a slot already in use on
// the thread gets a buffer of its own for the time being.
class Scratch {
public:
    enum Slot { PackedA, PackedB, Operand, Result, Panel, Slots };
    Scratch(Slot slot, std::size_t count);
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    double* Data() const { return data_; }

private:
    Slot slot_;
    double* data_ = nullptr;
    std::unique_ptr<double[]> own_;
};

// Whether every element of the rows by cols block is finite.
bool AllFinite(const double* a, std::ptrdiff_t rows, std::ptrdiff_t cols, std::ptrdiff_t lda);

// x[j] = x[j] / d for j = 0 .. count - 1.
void Divide(double* x, double d, std::ptrdiff_t count);

// The largest |x[j]|, j = 0 .. count - 1; NaNs are left out, and -1 stands for no value.
double LargestMagnitude(const double* x, std::ptrdiff_t count);

// Steps k0 .. k1 - 1 of Gaussian elimination with partial pivoting of the n by n row-major
// array a, confined to the panel of columns k0 .. k1 - 1: at step k the row i >= k holding
// the largest |a(i, k)| (the first such row) is exchanged with row k within the panel, the
// multipliers a(i, k) / a(k, k) replace a(i, k) for i > k, and the panel's later columns
// get a(i, j) = a(i, j) - multiplier * a(k, j). pivots[k] receives the row exchanged with
// row k, and each exchange of two different rows flips odd. The same exchanges in the
// other columns are left to ExchangeRows, and the elimination of the columns from k1 on to
// EliminateColumns. Stops at the first step whose largest candidate is not above
// `tolerance` (or is NaN on the diagonal) and returns its index; otherwise k1.
std::ptrdiff_t FactorPanel(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k0,
                           std::ptrdiff_t k1, double tolerance, std::ptrdiff_t* pivots, bool& odd);

// Exchanges row k with row pivots[k] for k = k0 .. k1 - 1 in this order, in the columns
// c0 .. c1 - 1 of the row-major array a.
void ExchangeRows(double* a, std::ptrdiff_t lda, std::ptrdiff_t k0, std::ptrdiff_t k1,
                  const std::ptrdiff_t* pivots, std::ptrdiff_t c0, std::ptrdiff_t c1);

// x(i, j) = x(i, j) - l(i, k) * x(k, j) for the rows i = r0 + 1 .. r1 - 1, the columns
// j = j0 .. j1 - 1 and k = r0 .. i - 1, in ascending k for each element (the forward steps
// of a unit lower triangle l). l may be x itself when its columns r0 .. r1 - 1 lie outside
// j0 .. j1 - 1. On the calling thread.
void EliminateTriangle(const double* l, std::ptrdiff_t ldl, double* x, std::ptrdiff_t ldx,
                       std::ptrdiff_t r0, std::ptrdiff_t r1, std::ptrdiff_t j0, std::ptrdiff_t j1);

// EliminateColumns for the columns j0 .. j1 - 1 only, on the calling thread.
void EliminateColumnRange(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k0,
                          std::ptrdiff_t kEnd, std::ptrdiff_t j0, std::ptrdiff_t j1);

}  // namespace Kernels
