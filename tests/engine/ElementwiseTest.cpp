// The element-wise routines: their element rules, the exact point where an error stops a
// traversal (and which elements are written by then), the 16-bit counters, and agreement
// of the fast row path with a traversal through the checked At on operands of every shape.

#include <string>

#include "EngineTestSupport.h"
#include "MatrixModule.h"

namespace {

using namespace MatrixModule;

constexpr double U = -777.0;  // an element that no routine wrote

// The four routines behind one signature; ScaleMatrix (c = 2) and TransposeMatrix ignore B.
using Routine = void (*)(std::int16_t, std::int16_t, const Matrix&, const Matrix&, Matrix&);
const Routine routines[] = {
    [](auto r, auto c, auto& A, auto& B, auto& C) { AddMatrices(r, c, A, B, C); },
    [](auto r, auto c, auto& A, auto& B, auto& C) { MultiplyElementwise(r, c, A, B, C); },
    [](auto r, auto c, auto& A, auto&, auto& C) { ScaleMatrix(r, c, 2.0, A, C); },
    [](auto r, auto c, auto& A, auto&, auto& C) { TransposeMatrix(r, c, A, C); }};
constexpr int Transpose = 3;

// Operands of shapes other than the counts': element (i, j) of A is 10 i + j.
const Matrix A34 = MatrixOf({{11, 12, 13, 14}, {21, 22, 23, 24}, {31, 32, 33, 34}});
const Matrix B23 = MatrixOf({{11.5, 12.5, 13.5}, {21.5, 22.5, 23.5}});
const Matrix Huge = Sized(1, 3, 1E308), Tiny = Sized(2, 2, 1E-200);

struct Case {
    const char* name;
    void (*run)(Matrix& C);  // C starts with the shape of `after`, every element U
    int error;
    Rows after;
};

class ElementRoutine : public ::testing::TestWithParam<Case> {};

TEST_P(ElementRoutine, WritesExactlyTheElementsBeforeAnyFault) {
    const Case& c = GetParam();
    Matrix C = Sized(int(c.after.size()), int(c.after[0].size()), U);
    ExpectRuntimeError(c.error, [&] { c.run(C); });
    EXPECT_TRUE(SameBits(C, MatrixOf(c.after)));
}

const double inf = INFINITY;
// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, ElementRoutine, ::testing::Values(
    // Only the counted elements, each from the operands' elements at the same position.
    Case{"Add", [](Matrix& C) { AddMatrices(2, 2, A34, B23, C); }, 0,
         {{22.5, 24.5, U}, {42.5, 44.5, U}, {U, U, U}}},
    Case{"Multiply", [](Matrix& C) { MultiplyElementwise(2, 2, A34, B23, C); }, 0,
         {{126.5, 150, U}, {451.5, 495, U}, {U, U, U}}},
    Case{"Scale", [](Matrix& C) { ScaleMatrix(2, 2, -1.5, A34, C); }, 0,
         {{-16.5, -18, U}, {-31.5, -33, U}, {U, U, U}}},
    Case{"TransposeSquare", [](Matrix& C) { TransposeMatrix(2, 2, A34, C); }, 0,
         {{11, 21}, {12, 22}}},
    Case{"UnderflowPasses", [](Matrix& C) { MultiplyElementwise(2, 2, Tiny, Tiny, C); }, 0,
         {{0, 0}, {0, 0}}},
    Case{"ScaleByZero", [](Matrix& C) { ScaleMatrix(2, 3, 0.0, A34, C); }, 0,
         {{0, 0, 0}, {0, 0, 0}}},
    // Overflow: the infinite element is stored, then error 6. Where errors stop the other
    // routines, and what they have written by then, is left to the comparison below.
    Case{"ScaleOverflows", [](Matrix& C) { ScaleMatrix(1, 3, -10.0, Huge, C); }, 6, {{-inf, U, U}}}),
    ByName());
// clang-format on

TEST(ElementRoutines, ACountOf32767EndsInOverflowAfterTheLastElement) {
    for (int routine = 0; routine < 4; ++routine)
        for (auto [rows, cols] : {std::pair<std::int16_t, std::int16_t>{1, 32767}, {32767, 1}}) {
            const Matrix A = routine == Transpose ? Sized(cols, rows, 3) : Sized(rows, cols, 3);
            Matrix C = Sized(rows, cols, U);
            ExpectRuntimeError(6, [&] { routines[routine](rows, cols, A, A, C); });
            EXPECT_NE(C.At(rows, cols), U) << "routine " << routine;
        }
}

// The traversal written out with the checked At only.
void CheckedReference(int routine, std::int16_t rows, std::int16_t cols, const Matrix& A,
                      const Matrix& B, Matrix& C) {
    for (std::int16_t i = 1; i <= rows; ++i)
        for (std::int16_t j = 1; j <= cols; ++j) {
            if (routine == Transpose) {
                const double a = A.At(j, i);
                C.At(i, j) = a;
                continue;
            }
            const double a = A.At(i, j);
            const double b = routine == 2 ? 2.0 : B.At(i, j);
            double& x = C.At(i, j);
            x = routine == 0 ? a + b : a * b;
            if (!std::isfinite(x)) throw RuntimeError(RuntimeError::Overflow);
        }
}

// On operands of every shape, unsized ones included, with counts from -1 up (below 1, no
// element may be touched) and with some entries that overflow: error 9 at the first access
// outside a matrix, error 6 once an infinite element is stored, and exactly the elements
// written before either.
TEST(ElementRoutines, FastRowPathLeavesWhatTheCheckedTraversalLeaves) {
    std::mt19937 random(5);
    std::uniform_int_distribution<int> size(0, 5), count(-1, 6), pick(0, 9);
    auto randomMatrix = [&](double scale) {
        Matrix m;
        const int r = size(random), c = size(random);
        if (r == 0 || c == 0) return m;
        m.Resize(std::int16_t(r), std::int16_t(c));
        for (std::int16_t i = 1; i <= r; ++i)
            for (std::int16_t j = 1; j <= c; ++j)
                m.At(i, j) = pick(random) == 0 ? 1E308 : scale * (i - j);
        return m;
    };
    for (int trial = 0; trial < 4000; ++trial) {
        const int routine = trial % 4;
        const auto rows = std::int16_t(count(random)), cols = std::int16_t(count(random));
        const Matrix A = randomMatrix(1.5), B = randomMatrix(0.25);
        Matrix C = randomMatrix(0.0), expected = C;
        const int want = ErrorOf([&] { CheckedReference(routine, rows, cols, A, B, expected); });
        ASSERT_EQ(ErrorOf([&] { routines[routine](rows, cols, A, B, C); }), want)
            << "routine " << routine << " rows " << rows << " cols " << cols;
        ASSERT_TRUE(SameBits(C, expected)) << "routine " << routine;
    }
}

}  // namespace
