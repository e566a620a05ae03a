// LU and QR: worked examples, failure states, errors, and bit-for-bit agreement with a
// plain element-by-element transcription of the algorithms (written below through the
// checked access, stopping at the first fault) on random matrices large enough to take
// the blocked and multi-threaded paths.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "Checked.h"
#include "MatrixModule.h"
#include "RuntimeError.h"

namespace {

using Rows = std::vector<std::vector<double>>;

Matrix Make(const Rows& rows) {
    Matrix m;
    m.Resize(std::int16_t(rows.size()), std::int16_t(rows[0].size()));
    for (std::size_t i = 0; i < rows.size(); ++i)
        for (std::size_t j = 0; j < rows[i].size(); ++j)
            m.At(std::int16_t(i + 1), std::int16_t(j + 1)) = rows[i][j];
    return m;
}

Matrix Random(int rows, int cols, unsigned seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    Matrix m;
    m.Resize(std::int16_t(rows), std::int16_t(cols));
    for (int i = 1; i <= rows; ++i)
        for (int j = 1; j <= cols; ++j)
            m.At(std::int16_t(i), std::int16_t(j)) = dist(gen);
    return m;
}

Matrix Sized(int rows, int cols) {
    Matrix m;
    m.Resize(std::int16_t(rows), std::int16_t(cols));
    return m;
}

// Same bits in every element (NaN included), and the same bounds.
::testing::AssertionResult SameBits(const Matrix& x, const Matrix& y) {
    if (x.Rows() != y.Rows() || x.Cols() != y.Cols())
        return ::testing::AssertionFailure() << "different sizes";
    for (std::int16_t i = 1; i <= x.Rows(); ++i)
        if (std::memcmp(x.RowData(i), y.RowData(i), sizeof(double) * std::size_t(x.Cols())))
            for (std::int16_t j = 1; j <= x.Cols(); ++j)
                if (std::memcmp(&x.RowData(i)[j - 1], &y.RowData(i)[j - 1], sizeof(double)))
                    return ::testing::AssertionFailure()
                           << "differ at (" << i << ", " << j << "): " << x.At(i, j) << " vs "
                           << y.At(i, j);
    return ::testing::AssertionSuccess();
}

void ExpectNear(const Matrix& x, const Rows& expected, double tolerance) {
    for (std::size_t i = 0; i < expected.size(); ++i)
        for (std::size_t j = 0; j < expected[i].size(); ++j)
            EXPECT_NEAR(x.At(std::int16_t(i + 1), std::int16_t(j + 1)), expected[i][j], tolerance)
                << "at (" << i + 1 << ", " << j + 1 << ")";
}

int ErrorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const RuntimeError& e) {
        return e.Number();
    }
    return 0;
}

// ---- plain transcriptions --------------------------------------------------------------

bool ReferenceLU(int n, Matrix& A, Matrix& L, Matrix& U) {
    Matrix saved = A;
    for (int k = 1; k <= n - 1; ++k) {
        if (Checked::Negligible(A.At(k, k))) return false;
        for (int i = k + 1; i <= n; ++i) {
            const double x = A.At(i, k);
            A.At(i, k) = x / A.At(k, k);
            Checked::InspectQuotient(x, A.At(k, k), A.At(i, k));
        }
        for (int i = k + 1; i <= n; ++i)
            for (int j = k + 1; j <= n; ++j) {
                A.At(i, j) = A.At(i, j) - A.At(i, k) * A.At(k, j);
                Checked::Inspect(A.At(i, j));
            }
    }
    for (int i = 1; i <= n; ++i)
        for (int j = 1; j <= n; ++j) {
            L.At(i, j) = j < i ? A.At(i, j) : (i == j ? 1.0 : 0.0);
            U.At(i, j) = j < i ? 0.0 : A.At(i, j);
        }
    A = saved;
    return true;
}

