// Product, determinant, inverse and rank: worked examples, identities on random matrices,
// exactly singular matrices of several shapes (integer and decimal), scale, and errors.

#include <string>

#include "EngineTestSupport.h"
#include "MatrixModule.h"
#include "VectorPaths.h"

namespace {

using namespace MatrixModule;

Matrix Scaled(Matrix m, double factor) {
    for (std::int16_t i = 1; i <= m.Rows(); ++i)
        for (std::int16_t j = 1; j <= m.Cols(); ++j)
            m.At(i, j) *= factor;
    return m;
}

TEST(MultiplyMatrices, WorkedExampleAndPlainSumsBitForBit) {
    Matrix C = Sized(2, 1);
    MultiplyMatrices(2, 2, 1, MatrixOf({{1, 2}, {3, 4}}), MatrixOf({{5}, {6}}), C);
    EXPECT_TRUE(SameBits(C, MatrixOf({{17}, {39}})));
    // On every vector path: shapes that leave partial tiles (some of them exactly the half
    // or quarter tiles of a path, worked in place), several depth blocks, work for both
    // cores.
    for (VectorPaths::Path path : VectorPaths::Supported()) {
        VectorPaths::Use(path);
        for (auto [m, k, n] :
             {std::tuple{7, 5, 3}, {130, 300, 9}, {150, 130, 170}, {100, 37, 100}, {99, 20, 12}}) {
            const Matrix A = RandomMatrix(m, k, unsigned(m)), B = RandomMatrix(k, n, unsigned(n));
            Matrix P = Sized(m, n);
            MultiplyMatrices(std::int16_t(m), std::int16_t(k), std::int16_t(n), A, B, P);
            EXPECT_TRUE(SameBits(P, Product(A, B))) << m << " on path " << int(path);
        }
    }
    VectorPaths::Use(VectorPaths::Supported().back());
}

TEST(MatrixDeterminant, WorkedExamplesAndExactIntegers) {
    // clang-format off
    const std::pair<Rows, double> examples[] = {
        {{{1, 2}, {3, 4}}, -2}, {{{-7.25}}, -7.25}, {{{0.5, 0.25}, {0.125, 1.5}}, 0.71875},
        // Dependent integer rows: exactly 0.
        {{{1, 2, 3, 4, 5, 6}, {2, 3, 5, 7, 11, 13}, {3, 5, 8, 11, 16, 19}, {1, 0, 2, 0, 3, 0},
          {4, 4, 4, 4, 4, 4}, {5, 4, 9, 8, 14, 12}}, 0},
        // The product of the pivots overflows on the way; a tiny one is still not zero.
        {{{1e200, 0, 0}, {0, 1e200, 0}, {0, 0, 1e-300}}, 1e100}, {{{1e-200, 0}, {0, 1e-200}}, 0},
        // A zero leading pivot: an exchange of rows, which changes the sign.
        {{{0, 0, 3}, {0, 2, 5}, {1, 4, -2}}, -6}};
    // clang-format on
    for (const auto& [a, det] : examples)
        EXPECT_DOUBLE_EQ(MatrixDeterminant(std::int16_t(a.size()), MatrixOf(a)), det) << a[0][0];
    // Pascal matrices (binomial coefficients) have determinant 1 and are badly conditioned:
    // floating-point elimination loses digits, the exact reduction of integers does not.
    for (int n : {6, 12}) {
        Matrix P = Sized(n, n, 1);
        for (std::int16_t i = 2; i <= n; ++i)
            for (std::int16_t j = 2; j <= n; ++j)
                P.At(i, j) = P.At(i - 1, j) + P.At(i, j - 1);
        EXPECT_EQ(MatrixDeterminant(std::int16_t(n), P), 1.0) << n;
    }
}

TEST(MatrixDeterminant, OfAProductIsTheProductOfTheDeterminants) {
    for (std::int16_t n : {5, 120}) {  // the second takes the blocked, shared path
        const Matrix A = RandomMatrix(n, n, 11), B = RandomMatrix(n, n, 12);
        const double product = MatrixDeterminant(n, A) * MatrixDeterminant(n, B);
        EXPECT_NEAR(MatrixDeterminant(n, Product(A, B)) / product, 1.0, 1e-9) << n;
    }
}

TEST(InvertMatrix, WorkedExamplesAndATimesItsInverseForRandomMatrices) {
    Matrix Inv2 = Sized(2, 2);
    ASSERT_TRUE(InvertMatrix(2, MatrixOf({{0, 1}, {1, 0}}), Inv2));
    EXPECT_TRUE(SameBits(Inv2, MatrixOf({{0, 1}, {1, 0}})));
    EXPECT_FALSE(InvertMatrix(2, MatrixOf({{1, 2}, {2, 4}}), Inv2));
    for (int n : {1, 3, 47, 150}) {
        // Entries of very different sizes: rows scaled from 1e-150 to 1e150.
        Matrix A = RandomMatrix(n, n, unsigned(n));
        for (std::int16_t i = 1; i <= n; ++i)
            for (std::int16_t j = 1; j <= n; ++j)
                A.At(i, j) *= std::pow(10.0, 300.0 * (i - 1) / n - 150);
        Matrix Inv = Sized(n, n);
        ASSERT_TRUE(InvertMatrix(std::int16_t(n), A, Inv)) << n;
        EXPECT_LT(MaxDifference(Product(Inv, A), Identity(n)), 1e-9) << n;
    }
}

TEST(MatrixRank, WorkedExamples) {
    // clang-format off
    const std::pair<Rows, int> examples[] = {
        {{{1, 2}, {2, 4}}, 1}, {{{0, 0, 0}, {0, 0, 0}}, 0}, {{{1, 0, 0}, {0, 1, 0}}, 2},
        {{{0.1, 0.2, 0.3}, {0.4, 0.5, 0.6}, {0.7, 0.8, 0.9}}, 2}, {{{1e-20, 0}, {0, 1e-20}}, 2}};
    // clang-format on
    for (const auto& [a, rank] : examples)
        EXPECT_EQ(MatrixRank(std::int16_t(a.size()), std::int16_t(a[0].size()), MatrixOf(a)), rank)
            << a[0][0];
}

// A = X Y with inner dimension r has rank r. Integer factors of several shapes (reduced
// exactly when small), decimal ones (0.1 steps, not exact in binary), and large ones that
// only the floating-point rule sees. Square ones must also fail to invert.
TEST(MatrixRank, OfLowRankProductsIsExactAndSquareOnesAreSingular) {
    struct {
        int rows, cols, rank;
        bool integers;
        double scale;
    } const cases[] = {{6, 6, 5, true, 1},      {6, 6, 3, true, 1},    {5, 9, 3, true, 1},
                       {9, 4, 2, true, 1},      {6, 6, 5, false, 1},   {6, 6, 5, false, 1e-30},
                       {7, 12, 4, false, 1e40}, {90, 90, 60, true, 1}, {100, 100, 99, false, 1}};
    for (const auto& [rows, cols, rank, integers, scale] : cases) {
        const Matrix X = RandomMatrix(rows, rank, unsigned(rows), 5);
        const Matrix Y = RandomMatrix(rank, cols, unsigned(cols + 99), 5);
        const Matrix A = Scaled(Product(integers ? X : Scaled(X, 0.1), Y), scale);
        const auto m = std::int16_t(rows), n = std::int16_t(cols);
        EXPECT_EQ(MatrixRank(m, n, A), rank) << rows << " by " << cols << " of rank " << rank;
        if (m != n) continue;
        Matrix Inv = Sized(rows, rows);
        EXPECT_FALSE(InvertMatrix(m, A, Inv)) << rows;
        EXPECT_TRUE(!integers || scale != 1 || MatrixDeterminant(m, A) == 0) << rows;
    }
}

TEST(LinearAlgebra, BoundsAndNonFiniteValues) {
    const Matrix A = MatrixOf({{1, 2, 3}, {4, 5, 6}}), Inf = MatrixOf({{1, INFINITY}, {0.5, 1}});
    const Matrix H = MatrixOf({{1e200, 1e200}, {1, 1}});
    Matrix Inv = Sized(3, 3), Small = Sized(1, 2), C = Sized(2, 2);
    // B with one row where the product needs two: nothing is written.
    ExpectRuntimeError(9, [&] { MultiplyMatrices(2, 2, 2, A, MatrixOf({{1, 2}}), C); });
    EXPECT_TRUE(SameBits(C, Sized(2, 2)));
    ExpectRuntimeError(9, [&] { MultiplyMatrices(3, 2, 2, A, A, C); });
    ExpectRuntimeError(6, [&] { MultiplyMatrices(2, 2, 2, H, H, C); });
    ExpectRuntimeError(9, [&] { MatrixDeterminant(3, A); });
    ExpectRuntimeError(9, [&] { InvertMatrix(3, A, Inv); });
    ExpectRuntimeError(9, [&] { MatrixRank(2, 4, A); });
    // Inv too small: written row by row up to the first missing element.
    ExpectRuntimeError(9, [&] { InvertMatrix(2, MatrixOf({{2, 0}, {0, 4}}), Small); });
    EXPECT_EQ(Small.At(1, 1), 0.5);
    ExpectRuntimeError(6, [&] { MatrixDeterminant(2, Inf); });
    ExpectRuntimeError(6, [&] { MatrixRank(2, 2, Inf); });
}

}  // namespace
