// Product, determinant, inverse and rank: worked examples, identities on random matrices,
// exactly singular matrices of several shapes (integer and decimal), scale, and errors.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

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

Matrix Sized(int rows, int cols) {
    Matrix m;
    m.Resize(std::int16_t(rows), std::int16_t(cols));
    return m;
}

Matrix Random(int rows, int cols, unsigned seed, double low = -1, double high = 1) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> dist(low, high);
    Matrix m = Sized(rows, cols);
    for (int i = 1; i <= rows; ++i)
        for (int j = 1; j <= cols; ++j)
            m.At(i, j) = dist(gen);
    return m;
}

Matrix RandomIntegers(int rows, int cols, unsigned seed, int bound = 5) {
    std::mt19937 gen(seed);
    std::uniform_int_distribution<int> dist(-bound, bound);
    Matrix m = Sized(rows, cols);
    for (int i = 1; i <= rows; ++i)
        for (int j = 1; j <= cols; ++j)
            m.At(i, j) = dist(gen);
    return m;
}

// The plain triple loop, summing in ascending k from 0.
Matrix Product(const Matrix& a, const Matrix& b) {
    Matrix c = Sized(a.Rows(), b.Cols());
    for (int i = 1; i <= a.Rows(); ++i)
        for (int j = 1; j <= b.Cols(); ++j) {
            double s = 0;
            for (int k = 1; k <= a.Cols(); ++k)
                s = s + a.At(i, k) * b.At(k, j);
            c.At(i, j) = s;
        }
    return c;
}

Matrix Scaled(Matrix m, double factor) {
    for (int i = 1; i <= m.Rows(); ++i)
        for (int j = 1; j <= m.Cols(); ++j)
            m.At(i, j) *= factor;
    return m;
}

int ErrorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const RuntimeError& e) {
        return e.Number();
    }
    return 0;
}

double DistanceFromIdentity(const Matrix& m) {
    double worst = 0;
    for (int i = 1; i <= m.Rows(); ++i)
        for (int j = 1; j <= m.Cols(); ++j)
            worst = std::max(worst, std::fabs(m.At(i, j) - (i == j)));
    return worst;
}

// ---- product ----------------------------------------------------------------------------

TEST(MultiplyMatrices, WorkedExampleAndPlainSumsBitForBit) {
    Matrix C = Sized(2, 1);
    MatrixModule::MultiplyMatrices(2, 2, 1, Make({{1, 2}, {3, 4}}), Make({{5}, {6}}), C);
    EXPECT_EQ(C.At(1, 1), 17);
    EXPECT_EQ(C.At(2, 1), 39);
    // Shapes that leave partial tiles, several depth blocks, and work for both cores.
    for (auto [m, k, n] : {std::tuple{7, 5, 3}, {130, 300, 9}, {150, 130, 170}}) {
        const Matrix A = Random(m, k, m), B = Random(k, n, n);
        Matrix P = Sized(m, n);
        MatrixModule::MultiplyMatrices(m, k, n, A, B, P);
        const Matrix expected = Product(A, B);
        for (int i = 1; i <= m; ++i)
            for (int j = 1; j <= n; ++j)
                ASSERT_EQ(P.At(i, j), expected.At(i, j)) << m;
    }
}

TEST(MultiplyMatrices, Errors) {
    const Matrix A = Make({{1, 2}, {3, 4}});
    Matrix C = Sized(2, 2);
    // B with one row where the product needs two: nothing is written.
    EXPECT_EQ(ErrorOf([&] { MatrixModule::MultiplyMatrices(2, 2, 2, A, Make({{1, 2}}), C); }), 9);
    EXPECT_EQ(C.At(1, 1), 0);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::MultiplyMatrices(3, 2, 2, A, A, C); }), 9);
    const Matrix H = Make({{1e200, 1e200}, {1, 1}});
    EXPECT_EQ(ErrorOf([&] { MatrixModule::MultiplyMatrices(2, 2, 2, H, H, C); }), 6);
}

// ---- determinant ------------------------------------------------------------------------

struct DetCase {
    const char* name;
    Rows a;
    double det;
};

class DeterminantExamples : public ::testing::TestWithParam<DetCase> {};

TEST_P(DeterminantExamples, Value) {
    const DetCase& c = GetParam();
    const Matrix A = Make(c.a);
    EXPECT_DOUBLE_EQ(MatrixModule::MatrixDeterminant(std::int16_t(c.a.size()), A), c.det);
    EXPECT_EQ(A.At(1, 1), c.a[0][0]);  // A untouched
}

