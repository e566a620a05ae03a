#pragma once
// Helpers shared by the engine tests: matrices from literal rows or random entries, the
// plain product, bit-for-bit comparison, and the run-time error that a call raises.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <random>
#include <source_location>
#include <vector>

#include "Matrix.h"
#include "NamedRows.h"
#include "RuntimeError.h"

using Rows = std::vector<std::vector<double>>;

// A rows by cols matrix with every element `fill`.
inline Matrix Sized(int rows, int cols, double fill = 0.0) {
    Matrix m;
    m.Resize(std::int16_t(rows), std::int16_t(cols));
    for (int i = 1; i <= rows; ++i)
        std::fill(m.RowData(std::int16_t(i)), m.RowData(std::int16_t(i)) + cols, fill);
    return m;
}

// MatrixOf({{1, 2}, {3, 4}}) is the 2 by 2 matrix with those rows.
inline Matrix MatrixOf(const Rows& rows) {
    Matrix m = Sized(int(rows.size()), int(rows[0].size()));
    for (std::size_t i = 0; i < rows.size(); ++i)
        std::copy(rows[i].begin(), rows[i].end(), m.RowData(std::int16_t(i + 1)));
    return m;
}

inline Matrix Identity(int n) {
    Matrix m = Sized(n, n);
    for (int i = 1; i <= n; ++i)
        m.At(std::int16_t(i), std::int16_t(i)) = 1.0;
    return m;
}

// Entries uniform in [-1, 1), or whole numbers -bound..bound when bound > 0; fixed by seed.
inline Matrix RandomMatrix(int rows, int cols, unsigned seed, int bound = 0) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> real(-1.0, 1.0);
    std::uniform_int_distribution<int> whole(-bound, bound);
    Matrix m = Sized(rows, cols);
    for (int i = 1; i <= rows; ++i)
        for (int j = 0; j < cols; ++j)
            m.RowData(std::int16_t(i))[j] = bound > 0 ? whole(gen) : real(gen);
    return m;
}

// The plain triple loop, each element summed in ascending k from 0.
inline Matrix Product(const Matrix& a, const Matrix& b) {
    Matrix c = Sized(a.Rows(), b.Cols());
    for (std::int16_t i = 1; i <= a.Rows(); ++i)
        for (std::int16_t j = 1; j <= b.Cols(); ++j) {
            double s = 0;
            for (std::int16_t k = 1; k <= a.Cols(); ++k)
                s = s + a.At(i, k) * b.At(k, j);
            c.At(i, j) = s;
        }
    return c;
}

inline Matrix Transposed(const Matrix& a) {
    Matrix t = Sized(a.Cols(), a.Rows());
    for (std::int16_t i = 1; i <= a.Rows(); ++i)
        for (std::int16_t j = 1; j <= a.Cols(); ++j)
            t.At(j, i) = a.At(i, j);
    return t;
}

// The largest difference between elements of two matrices of the same shape.
inline double MaxDifference(const Matrix& x, const Matrix& y) {
    double worst = 0;
    for (std::int16_t i = 1; i <= x.Rows(); ++i)
        for (std::int16_t j = 1; j <= x.Cols(); ++j)
            worst = std::max(worst, std::fabs(x.At(i, j) - y.At(i, j)));
    return worst;
}

// The same bounds and the same bits in every element (NaN and -0 included).
inline ::testing::AssertionResult SameBits(const Matrix& x, const Matrix& y) {
    if (x.Rows() != y.Rows() || x.Cols() != y.Cols())
        return ::testing::AssertionFailure() << "different sizes";
    for (std::int16_t i = 1; i <= x.Rows(); ++i)
        for (std::int16_t j = 1; j <= x.Cols(); ++j)
            if (std::memcmp(&x.RowData(i)[j - 1], &y.RowData(i)[j - 1], sizeof(double)))
                return ::testing::AssertionFailure() << "differ at (" << i << ", " << j
                                                     << "): " << x.At(i, j) << " vs " << y.At(i, j);
    return ::testing::AssertionSuccess();
}

// The number of the RuntimeError that fn raises; 0 when it returns normally.
inline int ErrorOf(const std::function<void()>& fn) {
    try {
        fn();
    } catch (const RuntimeError& e) {
        return e.Number();
    }
    return 0;
}

// Expects fn to raise run-time error `number` (0: to return normally); failures name the
// caller's line.
inline void ExpectRuntimeError(int number, const std::function<void()>& fn,
                               std::source_location at = std::source_location::current()) {
    ::testing::ScopedTrace trace(at.file_name(), int(at.line()), "called from here");
    EXPECT_EQ(ErrorOf(fn), number);
}
