#include "Kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "Checked.h"
#include "Parallel.h"
#include "RuntimeError.h"

namespace Kernels {

void CheckTraversal(std::int16_t rows, std::int16_t cols, const Matrix& m) {
    if (rows < 1 || cols < 1) return;
    // The first row is read in full before any counter could overflow...
    if (m.Rows() < 1 || m.Cols() < cols) throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    // ...then the column counter steps past the last column...
    Checked::StepPast(cols);
    // ...and the rows that follow are read up to the first missing one.
    if (m.Rows() < rows) throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    Checked::StepPast(rows);
}

namespace {

// Two doubles in one SSE2 register: the baseline of every x86-64 processor. Separate
// multiply and add instructions (the engine is built without contraction), so a vector
// lane rounds exactly like the scalar expression it stands for.
using V2 = double __attribute__((vector_size(16)));

inline V2 Load(const double* p) {
    V2 v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
inline void Store(double* p, V2 v) {
    std::memcpy(p, &v, sizeof v);
}

constexpr std::ptrdiff_t MR = 4;     // rows of a register tile
constexpr std::ptrdiff_t NR = 4;     // columns of a register tile
constexpr std::ptrdiff_t KC = 256;   // depth of a packed block
constexpr std::ptrdiff_t MC = 96;    // rows of a packed block of a (stays in L2)
constexpr std::ptrdiff_t NC = 2048;  // columns of a packed block of b

// One MR x NR tile of c over kc steps of depth, from packed a (MR values per step) and
// packed b (NR values per step).
template <Update U>
void Tile(std::ptrdiff_t kc, const double* ap, const double* bp, double* c, std::ptrdiff_t ldc) {
    double* c0 = c;
    double* c1 = c + ldc;
    double* c2 = c + 2 * ldc;
    double* c3 = c + 3 * ldc;
    V2 x00 = Load(c0), x01 = Load(c0 + 2);
    V2 x10 = Load(c1), x11 = Load(c1 + 2);
    V2 x20 = Load(c2), x21 = Load(c2 + 2);
    V2 x30 = Load(c3), x31 = Load(c3 + 2);
    for (std::ptrdiff_t k = 0; k < kc; ++k) {
        const V2 b0 = Load(bp), b1 = Load(bp + 2);
        const V2 a0 = {ap[0], ap[0]}, a1 = {ap[1], ap[1]};
        const V2 a2 = {ap[2], ap[2]}, a3 = {ap[3], ap[3]};
        if constexpr (U == Update::Subtract) {
            x00 = x00 - a0 * b0, x01 = x01 - a0 * b1;
            x10 = x10 - a1 * b0, x11 = x11 - a1 * b1;
            x20 = x20 - a2 * b0, x21 = x21 - a2 * b1;
            x30 = x30 - a3 * b0, x31 = x31 - a3 * b1;
        } else {
            x00 = x00 + a0 * b0, x01 = x01 + a0 * b1;
            x10 = x10 + a1 * b0, x11 = x11 + a1 * b1;
            x20 = x20 + a2 * b0, x21 = x21 + a2 * b1;
            x30 = x30 + a3 * b0, x31 = x31 + a3 * b1;
        }
        ap += MR;
        bp += NR;
    }
    Store(c0, x00), Store(c0 + 2, x01);
    Store(c1, x10), Store(c1 + 2, x11);
    Store(c2, x20), Store(c2 + 2, x21);
    Store(c3, x30), Store(c3 + 2, x31);
}

// A partial tile at the block's edge: worked in a full-size copy whose padding is
// discarded, so the elements that matter see the same operations as in a full tile.
template <Update U>
void EdgeTile(std::ptrdiff_t kc, const double* ap, const double* bp, double* c, std::ptrdiff_t ldc,
              std::ptrdiff_t mr, std::ptrdiff_t nr) {
    double tile[MR * NR] = {};
    for (std::ptrdiff_t i = 0; i < mr; ++i)
        for (std::ptrdiff_t j = 0; j < nr; ++j)
            tile[i * NR + j] = c[i * ldc + j];
    Tile<U>(kc, ap, bp, tile, NR);
    for (std::ptrdiff_t i = 0; i < mr; ++i)
        for (std::ptrdiff_t j = 0; j < nr; ++j)
            c[i * ldc + j] = tile[i * NR + j];
}

// a's rows [0, mc) x depth [0, kc) into panels of MR rows, step by step; missing rows as 0.
void PackA(std::ptrdiff_t mc, std::ptrdiff_t kc, const double* a, std::ptrdiff_t lda, double* out) {
    for (std::ptrdiff_t i0 = 0; i0 < mc; i0 += MR) {
        const std::ptrdiff_t mr = std::min(MR, mc - i0);
        for (std::ptrdiff_t k = 0; k < kc; ++k) {
            for (std::ptrdiff_t r = 0; r < mr; ++r)
                out[r] = a[(i0 + r) * lda + k];
            for (std::ptrdiff_t r = mr; r < MR; ++r)
                out[r] = 0.0;
            out += MR;
        }
    }
}

// b's depth [0, kc) x columns [0, nc) into panels of NR columns; missing columns as 0.
void PackB(std::ptrdiff_t kc, std::ptrdiff_t nc, const double* b, std::ptrdiff_t ldb, double* out) {
    for (std::ptrdiff_t j0 = 0; j0 < nc; j0 += NR) {
        const std::ptrdiff_t nr = std::min(NR, nc - j0);
        for (std::ptrdiff_t k = 0; k < kc; ++k) {
            const double* row = b + k * ldb + j0;
            for (std::ptrdiff_t r = 0; r < nr; ++r)
                out[r] = row[r];
            for (std::ptrdiff_t r = nr; r < NR; ++r)
                out[r] = 0.0;
            out += NR;
        }
    }
}

// The blocked product over rows [m0, m1) and columns [n0, n1) of c, on one thread.
template <Update U>
void Blocked(std::ptrdiff_t m0, std::ptrdiff_t m1, std::ptrdiff_t n0, std::ptrdiff_t n1,
             std::ptrdiff_t depth, const double* a, std::ptrdiff_t lda, const double* b,
             std::ptrdiff_t ldb, double* c, std::ptrdiff_t ldc) {
    const std::ptrdiff_t kcMax = std::min(KC, depth);
    std::vector<double> packedA(std::size_t(MC * kcMax));
    std::vector<double> packedB(std::size_t(((std::min(NC, n1 - n0) + NR - 1) / NR) * NR * kcMax));
    for (std::ptrdiff_t jc = n0; jc < n1; jc += NC) {
        const std::ptrdiff_t nc = std::min(NC, n1 - jc);
        // Depth blocks in ascending order keep each element's sum in the order of k.
        for (std::ptrdiff_t pc = 0; pc < depth; pc += KC) {
            const std::ptrdiff_t kc = std::min(KC, depth - pc);
            PackB(kc, nc, b + pc * ldb + jc, ldb, packedB.data());
            for (std::ptrdiff_t ic = m0; ic < m1; ic += MC) {
                const std::ptrdiff_t mc = std::min(MC, m1 - ic);
                PackA(mc, kc, a + ic * lda + pc, lda, packedA.data());
                for (std::ptrdiff_t jr = 0; jr < nc; jr += NR) {
                    const std::ptrdiff_t nr = std::min(NR, nc - jr);
                    const double* bp = packedB.data() + jr * kc;
                    for (std::ptrdiff_t ir = 0; ir < mc; ir += MR) {
                        const std::ptrdiff_t mr = std::min(MR, mc - ir);
                        const double* ap = packedA.data() + ir * kc;
                        double* tile = c + (ic + ir) * ldc + jc + jr;
                        if (mr == MR && nr == NR)
                            Tile<U>(kc, ap, bp, tile, ldc);
                        else
                            EdgeTile<U>(kc, ap, bp, tile, ldc, mr, nr);
                    }
                }
            }
        }
    }
}

}  // namespace

void MultiplyInto(Update update, std::ptrdiff_t m, std::ptrdiff_t n, std::ptrdiff_t depth,
                  const double* a, std::ptrdiff_t lda, const double* b, std::ptrdiff_t ldb,
                  double* c, std::ptrdiff_t ldc, bool parallel) {
    if (m <= 0 || n <= 0 || depth <= 0) return;
    auto run = [&](std::ptrdiff_t m0, std::ptrdiff_t m1, std::ptrdiff_t n0, std::ptrdiff_t n1) {
        if (update == Update::Subtract)
            Blocked<Update::Subtract>(m0, m1, n0, n1, depth, a, lda, b, ldb, c, ldc);
        else
            Blocked<Update::Add>(m0, m1, n0, n1, depth, a, lda, b, ldb, c, ldc);
    };
    const double work = parallel ? 2.0 * double(m) * double(n) * double(depth) : 0.0;
    // Workers take whole rows or whole columns of c: each element stays with one worker.
    if (m >= n)
        Parallel::ForRange(0, m, MC, work,
                           [&](std::ptrdiff_t r0, std::ptrdiff_t r1) { run(r0, r1, 0, n); });
    else
        Parallel::ForRange(0, n, 64, work,
                           [&](std::ptrdiff_t c0, std::ptrdiff_t c1) { run(0, m, c0, c1); });
}

void EliminateColumns(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k0,
                      std::ptrdiff_t kEnd, std::ptrdiff_t c0) {
    if (kEnd <= k0 || c0 >= n) return;
    // Rows inside the block of steps depend on the rows above them: one after another,
    // but the columns are independent, so the workers share those out.
    const double work = double(kEnd - k0) * double(kEnd - k0) * double(n - c0);
    Parallel::ForRange(c0, n, 64, work, [&](std::ptrdiff_t j0, std::ptrdiff_t j1) {
        for (std::ptrdiff_t i = k0 + 1; i < kEnd; ++i) {
            double* row = a + i * lda;
            for (std::ptrdiff_t k = k0; k < i; ++k) {
                const double l = row[k];
                const double* pivotRow = a + k * lda;
                for (std::ptrdiff_t j = j0; j < j1; ++j)
                    row[j] = row[j] - l * pivotRow[j];
            }
        }
    });
    // The rows below take every step of the block: a product of the multipliers and the
    // finished pivot rows, subtracted element by element in the order of the steps.
    MultiplyInto(Update::Subtract, n - kEnd, n - c0, kEnd - k0, a + kEnd * lda + k0, lda,
                 a + k0 * lda + c0, lda, a + kEnd * lda + c0, lda);
}

void EliminatePanelStep(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k,
                        std::ptrdiff_t k1) {
    const double* pivotRow = a + k * lda;
    const double pivot = pivotRow[k];
    for (std::ptrdiff_t i = k + 1; i < n; ++i) {
        double* row = a + i * lda;
        const double l = row[k] / pivot;
        row[k] = l;
        for (std::ptrdiff_t j = k + 1; j < k1; ++j)
            row[j] = row[j] - l * pivotRow[j];
    }
}

bool AllFinite(const double* a, std::ptrdiff_t rows, std::ptrdiff_t cols, std::ptrdiff_t lda) {
    // x * 0 is 0 for every finite x and NaN otherwise; a NaN survives the sum.
    V2 acc = {0.0, 0.0};
    const V2 zero = {0.0, 0.0};
    double tail = 0.0;
    for (std::ptrdiff_t i = 0; i < rows; ++i) {
        const double* row = a + i * lda;
        std::ptrdiff_t j = 0;
        for (; j + 2 <= cols; j += 2)
            acc = acc + Load(row + j) * zero;
        for (; j < cols; ++j)
            tail = tail + row[j] * 0.0;
    }
    return acc[0] == 0.0 && acc[1] == 0.0 && tail == 0.0;
}

}  // namespace Kernels
