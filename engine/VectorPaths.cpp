#include "VectorPaths.h"

#include <atomic>
#include <cstring>
#include <type_traits>

namespace VectorPaths {

namespace {

// GCC vector types; an operation on them is the same operation on every lane. The
// engine is built without contraction, so a * b + c stays a multiply and an add.
using V2 = double __attribute__((vector_size(16)));
using V4 = double __attribute__((vector_size(32)));
using V8 = double __attribute__((vector_size(64)));
using I2 = long long __attribute__((vector_size(16)));
using I4 = long long __attribute__((vector_size(32)));
using I8 = long long __attribute__((vector_size(64)));

// The bodies below are written once and inlined into one function per instruction set
// (the `target` attribute), where the compiler turns the vector types into registers of
// that width. They take and return no vector values, so no calling convention depends on
// the instruction set.

#define KELVARA_AVX2 __attribute__((target("avx2")))
#define KELVARA_AVX512 __attribute__((target("avx512f")))

// acc + a[0] * b (Subtract: acc - a[0] * b) in every lane. On AVX-512 the multiply reads
// a[0] and spreads it over the lanes itself: as a separate broadcast, that would compete
// with the adds for the same units and hold the tile to about three quarters of its speed.
// The same one rounding either way.
template <bool Subtract, class V>
[[gnu::always_inline]] inline void Accumulate(V& acc, const double* a, const V& b) {
    V product;
#ifndef __clang__
    if constexpr (sizeof(V) == 64)
        asm("vmulpd %[a]%{1to8%}, %[b], %[product]"
            : [product] "=v"(product)
            : [b] "v"(b), [a] "m"(*a));
    else
#endif
        // clang (the fuzzing build) checks the operands of asm against the instruction set
        // of the function it is written in, before inlining: there the plain multiply.
        product = *a * b;
    if constexpr (Subtract)
        acc = acc - product;
    else
        acc = acc + product;
}

// MR rows by NV vectors of c; a is packed AS values per step of k and b BS values, so that
// the tiles for the edges of a block work on the packing of the full tiles.
template <class V, int MR, int NV, int AS, int BS, bool Subtract>
[[gnu::always_inline]] inline void TileBody(std::ptrdiff_t kc, const double* ap, const double* bp,
                                            double* c, std::ptrdiff_t ldc) {
    constexpr int W = int(sizeof(V) / sizeof(double));
    V acc[MR][NV];
#pragma GCC unroll 8
    for (int r = 0; r < MR; ++r)
#pragma GCC unroll 4
        for (int v = 0; v < NV; ++v)
            std::memcpy(&acc[r][v], c + r * ldc + v * W, sizeof(V));
    for (std::ptrdiff_t k = 0; k < kc; ++k) {
        V b[NV];
#pragma GCC unroll 4
        for (int v = 0; v < NV; ++v)
            std::memcpy(&b[v], bp + v * W, sizeof(V));
#pragma GCC unroll 8
        for (int r = 0; r < MR; ++r) {
#pragma GCC unroll 4
            for (int v = 0; v < NV; ++v)
                Accumulate<Subtract>(acc[r][v], ap + r, b[v]);
        }
        ap += AS;
        bp += BS;
    }
#pragma GCC unroll 8
    for (int r = 0; r < MR; ++r)
#pragma GCC unroll 4
        for (int v = 0; v < NV; ++v)
            std::memcpy(c + r * ldc + v * W, &acc[r][v], sizeof(V));
}

template <class V, bool Subtract>
[[gnu::always_inline]] inline void RowBody(double* y, const double* x, double s,
                                           std::ptrdiff_t count) {
    constexpr std::ptrdiff_t W = std::ptrdiff_t(sizeof(V) / sizeof(double));
    std::ptrdiff_t j = 0;
    for (; j + W <= count; j += W) {
        V vx, vy;
        std::memcpy(&vx, x + j, sizeof(V));
        std::memcpy(&vy, y + j, sizeof(V));
        if constexpr (Subtract)
            vy = vy - s * vx;
        else
            vy = vy + s * vx;
        std::memcpy(y + j, &vy, sizeof(V));
    }
    for (; j < count; ++j) {
        if constexpr (Subtract)
            y[j] = y[j] - s * x[j];
        else
            y[j] = y[j] + s * x[j];
    }
}

// A magnitude only replaces the largest so far when it is strictly larger, so a NaN never
// does, and each lane keeps the first place it saw its largest; the largest is exact, the
// same on every path, and so is the first place holding it.
template <class V, class I>
[[gnu::always_inline]] inline double RowMaxBody(double* y, const double* x, double s,
                                                std::ptrdiff_t count, std::ptrdiff_t* where) {
    constexpr std::ptrdiff_t W = std::ptrdiff_t(sizeof(V) / sizeof(double));
    const I magnitudeBits = I{} + 0x7FFFFFFFFFFFFFFFLL;
    I lanes;
    for (std::ptrdiff_t lane = 0; lane < W; ++lane)
        lanes[lane] = lane;
    V largest = V{} - 1.0;
    I place = I{} - 1, here = lanes;
    std::ptrdiff_t j = 0;
    for (; j + W <= count; j += W, here += W) {
        V vx, vy;
        std::memcpy(&vx, x + j, sizeof(V));
        std::memcpy(&vy, y + j, sizeof(V));
        vy = vy - s * vx;
        std::memcpy(y + j, &vy, sizeof(V));
        const V magnitude = (V)((I)vy & magnitudeBits);
        const I larger = magnitude > largest;
        largest = larger ? magnitude : largest;
        place = larger ? here : place;
    }
    double best = -1.0;
    std::ptrdiff_t first = -1;
    for (std::ptrdiff_t lane = 0; lane < W; ++lane)
        if (largest[lane] > best || (largest[lane] == best && place[lane] < first))
            best = largest[lane], first = place[lane];
    for (; j < count; ++j) {
        y[j] = y[j] - s * x[j];
        const double magnitude = __builtin_fabs(y[j]);
        if (magnitude > best) best = magnitude, first = j;
    }
    *where = first;
    return best;
}

template <class V, class I>
[[gnu::always_inline]] inline double LargestBody(const double* x, std::ptrdiff_t count) {
    constexpr std::ptrdiff_t W = std::ptrdiff_t(sizeof(V) / sizeof(double));
    const I magnitudeBits = I{} + 0x7FFFFFFFFFFFFFFFLL;
    // Two running maxima, so that consecutive comparisons do not wait for each other.
    V largest0 = V{} - 1.0, largest1 = V{} - 1.0;
    std::ptrdiff_t j = 0;
    for (; j + 2 * W <= count; j += 2 * W) {
        V v0, v1;
        std::memcpy(&v0, x + j, sizeof(V));
        std::memcpy(&v1, x + j + W, sizeof(V));
        const V m0 = (V)((I)v0 & magnitudeBits), m1 = (V)((I)v1 & magnitudeBits);
        largest0 = m0 > largest0 ? m0 : largest0;
        largest1 = m1 > largest1 ? m1 : largest1;
    }
    largest0 = largest1 > largest0 ? largest1 : largest0;
    double best = -1.0;
    for (std::ptrdiff_t lane = 0; lane < W; ++lane)
        if (largest0[lane] > best) best = largest0[lane];
    for (; j < count; ++j) {
        const double magnitude = __builtin_fabs(x[j]);
        if (magnitude > best) best = magnitude;
    }
    return best;
}

template <class V>
[[gnu::always_inline]] inline void DivideBody(double* x, double d, std::ptrdiff_t count) {
    constexpr std::ptrdiff_t W = std::ptrdiff_t(sizeof(V) / sizeof(double));
    std::ptrdiff_t j = 0;
    for (; j + W <= count; j += W) {
        V v;
        std::memcpy(&v, x + j, sizeof(V));
        v = v / d;
        std::memcpy(x + j, &v, sizeof(V));
    }
    for (; j < count; ++j)
        x[j] = x[j] / d;
}

// x * 0 is 0 for every finite x and NaN otherwise; a NaN survives the sums.
template <class V>
[[gnu::always_inline]] inline bool FiniteBody(const double* x, std::ptrdiff_t count) {
    constexpr std::ptrdiff_t W = std::ptrdiff_t(sizeof(V) / sizeof(double));
    V sum0 = V{}, sum1 = V{};
    std::ptrdiff_t j = 0;
    for (; j + 2 * W <= count; j += 2 * W) {
        V v0, v1;
        std::memcpy(&v0, x + j, sizeof(V));
        std::memcpy(&v1, x + j + W, sizeof(V));
        sum0 = sum0 + v0 * 0.0;
        sum1 = sum1 + v1 * 0.0;
    }
    sum0 = sum0 + sum1;
    double tail = 0.0;
    for (std::ptrdiff_t lane = 0; lane < W; ++lane)
        tail = tail + sum0[lane];
    for (; j < count; ++j)
        tail = tail + x[j] * 0.0;
    return tail == 0.0;
}

// Rows 0 .. MR - 1 of a, steps 0 .. kc - 1, as MR values per step.
template <int MR>
[[gnu::always_inline]] inline void PackBody(const double* a, std::ptrdiff_t lda, std::ptrdiff_t kc,
                                            double* out) {
    for (std::ptrdiff_t k = 0; k < kc; ++k)
#pragma GCC unroll 8
        for (int r = 0; r < MR; ++r)
            out[k * MR + r] = a[r * lda + k];
}

// out(c, r) = in(r, c) for an 8 x 8 block, in registers: pairs of rows interleaved, then
// pairs of pairs, then halves.
[[gnu::always_inline]] inline void Transpose8Body(const double* in, std::ptrdiff_t ldIn,
                                                  double* out, std::ptrdiff_t ldOut) {
    V8 r[8], t[8];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i)
        std::memcpy(&r[i], in + i * ldIn, sizeof(V8));
#pragma GCC unroll 4
    for (int i = 0; i < 8; i += 2) {
        t[i] = __builtin_shufflevector(r[i], r[i + 1], 0, 8, 2, 10, 4, 12, 6, 14);
        t[i + 1] = __builtin_shufflevector(r[i], r[i + 1], 1, 9, 3, 11, 5, 13, 7, 15);
    }
#pragma GCC unroll 2
    for (int i = 0; i < 8; i += 4)
#pragma GCC unroll 2
        for (int j = i; j < i + 2; ++j) {
            r[j] = __builtin_shufflevector(t[j], t[j + 2], 0, 1, 8, 9, 4, 5, 12, 13);
            r[j + 2] = __builtin_shufflevector(t[j], t[j + 2], 2, 3, 10, 11, 6, 7, 14, 15);
        }
#pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) {
        t[j] = __builtin_shufflevector(r[j], r[j + 4], 0, 1, 2, 3, 8, 9, 10, 11);
        t[j + 4] = __builtin_shufflevector(r[j], r[j + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i)
        std::memcpy(out + i * ldOut, &t[i], sizeof(V8));
}

// The same for 8 x 8 blocks elementwise, where no vector holds eight doubles.
[[gnu::always_inline]] inline void Transpose8Plain(const double* in, std::ptrdiff_t ldIn,
                                                   double* out, std::ptrdiff_t ldOut) {
    double tile[8][8];
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 8; ++c)
            tile[c][r] = in[r * ldIn + c];
    for (int c = 0; c < 8; ++c)
        for (int r = 0; r < 8; ++r)
            out[c * ldOut + r] = tile[c][r];
}

// PackBody<8>, eight steps at a time transposed in registers.
[[gnu::always_inline]] inline void PackBody8(const double* a, std::ptrdiff_t lda, std::ptrdiff_t kc,
                                             double* out) {
    std::ptrdiff_t k = 0;
    for (; k + 8 <= kc; k += 8)
        Transpose8Body(a + k, lda, out + k * 8, 8);
    PackBody<8>(a + k, lda, kc - k, out + k * 8);
}

// ---- SSE2: 4 x 4 tiles --------------------------------------------------------------------

// Each path's tiles: MR >> HalfRows rows by NR >> Narrow columns, in narrower vectors where
// a quarter of NR needs them. SSE2's quarter tile is its half one: no vector is narrower
// than two doubles.
template <int HalfRows, int Narrow, bool Subtract>
struct TileSse2 {
    static void Run(std::ptrdiff_t kc, const double* ap, const double* bp, double* c,
                    std::ptrdiff_t ldc) {
        TileBody<V2, (4 >> HalfRows), (Narrow ? 1 : 2), 4, 4, Subtract>(kc, ap, bp, c, ldc);
    }
};
void PackSse2(const double* a, std::ptrdiff_t lda, std::ptrdiff_t kc, double* out) {
    PackBody<4>(a, lda, kc, out);
}
void Transpose8Sse2(const double* in, std::ptrdiff_t ldIn, double* out, std::ptrdiff_t ldOut) {
    Transpose8Plain(in, ldIn, out, ldOut);
}
void RowSse2Subtract(double* y, const double* x, double s, std::ptrdiff_t count) {
    RowBody<V2, true>(y, x, s, count);
}
void RowSse2Add(double* y, const double* x, double s, std::ptrdiff_t count) {
    RowBody<V2, false>(y, x, s, count);
}
double RowSse2Max(double* y, const double* x, double s, std::ptrdiff_t count,
                  std::ptrdiff_t* where) {
    return RowMaxBody<V2, I2>(y, x, s, count, where);
}
double LargestSse2(const double* x, std::ptrdiff_t count) {
    return LargestBody<V2, I2>(x, count);
}
void DivideSse2(double* x, double d, std::ptrdiff_t count) {
    DivideBody<V2>(x, d, count);
}
bool FiniteSse2(const double* x, std::ptrdiff_t count) {
    return FiniteBody<V2>(x, count);
}

// ---- AVX2: 6 x 8 tiles (12 accumulators of 16 registers) -------------------------------

template <int HalfRows, int Narrow, bool Subtract>
struct TileAvx2 {
    KELVARA_AVX2 static void Run(std::ptrdiff_t kc, const double* ap, const double* bp, double* c,
                                 std::ptrdiff_t ldc) {
        using V = std::conditional_t<(Narrow == 2), V2, V4>;
        TileBody<V, (6 >> HalfRows), (Narrow ? 1 : 2), 6, 8, Subtract>(kc, ap, bp, c, ldc);
    }
};
KELVARA_AVX2 void PackAvx2(const double* a, std::ptrdiff_t lda, std::ptrdiff_t kc, double* out) {
    PackBody<6>(a, lda, kc, out);
}
KELVARA_AVX2 void Transpose8Avx2(const double* in, std::ptrdiff_t ldIn, double* out,
                                 std::ptrdiff_t ldOut) {
    Transpose8Plain(in, ldIn, out, ldOut);
}
KELVARA_AVX2 void RowAvx2Subtract(double* y, const double* x, double s, std::ptrdiff_t count) {
    RowBody<V4, true>(y, x, s, count);
}
KELVARA_AVX2 void RowAvx2Add(double* y, const double* x, double s, std::ptrdiff_t count) {
    RowBody<V4, false>(y, x, s, count);
}
KELVARA_AVX2 double RowAvx2Max(double* y, const double* x, double s, std::ptrdiff_t count,
                               std::ptrdiff_t* where) {
    return RowMaxBody<V4, I4>(y, x, s, count, where);
}
KELVARA_AVX2 double LargestAvx2(const double* x, std::ptrdiff_t count) {
    return LargestBody<V4, I4>(x, count);
}
KELVARA_AVX2 void DivideAvx2(double* x, double d, std::ptrdiff_t count) {
    DivideBody<V4>(x, d, count);
}
KELVARA_AVX2 bool FiniteAvx2(const double* x, std::ptrdiff_t count) {
    return FiniteBody<V4>(x, count);
}

// ---- AVX-512: 8 x 16 tiles (16 accumulators of 32 registers) ---------------------------

template <int HalfRows, int Narrow, bool Subtract>
struct TileAvx512 {
    KELVARA_AVX512 static void Run(std::ptrdiff_t kc, const double* ap, const double* bp, double* c,
                                   std::ptrdiff_t ldc) {
        using V = std::conditional_t<(Narrow == 2), V4, V8>;
        TileBody<V, (8 >> HalfRows), (Narrow ? 1 : 2), 8, 16, Subtract>(kc, ap, bp, c, ldc);
    }
};
KELVARA_AVX512 void PackAvx512(const double* a, std::ptrdiff_t lda, std::ptrdiff_t kc,
                               double* out) {
    PackBody8(a, lda, kc, out);
}
KELVARA_AVX512 void Transpose8Avx512(const double* in, std::ptrdiff_t ldIn, double* out,
                                     std::ptrdiff_t ldOut) {
    Transpose8Body(in, ldIn, out, ldOut);
}
KELVARA_AVX512 void RowAvx512Subtract(double* y, const double* x, double s, std::ptrdiff_t count) {
    RowBody<V8, true>(y, x, s, count);
}
KELVARA_AVX512 void RowAvx512Add(double* y, const double* x, double s, std::ptrdiff_t count) {
    RowBody<V8, false>(y, x, s, count);
}
KELVARA_AVX512 double RowAvx512Max(double* y, const double* x, double s, std::ptrdiff_t count,
                                   std::ptrdiff_t* where) {
    return RowMaxBody<V8, I8>(y, x, s, count, where);
}
KELVARA_AVX512 double LargestAvx512(const double* x, std::ptrdiff_t count) {
    return LargestBody<V8, I8>(x, count);
}
KELVARA_AVX512 void DivideAvx512(double* x, double d, std::ptrdiff_t count) {
    DivideBody<V8>(x, d, count);
}
KELVARA_AVX512 bool FiniteAvx512(const double* x, std::ptrdiff_t count) {
    return FiniteBody<V8>(x, count);
}

// Every tile of a path, in the order of Kernels::tiles.
template <template <int, int, bool> class Tile>
constexpr decltype(Kernels::tiles) TileTable() {
    using F = std::array<TileFunction, 3>;
    using G = std::array<F, 2>;
    return {G{F{Tile<0, 0, false>::Run, Tile<0, 1, false>::Run, Tile<0, 2, false>::Run},
              F{Tile<1, 0, false>::Run, Tile<1, 1, false>::Run, Tile<1, 2, false>::Run}},
            G{F{Tile<0, 0, true>::Run, Tile<0, 1, true>::Run, Tile<0, 2, true>::Run},
              F{Tile<1, 0, true>::Run, Tile<1, 1, true>::Run, Tile<1, 2, true>::Run}}};
}

constexpr Kernels kSse2{
    Path::Sse2,      4,          4,          TileTable<TileSse2>(), PackSse2,   Transpose8Sse2,
    RowSse2Subtract, RowSse2Add, RowSse2Max, LargestSse2,           DivideSse2, FiniteSse2};
constexpr Kernels kAvx2{
    Path::Avx2,      6,          8,          TileTable<TileAvx2>(), PackAvx2,   Transpose8Avx2,
    RowAvx2Subtract, RowAvx2Add, RowAvx2Max, LargestAvx2,           DivideAvx2, FiniteAvx2};
constexpr Kernels kAvx512{Path::Avx512,
                          8,
                          16,
                          TileTable<TileAvx512>(),
                          PackAvx512,
                          Transpose8Avx512,
                          RowAvx512Subtract,
                          RowAvx512Add,
                          RowAvx512Max,
                          LargestAvx512,
                          DivideAvx512,
                          FiniteAvx512};

const Kernels& For(Path path) {
    switch (path) {
        case Path::Avx512:
            return kAvx512;
        case Path::Avx2:
            return kAvx2;
        default:
            return kSse2;
    }
}

const Kernels* Widest() {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f")) return &kAvx512;
    if (__builtin_cpu_supports("avx2")) return &kAvx2;
    return &kSse2;
}

std::atomic<const Kernels*>& Chosen() {
    static std::atomic<const Kernels*> chosen{Widest()};
    return chosen;
}

}  // namespace

const Kernels& Active() {
    return *Chosen().load(std::memory_order_relaxed);
}

std::vector<Path> Supported() {
    std::vector<Path> paths{Path::Sse2};
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2")) paths.push_back(Path::Avx2);
    if (__builtin_cpu_supports("avx512f")) paths.push_back(Path::Avx512);
    return paths;
}

void Use(Path path) {
    Chosen().store(&For(path), std::memory_order_relaxed);
}

}  // namespace VectorPaths