bool ReferenceQR(int m, int n, Matrix& A, Matrix& R, Matrix& Q) {
    if (m < n) return false;
    Matrix saved = A;
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= m; ++j)
            Q.At(i, j) = i == j ? 1.0 : 0.0;
    const int p = m > n ? n : m - 1;
    for (int k = 1; k <= p; ++k) {
        double s = 0.0, sigma = 0.0;
        for (int i = k; i <= m; ++i)
            if (std::fabs(A.At(i, k)) > s) s = std::fabs(A.At(i, k));
        for (int i = k; i <= m; ++i) {
            const double t = A.At(i, k) / s;
            Checked::InspectQuotient(A.At(i, k), s, t);
            sigma = t * t + sigma;
        }
        if (A.At(k, k) > 0) s = -s;
        const double alpha = std::sqrt(sigma) * s;
        Checked::Inspect(alpha);
        if (Checked::Negligible(alpha)) return false;
        const double beta = std::sqrt((alpha - A.At(k, k)) * (2 * alpha));
        Checked::Inspect(beta);
        if (beta + 1.0 == 1.0) continue;
        Checked::Inspect(A.At(k, k) = (A.At(k, k) - alpha) / beta);
        for (int i = k + 1; i <= m; ++i)
            Checked::Inspect(A.At(i, k) = A.At(i, k) / beta);
        for (int j = 1; j <= m; ++j) {
            double d = 0;
            for (int i = k; i <= m; ++i)
                Checked::Inspect(d = d + A.At(i, k) * Q.At(i, j));
            for (int i = k; i <= m; ++i)
                Checked::Inspect(Q.At(i, j) = Q.At(i, j) - (2 * d) * A.At(i, k));
        }
        for (int j = k + 1; j <= n; ++j) {
            double d = 0;
            for (int i = k; i <= m; ++i)
                Checked::Inspect(d = d + A.At(i, j) * A.At(i, k));
            for (int i = k; i <= m; ++i)
                Checked::Inspect(A.At(i, j) = A.At(i, j) - (2 * d) * A.At(i, k));
        }
        A.At(k, k) = alpha;
        for (int i = k + 1; i <= m; ++i)
            A.At(i, k) = 0;
    }
    for (int i = 1; i < m; ++i)
        for (int j = i + 1; j <= m; ++j)
            std::swap(Q.At(i, j), Q.At(j, i));
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= n; ++j)
            R.At(i, j) = A.At(i, j);
    A = saved;
    return true;
}

// ---- LU ---------------------------------------------------------------------------------

struct LuCase {
    const char* name;
    Rows a;
    bool ok;
    Rows l, u, after;  // after: A once the call is over
};

class LuExamples : public ::testing::TestWithParam<LuCase> {};

TEST_P(LuExamples, FactorsAndStateOfA) {
    const LuCase& c = GetParam();
    const int n = int(c.a.size());
    Matrix A = Make(c.a), L = Sized(n, n), U = Sized(n, n);
    EXPECT_EQ(MatrixModule::DecomposeLU(std::int16_t(n), A, L, U), c.ok);
    EXPECT_TRUE(SameBits(A, Make(c.after)));
    EXPECT_TRUE(SameBits(L, c.ok ? Make(c.l) : Sized(n, n)));
    EXPECT_TRUE(SameBits(U, c.ok ? Make(c.u) : Sized(n, n)));
}

INSTANTIATE_TEST_SUITE_P(
    Worked, LuExamples,
    ::testing::Values(LuCase{"OneByOneZero", {{0}}, true, {{1}}, {{0}}, {{0}}},
                      LuCase{"SingularLastPivotPasses",
                             {{1, 2}, {2, 4}},
                             true,
                             {{1, 0}, {2, 1}},
                             {{1, 2}, {0, 0}},
                             {{1, 2}, {2, 4}}},
                      LuCase{"ZeroFirstPivot", {{0, 1}, {1, 0}}, false, {}, {}, {{0, 1}, {1, 0}}},
                      LuCase{"ZeroSecondPivot",
                             {{1, 2, 3}, {2, 4, 1}, {1, 1, 1}},
                             false,
                             {},
                             {},
                             {{1, 2, 3}, {2, 0, -5}, {1, -1, -2}}},
                      LuCase{"Restored",
                             {{4, 3}, {6, 3}},
                             true,
                             {{1, 0}, {1.5, 1}},
                             {{4, 3}, {0, -1.5}},
                             {{4, 3}, {6, 3}}},
                      LuCase{"PivotAtNegligibleLimitFails",
                             {{1e-16, 1}, {1, 1}},
                             false,
                             {},
                             {},
                             {{1e-16, 1}, {1, 1}}},
                      LuCase{"PivotAboveLimitPasses",
                             {{2e-16, 1}, {1, 1}},
                             true,
                             {{1, 0}, {5e15, 1}},
                             {{2e-16, 1}, {0, 1 - 5e15}},
                             {{2e-16, 1}, {1, 1}}}),
    [](const auto& info) { return std::string(info.param.name); });

