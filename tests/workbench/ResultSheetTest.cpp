#include "ResultSheet.h"

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>

#include "GridModel.h"
#include "RuntimeError.h"

namespace {

Matrix Make(std::initializer_list<std::initializer_list<double>> rows) {
    Matrix m;
    m.Resize(std::int16_t(rows.size()), std::int16_t(rows.begin()->size()));
    std::int16_t i = 0;
    for (const auto& row : rows) {
        ++i;
        std::int16_t j = 0;
        for (double value : row)
            m.At(i, ++j) = value;
    }
    return m;
}

// An r by c matrix whose entry (i, j) is 10 i + j.
Matrix Numbered(std::int16_t r, std::int16_t c) {
    Matrix m;
    m.Resize(r, c);
    for (std::int16_t i = 1; i <= r; ++i) {
        for (std::int16_t j = 1; j <= c; ++j)
            m.At(i, j) = 10 * i + j;
    }
    return m;
}

struct Sheet {
    GridModel grid;
    Operands window;
    ResultSheet writer{grid, window};
};

// The sheet as a small picture: its size and top row, then rows 1 to the last used one,
// cells of columns 1 on separated by '|', empty cells at a line's end left out.
std::string Picture(const GridModel& grid) {
    std::string out = std::to_string(grid.Rows()) + "x" + std::to_string(grid.Cols()) + " top " +
                      std::to_string(grid.TopRow()) + "\n";
    for (int r = 1; r <= grid.LastUsedRow(); ++r) {
        std::string line;
        for (int c = 1; c <= grid.LastUsedCol(); ++c) {
            if (c > 1) line += '|';
            line += grid.CellUtf8(r, c);
        }
        line.erase(line.find_last_not_of('|') + 1);
        out += line + "\n";
    }
    return out;
}

struct Report {
    const char* name;
    std::function<void(Sheet&)> write;
    const char* picture;
};

class ResultSheetReportTest : public ::testing::TestWithParam<Report> {};

TEST_P(ResultSheetReportTest, LaysOutTheReport) {
    Sheet sheet;
    // Whatever an earlier report left must be gone.
    sheet.grid.SetCellText(40, 14, "old");
    sheet.grid.SetCellText(30, 10, "old");
    GetParam().write(sheet);
    EXPECT_EQ(Picture(sheet.grid), GetParam().picture);
}

const Matrix A2 = Make({{1, 2}, {3, 4}});
const Matrix B2 = Make({{5, 6}, {7, 8}});

INSTANTIATE_TEST_SUITE_P(
    Writers, ResultSheetReportTest,
    ::testing::Values(
        Report{"Sum",
               [](Sheet& s) {
                   s.window.RowsB = s.window.ColsB = 2;
                   s.writer.ShowSumResult(2, 2, A2, B2, Make({{6, 8}, {10, 12}}));
               },
               "31x11 top 9\nA =\n|1|2\n|3|4\n\nB =\n|5|6\n|7|8\n\nA + B =\n|6|8\n|10|12\n"},
        Report{"DifferenceOneByOne",
               [](Sheet& s) {
                   s.window.RowsB = s.window.ColsB = 1;
                   s.writer.ShowDifferenceResult(1, 1, Make({{0.1}}), Make({{1e15}}),
                                                 Make({{1e-5}}));
               },
               "31x11 top 7\nA =\n|0.1\n\nB =\n|1E+15\n\nA - B =\n|1E-05\n"},
        Report{"ElementwiseWithTallerWiderWindowB",
               [](Sheet& s) {
                   s.window.RowsB = 2;
                   s.window.ColsB = 3;
                   s.writer.ShowElementwiseProductResult(1, 1, Make({{2}}), Numbered(2, 3),
                                                         Make({{22}}));
               },
               "31x11 top 8\nA =\n|2\n\nB =\n|11|12|13\n|21|22|23\n\nA .* B =\n|22\n"},
        Report{"ScalarShowsWindowMatAAndNegativeZero",
               [](Sheet& s) {
                   s.window.MatA = Make({{0, 1}, {2, 3}});
                   s.writer.ShowScalarMultipleResult(2, 2, -3, B2, Make({{-0.0, -3}, {-6, -9}}));
               },
               "31x11 top 5\nA =\n|0|1\n|2|3\n\nc =\n|-3\n\nc * A =\n|0|-3\n|-6|-9\n"},
        Report{"Transpose",
               [](Sheet& s) { s.writer.ShowTransposeResult(2, 3, Numbered(2, 3), Numbered(3, 2)); },
               "31x11 top 4\nA =\n|11|12|13\n|21|22|23\nA' =\n|11|12\n|21|22\n|31|32\n"},
        Report{"ProductPlacesCaptionByWindowRowsB",
               [](Sheet& s) {
                   s.window.RowsB = 3;  // the B block has cA = 2 rows
                   s.writer.ShowProductResult(1, 2, 3, Make({{1, 2}}), Numbered(2, 3),
                                              Make({{53, 56, 59}}));
               },
               "31x11 top 9\nA =\n|1|2\n\nB =\n|11|12|13\n|21|22|23\n\n\nA * B =\n"
               "|53|56|59\n"},
        Report{"Determinant", [](Sheet& s) { s.writer.ShowDeterminantResult(2, A2, -2); },
               "31x11 top 4\nA =\n|1|2\n|3|4\nDet(A) =\n|-2\n"},
        Report{"Inverse",
               [](Sheet& s) {
                   s.writer.ShowInverseResult(true, 2, A2, Make({{-2, 1}, {1.5, -0.5}}));
               },
               "31x11 top 4\nA =\n|1|2\n|3|4\nInv(A) =\n|-2|1\n|1.5|-0.5\n"},
        Report{"InverseFailed",
               [](Sheet& s) { s.writer.ShowInverseResult(false, 2, A2, Numbered(2, 2)); },
               "31x11 top 4\nA =\n|1|2\n|3|4\nInv(A) =\n|Failed.\n"},
        Report{"Rank",
               [](Sheet& s) {
                   s.writer.ShowRankResult(1, 2, Make({{1, 2}}), -12);
               },
               "31x11 top 3\nA =\n|1|2\nRank(A) =\n|-12\n"},
        Report{"LU",
               [](Sheet& s) {
                   s.writer.ShowLUResult(2, Make({{4, 3, 9}, {6, 3, 9}}), Make({{1, 0}, {1.5, 1}}),
                                         Make({{4, 3}, {0, -1.5}}));
               },
               "31x11 top 5\nA =\n|4|3\n|6|3\n\nL =\n|1|0\n|1.5|1\n\nU =\n|4|3\n|0|-1.5\n"},
        Report{"LUFailure",
               [](Sheet& s) {
                   s.writer.ShowLUFailure(2, Make({{0, 1}, {1, 0}}), Matrix(), Matrix());
               },
               "31x11 top 5\nA =\n|0|1\n|1|0\n\nL =\n|Failed.\n\nU =\n|Failed.\n"},
        Report{"QR",
               [](Sheet& s) {
                   s.writer.ShowQRResult(3, 2, Numbered(3, 2), Numbered(3, 2), Numbered(3, 3));
               },
               "31x11 top 6\nA =\n|11|12\n|21|22\n|31|32\n\nR =\n|11|12\n|21|22\n|31|32\n\n"
               "Q =\n|11|12|13\n|21|22|23\n|31|32|33\n"},
        Report{"QRFailureWideAGrowsColumns",
               [](Sheet& s) { s.writer.ShowQRFailure(2, 12, Numbered(2, 12), Matrix(), Matrix()); },
               "31x14 top 5\nA =\n|11|12|13|14|15|16|17|18|19|20|21|22\n"
               "|21|22|23|24|25|26|27|28|29|30|31|32\n\nR =\n|Failed.\n\nQ =\n|Failed.\n"}),
    [](const ::testing::TestParamInfo<Report>& info) { return std::string(info.param.name); });

TEST(ResultSheetTest, UsesTheGivenDecimalSeparator) {
    GridModel grid;
    Operands window;
    ResultSheet writer(grid, window, ',');
    writer.ShowDeterminantResult(1, Make({{0.25}}), -1.5e-7);
    EXPECT_EQ(grid.CellText(2, 2), "0,25");
    EXPECT_EQ(grid.CellText(4, 2), "-1,5E-07");
}

// The row and column needs, and the deliberate shortfalls where the cells written reach
// beyond them: the sheet grows just enough to hold those cells.
struct Size {
    const char* name;
    std::function<void(Sheet&)> write;
    int rows, cols, lastRow, lastCol, topRow;
};

class ResultSheetSizeTest : public ::testing::TestWithParam<Size> {};

TEST_P(ResultSheetSizeTest, GrowsToTheNeedsAndTheCellsWritten) {
    Sheet sheet;
    GetParam().write(sheet);
    EXPECT_EQ(sheet.grid.Rows(), GetParam().rows);
    EXPECT_EQ(sheet.grid.Cols(), GetParam().cols);
    EXPECT_EQ(sheet.grid.LastUsedRow(), GetParam().lastRow);
    EXPECT_EQ(sheet.grid.LastUsedCol(), GetParam().lastCol);
    EXPECT_EQ(sheet.grid.TopRow(), GetParam().topRow);
}

INSTANTIATE_TEST_SUITE_P(
    Needs, ResultSheetSizeTest,
    ::testing::Values(
        Size{"SumTenByTen",
             [](Sheet& s) {
                 s.window.RowsB = s.window.ColsB = 10;
                 const Matrix m = Numbered(10, 10);
                 s.writer.ShowSumResult(10, 10, m, m, m);
             },
             36, 12, 35, 11, 25},
        Size{"SumWithTallerWindowB",
             [](Sheet& s) {
                 s.window.RowsB = 12;
                 s.window.ColsB = 1;
                 const Matrix m = Numbered(12, 1);
                 s.writer.ShowSumResult(10, 1, m, m, m);
             },
             38, 11, 37, 2, 27},
        Size{"ScalarTwelveEndsInRowThirty",
             [](Sheet& s) {
                 s.window.MatA = Numbered(12, 1);
                 s.writer.ShowScalarMultipleResult(12, 1, 2, Matrix(), Numbered(12, 1));
             },
             31, 11, 30, 2, 15},
        Size{"ScalarThirteenPastTheLastRow",
             [](Sheet& s) {
                 s.window.MatA = Numbered(13, 1);
                 s.writer.ShowScalarMultipleResult(13, 1, 2, Matrix(), Numbered(13, 1));
             },
             33, 11, 32, 2, 16},
        Size{
            "TransposeOneByThirty",
            [](Sheet& s) { s.writer.ShowTransposeResult(1, 30, Numbered(1, 30), Numbered(30, 1)); },
            34, 32, 33, 31, 3},
        Size{"LUNine",
             [](Sheet& s) {
                 const Matrix m = Numbered(9, 9);
                 s.writer.ShowLUResult(9, m, m, m);
             },
             33, 11, 32, 10, 12},
        Size{"LUFailureNineKeepsRowsEmpty",
             [](Sheet& s) { s.writer.ShowLUFailure(9, Numbered(9, 9), Matrix(), Matrix()); }, 33,
             11, 16, 10, 12}),
    [](const ::testing::TestParamInfo<Size>& info) { return std::string(info.param.name); });

TEST(ResultSheetTest, ClearingBringsAGrownSheetBackToThirtyOneByEleven) {
    Sheet sheet;
    sheet.window.RowsB = sheet.window.ColsB = 12;
    const Matrix m = Numbered(12, 12);
    sheet.writer.ShowSumResult(12, 12, m, m, m);
    ASSERT_EQ(sheet.grid.Rows(), 42);
    sheet.writer.ClearResultSheet();
    EXPECT_EQ(Picture(sheet.grid), "31x11 top 29\n");
    sheet.grid.SetRows(40);
    EXPECT_EQ(sheet.grid.CellText(35, 2), "");  // dropped, not hidden
}

// Errors leave the cells written before them on the sheet.
TEST(ResultSheetTest, TooSmallMatrixRaises9AfterTheEarlierCells) {
    Sheet sheet;
    sheet.window.RowsB = 2;
    sheet.window.ColsB = 3;  // more columns than the B handed over
    try {
        sheet.writer.ShowSumResult(2, 3, Numbered(2, 3), Numbered(2, 2), Numbered(2, 3));
        FAIL() << "no error";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.Number(), RuntimeError::SubscriptOutOfRange);
    }
    EXPECT_EQ(Picture(sheet.grid), "31x11 top 1\nA =\n|11|12|13\n|21|22|23\n\nB =\n|11|12\n");
}

