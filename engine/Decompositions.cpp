// LU (Doolittle, no pivoting) and QR (Householder) decompositions.
//
// Both routines are fixed down to the order of every floating-point operation, so the same
// input gives the same bits on every build and at every thread count. Each is written
// twice:
//  - a fast path over the raw rows, cache-blocked and shared between the cores, which does
//    exactly the same operations on every element but inspects results in batches;
//  - an exact path that performs the steps one element at a time and inspects every value
//    right after it has been stored.
// A non-finite value is never washed out by the operations used here (products,
// differences, sums and quotients by checked pivots), so a final scan tells whether a
// floating-point fault happened anywhere. When one did, the working arrays are reset from
// the saved copy and the exact path runs again, raising the error at the very element
// and leaving every array in the very state of an element-by-element run.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "Checked.h"
#include "Kernels.h"
#include "MatrixModule.h"
#include "Parallel.h"
#include "RuntimeError.h"

namespace MatrixModule {

namespace {

enum class Outcome { Done, Failed, Redo };

void CopyBlock(std::int16_t rows, std::int16_t cols, const Matrix& from, Matrix& to) {
    for (std::int16_t i = 1; i <= rows; ++i)
        std::memcpy(to.RowData(i), from.RowData(i), sizeof(double) * std::size_t(cols));
}

// ---------------------------------------------------------------- LU ---------------------

constexpr std::ptrdiff_t kLuPanel = 32;  // elimination steps per block

// Elimination steps 0 .. n - 2 on the n by n array a, blocked: the steps of a block are
// first carried out on the block's own columns (the panel), then applied at once to the
// columns to its right. Each element receives the same updates, in the same order, as in
// the step-by-step elimination.
Outcome EliminateFast(std::ptrdiff_t n, double* a, std::ptrdiff_t lda) {
    const std::ptrdiff_t steps = n - 1;
    for (std::ptrdiff_t k0 = 0; k0 < steps; k0 += kLuPanel) {
        const std::ptrdiff_t k1 = std::min(k0 + kLuPanel, steps);
        for (std::ptrdiff_t k = k0; k < k1; ++k) {
            const double* pivotRow = a + k * lda;
            const double pivot = pivotRow[k];
            if (!std::isfinite(pivot)) return Outcome::Redo;
            if (1.0 + std::fabs(pivot) == 1.0) {
                // Bring the columns right of the panel up to step k - 1, as the plain
                // elimination has them when it stops here.
                Kernels::EliminateColumns(n, a, lda, k0, k, k1);
                return Kernels::AllFinite(a, n, n, lda) ? Outcome::Failed : Outcome::Redo;
            }
            Kernels::EliminatePanelStep(n, a, lda, k, k1);
        }
        Kernels::EliminateColumns(n, a, lda, k0, k1, k1);
    }
    return Kernels::AllFinite(a, n, n, lda) ? Outcome::Done : Outcome::Redo;
}

// The same elimination one element at a time, every value inspected as it is stored.
bool EliminateExact(std::ptrdiff_t n, double* a, std::ptrdiff_t lda) {
    for (std::ptrdiff_t k = 0; k < n - 1; ++k) {
        double* pivotRow = a + k * lda;
        if (Checked::Negligible(pivotRow[k])) return false;
        for (std::ptrdiff_t i = k + 1; i < n; ++i) {
            double& x = a[i * lda + k];
            const double numerator = x;
            x = numerator / pivotRow[k];
            Checked::InspectQuotient(numerator, pivotRow[k], x);
        }
        for (std::ptrdiff_t i = k + 1; i < n; ++i) {
            double* row = a + i * lda;
            for (std::ptrdiff_t j = k + 1; j < n; ++j) {
                row[j] = row[j] - row[k] * pivotRow[j];
                Checked::Inspect(row[j]);
            }
        }
    }
    return true;
}

// L and U from the reduced A, row by row: L gets the multipliers and a unit diagonal, U the
// upper triangle. When L or U is too small the writes go through the checked access, in
// their order, so that the error comes at the first missing element.
void FillFactors(std::int16_t n, const Matrix& A, Matrix& L, Matrix& U) {
    if (L.Covers(n, n) && U.Covers(n, n)) {
        for (std::int16_t i = 1; i <= n; ++i) {
            const double* a = A.RowData(i);
            double* l = L.RowData(i);
            double* u = U.RowData(i);
            for (std::int16_t j = 0; j < n; ++j) {
                l[j] = j < i - 1 ? a[j] : 0.0;
                u[j] = j < i - 1 ? 0.0 : a[j];
            }
            l[i - 1] = 1.0;
        }
        return;
    }
    for (std::int16_t i = 1; i <= n; ++i) {
        for (std::int16_t j = 1; j <= i; ++j) {
            L.At(i, j) = A.At(i, j);
            U.At(i, j) = 0.0;
        }
        L.At(i, i) = 1.0;
        U.At(i, i) = A.At(i, i);
        for (std::int16_t j = i + 1; j <= n; ++j) {
            L.At(i, j) = 0.0;
            U.At(i, j) = A.At(i, j);
        }
    }
}

// ---------------------------------------------------------------- QR ---------------------

void MakeIdentity(std::int16_t m, Matrix& Q) {
    if (Q.Covers(m, m)) {
        for (std::int16_t i = 1; i <= m; ++i) {
            double* q = Q.RowData(i);
            std::fill(q, q + m, 0.0);
            q[i - 1] = 1.0;
        }
        return;
    }
    for (std::int16_t i = 1; i <= m; ++i)
        for (std::int16_t j = 1; j <= m; ++j) {
            Q.At(i, j) = 0.0;
            if (i == j) Q.At(i, j) = 1.0;
        }
}

// Applies H = I - 2 v v' (v in rows k .. m - 1) to the columns [c0, c1) of the row-major
// array x: for each column j, d = sum over i of v(i) * x(i, j) from 0 in ascending i, then
// x(i, j) = x(i, j) - (2 * d) * v(i). The columns are independent; running along the rows
// computes every column's sums and differences in exactly that order. twoD holds the
// column sums, indexed like the columns.
void Reflect(const double* v, std::ptrdiff_t k, std::ptrdiff_t m, double* x, std::ptrdiff_t ldx,
             std::ptrdiff_t c0, std::ptrdiff_t c1, double* twoD) {
    if (c1 <= c0) return;
    const std::ptrdiff_t width = c1 - c0;
    std::fill(twoD + c0, twoD + c1, 0.0);
    for (std::ptrdiff_t i = k; i < m; ++i)
        Kernels::AddScaled(twoD + c0, x + i * ldx + c0, v[i], width);
    for (std::ptrdiff_t j = c0; j < c1; ++j)
        twoD[j] = 2.0 * twoD[j];
    // x(i, j) - (2 d(j)) * v(i): the product is the same in either order.
    for (std::ptrdiff_t i = k; i < m; ++i)
        Kernels::SubtractScaled(x + i * ldx + c0, twoD + c0, v[i], width);
}

Outcome ReflectFast(std::ptrdiff_t m, std::ptrdiff_t n, std::ptrdiff_t steps, double* a,
                    std::ptrdiff_t lda, double* q, std::ptrdiff_t ldq) {
    std::vector<double> v(std::size_t(m), 0.0);
    std::vector<double> twoD(std::size_t(m + n), 0.0);
    auto finished = [&](Outcome ok) {
        return Kernels::AllFinite(a, m, n, lda) && Kernels::AllFinite(q, m, m, ldq) ? ok
                                                                                    : Outcome::Redo;
    };
    for (std::ptrdiff_t k = 0; k < steps; ++k) {
        double& akk = a[k * lda + k];
        double s = 0.0;
        for (std::ptrdiff_t i = k; i < m; ++i) {
            const double x = a[i * lda + k];
            // A non-finite entry here means an earlier fault (or a non-finite input), and a
            // zero column ends in 0 / 0: both are for the exact path to report.
            if (!std::isfinite(x)) return Outcome::Redo;
            if (std::fabs(x) > s) s = std::fabs(x);
        }
        if (s == 0.0) return Outcome::Redo;
        double sigma = 0.0;
        for (std::ptrdiff_t i = k; i < m; ++i) {
            const double t = a[i * lda + k] / s;
            sigma = t * t + sigma;
        }
        if (akk > 0.0) s = -s;
        const double alpha = std::sqrt(sigma) * s;
        if (!std::isfinite(alpha)) return Outcome::Redo;
        if (std::fabs(alpha) + 1.0 == 1.0) return finished(Outcome::Failed);
        const double beta = std::sqrt((alpha - akk) * (2.0 * alpha));
        if (!std::isfinite(beta)) return Outcome::Redo;
        if (beta + 1.0 == 1.0) continue;
        v[std::size_t(k)] = (akk - alpha) / beta;
        for (std::ptrdiff_t i = k + 1; i < m; ++i)
            v[std::size_t(i)] = a[i * lda + k] / beta;
        // Columns of Q (0 .. m - 1) and the remaining columns of A (numbered m .. m + n - k
        // - 2 here) are independent: the workers share them out.
        const std::ptrdiff_t restA = n - k - 1;
        const double work = 4.0 * double(m - k) * double(m + restA);
        Parallel::ForRange(0, m + restA, 16, work, [&](std::ptrdiff_t c0, std::ptrdiff_t c1) {
            Reflect(v.data(), k, m, q, ldq, std::min(c0, m), std::min(c1, m), twoD.data());
            Reflect(v.data(), k, m, a, lda, k + 1 + std::max<std::ptrdiff_t>(c0 - m, 0),
                    k + 1 + std::max<std::ptrdiff_t>(c1 - m, 0), twoD.data() + m);
        });
        akk = alpha;
        for (std::ptrdiff_t i = k + 1; i < m; ++i)
            a[i * lda + k] = 0.0;
    }
    return finished(Outcome::Done);
}

// The same reflections one element at a time, every value inspected as it is stored.
bool ReflectExact(std::ptrdiff_t m, std::ptrdiff_t n, std::ptrdiff_t steps, double* a,
                  std::ptrdiff_t lda, double* q, std::ptrdiff_t ldq) {
    auto A = [&](std::ptrdiff_t i, std::ptrdiff_t j) -> double& { return a[i * lda + j]; };
    auto Q = [&](std::ptrdiff_t i, std::ptrdiff_t j) -> double& { return q[i * ldq + j]; };
    for (std::ptrdiff_t k = 0; k < steps; ++k) {
        double s = 0.0;
        for (std::ptrdiff_t i = k; i < m; ++i)
            if (std::fabs(A(i, k)) > s) s = std::fabs(A(i, k));
        double sigma = 0.0;
        for (std::ptrdiff_t i = k; i < m; ++i) {
            const double t = A(i, k) / s;
            Checked::InspectQuotient(A(i, k), s, t);
            const double square = t * t;
            Checked::Inspect(square);
            sigma = square + sigma;
            Checked::Inspect(sigma);
        }
        if (A(k, k) > 0.0) s = -s;
        const double alpha = std::sqrt(sigma) * s;
        Checked::Inspect(alpha);
        if (Checked::Negligible(alpha)) return false;
        const double gap = alpha - A(k, k);
        Checked::Inspect(gap);
        const double twoAlpha = 2.0 * alpha;
        Checked::Inspect(twoAlpha);
        const double product = gap * twoAlpha;
        Checked::Inspect(product);
        const double beta = std::sqrt(product);
        if (Checked::Negligible(beta)) continue;
        const double top = A(k, k) - alpha;
        A(k, k) = top / beta;
        Checked::InspectQuotient(top, beta, A(k, k));
        for (std::ptrdiff_t i = k + 1; i < m; ++i) {
            const double x = A(i, k);
            A(i, k) = x / beta;
            Checked::InspectQuotient(x, beta, A(i, k));
        }
        for (std::ptrdiff_t j = 0; j < m; ++j) {
            double d = 0.0;
            for (std::ptrdiff_t i = k; i < m; ++i) {
                d = d + A(i, k) * Q(i, j);
                Checked::Inspect(d);
            }
            for (std::ptrdiff_t i = k; i < m; ++i) {
                Q(i, j) = Q(i, j) - (2.0 * d) * A(i, k);
                Checked::Inspect(Q(i, j));
            }
        }
        for (std::ptrdiff_t j = k + 1; j < n; ++j) {
            double d = 0.0;
            for (std::ptrdiff_t i = k; i < m; ++i) {
                d = d + A(i, j) * A(i, k);
                Checked::Inspect(d);
            }
            for (std::ptrdiff_t i = k; i < m; ++i) {
                A(i, j) = A(i, j) - (2.0 * d) * A(i, k);
                Checked::Inspect(A(i, j));
            }
        }
        A(k, k) = alpha;
        for (std::ptrdiff_t i = k + 1; i < m; ++i)
            A(i, k) = 0.0;
    }
    return true;
}

void TransposeInPlace(std::ptrdiff_t m, double* q, std::ptrdiff_t ldq) {
    for (std::ptrdiff_t i = 0; i < m - 1; ++i)
        for (std::ptrdiff_t j = i + 1; j < m; ++j)
            std::swap(q[i * ldq + j], q[j * ldq + i]);
}

// R takes the reduced A and A gets its saved values back, element by element in row order;
// through the checked access when R is too small, so the error comes at the first missing
// element of R with the elements before it already copied.
void FillR(std::int16_t m, std::int16_t n, Matrix& A, const Matrix& saved, Matrix& R) {
    if (R.Covers(m, n)) {
        for (std::int16_t i = 1; i <= m; ++i) {
            std::memcpy(R.RowData(i), A.RowData(i), sizeof(double) * std::size_t(n));
            std::memcpy(A.RowData(i), saved.RowData(i), sizeof(double) * std::size_t(n));
        }
        return;
    }
    for (std::int16_t i = 1; i <= m; ++i)
        for (std::int16_t j = 1; j <= n; ++j) {
            R.At(i, j) = A.At(i, j);
            A.At(i, j) = saved.At(i, j);
        }
}

}  // namespace

bool DecomposeLU(std::int16_t n, Matrix& A, Matrix& L, Matrix& U) {
    Matrix saved;
    saved.Resize(n, n);  // n below 1: error 9 here
    Kernels::CheckTraversal(n, n, A);
    CopyBlock(n, n, A, saved);
    double* a = A.RowData(1);
    const std::ptrdiff_t lda = A.Cols();
    bool done;
    switch (EliminateFast(n, a, lda)) {
        case Outcome::Done:
            done = true;
            break;
        case Outcome::Failed:
            done = false;
            break;
        default:
            CopyBlock(n, n, saved, A);
            done = EliminateExact(n, a, lda);
            break;
    }
    if (!done) return false;  // A stays as the elimination left it
    FillFactors(n, A, L, U);
    CopyBlock(n, n, saved, A);
    return true;
}

bool DecomposeQR(std::int16_t m, std::int16_t n, Matrix& A, Matrix& R, Matrix& Q) {
    Matrix saved;
    saved.Resize(m, n);  // m or n below 1: error 9 here
    if (m < n) return false;
    Kernels::CheckTraversal(m, n, A);
    CopyBlock(m, n, A, saved);
    MakeIdentity(m, Q);
    // A square matrix needs no reflection of its last column.
    const std::ptrdiff_t steps = m > n ? n : m - 1;
    double* a = A.RowData(1);
    double* q = Q.RowData(1);
    const std::ptrdiff_t lda = A.Cols(), ldq = Q.Cols();
    bool done;
    switch (ReflectFast(m, n, steps, a, lda, q, ldq)) {
        case Outcome::Done:
            done = true;
            break;
        case Outcome::Failed:
            done = false;
            break;
        default:
            CopyBlock(m, n, saved, A);
            MakeIdentity(m, Q);
            done = ReflectExact(m, n, steps, a, lda, q, ldq);
            break;
    }
    if (!done) return false;  // A and Q stay as the reflections left them
    // Q holds H_p ... H_1; its transpose is H_1 ... H_p.
    TransposeInPlace(m, q, ldq);
    FillR(m, n, A, saved, R);
    return true;
}

}  // namespace MatrixModule