// Sizes around and beyond the block width, and one large enough to share the work.
class LuAgainstReference : public ::testing::TestWithParam<int> {};

TEST_P(LuAgainstReference, SameBitsAndIdentity) {
    const int n = GetParam();
    Matrix A = Random(n, n, 17 + n), L = Sized(n, n), U = Sized(n, n);
    for (int i = 1; i <= n; ++i)
        A.At(i, i) += 4.0;  // keeps every pivot clear of zero
    Matrix A2 = A, L2 = L, U2 = U;
    const Matrix original = A;
    ASSERT_TRUE(ReferenceLU(n, A2, L2, U2));
    ASSERT_TRUE(MatrixModule::DecomposeLU(std::int16_t(n), A, L, U));
    EXPECT_TRUE(SameBits(A, original));
    EXPECT_TRUE(SameBits(L, L2));
    EXPECT_TRUE(SameBits(U, U2));
    double worst = 0;
    for (int i = 1; i <= n; ++i)
        for (int j = 1; j <= n; ++j) {
            double s = 0;
            for (int k = 1; k <= n; ++k)
                s += L.At(i, k) * U.At(k, j);
            worst = std::max(worst, std::fabs(s - A.At(i, j)));
        }
    EXPECT_LT(worst, 1e-10);
}

INSTANTIATE_TEST_SUITE_P(Sizes, LuAgainstReference, ::testing::Values(2, 5, 32, 33, 97, 200));

// A pivot that vanishes exactly in the second block: the array must hold what the plain
// elimination leaves when it stops, including the columns right of the block.
TEST(DecomposeLU, FailureInsideLaterBlockLeavesPlainState) {
    const int n = 60, k = 41;
    std::mt19937 gen(5);
    std::uniform_int_distribution<int> digit(-3, 3);
    Matrix A = Sized(n, n);
    for (int i = 1; i <= n; ++i)
        for (int j = 1; j <= n; ++j)
            A.At(i, j) = i < k && j < k ? (i == j) : digit(gen);
    // With an identity in the leading block, pivot k is A(k, k) - sum A(k, t) A(t, k).
    double s = 0;
    for (int t = 1; t < k; ++t)
        s += A.At(k, t) * A.At(t, k);
    A.At(k, k) = s;
    Matrix A2 = A, L = Sized(n, n), U = Sized(n, n), L2 = L, U2 = U;
    EXPECT_FALSE(ReferenceLU(n, A2, L2, U2));
    EXPECT_FALSE(MatrixModule::DecomposeLU(n, A, L, U));
    EXPECT_TRUE(SameBits(A, A2));
    EXPECT_TRUE(SameBits(L, Sized(n, n)));
}

// An overflow: error 6, with the array as the plain elimination leaves it at the fault.
TEST(DecomposeLU, OverflowStopsAtTheFaultyElement) {
    for (int n : {2, 90}) {
        Matrix A = Random(n, n, 3), L = Sized(n, n), U = Sized(n, n);
        for (int i = 1; i <= n; ++i)
            A.At(i, i) += 4.0;
        A.At(n / 2 + 1, n / 2) = 1e308;  // a huge multiplier in a middle step...
        A.At(n / 2, n / 2 + 1) = 1e308;  // ...times a huge entry of its pivot row
        Matrix A2 = A, L2 = L, U2 = U;
        EXPECT_EQ(ErrorOf([&] { ReferenceLU(n, A2, L2, U2); }), 6);
        EXPECT_EQ(ErrorOf([&] { MatrixModule::DecomposeLU(n, A, L, U); }), 6) << n;
        EXPECT_TRUE(SameBits(A, A2)) << n;
    }
}

