#include "ResultSheet.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <utility>

#include "EngineTestSupport.h"
#include "GridModel.h"
#include "NamedRows.h"
#include "NumberText.h"

namespace {

// An r by c matrix whose entry (i, j) is 10 i + j.
Matrix Numbered(std::int16_t r, std::int16_t c) {
    Matrix m = Sized(r, c);
    for (std::int16_t i = 1; i <= r; ++i)
        for (std::int16_t j = 1; j <= c; ++j)
            m.At(i, j) = 10 * i + j;
    return m;
}

// A sheet and the window's operands, whose B counts are 2 by 2 unless a case sets them.
struct Sheet {
    GridModel grid;
    Operands o;
    ResultSheet w{grid, o};
    Sheet() { o.RowsB = o.ColsB = 2; }
};
using Write = std::function<void(Sheet&)>;

// The sheet's size and top row, and with used, its used range: "31x11 top 9 used 11x3".
std::string Sizes(const GridModel& grid, bool used = false) {
    std::string out = std::to_string(grid.Rows()) + "x" + std::to_string(grid.Cols()) + " top " +
                      std::to_string(grid.TopRow());
    if (used)
        out += " used " + std::to_string(grid.LastUsedRow()) + "x" +
               std::to_string(grid.LastUsedCol());
    return out;
}

// The sheet as a small picture: its sizes, then rows 1 to the last used one with the cells
// of columns 1 on separated by '|', empty cells at a line's end left out.
std::string Picture(const GridModel& grid) {
    std::string out = Sizes(grid) + "\n";
    for (int r = 1; r <= grid.LastUsedRow(); ++r) {
        std::string line;
        for (int c = 1; c <= grid.LastUsedCol(); ++c)
            line += (c > 1 ? "|" : "") + std::string(grid.CellUtf8(r, c));
        out += line.erase(line.find_last_not_of('|') + 1) + "\n";
    }
    return out;
}

struct Report {
    const char* name;
    Write write;
    const char* picture;
};
class ResultSheetReportTest : public ::testing::TestWithParam<Report> {};

// Each report runs on a sheet that an earlier report has grown and filled. A run-time error
// shows after the sizes; the cells written before it stay.
TEST_P(ResultSheetReportTest, LaysOutTheReport) {
    Sheet sheet;
    sheet.grid.SetCellText(40, 14, "old");
    sheet.grid.SetCellText(30, 10, "old");
    std::string error;
    try {
        GetParam().write(sheet);
    } catch (const RuntimeError& e) {
        error = " error " + std::to_string(e.Number());
    }
    // A one-line picture gives only the sizes of a report too long to draw.
    const std::string expected = GetParam().picture;
    if (expected.find('\n') == std::string::npos) {
        EXPECT_EQ(Sizes(sheet.grid, true) + error, expected);
    } else {
        const std::string picture = Picture(sheet.grid);
        EXPECT_EQ(
            picture.substr(0, picture.find('\n')) + error + picture.substr(picture.find('\n')),
            expected);
    }
}

// Short names for the table: M for a matrix of literal rows, N for a numbered one.
const auto M = MatrixOf;
const auto N = Numbered;
const Matrix A2 = M({{1, 2}, {3, 4}}), B2 = M({{5, 6}, {7, 8}});

// clang-format off
const Report kReports[] = {
    {"Sum", [](Sheet& s) { s.w.ShowSumResult(2, 2, A2, N(2, 2), B2); },
     "31x11 top 9\nA =\n|1|2\n|3|4\n\nB =\n|11|12\n|21|22\n\nA + B =\n|5|6\n|7|8\n"},
    {"Difference", [](Sheet& s) { s.o.RowsB = s.o.ColsB = 1;
         s.w.ShowDifferenceResult(1, 1, M({{0.1}}), M({{1e15}}), M({{1e-5}})); },
     "31x11 top 7\nA =\n|0.1\n\nB =\n|1E+15\n\nA - B =\n|1E-05\n"},
    {"ElementwiseWithTallerWiderWindowB", [](Sheet& s) { s.o.RowsB = 2; s.o.ColsB = 3;
         s.w.ShowElementwiseProductResult(1, 1, M({{2}}), N(2, 3), M({{22}})); },
     "31x11 top 8\nA =\n|2\n\nB =\n|11|12|13\n|21|22|23\n\nA .* B =\n|22\n"},
    {"ScalarShowsWindowMatAAndNegativeZero", [](Sheet& s) { s.o.MatA = M({{0, 1}});
         s.w.ShowScalarMultipleResult(1, 2, -3, A2, M({{-0.0, -3}})); },
     "31x11 top 4\nA =\n|0|1\n\nc =\n|-3\n\nc * A =\n|0|-3\n"},
    {"Transpose", [](Sheet& s) { s.w.ShowTransposeResult(2, 3, N(2, 3), N(3, 2)); },
     "31x11 top 4\nA =\n|11|12|13\n|21|22|23\nA' =\n|11|12\n|21|22\n|31|32\n"},
    // The B block has cA = 2 rows, the caption follows the window's 3.
    {"ProductPlacesCaptionByWindowRowsB", [](Sheet& s) { s.o.RowsB = 3;
         s.w.ShowProductResult(1, 2, 3, M({{1, 2}}), N(2, 3), N(1, 3)); },
     "31x11 top 9\nA =\n|1|2\n\nB =\n|11|12|13\n|21|22|23\n\n\nA * B =\n|11|12|13\n"},
    {"Determinant", [](Sheet& s) { s.w.ShowDeterminantResult(2, A2, -2); },
     "31x11 top 4\nA =\n|1|2\n|3|4\nDet(A) =\n|-2\n"},
    {"InverseFailed", [](Sheet& s) { s.w.ShowInverseResult(false, 2, A2, Matrix()); },
     "31x11 top 4\nA =\n|1|2\n|3|4\nInv(A) =\n|Failed.\n"},
    {"Rank", [](Sheet& s) { s.w.ShowRankResult(1, 2, A2, -12); },
     "31x11 top 3\nA =\n|1|2\nRank(A) =\n|-12\n"},
    {"LUShowsOnlyNColumnsOfA", [](Sheet& s) { s.w.ShowLUResult(2, N(2, 3), A2, N(2, 2)); },
     "31x11 top 5\nA =\n|11|12\n|21|22\n\nL =\n|1|2\n|3|4\n\nU =\n|11|12\n|21|22\n"},
    {"LUFailure", [](Sheet& s) { s.w.ShowLUFailure(2, A2, Matrix(), Matrix()); },
     "31x11 top 5\nA =\n|1|2\n|3|4\n\nL =\n|Failed.\n\nU =\n|Failed.\n"},
    {"QR", [](Sheet& s) { s.w.ShowQRResult(3, 2, N(3, 2), N(3, 2), N(3, 3)); },
     "31x11 top 6\nA =\n|11|12\n|21|22\n|31|32\n\nR =\n|11|12\n|21|22\n|31|32\n\n"
     "Q =\n|11|12|13\n|21|22|23\n|31|32|33\n"},
    {"QRFailureWideAGrowsColumns",
     [](Sheet& s) { s.w.ShowQRFailure(2, 12, N(2, 12), Matrix(), Matrix()); },
     "31x14 top 5\nA =\n|11|12|13|14|15|16|17|18|19|20|21|22\n"
     "|21|22|23|24|25|26|27|28|29|30|31|32\n\nR =\n|Failed.\n\nQ =\n|Failed.\n"},
    // The row and column needs, and the deliberate shortfalls where the cells written reach
    // beyond them: the sheet grows just enough to hold those cells.
    {"SumTenByTen", [](Sheet& s) { s.o.RowsB = s.o.ColsB = 10;
         s.w.ShowSumResult(10, 10, N(10, 10), N(10, 10), N(10, 10)); },
     "36x12 top 25 used 35x11"},
    {"ScalarThirteenPastTheLastRow", [](Sheet& s) { s.o.MatA = N(13, 1);
         s.w.ShowScalarMultipleResult(13, 1, 2, Matrix(), N(13, 1)); },
     "33x11 top 16 used 32x2"},
    {"TransposeOneByThirty", [](Sheet& s) { s.w.ShowTransposeResult(1, 30, N(1, 30), N(30, 1)); },
     "34x32 top 3 used 33x31"},
    {"LUNine", [](Sheet& s) { s.w.ShowLUResult(9, N(9, 9), N(9, 9), N(9, 9)); },
     "33x11 top 12 used 32x10"},
    // The decomposition writers scroll before their factors, the others once everything is
    // written: a factor or result too small to read shows the moment.
    {"LUTopRowBeforeL", [](Sheet& s) { s.w.ShowLUResult(1, A2, Matrix(), A2); },
     "31x11 top 4 error 9\nA =\n|1\n\nL =\n"},
    {"QRTopRowBeforeR", [](Sheet& s) { s.w.ShowQRResult(1, 1, A2, Matrix(), A2); },
     "31x11 top 4 error 9\nA =\n|1\n\nR =\n"},
    {"InverseTopRowLast", [](Sheet& s) { s.w.ShowInverseResult(true, 1, A2, Matrix()); },
     "31x11 top 1 error 9\nA =\n|1\nInv(A) =\n"},
    // Counts beyond the matrices raise 9, positions and needs beyond 32767 raise 6.
    {"SumWindowBWiderThanB", [](Sheet& s) { s.o.ColsB = 3; s.w.ShowSumResult(1, 1, A2, A2, A2); },
     "31x11 top 1 error 9\nA =\n|1\n\nB =\n|1|2\n"},
    {"ProductCaptionBeyond32767",
     [](Sheet& s) { s.o.RowsB = 32767; s.w.ShowProductResult(1, 1, 1, A2, A2, A2); },
     "31x11 top 1 error 6\nA =\n|1\n\nB =\n|1\n"},
    {"RankRowNeedBeyond32767", [](Sheet& s) { s.w.ShowRankResult(32764, 1, A2, 1); },
     "31x11 top 1 used 0x0 error 6"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Writers, ResultSheetReportTest, ::testing::ValuesIn(kReports), ByName());

// Blocks large enough to be formatted by several cores and in several batches of rows:
// every cell holds the text of its own element, and nothing else is written.
TEST(ResultSheetTest, LargeBlocksHoldEachElementsText) {
    Sheet s;
    s.o.RowsB = 25;
    Matrix A = Numbered(150, 25), B = Numbered(25, 90), C = Numbered(150, 90);
    for (std::int16_t i = 1; i <= 150; ++i)
        for (std::int16_t j = 1; j <= 90; ++j)
            C.At(i, j) = (i * 31 + j) / 7.0 - 300;
    s.w.ShowProductResult(150, 25, 90, A, B, C);
    auto expectBlock = [&](int caption, const Matrix& m) {
        for (std::int16_t i = 1; i <= m.Rows(); ++i)
            for (std::int16_t j = 1; j <= m.Cols(); ++j)
                ASSERT_EQ(s.grid.CellUtf8(caption + i, j + 1), NumberToText(m.At(i, j)))
                    << caption << ": " << i << ", " << j;
    };
    expectBlock(1, A);
    expectBlock(153, B);
    expectBlock(180, C);
    EXPECT_EQ(s.grid.CellUtf8(180, 1), "A * B =");
    EXPECT_EQ(std::make_pair(s.grid.LastUsedRow(), s.grid.LastUsedCol()), std::make_pair(330, 91));
}

TEST(ResultSheetTest, UsesTheGivenDecimalSeparator) {
    GridModel grid;
    Operands window;
    ResultSheet(grid, window, ',').ShowDeterminantResult(1, MatrixOf({{0.25}}), -1.5e-7);
    EXPECT_EQ(grid.CellText(2, 2), "0,25");
    EXPECT_EQ(grid.CellText(4, 2), "-1,5E-07");
}

}  // namespace
