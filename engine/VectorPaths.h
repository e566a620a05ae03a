#pragma once
// The innermost loops of the engine in three widths: 2 doubles (SSE2, every x86-64
// processor), 4 (AVX2) and 8 (AVX-512). The widest one the processor supports is chosen
// once, at run time. Every path computes each element with the same operations in the same
// order, separate multiplies and adds (never fused), so all paths give the same bits.
// Internal to the engine.

#include <array>
#include <cstddef>
#include <vector>

namespace VectorPaths {

enum class Path { Sse2, Avx2, Avx512 };

using TileFunction = void (*)(std::ptrdiff_t kc, const double* ap, const double* bp, double* c,
                              std::ptrdiff_t ldc);
using PackFunction = void (*)(const double* a, std::ptrdiff_t lda, std::ptrdiff_t kc, double* out);
using BlockFunction = void (*)(const double* in, std::ptrdiff_t ldIn, double* out,
                               std::ptrdiff_t ldOut);
using RowFunction = void (*)(double* y, const double* x, double s, std::ptrdiff_t count);
using RowMaxFunction = double (*)(double* y, const double* x, double s, std::ptrdiff_t count,
                                  std::ptrdiff_t* where);
using LargestFunction = double (*)(const double* x, std::ptrdiff_t count);
using DivideFunction = void (*)(double* x, double d, std::ptrdiff_t count);
using FiniteFunction = bool (*)(const double* x, std::ptrdiff_t count);

struct Kernels {
    Path path;
    std::ptrdiff_t mr, nr;  // rows and columns of a register tile
    // c(r, j) = c(r, j) + a(r, k) * b(k, j) over k = 0 .. kc - 1 in order ([1]: - instead
    // of +), a packed as mr values per step of k, b as nr values per step. [.][0][0] works a
    // full mr x nr tile; [.][1][.] the first mr / 2 rows only, [.][.][1] the first nr / 2
    // columns and [.][.][2] the first nr / 4 (nr / 2 on SSE2), for the edges of a block.
    std::array<std::array<std::array<TileFunction, 3>, 2>, 2> tiles;
    // out[k * mr + r] = a[r * lda + k] for the rows r = 0 .. mr - 1 and the steps
    // k = 0 .. kc - 1: a full panel of a packed for the tiles.
    PackFunction pack;
    // out[c * ldOut + r] = in[r * ldIn + c] for r, c = 0 .. 7: an 8 x 8 block transposed.
    BlockFunction transpose8;
    // y[j] = y[j] - s * x[j], and y[j] = y[j] + s * x[j], for j = 0 .. count - 1.
    RowFunction subtractScaled, addScaled;
    // subtractScaled, answering the largest |y[j]| afterwards (NaNs left out; -1 if none)
    // and in *where the first j holding it (-1 if none).
    RowMaxFunction subtractScaledMax;
    // The largest |x[j]| for j = 0 .. count - 1 (NaNs left out; -1 if none).
    LargestFunction largestMagnitude;
    // x[j] = x[j] / d for j = 0 .. count - 1.
    DivideFunction divide;
    // Whether every x[j], j = 0 .. count - 1, is finite.
    FiniteFunction allFinite;
};

// The kernels in use: the widest path of this processor unless a test chose another.
const Kernels& Active();

// Every path this processor can run, narrowest first.
std::vector<Path> Supported();

// Makes `path` the one in use (it must be supported); for tests that compare paths.
void Use(Path path);

}  // namespace VectorPaths
