// The engine's dense routines, measured side by side with yardsticks:
//  - LU and QR against the same algorithms written plainly (no checks, the loops in the
//    order the algorithms state them, on a flat row-major array): goal at most 1.1x;
//  - product, determinant, inverse and rank against Eigen: A * B,
//    A.partialPivLu().determinant(), A.partialPivLu().inverse() and A.fullPivLu().rank()
//    (rank by complete pivoting, as the engine does), once with Eigen built like the
//    program, for any x86-64, and once with Eigen built for this processor (-march=native,
//    fused multiply-add, one thread): goal no slower than the latter at n = 300 and 1000,
//    at most 1.5x at n = 100. The _OneCore variants hold the engine to one worker.
// Matrices are I + E with E random and scaled by 1/sqrt(n): the eigenvalues stay near 1,
// so every determinant stays finite and every pivot clear of zero.

#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <cmath>
#include <random>
#include <vector>

#include "EigenNative.h"
#include "MatrixModule.h"
#include "Parallel.h"

namespace {

Matrix TestMatrix(int n, int cols, unsigned seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    Matrix m;
    m.Resize(std::int16_t(n), std::int16_t(cols));
    for (int i = 1; i <= n; ++i)
        for (int j = 1; j <= cols; ++j)
            m.At(i, j) = dist(gen) / std::sqrt(double(cols)) + (i == j ? 1.0 : 0.0);
    return m;
}

std::vector<double> Flat(const Matrix& m) {
    std::vector<double> out;
    for (int i = 1; i <= m.Rows(); ++i)
        out.insert(out.end(), m.RowData(i), m.RowData(i) + m.Cols());
    return out;
}

Eigen::MatrixXd ToEigen(const Matrix& m) {
    Eigen::MatrixXd e(m.Rows(), m.Cols());
    for (int i = 0; i < m.Rows(); ++i)
        for (int j = 0; j < m.Cols(); ++j)
            e(i, j) = m.At(i + 1, j + 1);
    return e;
}

// ---- plain versions ---------------------------------------------------------------------

bool PlainLU(int n, std::vector<double>& a, std::vector<double>& l, std::vector<double>& u) {
    const std::vector<double> saved = a;
    for (int k = 0; k < n - 1; ++k) {
        if (1.0 + std::fabs(a[k * n + k]) == 1.0) return false;
        for (int i = k + 1; i < n; ++i)
            a[i * n + k] = a[i * n + k] / a[k * n + k];
        for (int i = k + 1; i < n; ++i)
            for (int j = k + 1; j < n; ++j)
                a[i * n + j] = a[i * n + j] - a[i * n + k] * a[k * n + j];
    }
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            l[i * n + j] = j < i ? a[i * n + j] : (i == j ? 1.0 : 0.0);
            u[i * n + j] = j < i ? 0.0 : a[i * n + j];
        }
    a = saved;
    return true;
}

bool PlainQR(int m, int n, std::vector<double>& a, std::vector<double>& r, std::vector<double>& q) {
    const std::vector<double> saved = a;
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j)
            q[i * m + j] = i == j ? 1.0 : 0.0;
    const int p = m > n ? n : m - 1;
    for (int k = 0; k < p; ++k) {
        double s = 0, sigma = 0;
        for (int i = k; i < m; ++i)
            if (std::fabs(a[i * n + k]) > s) s = std::fabs(a[i * n + k]);
        for (int i = k; i < m; ++i) {
            const double t = a[i * n + k] / s;
            sigma = t * t + sigma;
        }
        if (a[k * n + k] > 0) s = -s;
        const double alpha = std::sqrt(sigma) * s;
        if (std::fabs(alpha) + 1.0 == 1.0) return false;
        const double beta = std::sqrt((alpha - a[k * n + k]) * (2 * alpha));
        if (beta + 1.0 == 1.0) continue;
        a[k * n + k] = (a[k * n + k] - alpha) / beta;
        for (int i = k + 1; i < m; ++i)
            a[i * n + k] = a[i * n + k] / beta;
        for (int j = 0; j < m; ++j) {
            double d = 0;
            for (int i = k; i < m; ++i)
                d = d + a[i * n + k] * q[i * m + j];
            for (int i = k; i < m; ++i)
                q[i * m + j] = q[i * m + j] - (2 * d) * a[i * n + k];
        }
        for (int j = k + 1; j < n; ++j) {
            double d = 0;
            for (int i = k; i < m; ++i)
                d = d + a[i * n + j] * a[i * n + k];
            for (int i = k; i < m; ++i)
                a[i * n + j] = a[i * n + j] - (2 * d) * a[i * n + k];
        }
        a[k * n + k] = alpha;
        for (int i = k + 1; i < m; ++i)
            a[i * n + k] = 0;
    }
    for (int i = 0; i < m; ++i)
        for (int j = i + 1; j < m; ++j)
            std::swap(q[i * m + j], q[j * m + i]);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            r[i * n + j] = a[i * n + j];
    a = saved;
    return true;
}

