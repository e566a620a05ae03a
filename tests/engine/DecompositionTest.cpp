// LU and QR: worked examples, failure states, errors, and bit-for-bit agreement with plain
// element-by-element transcriptions on matrices that take the blocked, shared paths.

#include <string>

#include "Checked.h"
#include "EngineTestSupport.h"
#include "MatrixModule.h"

namespace {

using MatrixModule::DecomposeLU;
using MatrixModule::DecomposeQR;

bool ReferenceLU(int n, Matrix& A, Matrix& L, Matrix& U) {
    const Matrix saved = A;
    for (int k = 1; k <= n - 1; ++k) {
        if (Checked::Negligible(A.At(k, k))) return false;
        for (int i = k + 1; i <= n; ++i) {
            const double x = A.At(i, k);
            A.At(i, k) = x / A.At(k, k);
            Checked::InspectQuotient(x, A.At(k, k), A.At(i, k));
        }
        for (int i = k + 1; i <= n; ++i)
            for (int j = k + 1; j <= n; ++j)
                Checked::Inspect(A.At(i, j) = A.At(i, j) - A.At(i, k) * A.At(k, j));
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
    const Matrix saved = A;
    Q = Identity(m);
    for (int k = 1; k <= (m > n ? n : m - 1); ++k) {
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
        if (Checked::Negligible(alpha)) return false;
        const double beta = std::sqrt((alpha - A.At(k, k)) * (2 * alpha));
        if (Checked::Negligible(beta)) continue;
        Checked::Inspect(A.At(k, k) = (A.At(k, k) - alpha) / beta);
        for (int i = k + 1; i <= m; ++i)
            Checked::Inspect(A.At(i, k) = A.At(i, k) / beta);
        auto reflect = [&](Matrix& x, int j) {  // x(., j) -= 2 (v . x(., j)) v
            double d = 0;
            for (int i = k; i <= m; ++i)
                Checked::Inspect(d = d + A.At(i, k) * x.At(i, j));
            for (int i = k; i <= m; ++i)
                Checked::Inspect(x.At(i, j) = x.At(i, j) - (2 * d) * A.At(i, k));
        };
        for (int j = 1; j <= m; ++j)
            reflect(Q, j);
        for (int j = k + 1; j <= n; ++j)
            reflect(A, j);
        A.At(k, k) = alpha;
        for (int i = k + 1; i <= m; ++i)
            A.At(i, k) = 0;
    }
    Q = Transposed(Q);
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= n; ++j)
            R.At(i, j) = A.At(i, j);
    A = saved;
    return true;
}

// What a decomposition answered: "true", "false" or "error N".
std::string Answer(const std::function<bool()>& decompose) {
    bool done = false;
    const int error = ErrorOf([&] { done = decompose(); });
    return error ? "error " + std::to_string(error) : done ? "true" : "false";
}

// Worked examples. LU: f = L and g = U; QR: f = R and g = Q (compared to 5 decimals). An
// empty f or g stands for all zeros, an empty `after` for A unchanged.
struct Example {
    const char* name;
    bool qr, ok;
    Rows a, f, g, after;
};

class Worked : public ::testing::TestWithParam<Example> {};

TEST_P(Worked, FactorsAndStateOfA) {
    const Example& c = GetParam();
    const auto m = std::int16_t(c.a.size()), n = std::int16_t(c.a[0].size());
    Matrix A = MatrixOf(c.a), F = Sized(m, n), G = Sized(m, m);
    EXPECT_EQ(c.qr ? DecomposeQR(m, n, A, F, G) : DecomposeLU(n, A, F, G), c.ok);
    EXPECT_TRUE(SameBits(A, MatrixOf(c.after.empty() ? c.a : c.after)));
    for (const auto& [x, want] : {std::pair<const Matrix&, const Rows&>{F, c.f}, {G, c.g}}) {
        const Matrix expected = want.empty() ? Sized(x.Rows(), x.Cols()) : MatrixOf(want);
        if (c.qr)
            EXPECT_LT(MaxDifference(x, expected), 1e-5);
        else
            EXPECT_TRUE(SameBits(x, expected));
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Decompositions, Worked, ::testing::Values(
    Example{"LuOneByOneZero", false, true, {{0}}, {{1}}, {{0}}, {}},
    Example{"LuSingularLastPivotPasses", false, true, {{1, 2}, {2, 4}}, {{1, 0}, {2, 1}},
            {{1, 2}, {0, 0}}, {}},
    Example{"LuZeroFirstPivot", false, false, {{0, 1}, {1, 0}}, {}, {}, {}},
    Example{"LuZeroSecondPivot", false, false, {{1, 2, 3}, {2, 4, 1}, {1, 1, 1}}, {}, {},
            {{1, 2, 3}, {2, 0, -5}, {1, -1, -2}}},
    Example{"LuRestored", false, true, {{4, 3}, {6, 3}}, {{1, 0}, {1.5, 1}},
            {{4, 3}, {0, -1.5}}, {}},
    Example{"LuPivotAtNegligibleLimitFails", false, false, {{1e-16, 1}, {1, 1}}, {}, {}, {}},
    Example{"LuPivotAboveLimitPasses", false, true, {{2e-16, 1}, {1, 1}}, {{1, 0}, {5e15, 1}},
            {{2e-16, 1}, {0, 1 - 5e15}}, {}},
    Example{"QrOneByOneZero", true, true, {{0}}, {{0}}, {{1}}, {}},
    Example{"QrColumn", true, true, {{3}, {4}}, {{-5}, {0}}, {{-0.6, -0.8}, {-0.8, 0.6}}, {}},
    // The first diagonal entry is positive because the pivot -2 is negative.
    Example{"QrNegativePivot", true, true, {{-2, 1}, {0, 3}, {0, 4}}, {{2, -1}, {0, -5}, {0, 0}},
            {{-1, 0, 0}, {0, -0.6, -0.8}, {0, -0.8, 0.6}}, {}},
    Example{"QrSquare", true, true, {{1, 2}, {3, 4}}, {{-3.16228, -4.42719}, {0, -0.63246}},
            {{-0.31623, -0.94868}, {-0.94868, 0.31623}}, {}},
    Example{"QrSingularLastColumn", true, true, {{1, 0}, {0, 0}}, {{-1, 0}, {0, 0}},
            {{-1, 0}, {0, 1}}, {}},
    // A tiny column fails at once, with Q the identity; a wide A is refused before any work.
    Example{"QrTinyColumn", true, false, {{1e-20}, {1e-20}}, {}, {{1, 0}, {0, 1}}, {}},
    Example{"QrWide", true, false, {{1, 2, 3}, {4, 5, 6}}, {}, {}, {}}),
    ByName());
// clang-format on

struct Case {
    const char* name;
    bool qr;
    Matrix a;
    const char* answer;
};

// Against the plain transcriptions: the same answer or error, the same bits in every array.
class AsReference : public ::testing::TestWithParam<Case> {};

TEST_P(AsReference, SameAnswerAndBitsAndIdentities) {
    const Case& c = GetParam();
    const std::int16_t m = c.a.Rows(), n = c.a.Cols();
    // LU: F = L, G = U (m = n); QR: F = R, G = Q.
    Matrix A = c.a, F = Sized(m, n), G = Sized(m, m), A2 = A, F2 = F, G2 = G;
    EXPECT_EQ(
        Answer([&] { return c.qr ? ReferenceQR(m, n, A2, F2, G2) : ReferenceLU(n, A2, F2, G2); }),
        c.answer);
    EXPECT_EQ(Answer([&] { return c.qr ? DecomposeQR(m, n, A, F, G) : DecomposeLU(n, A, F, G); }),
              c.answer);
    EXPECT_TRUE(SameBits(A, A2));
    EXPECT_TRUE(SameBits(F, F2));
    EXPECT_TRUE(SameBits(G, G2));
    if (std::string(c.answer) != "true") return;
    EXPECT_TRUE(SameBits(A, c.a));
    if (c.qr) {
        EXPECT_LT(MaxDifference(Product(Transposed(G), G), Identity(m)), 1e-12);
        EXPECT_LT(MaxDifference(Product(G, F), A), 1e-12);
    } else {
        EXPECT_LT(MaxDifference(Product(F, G), A), 1e-10);
    }
}

// A random m by n matrix, `diagonal` added to its diagonal, (row, column, value) set over it.
Matrix Random(int m, int n, unsigned seed, double diagonal,
              std::vector<std::tuple<int, int, double>> set = {}) {
    Matrix a = RandomMatrix(m, n, seed);
    for (std::int16_t i = 1; i <= std::min(m, n); ++i)
        a.At(i, i) += diagonal;
    for (auto [i, j, x] : set)
        a.At(std::int16_t(i), std::int16_t(j)) = x;
    return a;
}

// LU pivot 41 of 60 vanishes exactly, in the second block of the elimination: with an
// identity in the leading block, it is A(41, 41) - sum A(41, t) A(t, 41).
Matrix VanishingPivot41() {
    const std::int16_t k = 41;
    Matrix a = RandomMatrix(60, 60, 5, 3);
    double s = 0;
    for (std::int16_t i = 1; i < k; ++i) {
        for (std::int16_t j = 1; j < k; ++j)
            a.At(i, j) = i == j;
        s += a.At(k, i) * a.At(i, k);
    }
    a.At(k, k) = s;
    return a;
}

// Column 3 a tiny multiple of column 1: the reflections fail at step 3.
Matrix TinyThirdColumn() {
    Matrix a = RandomMatrix(30, 6, 9);
    for (std::int16_t i = 1; i <= 30; ++i)
        a.At(i, 3) = a.At(i, 1) * 1e-30;
    return a;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Decompositions, AsReference, ::testing::Values(
    // LU sizes around and beyond the block width, and large enough to share the work.
    Case{"LuRandom2", false, Random(2, 2, 19, 4.0), "true"},
    Case{"LuRandom5", false, Random(5, 5, 22, 4.0), "true"},
    Case{"LuRandom32", false, Random(32, 32, 49, 4.0), "true"},
    Case{"LuRandom33", false, Random(33, 33, 50, 4.0), "true"},
    Case{"LuRandom97", false, Random(97, 97, 114, 4.0), "true"},
    Case{"LuRandom200", false, Random(200, 200, 217, 4.0), "true"},
    Case{"LuPivotVanishesInLaterBlock", false, VanishingPivot41(), "false"},
    // A huge multiplier in a middle step times a huge entry of its pivot row.
    Case{"LuOverflowSmall", false, Random(2, 2, 3, 4.0, {{2, 1, 1e308}, {1, 2, 1e308}}), "error 6"},
    Case{"LuOverflowBlocked", false, Random(90, 90, 3, 4.0, {{46, 45, 1e308}, {45, 46, 1e308}}),
         "error 6"},
    Case{"QrRandom1x1", true, RandomMatrix(1, 1, 132), "true"},
    Case{"QrRandom5x3", true, RandomMatrix(5, 3, 658), "true"},
    Case{"QrRandom6x6", true, RandomMatrix(6, 6, 792), "true"},
    Case{"QrRandom40x25", true, RandomMatrix(40, 25, 5265), "true"},
    Case{"QrRandom420x12", true, RandomMatrix(420, 12, 55032), "true"},
    Case{"QrTinyColumnInLaterStep", true, TinyThirdColumn(), "false"},
    // An exactly zero column: 0 / 0 when it is scaled.
    Case{"QrZeroColumn", true, MatrixOf({{0, 1}, {0, 2}}), "error 6"},
    Case{"QrOverflowInLaterStep", true, Random(50, 8, 4, 0, {{1, 8, 1e308}, {2, 8, -1e308}}),
         "error 6"}),
    ByName());
// clang-format on

TEST(Decompositions, BoundsErrors) {
    // A smaller than the counts, or a count below 1: error 9 before anything has changed.
    Matrix A = MatrixOf({{1, 2}, {3, 4}, {5, 6}}), F = Sized(3, 3), G = Sized(3, 3);
    ExpectRuntimeError(9, [&] { DecomposeLU(3, A, F, G); });
    ExpectRuntimeError(9, [&] { DecomposeLU(0, A, F, G); });
    ExpectRuntimeError(9, [&] { DecomposeQR(0, 1, A, F, G); });
    ExpectRuntimeError(9, [&] { DecomposeQR(3, 3, A, F, G); });
    EXPECT_TRUE(SameBits(A, MatrixOf({{1, 2}, {3, 4}, {5, 6}})));
    EXPECT_TRUE(SameBits(F, Sized(3, 3)));
    EXPECT_TRUE(SameBits(G, Sized(3, 3)));
    // L too narrow: row 1 of U is written up to column 2, then L(1, 3) fails; A is left
    // reduced because the error comes before it is restored.
    Matrix B = MatrixOf({{4, 3, 1}, {8, 7, 1}, {1, 1, 5}}), L = Sized(3, 2), U = Sized(3, 3);
    ExpectRuntimeError(9, [&] { DecomposeLU(3, B, L, U); });
    EXPECT_EQ(U.At(1, 2), 3.0);
    EXPECT_EQ(U.At(1, 3), 0.0);
    EXPECT_EQ(B.At(2, 1), 2.0);
}

}  // namespace