// The decomposition writers and the constant's report scroll before their last blocks;
// the other reports scroll only once everything is written.
TEST(ResultSheetTest, TopRowIsSetAtItsMomentEvenWhenALaterBlockFails) {
    const Matrix m = Numbered(2, 2);
    const std::function<void(Sheet&)> writes[] = {
        [&](Sheet& s) { s.writer.ShowLUResult(2, m, Matrix(), m); },
        [&](Sheet& s) { s.writer.ShowQRResult(2, 2, m, Matrix(), m); },
        [&](Sheet& s) {
            s.window.MatA = m;
            s.writer.ShowScalarMultipleResult(2, 2, 1, m, Matrix());
        },
        [&](Sheet& s) { s.writer.ShowInverseResult(true, 2, m, Matrix()); },
    };
    const int expected[] = {5, 5, 5, 1};
    for (int k = 0; k < 4; ++k) {
        Sheet sheet;
        EXPECT_THROW(writes[k](sheet), RuntimeError);
        EXPECT_EQ(sheet.grid.TopRow(), expected[k]) << "writer " << k;
    }
}

TEST(ResultSheetTest, PositionBeyond32767Raises6BeforeTheCell) {
    Sheet sheet;
    sheet.window.RowsB = 32767;  // places the product's caption out of range
    try {
        sheet.writer.ShowProductResult(1, 1, 1, Make({{2}}), Make({{3}}), Make({{6}}));
        FAIL() << "no error";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.Number(), RuntimeError::Overflow);
    }
    EXPECT_EQ(Picture(sheet.grid), "31x11 top 1\nA =\n|2\n\nB =\n|3\n");

    // A row need out of range stops the report right after the clearing.
    try {
        sheet.writer.ShowRankResult(32764, 1, Make({{1}}), 1);
        FAIL() << "no error";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.Number(), RuntimeError::Overflow);
    }
    EXPECT_EQ(Picture(sheet.grid), "31x11 top 1\n");
}

}  // namespace
