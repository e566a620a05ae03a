// The element-wise routines of Part 1.1: the edge cases of the Part, the exact point where
// an error stops a traversal (and which elements are written by then), and agreement of
// the fast row path with a traversal through the checked At on operands of every shape.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>

#include "Matrix.h"
#include "MatrixModule.h"
#include "RuntimeError.h"

namespace {

using MatrixModule::AddMatrices;
using MatrixModule::MultiplyElementwise;
using MatrixModule::ScaleMatrix;
using MatrixModule::TransposeMatrix;

constexpr double Untouched = -777.0;

// A rows by cols matrix with element (i, j) = base + 10 i + j; or `fill` everywhere.
Matrix Numbered(std::int16_t rows, std::int16_t cols, double base) {
    Matrix m;
    m.Resize(rows, cols);
    for (int i = 1; i <= rows; ++i)
        for (int j = 1; j <= cols; ++j)
            m.RowData(i)[j - 1] = base + 10 * i + j;
    return m;
}
Matrix Filled(std::int16_t rows, std::int16_t cols, double fill) {
    Matrix m;
    m.Resize(rows, cols);
    for (int i = 1; i <= rows; ++i)
        for (int j = 1; j <= cols; ++j)
            m.RowData(i)[j - 1] = fill;
    return m;
}

// The number of the RuntimeError that `run` raises, if any.
std::optional<int> ErrorOf(const std::function<void()>& run) {
    try {
        run();
    } catch (const RuntimeError& e) {
        return e.Number();
    }
    return std::nullopt;
}

using Cell = std::pair<int, int>;

// Every element of C: the given value at the written cells, Untouched everywhere else.
void ExpectWritten(const Matrix& C, const std::set<Cell>& written,
                   const std::function<double(int, int)>& value) {
    for (int i = 1; i <= C.Rows(); ++i)
        for (int j = 1; j <= C.Cols(); ++j) {
            const double expected = written.count({i, j}) ? value(i, j) : Untouched;
            EXPECT_EQ(C.RowData(i)[j - 1], expected) << "at (" << i << ", " << j << ")";
        }
}

// The four routines behind one signature; B is ignored by ScaleMatrix (c = 2) and
// TransposeMatrix.
struct Routine {
    const char* name;
    std::function<void(std::int16_t, std::int16_t, const Matrix&, const Matrix&, Matrix&)> run;
};
void PrintTo(const Routine& r, std::ostream* os) {
    *os << r.name;
}

const Routine routines[] = {
    {"AddMatrices", [](auto r, auto c, auto& A, auto& B, auto& C) { AddMatrices(r, c, A, B, C); }},
    {"MultiplyElementwise",
     [](auto r, auto c, auto& A, auto& B, auto& C) { MultiplyElementwise(r, c, A, B, C); }},
    {"ScaleMatrix", [](auto r, auto c, auto& A, auto&, auto& C) { ScaleMatrix(r, c, 2.0, A, C); }},
    {"TransposeMatrix",
     [](auto r, auto c, auto& A, auto&, auto& C) { TransposeMatrix(r, c, A, C); }},
};

// --- Counts that touch nothing ------------------------------------------------------------

class NoElementTouched : public ::testing::TestWithParam<std::tuple<Routine, std::pair<int, int>>> {
};

TEST_P(NoElementTouched, EvenWithUnsizedMatrices) {
    const auto& [routine, counts] = GetParam();
    Matrix A, B, C;
    EXPECT_EQ(ErrorOf([&] { routine.run(counts.first, counts.second, A, B, C); }), std::nullopt);
    EXPECT_EQ(C.Rows(), 0);
}

std::string CaseName(const ::testing::TestParamInfo<NoElementTouched::ParamType>& info) {
    return std::string(std::get<0>(info.param).name) + "_" + std::to_string(info.index % 5);
}

INSTANTIATE_TEST_SUITE_P(Part11, NoElementTouched,
                         ::testing::Combine(::testing::ValuesIn(routines),
                                            ::testing::Values(std::pair{0, 3}, std::pair{-1, 3},
                                                              std::pair{-32768, -32768},
                                                              std::pair{2, 0}, std::pair{2, -5})),
                         CaseName);

// --- Element rules ---------------------------------------------------------------------

// Operands larger than the counts, each of its own shape: only the counted elements are
// written, each from the elements at the same position (not at the same storage offset).
TEST(ElementRules, UseTheCountsNotTheMatricesShapes) {
    const Matrix A = Numbered(3, 5, 0.0);
    const Matrix B = Numbered(2, 4, 0.5);
    const std::set<Cell> counted = {{1, 1}, {1, 2}, {2, 1}, {2, 2}};
    {
        Matrix C = Filled(4, 3, Untouched);
        AddMatrices(2, 2, A, B, C);
        ExpectWritten(C, counted, [](int i, int j) { return 2 * (10 * i + j) + 0.5; });
    }
    {
        Matrix C = Filled(4, 3, Untouched);
        MultiplyElementwise(2, 2, A, B, C);
        ExpectWritten(C, counted, [](int i, int j) { return (10 * i + j) * (10 * i + j + 0.5); });
    }
    {
        Matrix C = Filled(4, 3, Untouched);
        ScaleMatrix(2, 2, -1.5, A, C);
        ExpectWritten(C, counted, [](int i, int j) { return -1.5 * (10 * i + j); });
    }
}

TEST(ElementRules, TransposeOfASquareMatrix) {
    const Matrix A = Numbered(2, 2, 0.0);
    Matrix T = Filled(2, 2, Untouched);
    TransposeMatrix(2, 2, A, T);
    ExpectWritten(T, {{1, 1}, {1, 2}, {2, 1}, {2, 2}}, [](int i, int j) { return 10 * j + i; });
}

TEST(ElementRules, UnderflowAndZeroScalePassSilently) {
    const Matrix tiny = Filled(2, 2, 1E-200);
    Matrix C = Filled(2, 2, Untouched);
    MultiplyElementwise(2, 2, tiny, tiny, C);
    ExpectWritten(C, {{1, 1}, {1, 2}, {2, 1}, {2, 2}}, [](int, int) { return 0.0; });

    const Matrix A = Numbered(2, 3, -5.0);
    Matrix Z = Filled(2, 3, Untouched);
    ScaleMatrix(2, 3, 0.0, A, Z);
    ExpectWritten(Z, {{1, 1}, {1, 2}, {1, 3}, {2, 1}, {2, 2}, {2, 3}},
                  [](int, int) { return 0.0; });
}

// --- Where a traversal stops -----------------------------------------------------------

struct Stop {
    const char* name;
    std::function<void(Matrix& C)> run;  // C starts filled with Untouched
    std::pair<int, int> resultShape;
    int error;
    std::set<Cell> written;
    std::function<double(int, int)> value;  // of a written cell
};

void PrintTo(const Stop& s, std::ostream* os) {
    *os << s.name;
}

class TraversalStops : public ::testing::TestWithParam<Stop> {};

TEST_P(TraversalStops, AfterExactlyTheElementsBeforeTheFault) {
    const Stop& s = GetParam();
    Matrix C = Filled(s.resultShape.first, s.resultShape.second, Untouched);
    EXPECT_EQ(ErrorOf([&] { s.run(C); }), s.error);
    ExpectWritten(C, s.written, s.value);
}

const Matrix A23 = Numbered(2, 3, 0.0), A32 = Numbered(3, 2, 0.0), A22 = Numbered(2, 2, 0.0);
const Matrix B12 = Numbered(1, 2, 0.5), B23 = Numbered(2, 3, 0.5);
const Matrix Huge = Filled(1, 3, 1E308), Big = Filled(1, 3, 1E200);

double Sum(int i, int j) {
    return 2 * (10 * i + j) + 0.5;
}
double Transposed(int i, int j) {
    return 10 * j + i;
}
double Infinite(int, int) {
    return INFINITY;
}

INSTANTIATE_TEST_SUITE_P(
    Part11, TraversalStops,
    ::testing::Values(
        // The Part's case: B has one row, so error 9 on reaching B(2, 1).
        Stop{"AddWithBTooShort",
             [](Matrix& C) { AddMatrices(2, 2, A22, B12, C); },
             {2, 2},
             9,
             {{1, 1}, {1, 2}},
             Sum},
        // C narrower than cols: error 9 on reaching C(1, 3), after A(1, 3) and B(1, 3).
        Stop{"AddWithCTooNarrow",
             [](Matrix& C) { AddMatrices(2, 3, A23, B23, C); },
             {2, 2},
             9,
             {{1, 1}, {1, 2}},
             Sum},
        // An unsized operand: error 9 at the very first access.
        Stop{"AddWithUnsizedA",
             [](Matrix& C) { AddMatrices(1, 1, Matrix(), B12, C); },
             {1, 1},
             9,
             {},
             Sum},
        // Overflow: the infinite element is stored, then error 6; nothing after it.
        Stop{"AddOverflows",
             [](Matrix& C) { AddMatrices(1, 3, Huge, Huge, C); },
             {1, 3},
             6,
             {{1, 1}},
             Infinite},
        Stop{"MultiplyOverflows",
             [](Matrix& C) { MultiplyElementwise(1, 3, Big, Big, C); },
             {1, 3},
             6,
             {{1, 1}},
             Infinite},
        Stop{"ScaleOverflows",
             [](Matrix& C) { ScaleMatrix(1, 3, -10.0, Huge, C); },
             {1, 3},
             6,
             {{1, 1}},
             [](int, int) { return -INFINITY; }},
        // An overflow in a row that will later run out of C: the overflow comes first.
        Stop{"OverflowBeforeTheEdge",
             [](Matrix& C) { AddMatrices(1, 3, Huge, Huge, C); },
             {1, 2},
             6,
             {{1, 1}},
             Infinite},
        // Transposes with the counts of a non-square A, as Compute passes them.
        Stop{"TransposeTwoByThree",
             [](Matrix& C) { TransposeMatrix(2, 3, A23, C); },
             {3, 2},
             9,
             {{1, 1}, {1, 2}},
             Transposed},
        Stop{"TransposeThreeByTwo",
             [](Matrix& C) { TransposeMatrix(3, 2, A32, C); },
             {2, 3},
             9,
             {{1, 1}, {1, 2}, {2, 1}, {2, 2}},
             Transposed}),
    [](const auto& info) { return std::string(info.param.name); });

// --- The 16-bit counters -----------------------------------------------------------------

// A count of 32767 is traversed to its end; the step past it raises 6.
class CounterStepsPast32767 : public ::testing::TestWithParam<Routine> {};

TEST_P(CounterStepsPast32767, AfterTheLastRowOrColumn) {
    const Routine& routine = GetParam();
    const bool transpose = std::string(routine.name) == "TransposeMatrix";
    for (const auto& [rows, cols] : {std::pair<std::int16_t, std::int16_t>{1, 32767}, {32767, 1}}) {
        const Matrix A = transpose ? Filled(cols, rows, 3.0) : Filled(rows, cols, 3.0);
        const Matrix B = Filled(rows, cols, 1.0);
        Matrix C = Filled(rows, cols, Untouched);
        EXPECT_EQ(ErrorOf([&] { routine.run(rows, cols, A, B, C); }), 6);
        EXPECT_NE(C.At(rows, cols), Untouched) << "the last element is written first";
    }
}

INSTANTIATE_TEST_SUITE_P(Part11, CounterStepsPast32767, ::testing::ValuesIn(routines),
                         [](const auto& info) { return std::string(info.param.name); });

// --- The fast row path against the checked traversal -------------------------------------

// Part 1.1's traversal written out with the checked At only.
void CheckedReference(int routine, std::int16_t rows, std::int16_t cols, const Matrix& A,
                      const Matrix& B, Matrix& C) {
    for (int i = 1; i <= rows; ++i)
        for (int j = 1; j <= cols; ++j) {
            const auto r = std::int16_t(i), c = std::int16_t(j);
            if (routine == 3) {
                const double a = A.At(c, r);
                C.At(r, c) = a;
                continue;
            }
            const double a = A.At(r, c);
            const double b = routine == 2 ? 2.0 : B.At(r, c);
            double& x = C.At(r, c);
            x = routine == 0 ? a + b : a * b;
            if (!std::isfinite(x)) throw RuntimeError(RuntimeError::Overflow);
        }
}

TEST(FastRowPath, LeavesWhatTheCheckedTraversalLeaves) {
    std::mt19937 random(5);
    std::uniform_int_distribution<int> size(0, 5), count(-1, 6), pick(0, 9);
    auto randomMatrix = [&](double scale) {
        Matrix m;
        const int r = size(random), c = size(random);
        if (r == 0 || c == 0) return m;
        m.Resize(r, c);
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
        const auto want = ErrorOf([&] { CheckedReference(routine, rows, cols, A, B, expected); });
        const auto got = ErrorOf([&] { routines[routine].run(rows, cols, A, B, C); });
        ASSERT_EQ(got, want) << routines[routine].name << " rows " << rows << " cols " << cols;
        for (std::int16_t i = 1; i <= C.Rows(); ++i)
            for (std::int16_t j = 1; j <= C.Cols(); ++j)
                ASSERT_EQ(C.At(i, j), expected.At(i, j))
                    << routines[routine].name << " at " << i << ", " << j;
    }
}

}  // namespace
