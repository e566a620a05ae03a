#include "Kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "Checked.h"
#include "Parallel.h"
#include "RuntimeError.h"
#include "VectorPaths.h"

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

constexpr std::ptrdiff_t KC = 256;   // depth of a packed block
constexpr std::ptrdiff_t MC = 96;    // rows of a packed block of a (stays in L2)
constexpr std::ptrdiff_t NC = 2048;  // columns of a packed block of b
constexpr std::ptrdiff_t MaxTile = 8 * 16;

// A partial tile at the block's edge, mr x nr: worked by the smallest tile of the path that
// covers it (half the rows, half or a quarter of the columns), straight in c when it fits
// exactly, else in a copy whose padding is discarded. Either way each element sees the
// operations of a full tile.
void EdgeTile(const VectorPaths::Kernels& k, int subtract, std::ptrdiff_t kc, const double* ap,
              const double* bp, double* c, std::ptrdiff_t ldc, std::ptrdiff_t mr,
              std::ptrdiff_t nr) {
    const int half = 2 * mr <= k.mr ? 1 : 0;
    // Vectors are at least two doubles wide: SSE2's quarter tile is as wide as its half one.
    const std::ptrdiff_t quarter = std::max<std::ptrdiff_t>(k.nr / 4, 2);
    const int narrow = nr <= quarter ? 2 : 2 * nr <= k.nr ? 1 : 0;
    const std::ptrdiff_t rows = k.mr >> half, cols = narrow == 2 ? quarter : k.nr >> narrow;
    const VectorPaths::TileFunction tile = k.tiles[subtract][half][narrow];
    if (mr == rows && nr == cols) {
        tile(kc, ap, bp, c, ldc);
        return;
    }
    double copy[MaxTile] = {};
    for (std::ptrdiff_t i = 0; i < mr; ++i)
        for (std::ptrdiff_t j = 0; j < nr; ++j)
            copy[i * cols + j] = c[i * ldc + j];
    tile(kc, ap, bp, copy, cols);
    for (std::ptrdiff_t i = 0; i < mr; ++i)
        for (std::ptrdiff_t j = 0; j < nr; ++j)
            c[i * ldc + j] = copy[i * cols + j];
}

