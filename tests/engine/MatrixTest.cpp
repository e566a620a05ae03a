// The Matrix type of Part 1.1: sizing, the checked element access, release, and the
// bounds test that lets routines skip per-element checks.

#include <gtest/gtest.h>

#include "Matrix.h"
#include "RuntimeError.h"

namespace {

int ErrorOf(void (*run)(Matrix&), Matrix& m) {
    try {
        run(m);
    } catch (const RuntimeError& e) {
        return e.Number();
    }
    return 0;
}

TEST(Matrix, ResizeDiscardsTheContentsAndZeroesEveryElement) {
    Matrix m;
    m.Resize(2, 3);
    m.At(2, 3) = 5.0;
    m.Resize(3, 2);
    EXPECT_EQ(m.Rows(), 3);
    EXPECT_EQ(m.Cols(), 2);
    for (std::int16_t i = 1; i <= 3; ++i)
        for (std::int16_t j = 1; j <= 2; ++j)
            EXPECT_EQ(m.At(i, j), 0.0);
}

TEST(Matrix, ElementsAreKeptByPosition) {
    Matrix m;
    m.Resize(2, 3);
    m.At(1, 3) = 13.0;
    m.At(2, 1) = 21.0;
    EXPECT_EQ(m.At(1, 3), 13.0);
    EXPECT_EQ(m.At(2, 1), 21.0);
    EXPECT_EQ(m.RowData(2)[0], 21.0);
    EXPECT_EQ(m.RowData(1)[2], 13.0);
}

TEST(Matrix, CountsBelowOneRaise9) {
    for (auto resize : {+[](Matrix& m) { m.Resize(0, 3); }, +[](Matrix& m) { m.Resize(3, 0); },
                        +[](Matrix& m) { m.Resize(-1, -1); }}) {
        Matrix m;
        EXPECT_EQ(ErrorOf(resize, m), 9);
    }
}

TEST(Matrix, AccessOutsideTheBoundsRaises9) {
    Matrix m;
    m.Resize(2, 3);
    for (auto access : {+[](Matrix& x) { x.At(0, 1) = 1; }, +[](Matrix& x) { x.At(1, 0) = 1; },
                        +[](Matrix& x) { x.At(3, 1) = 1; }, +[](Matrix& x) { x.At(1, 4) = 1; },
                        +[](Matrix& x) { (void)static_cast<const Matrix&>(x).At(-1, 2); }})
        EXPECT_EQ(ErrorOf(access, m), 9);
}

TEST(Matrix, UnsizedAndReleasedMatricesHaveNoElements) {
    Matrix m;
    EXPECT_EQ(ErrorOf(
                  +[](Matrix& x) { x.At(1, 1) = 1; }, m),
              9);
    m.Resize(2, 2);
    m.Release();
    EXPECT_EQ(m.Rows(), 0);
    EXPECT_EQ(m.Cols(), 0);
    EXPECT_EQ(ErrorOf(
                  +[](Matrix& x) { x.At(1, 1) = 1; }, m),
              9);
    EXPECT_FALSE(m.Covers(1, 1));
}

TEST(Matrix, CoversExactlyTheRangesWithinItsBounds) {
    Matrix m;
    m.Resize(3, 4);
    EXPECT_TRUE(m.Covers(3, 4));
    EXPECT_TRUE(m.Covers(1, 1));
    EXPECT_FALSE(m.Covers(4, 1));
    EXPECT_FALSE(m.Covers(1, 5));
}

}  // namespace