INSTANTIATE_TEST_SUITE_P(
    Worked, DeterminantExamples,
    ::testing::Values(DetCase{"TwoByTwo", {{1, 2}, {3, 4}}, -2},
                      DetCase{"OneByOne", {{-7.25}}, -7.25},
                      DetCase{"Decimals", {{0.5, 0.25}, {0.125, 1.5}}, 0.71875},
                      DetCase{"DependentIntegerRows",
                              {{1, 2, 3, 4, 5, 6},
                               {2, 3, 5, 7, 11, 13},
                               {3, 5, 8, 11, 16, 19},
                               {1, 0, 2, 0, 3, 0},
                               {4, 4, 4, 4, 4, 4},
                               {5, 4, 9, 8, 14, 12}},
                              0},
                      DetCase{"ProductOfPivotsOverflowsOnTheWay",
                              {{1e200, 0, 0}, {0, 1e200, 0}, {0, 0, 1e-300}},
                              1e100},
                      DetCase{"TinyButRegular", {{1e-200, 0}, {0, 1e-200}}, 0}),
    [](const auto& info) { return std::string(info.param.name); });

// Pascal matrices (binomial coefficients) have determinant 1 and are badly conditioned:
// floating-point elimination loses digits, the exact reduction does not.
TEST(MatrixDeterminant, IntegerMatricesExactly) {
    for (int n : {6, 12}) {
        Matrix P = Sized(n, n);
        for (int i = 1; i <= n; ++i)
            for (int j = 1; j <= n; ++j)
                P.At(i, j) = i == 1 || j == 1 ? 1 : P.At(i - 1, j) + P.At(i, j - 1);
        EXPECT_EQ(MatrixModule::MatrixDeterminant(n, P), 1.0) << n;
    }
    // A row exchange of a triangular integer matrix: minus the product of the diagonal.
    Matrix T = RandomIntegers(9, 9, 2);
    double diagonal = 1;
    for (int i = 1; i <= 9; ++i) {
        for (int j = 1; j < i; ++j)
            T.At(i, j) = 0;
        T.At(i, i) = i + 1;
        diagonal *= i + 1;
    }
    for (int j = 1; j <= 9; ++j)
        std::swap(T.At(2, j), T.At(7, j));
    EXPECT_EQ(MatrixModule::MatrixDeterminant(9, T), -diagonal);
}

TEST(MatrixDeterminant, RandomMatricesMultiply) {
    // det(A B) = det A det B, for sizes that take the blocked, shared path.
    for (int n : {5, 120}) {
        const Matrix A = Random(n, n, 11), B = Random(n, n, 12);
        Matrix C = Sized(n, n);
        MatrixModule::MultiplyMatrices(n, n, n, A, B, C);
        const double product =
            MatrixModule::MatrixDeterminant(n, A) * MatrixModule::MatrixDeterminant(n, B);
        EXPECT_NEAR(MatrixModule::MatrixDeterminant(n, C) / product, 1.0, 1e-9) << n;
    }
}

// ---- inverse ----------------------------------------------------------------------------

TEST(InvertMatrix, WorkedExamples) {
    Matrix Inv = Sized(2, 2);
    ASSERT_TRUE(MatrixModule::InvertMatrix(2, Make({{0, 1}, {1, 0}}), Inv));
    EXPECT_EQ(Inv.At(1, 2), 1);
    EXPECT_EQ(Inv.At(2, 1), 1);
    EXPECT_EQ(Inv.At(1, 1), 0);
    EXPECT_FALSE(MatrixModule::InvertMatrix(2, Make({{1, 2}, {2, 4}}), Inv));
}

class InverseOfRandom : public ::testing::TestWithParam<int> {};

TEST_P(InverseOfRandom, TimesAIsIdentity) {
    const int n = GetParam();
    // Entries of very different sizes: rows scaled from 1e-150 to 1e150.
    Matrix A = Random(n, n, unsigned(n));
    for (int i = 1; i <= n; ++i)
        for (int j = 1; j <= n; ++j)
            A.At(i, j) *= std::pow(10.0, 300.0 * (i - 1) / n - 150);
    const Matrix original = A;
    Matrix Inv = Sized(n, n), P = Sized(n, n);
    ASSERT_TRUE(MatrixModule::InvertMatrix(n, A, Inv));
    MatrixModule::MultiplyMatrices(n, n, n, Inv, A, P);
    EXPECT_LT(DistanceFromIdentity(P), 1e-9);
    for (int i = 1; i <= n; ++i)
        ASSERT_EQ(A.At(i, i), original.At(i, i));
}