TEST(DecomposeLU, BoundsErrors) {
    Matrix A = Make({{1, 2}, {3, 4}, {5, 6}}), L = Sized(3, 3), U = Sized(3, 3);
    const Matrix original = A;
    EXPECT_EQ(ErrorOf([&] { MatrixModule::DecomposeLU(3, A, L, U); }), 9);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::DecomposeLU(0, A, L, U); }), 9);
    EXPECT_TRUE(SameBits(A, original));
    EXPECT_TRUE(SameBits(L, Sized(3, 3)));
    // L too narrow: row 1 of U is written up to column 2, then L(1, 3) fails; A is left
    // reduced because the error comes before it is restored.
    Matrix B = Make({{4, 3, 1}, {8, 7, 1}, {1, 1, 5}}), L2 = Sized(3, 2), U2 = Sized(3, 3);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::DecomposeLU(3, B, L2, U2); }), 9);
    EXPECT_EQ(U2.At(1, 2), 3.0);
    EXPECT_EQ(U2.At(1, 3), 0.0);
    EXPECT_EQ(B.At(2, 1), 2.0);
}

// ---- QR ---------------------------------------------------------------------------------

struct QrCase {
    const char* name;
    Rows a;
    Rows r, q;
};

class QrExamples : public ::testing::TestWithParam<QrCase> {};

TEST_P(QrExamples, FactorsAndRestoredA) {
    const QrCase& c = GetParam();
    const int m = int(c.a.size()), n = int(c.a[0].size());
    Matrix A = Make(c.a), R = Sized(m, n), Q = Sized(m, m);
    ASSERT_TRUE(MatrixModule::DecomposeQR(m, n, A, R, Q));
    EXPECT_TRUE(SameBits(A, Make(c.a)));
    ExpectNear(R, c.r, 1e-5);
    ExpectNear(Q, c.q, 1e-5);
}

INSTANTIATE_TEST_SUITE_P(
    Worked, QrExamples,
    ::testing::Values(
        QrCase{"OneByOneZero", {{0}}, {{0}}, {{1}}},
        QrCase{"Column", {{3}, {4}}, {{-5}, {0}}, {{-0.6, -0.8}, {-0.8, 0.6}}},
        QrCase{"NegativePivot",
               {{-2, 1}, {0, 3}, {0, 4}},
               {{2, -1}, {0, -5}, {0, 0}},
               {{-1, 0, 0}, {0, -0.6, -0.8}, {0, -0.8, 0.6}}},
        QrCase{"Square",
               {{1, 2}, {3, 4}},
               {{-3.16228, -4.42719}, {0, -0.63246}},
               {{-0.31623, -0.94868}, {-0.94868, 0.31623}}},
        QrCase{"SingularLastColumn", {{1, 0}, {0, 0}}, {{-1, 0}, {0, 0}}, {{-1, 0}, {0, 1}}}),
    [](const auto& info) { return std::string(info.param.name); });

class QrAgainstReference : public ::testing::TestWithParam<std::pair<int, int>> {};

