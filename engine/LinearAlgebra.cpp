// Product, determinant, inverse and rank.
//
// Each routine first reads its operands into private row-major copies. Reading follows the
// order of a checked traversal, A's block row by row, then B's: a matrix smaller than the
// counts raises 9 (and a count of 32767 raises 6) before anything is computed or written.
// A is never changed. Results are inspected in whole blocks once they are complete: a
// non-finite value raises 6, just as inspecting each value as it is stored would, since
// no operation used here turns a non-finite value back into a finite one.
//
// Determinant, inverse and rank:
//  - Small integer matrices (at most 4096 entries, each an integer of magnitude up to
//    2^62) are first reduced exactly, by fraction-free elimination in 128-bit integers.
//    That gives the exact rank, the exact determinant (rounded once, to the nearest
//    double) and an exact verdict on invertibility. An intermediate value that does not
//    fit ends the exact attempt, and the floating-point methods below take over.
//  - Otherwise every row is first scaled by a power of two so that its largest magnitude
//    lies in [0.5, 1). The scaling is exact and is undone exactly (det A = det A' / prod
//    2^-e, inv A = inv A' * diag(2^-e)); it keeps the elimination clear of overflow and
//    makes the test for singularity independent of how the rows are scaled.
//  - Singularity rule: a pivot p of the scaled matrix A' counts as zero when
//        |p| <= N * 2^-52 * ||A'||_F,
//    N being the larger count and ||A'||_F the Frobenius norm of A'. Rounding leaves
//    residual pivots of a few units of 2^-52 times the matrix's scale where exact
//    arithmetic would give zero; the absolute test 1 + |p| == 1 would miss those and
//    would call any matrix of tiny entries singular.
//  - Determinant and inverse use Gaussian elimination with partial pivoting, blocked for
//    the caches and shared between the cores; the determinant is the signed product of
//    the pivots (with the exponent kept apart, so that only the final value can overflow
//    or underflow) and is not rounded to zero by the rule above, except that an integer
//    matrix whose determinant comes out below 1/2 in magnitude has determinant 0. The rank
//    uses complete pivoting and counts the pivots above the threshold.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

#include "Checked.h"
#include "Kernels.h"
#include "MatrixModule.h"
#include "Parallel.h"
#include "RuntimeError.h"

