// The Matrix type: sizing, the checked element access, release, and the bounds test that
// lets routines skip per-element checks.

#include <utility>

#include "EngineTestSupport.h"

namespace {

TEST(Matrix, ResizeZeroesEveryElementAndKeepsElementsByPosition) {
    Matrix m = Sized(2, 3, 5.0);
    m.Resize(3, 2);
    EXPECT_TRUE(SameBits(m, MatrixOf({{0, 0}, {0, 0}, {0, 0}})));
    m.At(1, 2) = 12.0;
    m.At(3, 1) = 31.0;
    EXPECT_TRUE(SameBits(m, MatrixOf({{0, 12}, {0, 0}, {31, 0}})));
}

TEST(Matrix, CountsBelowOneAndAccessOutsideTheBoundsRaise9) {
    for (auto [rows, cols] : {std::pair{0, 3}, {3, 0}, {-1, -1}})
        ExpectRuntimeError(9, [&] { Matrix().Resize(std::int16_t(rows), std::int16_t(cols)); });
    Matrix m = Sized(2, 3);
    for (auto [i, j] : {std::pair{0, 1}, {1, 0}, {3, 1}, {1, 4}, {-1, 2}}) {
        ExpectRuntimeError(9, [&] { m.At(std::int16_t(i), std::int16_t(j)) = 1; });
        ExpectRuntimeError(9, [&] { (void)std::as_const(m).At(std::int16_t(i), std::int16_t(j)); });
    }
    Matrix unsized;
    ExpectRuntimeError(9, [&] { unsized.At(1, 1) = 1; });
    m.Release();
    EXPECT_EQ(m.Rows(), 0);
    EXPECT_EQ(m.Cols(), 0);
    ExpectRuntimeError(9, [&] { m.At(1, 1) = 1; });
}

}  // namespace