// ---- LU and QR --------------------------------------------------------------------------

void BM_DecomposeLU_Engine(benchmark::State& state) {
    const int n = int(state.range(0));
    Matrix A = TestMatrix(n, n, 1), L, U;
    L.Resize(n, n);
    U.Resize(n, n);
    for (auto _ : state)
        benchmark::DoNotOptimize(MatrixModule::DecomposeLU(n, A, L, U));
}

void BM_DecomposeLU_Plain(benchmark::State& state) {
    const int n = int(state.range(0));
    std::vector<double> a = Flat(TestMatrix(n, n, 1)), l(a.size()), u(a.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(PlainLU(n, a, l, u));
}

void BM_DecomposeQR_Engine(benchmark::State& state) {
    const int n = int(state.range(0));
    Matrix A = TestMatrix(n, n, 2), R, Q;
    R.Resize(n, n);
    Q.Resize(n, n);
    for (auto _ : state)
        benchmark::DoNotOptimize(MatrixModule::DecomposeQR(n, n, A, R, Q));
}

void BM_DecomposeQR_Plain(benchmark::State& state) {
    const int n = int(state.range(0));
    std::vector<double> a = Flat(TestMatrix(n, n, 2)), r(a.size()), q(a.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(PlainQR(n, n, a, r, q));
}

// ---- product, determinant, inverse, rank ------------------------------------------------

void BM_Multiply_Engine(benchmark::State& state) {
    const int n = int(state.range(0));
    const Matrix A = TestMatrix(n, n, 3), B = TestMatrix(n, n, 4);
    Matrix C;
    C.Resize(n, n);
    for (auto _ : state) {
        MatrixModule::MultiplyMatrices(n, n, n, A, B, C);
        benchmark::ClobberMemory();
    }
}

void BM_Multiply_Eigen(benchmark::State& state) {
    const int n = int(state.range(0));
    const Eigen::MatrixXd A = ToEigen(TestMatrix(n, n, 3)), B = ToEigen(TestMatrix(n, n, 4));
    Eigen::MatrixXd C(n, n);
    for (auto _ : state) {
        C.noalias() = A * B;
        benchmark::ClobberMemory();
    }
}

void BM_Determinant_Engine(benchmark::State& state) {
    const int n = int(state.range(0));
    const Matrix A = TestMatrix(n, n, 5);
    for (auto _ : state)
        benchmark::DoNotOptimize(MatrixModule::MatrixDeterminant(n, A));
}

void BM_Determinant_Eigen(benchmark::State& state) {
    const int n = int(state.range(0));
    const Eigen::MatrixXd A = ToEigen(TestMatrix(n, n, 5));
    for (auto _ : state)
        benchmark::DoNotOptimize(A.partialPivLu().determinant());
}

void BM_Inverse_Engine(benchmark::State& state) {
    const int n = int(state.range(0));
    const Matrix A = TestMatrix(n, n, 6);
    Matrix Inv;
    Inv.Resize(n, n);
    for (auto _ : state)
        benchmark::DoNotOptimize(MatrixModule::InvertMatrix(n, A, Inv));
}

void BM_Inverse_Eigen(benchmark::State& state) {
    const int n = int(state.range(0));
    const Eigen::MatrixXd A = ToEigen(TestMatrix(n, n, 6));
    Eigen::MatrixXd Inv(n, n);
    for (auto _ : state) {
        Inv = A.partialPivLu().inverse();
        benchmark::ClobberMemory();
    }
}

void BM_Rank_Engine(benchmark::State& state) {
    const int n = int(state.range(0));
    const Matrix A = TestMatrix(n, n, 7);
    for (auto _ : state)
        benchmark::DoNotOptimize(MatrixModule::MatrixRank(n, n, A));
}

void BM_Rank_Eigen(benchmark::State& state) {
    const int n = int(state.range(0));
    const Eigen::MatrixXd A = ToEigen(TestMatrix(n, n, 7));
    for (auto _ : state)
        benchmark::DoNotOptimize(A.fullPivLu().rank());
}

// ---- Eigen for this processor ----------------------------------------------------------

EigenNative::Operations NativeOperands(int n, unsigned seedA, unsigned seedB) {
    const std::vector<double> a = Flat(TestMatrix(n, n, seedA)), b = Flat(TestMatrix(n, n, seedB));
    return EigenNative::Operations(n, a.data(), b.data());
}

void BM_Multiply_EigenNative(benchmark::State& state) {
    EigenNative::Operations e = NativeOperands(int(state.range(0)), 3, 4);
    for (auto _ : state) {
        e.Multiply();
        benchmark::DoNotOptimize(e.Check());
    }
}

void BM_Determinant_EigenNative(benchmark::State& state) {
    EigenNative::Operations e = NativeOperands(int(state.range(0)), 5, 5);
    for (auto _ : state)
        benchmark::DoNotOptimize(e.Determinant());
}

void BM_Inverse_EigenNative(benchmark::State& state) {
    EigenNative::Operations e = NativeOperands(int(state.range(0)), 6, 6);
    for (auto _ : state) {
        e.Invert();
        benchmark::DoNotOptimize(e.Check());
    }
}

void BM_Rank_EigenNative(benchmark::State& state) {
    EigenNative::Operations e = NativeOperands(int(state.range(0)), 7, 7);
    for (auto _ : state)
        benchmark::DoNotOptimize(e.Rank());
}

// The engine held to one worker.
template <void (*Engine)(benchmark::State&)>
void OneCore(benchmark::State& state) {
    Parallel::LimitWorkers(1);
    Engine(state);
    Parallel::LimitWorkers(0);
}

#define KELVARA_NATIVE(name)                  \
    BENCHMARK(OneCore<BM_##name##_Engine>)    \
        ->Name("BM_" #name "_Engine_OneCore") \
        ->Arg(100)                            \
        ->Arg(300)                            \
        ->Arg(1000)                           \
        ->Unit(benchmark::kMillisecond);      \
    BENCHMARK(BM_##name##_EigenNative)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMillisecond)

#define KELVARA_PAIR(name, yardstick)                                                            \
    BENCHMARK(BM_##name##_Engine)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMillisecond); \
    BENCHMARK(BM_##name##_##yardstick)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMillisecond)

KELVARA_PAIR(DecomposeLU, Plain);
KELVARA_PAIR(DecomposeQR, Plain);
KELVARA_PAIR(Multiply, Eigen);
KELVARA_PAIR(Determinant, Eigen);
KELVARA_PAIR(Inverse, Eigen);
KELVARA_PAIR(Rank, Eigen);
KELVARA_NATIVE(Multiply);
KELVARA_NATIVE(Determinant);
KELVARA_NATIVE(Inverse);
KELVARA_NATIVE(Rank);

}  // namespace

BENCHMARK_MAIN();