TEST_P(QrAgainstReference, SameBitsAndIdentities) {
    const auto [m, n] = GetParam();
    Matrix A = Random(m, n, unsigned(m * 131 + n)), R = Sized(m, n), Q = Sized(m, m);
    Matrix A2 = A, R2 = R, Q2 = Q;
    const Matrix original = A;
    ASSERT_TRUE(ReferenceQR(m, n, A2, R2, Q2));
    ASSERT_TRUE(MatrixModule::DecomposeQR(m, n, A, R, Q));
    EXPECT_TRUE(SameBits(A, original));
    EXPECT_TRUE(SameBits(R, R2));
    EXPECT_TRUE(SameBits(Q, Q2));
    double orthogonality = 0, residual = 0;
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= m; ++j) {
            double s = 0;
            for (int k = 1; k <= m; ++k)
                s += Q.At(k, i) * Q.At(k, j);
            orthogonality = std::max(orthogonality, std::fabs(s - (i == j)));
        }
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= n; ++j) {
            double s = 0;
            for (int k = 1; k <= m; ++k)
                s += Q.At(i, k) * R.At(k, j);
            residual = std::max(residual, std::fabs(s - A.At(i, j)));
        }
    EXPECT_LT(orthogonality, 1e-12);
    EXPECT_LT(residual, 1e-12);
}

INSTANTIATE_TEST_SUITE_P(Shapes, QrAgainstReference,
                         ::testing::Values(std::pair{1, 1}, std::pair{5, 3}, std::pair{6, 6},
                                           std::pair{40, 25}, std::pair{420, 12}));

TEST(DecomposeQR, TinyColumnFailsWithStateOfTheSteps) {
    // At once: A unchanged, Q the identity, R zero.
    Matrix A = Make({{1e-20}, {1e-20}}), R = Sized(2, 1), Q = Sized(2, 2);
    EXPECT_FALSE(MatrixModule::DecomposeQR(2, 1, A, R, Q));
    EXPECT_TRUE(SameBits(A, Make({{1e-20}, {1e-20}})));
    EXPECT_TRUE(SameBits(Q, Make({{1, 0}, {0, 1}})));
    EXPECT_TRUE(SameBits(R, Sized(2, 1)));
    // At step 3 of a larger one: column 3 is a tiny multiple of column 1.
    Matrix B = Random(30, 6, 9), R2 = Sized(30, 6), Q2 = Sized(30, 30);
    for (int i = 1; i <= 30; ++i)
        B.At(i, 3) = B.At(i, 1) * 1e-30;
    Matrix B2 = B, R3 = R2, Q3 = Q2;
    EXPECT_FALSE(ReferenceQR(30, 6, B2, R3, Q3));
    EXPECT_FALSE(MatrixModule::DecomposeQR(30, 6, B, R2, Q2));
    EXPECT_TRUE(SameBits(B, B2));
    EXPECT_TRUE(SameBits(Q2, Q3));
    EXPECT_TRUE(SameBits(R2, Sized(30, 6)));
}

TEST(DecomposeQR, ErrorsAndRefusals) {
    Matrix A = Make({{0, 1}, {0, 2}}), R = Sized(2, 2), Q = Sized(2, 2);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::DecomposeQR(2, 2, A, R, Q); }), 6);
    Matrix W = Make({{1, 2, 3}, {4, 5, 6}}), R2 = Sized(2, 3), Q2 = Sized(2, 2);
    EXPECT_FALSE(MatrixModule::DecomposeQR(2, 3, W, R2, Q2));
    EXPECT_TRUE(SameBits(Q2, Sized(2, 2)));
    EXPECT_EQ(ErrorOf([&] { MatrixModule::DecomposeQR(0, 1, W, R2, Q2); }), 9);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::DecomposeQR(3, 2, W, R2, Q2); }), 9);
    EXPECT_TRUE(SameBits(W, Make({{1, 2, 3}, {4, 5, 6}})));
    // An overflow in a later step of a large matrix: the exact run reports it.
    Matrix B = Random(50, 8, 4), R3 = Sized(50, 8), Q3 = Sized(50, 50);
    B.At(1, 8) = 1e308;
    B.At(2, 8) = -1e308;
    Matrix B2 = B, R4 = R3, Q4 = Q3;
    EXPECT_EQ(ErrorOf([&] { ReferenceQR(50, 8, B2, R4, Q4); }), 6);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::DecomposeQR(50, 8, B, R3, Q3); }), 6);
    EXPECT_TRUE(SameBits(B, B2));
    EXPECT_TRUE(SameBits(Q3, Q4));
}

}  // namespace