// a's rows [0, mc) x depth [0, kc) into panels of MR rows, step by step; missing rows as 0.
void PackA(const VectorPaths::Kernels& v, std::ptrdiff_t mc, std::ptrdiff_t kc, const double* a,
           std::ptrdiff_t lda, double* out) {
    const std::ptrdiff_t MR = v.mr;
    for (std::ptrdiff_t i0 = 0; i0 < mc; i0 += MR) {
        const std::ptrdiff_t mr = std::min(MR, mc - i0);
        if (mr == MR) {
            v.pack(a + i0 * lda, lda, kc, out);
            out += MR * kc;
            continue;
        }
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
void PackB(std::ptrdiff_t NR, std::ptrdiff_t kc, std::ptrdiff_t nc, const double* b,
           std::ptrdiff_t ldb, double* out) {
    for (std::ptrdiff_t j0 = 0; j0 < nc; j0 += NR) {
        const std::ptrdiff_t nr = std::min(NR, nc - j0);
        for (std::ptrdiff_t k = 0; k < kc; ++k) {
            const double* row = b + k * ldb + j0;
            if (nr == NR) {
                // A copy of known size is inlined; a call per step would cost as much.
                if (NR == 16)
                    std::memcpy(out, row, sizeof(double) * 16);
                else
                    std::memcpy(out, row, sizeof(double) * std::size_t(NR));
            } else {
                for (std::ptrdiff_t r = 0; r < nr; ++r)
                    out[r] = row[r];
                for (std::ptrdiff_t r = nr; r < NR; ++r)
                    out[r] = 0.0;
            }
            out += NR;
        }
    }
}

// The blocked product over rows [m0, m1) and columns [n0, n1) of c, on one thread.
void Blocked(Update update, std::ptrdiff_t m0, std::ptrdiff_t m1, std::ptrdiff_t n0,
             std::ptrdiff_t n1, std::ptrdiff_t depth, const double* a, std::ptrdiff_t lda,
             const double* b, std::ptrdiff_t ldb, double* c, std::ptrdiff_t ldc) {
    const VectorPaths::Kernels& k = VectorPaths::Active();
    const int subtract = update == Update::Subtract ? 1 : 0;
    const VectorPaths::TileFunction tile = k.tiles[subtract][0][0];
    const std::ptrdiff_t MR = k.mr, NR = k.nr;
    const std::ptrdiff_t kcMax = std::min(KC, depth);
    Scratch packedA(Scratch::PackedA, std::size_t(MC * kcMax));
    Scratch packedB(Scratch::PackedB,
                    std::size_t(((std::min(NC, n1 - n0) + NR - 1) / NR) * NR * kcMax));
    for (std::ptrdiff_t jc = n0; jc < n1; jc += NC) {
        const std::ptrdiff_t nc = std::min(NC, n1 - jc);
        // Depth blocks in ascending order keep each element's sum in the order of k.
        for (std::ptrdiff_t pc = 0; pc < depth; pc += KC) {
            const std::ptrdiff_t kc = std::min(KC, depth - pc);
            PackB(NR, kc, nc, b + pc * ldb + jc, ldb, packedB.Data());
            for (std::ptrdiff_t ic = m0; ic < m1; ic += MC) {
                const std::ptrdiff_t mc = std::min(MC, m1 - ic);
                PackA(k, mc, kc, a + ic * lda + pc, lda, packedA.Data());
                for (std::ptrdiff_t jr = 0; jr < nc; jr += NR) {
                    const std::ptrdiff_t nr = std::min(NR, nc - jr);
                    const double* bp = packedB.Data() + jr * kc;
                    for (std::ptrdiff_t ir = 0; ir < mc; ir += MR) {
                        const std::ptrdiff_t mr = std::min(MR, mc - ir);
                        const double* ap = packedA.Data() + ir * kc;
                        double* target = c + (ic + ir) * ldc + jc + jr;
                        if (mr == MR && nr == NR)
                            tile(kc, ap, bp, target, ldc);
                        else
                            EdgeTile(k, subtract, kc, ap, bp, target, ldc, mr, nr);
                    }
                }
            }
        }
    }
}

// Buffers kept for reuse by each thread. Larger ones go back to the system after use.
constexpr std::size_t KeepUpTo = std::size_t(1) << 22;  // doubles (32 MB)

struct Kept {
    std::unique_ptr<double[]> data;
    std::size_t size = 0;
    bool inUse = false;
};

thread_local Kept kept[Scratch::Slots];

}  // namespace

Scratch::Scratch(Slot slot, std::size_t count) : slot_(slot) {
    Kept& k = kept[slot];
    if (k.inUse) {  // a nested use of the same slot gets a buffer of its own
        own_ = std::make_unique_for_overwrite<double[]>(std::max<std::size_t>(count, 1));
        data_ = own_.get();
        return;
    }
    if (k.size < count) {
        k.data.reset();
        k.size = 0;
        k.data = std::make_unique_for_overwrite<double[]>(count + 8);
        k.size = count;
    }
    k.inUse = true;
    data_ = k.data.get();
    data_ += (64 - reinterpret_cast<std::uintptr_t>(data_) % 64) % 64 / sizeof(double);
}

Scratch::~Scratch() {
    if (own_) return;
    Kept& k = kept[slot_];
    k.inUse = false;
    if (k.size > KeepUpTo) {
        k.data.reset();
        k.size = 0;
    }
}

void MultiplyInto(Update update, std::ptrdiff_t m, std::ptrdiff_t n, std::ptrdiff_t depth,
                  const double* a, std::ptrdiff_t lda, const double* b, std::ptrdiff_t ldb,
                  double* c, std::ptrdiff_t ldc, bool parallel) {
    if (m <= 0 || n <= 0 || depth <= 0) return;
    const VectorPaths::Kernels& k = VectorPaths::Active();
    auto run = [&](std::ptrdiff_t m0, std::ptrdiff_t m1, std::ptrdiff_t n0, std::ptrdiff_t n1) {
        Blocked(update, m0, m1, n0, n1, depth, a, lda, b, ldb, c, ldc);
    };
    // Shared out only from about 4 million operations (a 126 x 126 product): below that,
    // the second worker's start and the halved blocks cost more than they save.
    const double operations = 2.0 * double(m) * double(n) * double(depth);
    const double work = parallel && Parallel::WorthSharing(operations, 4.0e6) ? operations : 0.0;
    // Workers take whole rows or whole columns of c: each element stays with one worker.
    if (m >= n)
        Parallel::ForRange(0, m, k.mr, work,
                           [&](std::ptrdiff_t r0, std::ptrdiff_t r1) { run(r0, r1, 0, n); });
    else
        Parallel::ForRange(0, n, k.nr, work,
                           [&](std::ptrdiff_t c0, std::ptrdiff_t c1) { run(0, m, c0, c1); });
}

void SubtractScaled(double* y, const double* x, double s, std::ptrdiff_t count) {
    if (count > 0) VectorPaths::Active().subtractScaled(y, x, s, count);
}

double SubtractScaledMax(double* y, const double* x, double s, std::ptrdiff_t count,
                         std::ptrdiff_t& where) {
    where = -1;
    return count > 0 ? VectorPaths::Active().subtractScaledMax(y, x, s, count, &where) : -1.0;
}

void AddScaled(double* y, const double* x, double s, std::ptrdiff_t count) {
    if (count > 0) VectorPaths::Active().addScaled(y, x, s, count);
}

void EliminateColumns(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k0,
                      std::ptrdiff_t kEnd, std::ptrdiff_t c0) {
    if (kEnd <= k0 || c0 >= n) return;
    // The columns are independent: each worker takes a share of them through the whole
    // block of steps.
    const double work = 2.0 * double(n - k0) * double(kEnd - k0) * double(n - c0);
    const std::ptrdiff_t grain = 2 * VectorPaths::Active().nr;
    Parallel::ForRange(c0, n, grain, work, [&](std::ptrdiff_t j0, std::ptrdiff_t j1) {
        EliminateColumnRange(n, a, lda, k0, kEnd, j0, j1);
    });
}

void EliminateTriangle(const double* l, std::ptrdiff_t ldl, double* x, std::ptrdiff_t ldx,
                       std::ptrdiff_t r0, std::ptrdiff_t r1, std::ptrdiff_t j0, std::ptrdiff_t j1) {
    if (r1 - r0 <= 8) {
        for (std::ptrdiff_t i = r0 + 1; i < r1; ++i) {
            double* row = x + i * ldx;
            for (std::ptrdiff_t k = r0; k < i; ++k)
                SubtractScaled(row + j0, x + k * ldx + j0, l[i * ldl + k], j1 - j0);
        }
        return;
    }
    // By halves: the upper rows first, then their steps for the lower rows at once as a
    // product, then the lower rows' own steps; each element still sees the steps in
    // ascending order.
    const std::ptrdiff_t mid = r0 + (r1 - r0) / 2;
    EliminateTriangle(l, ldl, x, ldx, r0, mid, j0, j1);
    MultiplyInto(Update::Subtract, r1 - mid, j1 - j0, mid - r0, l + mid * ldl + r0, ldl,
                 x + r0 * ldx + j0, ldx, x + mid * ldx + j0, ldx, false);
    EliminateTriangle(l, ldl, x, ldx, mid, r1, j0, j1);
}

void EliminateColumnRange(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k0,
                          std::ptrdiff_t kEnd, std::ptrdiff_t j0, std::ptrdiff_t j1) {
    if (kEnd <= k0 || j1 <= j0) return;
    // Rows inside the block of steps depend on the rows above them; the rows below take
    // every step of the block at once, as a product of the multipliers and the finished
    // pivot rows subtracted element by element in the order of the steps.
    EliminateTriangle(a, lda, a, lda, k0, kEnd, j0, j1);
    MultiplyInto(Update::Subtract, n - kEnd, j1 - j0, kEnd - k0, a + kEnd * lda + k0, lda,
                 a + k0 * lda + j0, lda, a + kEnd * lda + j0, lda, false);
}

void EliminatePanelStep(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k,
                        std::ptrdiff_t k1) {
    const double* pivotRow = a + k * lda;
    const double pivot = pivotRow[k];
    for (std::ptrdiff_t i = k + 1; i < n; ++i) {
        double* row = a + i * lda;
        const double l = row[k] / pivot;
        row[k] = l;
        SubtractScaled(row + k + 1, pivotRow + k + 1, l, k1 - k - 1);
    }
}

bool AllFinite(const double* a, std::ptrdiff_t rows, std::ptrdiff_t cols, std::ptrdiff_t lda) {
    const VectorPaths::FiniteFunction finite = VectorPaths::Active().allFinite;
    if (cols == lda) return rows <= 0 || finite(a, rows * cols);
    for (std::ptrdiff_t i = 0; i < rows; ++i)
        if (!finite(a + i * lda, cols)) return false;
    return true;
}

void Divide(double* x, double d, std::ptrdiff_t count) {
    if (count > 0) VectorPaths::Active().divide(x, d, count);
}

double LargestMagnitude(const double* x, std::ptrdiff_t count) {
    return count > 0 ? VectorPaths::Active().largestMagnitude(x, count) : -1.0;
}

namespace {

// out(c, r) = in(r, c) for the rows by cols row-major block in, in tiles of 8 x 8 so that
// both sides are read and written a cache line at a time.
void Transpose(std::ptrdiff_t rows, std::ptrdiff_t cols, const double* in, std::ptrdiff_t ldIn,
               double* out, std::ptrdiff_t ldOut) {
    constexpr std::ptrdiff_t T = 8;
    const VectorPaths::BlockFunction tile = VectorPaths::Active().transpose8;
    for (std::ptrdiff_t r0 = 0; r0 < rows; r0 += T) {
        const std::ptrdiff_t r1 = std::min(r0 + T, rows);
        for (std::ptrdiff_t c0 = 0; c0 < cols; c0 += T) {
            const std::ptrdiff_t c1 = std::min(c0 + T, cols);
            if (r1 - r0 == T && c1 - c0 == T) {
                tile(in + r0 * ldIn + c0, ldIn, out + c0 * ldOut + r0, ldOut);
            } else {
                for (std::ptrdiff_t r = r0; r < r1; ++r)
                    for (std::ptrdiff_t c = c0; c < c1; ++c)
                        out[c * ldOut + r] = in[r * ldIn + c];
            }
        }
    }
}

// A panel held as columns: element (r, c) of the panel at p[c * height + r], row r of the
// panel being row k0 + r of the array.
struct Panel {
    const VectorPaths::Kernels& v;
    double* p;
    std::ptrdiff_t height, width, k0;
    double tolerance;
    std::ptrdiff_t* pivots;
    bool& odd;

    double* Column(std::ptrdiff_t c) const { return p + c * height; }

    // Steps c0 .. c1 - 1, applied to the panel's columns c0 .. c1 - 1 (exchanges to all its
    // columns). Returns the step that found no pivot, or c1.
    std::ptrdiff_t Factor(std::ptrdiff_t c0, std::ptrdiff_t c1) {
        if (c1 - c0 <= 8) return FactorSteps(c0, c1);
        // Halves: the left one factored, its steps applied to the right one, then the
        // right one factored. Each element still sees the steps in ascending order, so the
        // halving changes no bit; it turns most of the work into a product of blocks.
        const std::ptrdiff_t mid = c0 + (c1 - c0) / 2;
        const std::ptrdiff_t stop = Factor(c0, mid);
        if (stop < mid) return stop;
        // Rows c0 .. mid - 1 of the right half: a(i, j) - a(i, k) * a(k, j) row by row.
        for (std::ptrdiff_t j = mid; j < c1; ++j) {
            double* column = Column(j);
            for (std::ptrdiff_t k = c0; k + 1 < mid; ++k)
                v.subtractScaled(column + k + 1, Column(k) + k + 1, column[k], mid - k - 1);
        }
        // Rows from mid on: the product of the multipliers and the finished rows, taken
        // as transposes so that the panel's columns are the product's rows.
        MultiplyInto(Update::Subtract, c1 - mid, height - mid, mid - c0, Column(mid) + c0, height,
                     Column(c0) + mid, height, Column(mid) + mid, height, false);
        return Factor(mid, c1);
    }

    std::ptrdiff_t FactorSteps(std::ptrdiff_t c0, std::ptrdiff_t c1) {
        for (std::ptrdiff_t c = c0; c < c1; ++c) {
            double* column = Column(c);
            const std::ptrdiff_t below = height - c - 1;  // rows under the diagonal
            // The pivot is the first row holding the largest magnitude. NaNs never take
            // the place of another value; a NaN on the diagonal stays.
            double largest = std::fabs(column[c]);
            std::ptrdiff_t best = c;
            if (!std::isnan(largest)) {
                const double belowLargest = LargestMagnitude(column + c + 1, below);
                if (belowLargest > largest) {
                    largest = belowLargest;
                    best = c + 1;
                    while (!(std::fabs(column[best]) == largest))
                        ++best;
                }
            }
            if (!(largest > tolerance)) return c;
            pivots[k0 + c] = k0 + best;
            if (best != c) {
                for (std::ptrdiff_t j = 0; j < width; ++j)
                    std::swap(Column(j)[c], Column(j)[best]);
                odd = !odd;
            }
            // The multipliers a(i, k) / a(k, k), then a(i, j) - a(k, j) * multiplier for
            // the later columns of these steps: the operations of the row-wise step, one
            // column at a time.
            if (below > 0) {
                v.divide(column + c + 1, column[c], below);
                for (std::ptrdiff_t j = c + 1; j < c1; ++j)
                    v.subtractScaled(Column(j) + c + 1, column + c + 1, Column(j)[c], below);
            }
        }
        return c1;
    }
};

}  // namespace

std::ptrdiff_t FactorPanel(std::ptrdiff_t n, double* a, std::ptrdiff_t lda, std::ptrdiff_t k0,
                           std::ptrdiff_t k1, double tolerance, std::ptrdiff_t* pivots, bool& odd) {
    const std::ptrdiff_t width = k1 - k0, height = n - k0;
    // The panel is worked on as columns: each step's search, division and updates then run
    // down contiguous columns as long as the panel is high.
    Scratch buffer(Scratch::Panel, std::size_t(width * height));
    Panel panel{VectorPaths::Active(), buffer.Data(), height, width, k0, tolerance, pivots, odd};
    Transpose(height, width, a + k0 * lda + k0, lda, panel.p, height);
    const std::ptrdiff_t stop = k0 + panel.Factor(0, width);
    Transpose(width, height, panel.p, height, a + k0 * lda + k0, lda);
    return stop;
}

void ExchangeRows(double* a, std::ptrdiff_t lda, std::ptrdiff_t k0, std::ptrdiff_t k1,
                  const std::ptrdiff_t* pivots, std::ptrdiff_t c0, std::ptrdiff_t c1) {
    if (c1 <= c0) return;
    for (std::ptrdiff_t k = k0; k < k1; ++k)
        if (pivots[k] != k)
            std::swap_ranges(a + k * lda + c0, a + k * lda + c1, a + pivots[k] * lda + c0);
}

}  // namespace Kernels