namespace MatrixModule {

namespace {

constexpr double kEpsilon = 0x1p-52;
constexpr std::ptrdiff_t kExactLimit = 4096;  // entries tried by exact elimination
constexpr std::ptrdiff_t kPanel = 48;         // steps per block of the blocked elimination
constexpr std::ptrdiff_t kSolveBlock =
    32;  // rows per block of the triangular solves    // rows per block of the triangular solves
// Floating-point operations of one block's elimination below which the workers are left out
// of it: measured on two threads that share one core's arithmetic units, the panels of
// matrices up to 1000 x 1000 ran no faster shared out.
constexpr double kShareLimit = 1.0e8;

[[noreturn]] void RaiseOverflow() {
    throw RuntimeError(RuntimeError::Overflow);
}

// Room for A's block, rows by cols, as a contiguous row-major array in the calling thread's
// operand buffer, once A is checked to hold it as described. ScaleRows fills it.
struct Block {
    Kernels::Scratch buffer;
    double* data;
    Block(std::int16_t rows, std::int16_t cols, const Matrix& A)
        : buffer((Kernels::CheckTraversal(rows, cols, A), Kernels::Scratch::Operand),
                 std::size_t(rows) * std::size_t(cols)),
          data(buffer.Data()) {}
};

// ---------------------------------------------------------------- exact path -------------

struct ExactReduction {
    std::ptrdiff_t rank;
    double determinant;  // for square matrices
};

// Fraction-free (Bareiss) elimination with row exchanges: every intermediate value is a
// minor of A, and each division by the previous pivot is exact.
std::optional<ExactReduction> ReduceIntegers(std::ptrdiff_t rows, std::ptrdiff_t cols,
                                             const Matrix& A) {
    using Int = __int128;
    if (rows * cols > kExactLimit) return std::nullopt;
    std::vector<Int> m(std::size_t(rows * cols));
    for (std::ptrdiff_t i = 0; i < rows; ++i) {
        const double* row = A.RowData(std::int16_t(i + 1));
        for (std::ptrdiff_t j = 0; j < cols; ++j) {
            const double x = row[j];
            if (!(std::fabs(x) <= 0x1p62) || x != std::trunc(x)) return std::nullopt;
            m[std::size_t(i * cols + j)] = static_cast<long long>(x);
        }
    }
    auto at = [&](std::ptrdiff_t i, std::ptrdiff_t j) -> Int& {
        return m[std::size_t(i * cols + j)];
    };
    Int previous = 1;
    bool negate = false;
    std::ptrdiff_t rank = 0;
    for (std::ptrdiff_t c = 0; c < cols && rank < rows; ++c) {
        std::ptrdiff_t p = rank;
        while (p < rows && at(p, c) == 0)
            ++p;
        if (p == rows) continue;  // no pivot in this column
        if (p != rank) {
            for (std::ptrdiff_t j = c; j < cols; ++j)
                std::swap(at(p, j), at(rank, j));
            negate = !negate;
        }
        const Int pivot = at(rank, c);
        for (std::ptrdiff_t i = rank + 1; i < rows; ++i) {
            const Int factor = at(i, c);
            for (std::ptrdiff_t j = c + 1; j < cols; ++j) {
                Int x, y, z;
                if (__builtin_mul_overflow(pivot, at(i, j), &x) ||
                    __builtin_mul_overflow(factor, at(rank, j), &y) ||
                    __builtin_sub_overflow(x, y, &z))
                    return std::nullopt;
                at(i, j) = z / previous;
            }
            at(i, c) = 0;
        }
        previous = pivot;
        ++rank;
    }
    double determinant = 0.0;
    if (rows == cols && rank == rows) {
        const Int last = at(rows - 1, cols - 1);
        determinant = static_cast<double>(negate ? -last : last);
    }
    return ExactReduction{rank, determinant};
}

// ---------------------------------------------------------------- scaling ----------------

// Writes A's rows 1..rows, columns 1..cols into the row-major block a, each row scaled by
// 2^-e(i) so that its largest magnitude lies in [0.5, 1) (zero rows stay as they are);
// returns the exponents e(i). A non-finite entry raises 6: nothing computed from it could
// pass inspection.
std::vector<int> ScaleRows(std::ptrdiff_t rows, std::ptrdiff_t cols, const Matrix& A, double* a) {
    for (std::ptrdiff_t i = 0; i < rows; ++i)
        if (!Kernels::AllFinite(A.RowData(std::int16_t(i + 1)), 1, cols, cols)) RaiseOverflow();
    std::vector<int> exponents(std::size_t(rows), 0);
    for (std::ptrdiff_t i = 0; i < rows; ++i) {
        const double* source = A.RowData(std::int16_t(i + 1));
        double* row = a + i * cols;
        const double largest = Kernels::LargestMagnitude(source, cols);
        const int e = largest == 0.0 ? 0 : std::ilogb(largest) + 1;
        exponents[std::size_t(i)] = e;
        // A power of two scales exactly; one multiplier per row where it is representable.
        if (e > -1000 && e < 1000) {
            const double factor = std::ldexp(1.0, -e);
            for (std::ptrdiff_t j = 0; j < cols; ++j)
                row[j] = source[j] * factor;
        } else {
            for (std::ptrdiff_t j = 0; j < cols; ++j)
                row[j] = std::ldexp(source[j], -e);
        }
    }
    return exponents;
}

// The singularity threshold of the scaled block (see the top of this file).
double Threshold(std::ptrdiff_t rows, std::ptrdiff_t cols, const double* a) {
    double squares = 0.0;
    for (std::ptrdiff_t i = 0; i < rows * cols; ++i)
        squares = squares + a[i] * a[i];
    return double(std::max(rows, cols)) * kEpsilon * std::sqrt(squares);
}

// ---------------------------------------------------------------- partial pivoting -------

// Blocked LU with partial pivoting of the n by n row-major block a, in place. Stops at the
// first step whose largest candidate pivot is at most `tolerance` and returns that step's
// index; returns n when every step had a pivot. pivots[k] is the row exchanged with row k.
//
// Each block of steps is factored as a panel of columns; its multipliers then eliminate
// the columns to its right. The next panel's columns are eliminated first and factored at
// once, on the calling thread, while the workers eliminate the columns further right: the
// factoring, which cannot be shared out, then waits for no one. The next panel's row
// exchanges reach the other columns once both are done. Rows are exchanged whole, so the
// order changes no bit, and each element sees the steps in ascending order whatever the
// block width: the result is that of the plain elimination.
std::ptrdiff_t FactorPartialPivot(std::ptrdiff_t n, double* a, double tolerance,
                                  std::vector<std::ptrdiff_t>& pivots, bool& odd) {
    pivots.assign(std::size_t(n), 0);
    odd = false;
    // The steps inside a panel cost about n * width^2 in short column updates: a small
    // matrix takes narrower panels.
    const std::ptrdiff_t width = std::clamp<std::ptrdiff_t>(n / 64 * 8, 8, kPanel);
    struct Block {
        std::ptrdiff_t n, k0, k1, k2, chunk;
        double* a;
        double tolerance;
        std::ptrdiff_t* pivots;
        bool* odd;
        std::ptrdiff_t stop;
    } b{n, 0, std::min(width, n), 0, 0, a, tolerance, pivots.data(), &odd, 0};
    b.stop = Kernels::FactorPanel(n, a, n, 0, b.k1, tolerance, b.pivots, odd);
    if (b.stop < b.k1) return b.stop;
    Kernels::ExchangeRows(a, n, 0, b.k1, b.pivots, b.k1, n);
    while (b.k1 < n) {
        b.k2 = std::min(b.k1 + width, n);
        // Part 0 eliminates and factors the next panel; the other parts share the columns
        // from k2 on, in chunks that the workers take as they come free. Unshared, the
        // columns are eliminated in one go before the next panel is factored.
        const double work = 2.0 * double(n - b.k1) * double(b.k1 - b.k0) * double(n - b.k1);
        const std::ptrdiff_t rest = n - b.k2;
        const std::ptrdiff_t chunks =
            Parallel::Workers() < 2 || !Parallel::WorthSharing(work, kShareLimit) || rest == 0
                ? 1
                : std::clamp<std::ptrdiff_t>(rest / 64, 1, 4 * std::ptrdiff_t(Parallel::Workers()));
        b.chunk = ((rest + chunks - 1) / chunks + 7) / 8 * 8;
        auto part = [](void* context, std::ptrdiff_t index) {
            Block& b = *static_cast<Block*>(context);
            if (index == 0) {
                Kernels::EliminateColumnRange(b.n, b.a, b.n, b.k0, b.k1, b.k1, b.k2);
                b.stop =
                    Kernels::FactorPanel(b.n, b.a, b.n, b.k1, b.k2, b.tolerance, b.pivots, *b.odd);
                return;
            }
            const std::ptrdiff_t j0 = b.k2 + (index - 1) * b.chunk;
            Kernels::EliminateColumnRange(b.n, b.a, b.n, b.k0, b.k1, j0,
                                          std::min(j0 + b.chunk, b.n));
        };
        if (chunks > 1) {
            Parallel::RunParts(1 + chunks, part, &b);
        } else {
            Kernels::EliminateColumnRange(n, a, n, b.k0, b.k1, b.k1, n);
            b.stop = Kernels::FactorPanel(n, a, n, b.k1, b.k2, tolerance, b.pivots, odd);
        }
        if (b.stop < b.k2) return b.stop;
        Kernels::ExchangeRows(a, n, b.k1, b.k2, b.pivots, 0, b.k1);
        Kernels::ExchangeRows(a, n, b.k1, b.k2, b.pivots, b.k2, n);
        b.k0 = b.k1;
        b.k1 = b.k2;
    }
    return n;
}

// Rows r0 .. r1 - 1 of the columns [c0, c1) of x solved against the upper triangle of lu,
// from the last row up: x(i) = (x(i) - sum of lu(i, k) x(k) over k in (i, r1)) / lu(i, i).
// By halves, the lower rows first, then their share of the upper rows' sums as a product.
void SolveUpper(std::ptrdiff_t n, const double* lu, double* x, std::ptrdiff_t r0, std::ptrdiff_t r1,
                std::ptrdiff_t c0, std::ptrdiff_t c1) {
    const std::ptrdiff_t width = c1 - c0;
    if (r1 - r0 <= 8) {
        for (std::ptrdiff_t i = r1 - 1; i >= r0; --i) {
            double* row = x + i * n;
            for (std::ptrdiff_t k = i + 1; k < r1; ++k)
                Kernels::SubtractScaled(row + c0, x + k * n + c0, lu[i * n + k], width);
            Kernels::Divide(row + c0, lu[i * n + i], width);
        }
        return;
    }
    const std::ptrdiff_t mid = r0 + (r1 - r0) / 2;
    SolveUpper(n, lu, x, mid, r1, c0, c1);
    Kernels::MultiplyInto(Kernels::Update::Subtract, mid - r0, width, r1 - mid, lu + r0 * n + mid,
                          n, x + mid * n + c0, n, x + r0 * n + c0, n, false);
    SolveUpper(n, lu, x, r0, mid, c0, c1);
}

// Solves L U X = I for the columns [c0, c1) of x (n by n, row-major), which holds the
// identity: forward with the unit lower triangle, then backward with the upper one, both
// blocked so that most of the work is a product of blocks. In the forward pass the rows
// above c0 of these columns are zero, and stay +0 (x - l * (+0) is x, and +0 for x = +0), so
// the updates they would make are left out without changing a bit.
void SolveColumns(std::ptrdiff_t n, const double* lu, double* x, std::ptrdiff_t c0,
                  std::ptrdiff_t c1) {
    const std::ptrdiff_t width = c1 - c0;
    for (std::ptrdiff_t i0 = (c0 / kSolveBlock) * kSolveBlock; i0 < n; i0 += kSolveBlock) {
        const std::ptrdiff_t i1 = std::min(i0 + kSolveBlock, n);
        if (i0 > c0)
            Kernels::MultiplyInto(Kernels::Update::Subtract, i1 - i0, width, i0 - c0,
                                  lu + i0 * n + c0, n, x + c0 * n + c0, n, x + i0 * n + c0, n,
                                  false);
        Kernels::EliminateTriangle(lu, n, x, n, std::max(i0, c0), i1, c0, c1);
    }
    for (std::ptrdiff_t i1 = n; i1 > 0; i1 -= kSolveBlock) {
        const std::ptrdiff_t i0 = std::max<std::ptrdiff_t>(i1 - kSolveBlock, 0);
        Kernels::MultiplyInto(Kernels::Update::Subtract, i1 - i0, width, n - i1, lu + i0 * n + i1,
                              n, x + i1 * n + c0, n, x + i0 * n + c0, n, false);
        SolveUpper(n, lu, x, i0, i1, c0, c1);
    }
}

// ---------------------------------------------------------------- complete pivoting ------

// The number of pivots above `tolerance` in elimination with complete pivoting of the
// rows by cols row-major block a (destroyed).
std::ptrdiff_t CountPivots(std::ptrdiff_t rows, std::ptrdiff_t cols, double* a, double tolerance) {
    const std::ptrdiff_t steps = std::min(rows, cols);
    std::vector<double> rowLargest(std::size_t(rows), 0.0);
    std::vector<std::ptrdiff_t> rowWhere(std::size_t(rows), 0);
    auto largestOf = [&](std::ptrdiff_t i, std::ptrdiff_t from) {
        const double* row = a + i * cols;
        double largest = -1.0;
        std::ptrdiff_t where = from;
        for (std::ptrdiff_t j = from; j < cols; ++j)
            if (std::fabs(row[j]) > largest) largest = std::fabs(row[j]), where = j;
        rowLargest[std::size_t(i)] = largest;
        rowWhere[std::size_t(i)] = where;
    };
    for (std::ptrdiff_t i = 0; i < rows; ++i)
        largestOf(i, 0);
    for (std::ptrdiff_t k = 0; k < steps; ++k) {
        std::ptrdiff_t pr = k;
        for (std::ptrdiff_t i = k + 1; i < rows; ++i)
            if (rowLargest[std::size_t(i)] > rowLargest[std::size_t(pr)]) pr = i;
        if (!(rowLargest[std::size_t(pr)] > tolerance)) return k;
        const std::ptrdiff_t pc = rowWhere[std::size_t(pr)];
        if (pr != k) std::swap_ranges(a + k * cols, a + k * cols + cols, a + pr * cols);
        if (pc != k)
            for (std::ptrdiff_t i = 0; i < rows; ++i)
                std::swap(a[i * cols + k], a[i * cols + pc]);
        const double* pivotRow = a + k * cols;
        const double pivot = pivotRow[k];
        const double work = 2.0 * double(rows - k) * double(cols - k);
        Parallel::ForRange(k + 1, rows, 8, work, [&](std::ptrdiff_t r0, std::ptrdiff_t r1) {
            for (std::ptrdiff_t i = r0; i < r1; ++i) {
                double* row = a + i * cols;
                const double l = row[k] / pivot;
                // The update and the search for the row's largest magnitude, and the first
                // column holding it, in one pass.
                std::ptrdiff_t where;
                const double largest = Kernels::SubtractScaledMax(row + k + 1, pivotRow + k + 1, l,
                                                                  cols - k - 1, where);
                row[k] = 0.0;
                rowLargest[std::size_t(i)] = largest;
                rowWhere[std::size_t(i)] = k + 1 + std::max<std::ptrdiff_t>(where, 0);
            }
        });
    }
    return steps;
}

}  // namespace

void MultiplyMatrices(std::int16_t rowsA, std::int16_t colsA, std::int16_t colsB, const Matrix& A,
                      const Matrix& B, Matrix& C) {
    if (rowsA < 1 || colsB < 1) return;
    Kernels::CheckTraversal(rowsA, colsA, A);
    Kernels::CheckTraversal(colsA, colsB, B);
    Kernels::CheckTraversal(rowsA, colsB, C);
    const std::ptrdiff_t m = rowsA, n = colsB, depth = std::max<std::int16_t>(colsA, 0);
    // Each element is the plain sum over k in ascending order, starting from 0.
    if (&C != &A && &C != &B) {
        // Straight into C's rows (C is checked to cover them, and shares no elements with
        // the operands).
        double* c = C.RowData(1);
        const std::ptrdiff_t ldc = C.Cols();
        for (std::ptrdiff_t i = 0; i < m; ++i)
            std::fill(c + i * ldc, c + i * ldc + n, 0.0);
        if (depth > 0)
            Kernels::MultiplyInto(Kernels::Update::Add, m, n, depth, A.RowData(1), A.Cols(),
                                  B.RowData(1), B.Cols(), c, ldc);
        if (!Kernels::AllFinite(c, m, n, ldc)) RaiseOverflow();
        return;
    }
    Kernels::Scratch buffer(Kernels::Scratch::Result, std::size_t(m * n));
    double* product = buffer.Data();
    std::fill(product, product + m * n, 0.0);
    if (depth > 0)
        Kernels::MultiplyInto(Kernels::Update::Add, m, n, depth, A.RowData(1), A.Cols(),
                              B.RowData(1), B.Cols(), product, n);
    for (std::int16_t i = 1; i <= rowsA; ++i)
        std::memcpy(C.RowData(i), product + (i - 1) * n, sizeof(double) * std::size_t(n));
    if (!Kernels::AllFinite(product, m, n, n)) RaiseOverflow();
}

double MatrixDeterminant(std::int16_t n, const Matrix& A) {
    if (n < 1) return 1.0;  // the empty product
    Block a(n, n, A);
    if (auto exact = ReduceIntegers(n, n, A)) return exact->determinant;
    // The determinant of an integer matrix is an integer: below 1/2 in magnitude it is 0.
    bool integers = true;
    for (std::int16_t i = 1; i <= n && integers; ++i)
        integers = std::all_of(A.RowData(i), A.RowData(i) + n,
                               [](double x) { return x == std::trunc(x); });
    const std::vector<int> exponents = ScaleRows(n, n, A, a.data);
    std::vector<std::ptrdiff_t> pivots;
    bool odd;
    if (FactorPartialPivot(n, a.data, 0.0, pivots, odd) < n) return 0.0;
    if (!Kernels::AllFinite(a.data, n, n, n)) RaiseOverflow();
    // The product of the pivots, its binary exponent kept apart.
    double mantissa = odd ? -1.0 : 1.0;
    long exponent = 0;
    for (std::ptrdiff_t k = 0; k < n; ++k) {
        int e;
        mantissa = std::frexp(mantissa * a.data[k * n + k], &e);
        exponent += e;
    }
    for (int e : exponents)
        exponent += e;  // det A = det A' * prod 2^e
    exponent = std::clamp(exponent, -100000L, 100000L);
    const double determinant = std::ldexp(mantissa, int(exponent));
    if (!std::isfinite(determinant)) RaiseOverflow();
    return integers && std::fabs(determinant) < 0.5 ? 0.0 : determinant;
}

bool InvertMatrix(std::int16_t n, const Matrix& A, Matrix& Inv) {
    if (n < 1) return true;  // nothing to invert
    Block a(n, n, A);
    const std::optional<ExactReduction> exact = ReduceIntegers(n, n, A);
    if (exact && exact->rank < n) return false;
    const std::vector<int> exponents = ScaleRows(n, n, A, a.data);
    // A matrix known to be invertible stops only at a pivot that is exactly zero.
    const double tolerance = exact ? 0.0 : Threshold(n, n, a.data);
    std::vector<std::ptrdiff_t> pivots;
    bool odd;
    if (FactorPartialPivot(n, a.data, tolerance, pivots, odd) < n) return false;
    if (!Kernels::AllFinite(a.data, n, n, n)) RaiseOverflow();
    // P A = L U, so inv A = inv U inv L P: X0 = inv U inv L is solved from the identity,
    // and column k of X0 becomes column order[k] of the inverse, order being the row
    // exchanges of the elimination applied to 0 .. n - 1.
    std::vector<std::ptrdiff_t> order(static_cast<std::size_t>(n));
    for (std::ptrdiff_t k = 0; k < n; ++k)
        order[std::size_t(k)] = k;
    for (std::ptrdiff_t k = 0; k < n; ++k)
        std::swap(order[std::size_t(k)], order[std::size_t(pivots[std::size_t(k)])]);
    Kernels::Scratch inverse(Kernels::Scratch::Result, std::size_t(n) * std::size_t(n));
    double* x = inverse.Data();
    std::fill(x, x + n * n, 0.0);
    for (std::ptrdiff_t k = 0; k < n; ++k)
        x[std::size_t(k * n + k)] = 1.0;
    // The columns are independent. Column c costs about (n - c)^2 / 2 + n^2 / 2 steps, so
    // they go in groups of equal cost, more groups than workers, taken as workers come free.
    struct Groups {
        std::ptrdiff_t n;
        const double* lu;
        double* x;
        std::vector<std::ptrdiff_t> bounds{0};
    } groups{n, a.data, x};
    const double work = 2.0 * double(n) * double(n) * double(n);
    const std::ptrdiff_t count =
        Parallel::WorthSharing(work, kShareLimit) ? 4 * std::ptrdiff_t(Parallel::Workers()) : 1;
    const double nn = double(n) * double(n);
    double total = 0;
    for (std::ptrdiff_t c = 0; c < n; ++c)
        total += (double(n - c) * double(n - c) + nn) / 2;
    double done = 0;
    for (std::ptrdiff_t c = 0; c + 1 < n; ++c) {
        done += (double(n - c) * double(n - c) + nn) / 2;
        const auto next = std::ptrdiff_t(groups.bounds.size());
        if ((c + 1) % 8 == 0 && next < count && done >= total * double(next) / double(count))
            groups.bounds.push_back(c + 1);
    }
    groups.bounds.push_back(n);
    Parallel::RunParts(
        std::ptrdiff_t(groups.bounds.size()) - 1,
        [](void* context, std::ptrdiff_t part) {
            const Groups& g = *static_cast<const Groups*>(context);
            SolveColumns(g.n, g.lu, g.x, g.bounds[std::size_t(part)],
                         g.bounds[std::size_t(part) + 1]);
        },
        &groups);
    // A' = S A with S = diag(2^-e), so inv A = inv A' S: column j takes the factor 2^-e(j).
    // A product with a power of two rounds as ldexp does; ldexp itself only where the power
    // is not a normal double.
    std::vector<double> factors(static_cast<std::size_t>(n));
    for (std::ptrdiff_t j = 0; j < n; ++j) {
        const int e = exponents[std::size_t(j)];
        factors[std::size_t(j)] = e > -1000 && e < 1000 ? std::ldexp(1.0, -e) : 0.0;
    }
    std::vector<std::ptrdiff_t> source(static_cast<std::size_t>(n));
    for (std::ptrdiff_t k = 0; k < n; ++k)
        source[std::size_t(order[std::size_t(k)])] = k;
    const bool normal =
        std::all_of(factors.begin(), factors.end(), [](double f) { return f != 0.0; });
    auto finishRow = [&](const double* xi, double* out) {
        for (std::ptrdiff_t j = 0; j < n; ++j)
            out[j] = xi[source[std::size_t(j)]];
        if (normal) {
            for (std::ptrdiff_t j = 0; j < n; ++j)
                out[j] = out[j] * factors[std::size_t(j)];
        } else {
            for (std::ptrdiff_t j = 0; j < n; ++j)
                out[j] = factors[std::size_t(j)] != 0.0
                             ? out[j] * factors[std::size_t(j)]
                             : std::ldexp(out[j], -exponents[std::size_t(j)]);
        }
    };
    if (Inv.Covers(n, n)) {
        // Straight into Inv's rows; a non-finite value ends the program through error 6,
        // so what those rows hold by then is never seen.
        for (std::int16_t i = 1; i <= n; ++i)
            finishRow(x + std::size_t(i - 1) * std::size_t(n), Inv.RowData(i));
        for (std::int16_t i = 1; i <= n; ++i)
            if (!Kernels::AllFinite(Inv.RowData(i), 1, n, n)) RaiseOverflow();
    } else {
        std::vector<double> row(static_cast<std::size_t>(n));
        for (std::ptrdiff_t i = 0; i < n; ++i) {
            finishRow(x + i * n, row.data());
            std::copy(row.begin(), row.end(), x + i * n);
        }
        if (!Kernels::AllFinite(x, n, n, n)) RaiseOverflow();
        for (std::int16_t i = 1; i <= n; ++i)
            for (std::int16_t j = 1; j <= n; ++j)
                Inv.At(i, j) = x[std::size_t(i - 1) * std::size_t(n) + std::size_t(j - 1)];
    }
    return true;
}

std::int16_t MatrixRank(std::int16_t rows, std::int16_t cols, const Matrix& A) {
    if (rows < 1 || cols < 1) return 0;
    Block a(rows, cols, A);
    if (auto exact = ReduceIntegers(rows, cols, A)) return static_cast<std::int16_t>(exact->rank);
    ScaleRows(rows, cols, A, a.data);
    const double tolerance = Threshold(rows, cols, a.data);
    return static_cast<std::int16_t>(CountPivots(rows, cols, a.data, tolerance));
}

}  // namespace MatrixModule