INSTANTIATE_TEST_SUITE_P(Sizes, InverseOfRandom, ::testing::Values(1, 3, 47, 150));

// ---- rank and singularity ---------------------------------------------------------------

struct RankCase {
    const char* name;
    Rows a;
    int rank;
};

class RankExamples : public ::testing::TestWithParam<RankCase> {};

TEST_P(RankExamples, Counts) {
    const RankCase& c = GetParam();
    EXPECT_EQ(
        MatrixModule::MatrixRank(std::int16_t(c.a.size()), std::int16_t(c.a[0].size()), Make(c.a)),
        c.rank);
}

INSTANTIATE_TEST_SUITE_P(
    Worked, RankExamples,
    ::testing::Values(RankCase{"Dependent", {{1, 2}, {2, 4}}, 1},
                      RankCase{"Zero", {{0, 0, 0}, {0, 0, 0}}, 0},
                      RankCase{"Wide", {{1, 0, 0}, {0, 1, 0}}, 2},
                      RankCase{
                          "DecimalRows", {{0.1, 0.2, 0.3}, {0.4, 0.5, 0.6}, {0.7, 0.8, 0.9}}, 2},
                      RankCase{"TinyEntries", {{1e-20, 0}, {0, 1e-20}}, 2}),
    [](const auto& info) { return std::string(info.param.name); });

// A = X Y with inner dimension r has rank r. Integer factors of several shapes (reduced
// exactly when small), decimal ones (0.1 steps, not exact in binary), and large ones that
// only the floating-point rule sees. Square ones must also fail to invert.
struct LowRankCase {
    int rows, cols, rank;
    bool integers;
    double scale;
};

class LowRank : public ::testing::TestWithParam<LowRankCase> {};

TEST_P(LowRank, RankIsExactAndSquareOnesAreSingular) {
    const LowRankCase& c = GetParam();
    Matrix X = RandomIntegers(c.rows, c.rank, unsigned(c.rows));
    Matrix Y = RandomIntegers(c.rank, c.cols, unsigned(c.cols + 99));
    Matrix A = Sized(c.rows, c.cols);
    MatrixModule::MultiplyMatrices(c.rows, c.rank, c.cols, c.integers ? X : Scaled(X, 0.1), Y, A);
    A = Scaled(A, c.scale);
    EXPECT_EQ(MatrixModule::MatrixRank(c.rows, c.cols, A), c.rank);
    if (c.rows == c.cols) {
        Matrix Inv = Sized(c.rows, c.rows);
        EXPECT_FALSE(MatrixModule::InvertMatrix(c.rows, A, Inv));
        if (c.integers && c.scale == 1) {
            EXPECT_EQ(MatrixModule::MatrixDeterminant(c.rows, A), 0);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, LowRank,
    ::testing::Values(LowRankCase{6, 6, 5, true, 1}, LowRankCase{6, 6, 3, true, 1},
                      LowRankCase{5, 9, 3, true, 1}, LowRankCase{9, 4, 2, true, 1},
                      LowRankCase{6, 6, 5, false, 1}, LowRankCase{6, 6, 5, false, 1e-30},
                      LowRankCase{7, 12, 4, false, 1e40}, LowRankCase{90, 90, 60, true, 1},
                      LowRankCase{100, 100, 99, false, 1}));

TEST(LinearAlgebra, BoundsAndNonFiniteEntries) {
    const Matrix A = Make({{1, 2, 3}, {4, 5, 6}});
    Matrix Inv = Sized(3, 3);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::MatrixDeterminant(3, A); }), 9);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::InvertMatrix(3, A, Inv); }), 9);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::MatrixRank(2, 4, A); }), 9);
    Matrix Small = Sized(1, 2);
    // Inv too small: written row by row up to the first missing element.
    EXPECT_EQ(ErrorOf([&] { MatrixModule::InvertMatrix(2, Make({{2, 0}, {0, 4}}), Small); }), 9);
    EXPECT_EQ(Small.At(1, 1), 0.5);
    const Matrix Inf = Make({{1, INFINITY}, {0.5, 1}});
    EXPECT_EQ(ErrorOf([&] { MatrixModule::MatrixDeterminant(2, Inf); }), 6);
    EXPECT_EQ(ErrorOf([&] { MatrixModule::MatrixRank(2, 2, Inf); }), 6);
}

}  // namespace
