// Matrices as programs print them and people write them, read into one entry per cell.
// Each table holds samples of one family. Where a sample says "octave 7.3.0", "R 4.2.2",
// "numpy 1.24.2" or "maxima 5.46.0", it is that program's output on Debian 12, copied
// from the terminal with the command shown. Programs that Debian does not ship (MATLAB,
// Julia, Mathematica) are typed after their documented display, and say so.
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTableView>
#include <QTest>

#include "ClipboardFormats.h"
#include "GridWidget.h"
#include "MatrixText.h"
#include "NamedRows.h"

namespace {

using Rows = std::vector<std::vector<std::string>>;

struct Sample {
    const char* name;
    std::string text;
    Rows expected;
};

std::string SampleName(const ::testing::TestParamInfo<Sample>& info) {
    return info.param.name;
}

class Recognised : public ::testing::TestWithParam<Sample> {};

TEST_P(Recognised, OneEntryPerCell) {
    EXPECT_EQ(MatrixText::Parse(GetParam().text).ToVectors(), GetParam().expected);
}

const Rows kTwoByTwo = {{"1.5", "-2"}, {"3", "4"}};

// Columns aligned by blanks, as PDFs, web pages and terminals give them.
INSTANTIATE_TEST_SUITE_P(
    Columns, Recognised,
    ::testing::Values(
        Sample{"one_line_of_numbers", "1 2 3\n", {{"1", "2", "3"}}},
        Sample{"ragged_blanks", "  1.5   -2\n3  4  \n", kTwoByTwo},
        Sample{"single_column", " 7\n-8\n", {{"7"}, {"-8"}}},
        Sample{"typographic_forms",
               "\u22121.5\u00a0\u00a02\u00d710^3\n3\u00b710\u207b\u00b3  4 \u00d7 10^{\u22122}",
               {{"-1.5", "2E3"}, {"3E-3", "4E-2"}}},
        Sample{"single_typographic_number", "\u22121.5\u00d710^3", {{"-1.5E3"}}},
        Sample{"dashes", "\u20131 \u20142\n\u20123 \u20104", {{"-1", "-2"}, {"-3", "-4"}}},
        Sample{"headings_and_row_labels", "       x1    x2\nrow1  1.5   -2\nrow2    3    4\n",
               kTwoByTwo},
        Sample{"empty_place_in_fixed_width",
               "  1.0   2.0   3.0\n  4.0         6.0\n",
               {{"1.0", "2.0", "3.0"}, {"4.0", "", "6.0"}}},
        Sample{"decimal_comma", "1,5 -2\n3 4,25", {{"1.5", "-2"}, {"3", "4.25"}}},
        // maxima 5.46.0: m: matrix([1.5,-2],[3,4]);  (its display with bracket art)
        Sample{"maxima_display",
               "(%o1)                            [ 1.5  - 2 ]\n"
               "                                 [          ]\n"
               "                                 [  3    4  ]\n",
               kTwoByTwo}),
    SampleName);

// Octave's and MATLAB's display output.
INSTANTIATE_TEST_SUITE_P(
    Octave, Recognised,
    ::testing::Values(
        // octave 7.3.0: A = [1.5 -2; 3 4]
        Sample{"named",
               "A =\n\n   1.5000  -2.0000\n   3.0000   4.0000\n\n",
               {{"1.5000", "-2.0000"}, {"3.0000", "4.0000"}}},
        // octave 7.3.0: W = reshape(1:24, 2, 12) / 7
        Sample{"column_blocks",
               "W =\n\n Columns 1 through 8:\n\n"
               "   0.1429   0.4286   0.7143   1.0000   1.2857   1.5714   1.8571   2.1429\n"
               "   0.2857   0.5714   0.8571   1.1429   1.4286   1.7143   2.0000   2.2857\n\n"
               " Columns 9 through 12:\n\n"
               "   2.4286   2.7143   3.0000   3.2857\n"
               "   2.5714   2.8571   3.1429   3.4286\n\n",
               {{"0.1429", "0.4286", "0.7143", "1.0000", "1.2857", "1.5714", "1.8571", "2.1429",
                 "2.4286", "2.7143", "3.0000", "3.2857"},
                {"0.2857", "0.5714", "0.8571", "1.1429", "1.4286", "1.7143", "2.0000", "2.2857",
                 "2.5714", "2.8571", "3.1429", "3.4286"}}},
        // octave 7.3.0: fixed_point_format(true); D = [1000.5 2; 3 4]
        Sample{"scale_factor",
               "D =\n\n  1.0e+03 *\n\n   1.0005   0.0020\n   0.0030   0.0040\n\n",
               {{"1000.5", "2"}, {"3", "4"}}},
        // octave 7.3.0: fixed_point_format(true); S = reshape(1:20, 2, 10) * 150.5
        Sample{"scale_factor_over_blocks",
               "S =\n\n  1.0e+03 *\n\n Columns 1 through 8:\n\n"
               "   0.1505   0.4515   0.7525   1.0535   1.3545   1.6555   1.9565   2.2575\n"
               "   0.3010   0.6020   0.9030   1.2040   1.5050   1.8060   2.1070   2.4080\n\n"
               " Columns 9 and 10:\n\n   2.5585   2.8595\n   2.7090   3.0100\n\n",
               {{"150.5", "451.5", "752.5", "1053.5", "1354.5", "1655.5", "1956.5", "2257.5",
                 "2558.5", "2859.5"},
                {"301", "602", "903", "1204", "1505", "1806", "2107", "2408", "2709", "3010"}}},
        // octave 7.3.0: F = [1e-5 2.5e6; 3 -4e10], H = [NaN Inf; -Inf NA], I = eye(2)*2
        Sample{"e_notation",
               "F =\n\n   1.0000e-05   2.5000e+06\n   3.0000e+00  -4.0000e+10\n",
               {{"1.0000e-05", "2.5000e+06"}, {"3.0000e+00", "-4.0000e+10"}}},
        Sample{"special_values",
               "H =\n\n   NaN   Inf\n  -Inf    NA\n\n",
               {{"NaN", "Inf"}, {"-Inf", "NA"}}},
        Sample{"diagonal_matrix",
               "I =\n\nDiagonal Matrix\n\n   2   0\n   0   2\n\n",
               {{"2", "0"}, {"0", "2"}}},
        Sample{"column_vector", "v =\n\n   1\n   2\n\n", {{"1"}, {"2"}}},
        Sample{"only_the_first_value", "a =\n\n   1   2\n\nb =\n\n   3   4\n", {{"1", "2"}}},
        // MATLAB's display (typed after its documentation): no colon after "Columns".
        Sample{"matlab_columns",
               "ans =\n\n  Columns 1 through 3\n\n     1     2     3\n\n  Column 4\n\n     4\n",
               {{"1", "2", "3", "4"}}},
        // The literals, with a continuation line and a comment.
        Sample{"literal", "A = [1.5 -2; 3 4];", kTwoByTwo},
        Sample{"continuation",
               "B = [1, 2, ... first row\n     3; 4 5 6] % done",
               {{"1", "2", "3"}, {"4", "5", "6"}}}),
    SampleName);

// R's printed matrices, vectors and data frames.
INSTANTIATE_TEST_SUITE_P(
    R, Recognised,
    ::testing::Values(
        // R 4.2.2: matrix(c(1.5, 3, -2, 4), 2)
        Sample{"matrix",
               "     [,1] [,2]\n[1,]  1.5   -2\n[2,]  3.0    4\n",
               {{"1.5", "-2"}, {"3.0", "4"}}},
        // R 4.2.2: matrix(c(1,2,3,4), 2, dimnames=list(c("a","b"), c("x","y")))
        Sample{"dimnames", "  x y\na 1 3\nb 2 4\n", {{"1", "3"}, {"2", "4"}}},
        // R 4.2.2: matrix((1:30)/7, 2), narrowed to 4 + 3 columns
        Sample{"wrapped_columns",
               "          [,1]      [,2]      [,3]     [,4]\n"
               "[1,] 0.1428571 0.4285714 0.7142857 1.000000\n"
               "[2,] 0.2857143 0.5714286 0.8571429 1.142857\n"
               "         [,5]     [,6]     [,7]\n"
               "[1,] 1.285714 1.571429 1.857143\n"
               "[2,] 1.428571 1.714286 2.000000\n",
               {{"0.1428571", "0.4285714", "0.7142857", "1.000000", "1.285714", "1.571429",
                 "1.857143"},
                {"0.2857143", "0.5714286", "0.8571429", "1.142857", "1.428571", "1.714286",
                 "2.000000"}}},
        // R 4.2.2: print(matrix(1:4, 2)); m  (two values, the first is read)
        Sample{"two_values",
               "     [,1] [,2]\n[1,]    1    3\n[2,]    2    4\n"
               "     [,1] [,2]\n[1,]  1.5   -2\n[2,]  3.0    4\n",
               {{"1", "3"}, {"2", "4"}}},
        // R 4.2.2: data.frame(a=c(1,2), b=c(3,4))
        Sample{"data_frame", "  a b\n1 1 3\n2 2 4\n", {{"1", "3"}, {"2", "4"}}},
        // R 4.2.2: matrix(c(NA, 1, Inf, -Inf), 2) and matrix(c(1e-5, 3, 2.5e6, -4e10), 2)
        Sample{"na_and_e_notation",
               "     [,1] [,2]\n[1,]   NA  Inf\n[2,]    1 -Inf\n",
               {{"NA", "Inf"}, {"1", "-Inf"}}},
        // R 4.2.2: 1:30 in a narrow console
        Sample{
            "wrapped_vector", " [1]  1  2  3  4\n [5]  5  6\n", {{"1", "2", "3", "4", "5", "6"}}}),
    SampleName);

// Julia's display and literals (Julia is not in Debian 12; typed after its documentation).
INSTANTIATE_TEST_SUITE_P(
    Julia, Recognised,
    ::testing::Values(
        Sample{"matrix",
               "2\u00d72 Matrix{Float64}:\n 1.5  -2.0\n 3.0   4.0\n",
               {{"1.5", "-2.0"}, {"3.0", "4.0"}}},
        Sample{"vector", "3-element Vector{Int64}:\n 1\n 2\n 3\n", {{"1"}, {"2"}, {"3"}}},
        Sample{"typed_literal", "Float32[1.5f0 -2; 3 4]", {{"1.5E0", "-2"}, {"3", "4"}}}),
    SampleName);

// Nested lists: NumPy, JSON and Python, Mathematica, Maxima.
INSTANTIATE_TEST_SUITE_P(
    Lists, Recognised,
    ::testing::Values(
        // numpy 1.24.2: a = np.array([[1.5, -2.0], [3.0, 4.0]]); repr(a), print(a)
        Sample{"numpy_repr",
               "array([[ 1.5, -2. ],\n       [ 3. ,  4. ]])",
               {{"1.5", "-2."}, {"3.", "4."}}},
        Sample{"numpy_print", "[[ 1.5 -2. ]\n [ 3.   4. ]]", {{"1.5", "-2."}, {"3.", "4."}}},
        // numpy 1.24.2: np.array([[1, 2], [3, 4]], dtype=np.int32)
        Sample{"numpy_dtype",
               "array([[1, 2],\n       [3, 4]], dtype=int32)",
               {{"1", "2"}, {"3", "4"}}},
        // numpy 1.24.2: print(np.array([[1e-5, 2.5e6], [3.0, -4e10]]))
        Sample{"numpy_e_notation",
               "[[ 1.0e-05  2.5e+06]\n [ 3.0e+00 -4.0e+10]]",
               {{"1.0e-05", "2.5e+06"}, {"3.0e+00", "-4.0e+10"}}},
        // numpy 1.24.2: print(np.arange(1, 15, dtype=float).reshape(2, 7) / 7)
        Sample{"numpy_wrapped_rows",
               "[[0.14285714 0.28571429 0.42857143 0.57142857 0.71428571 0.85714286\n"
               "  1.        ]\n"
               " [1.14285714 1.28571429 1.42857143 1.57142857 1.71428571 1.85714286\n"
               "  2.        ]]",
               {{"0.14285714", "0.28571429", "0.42857143", "0.57142857", "0.71428571", "0.85714286",
                 "1."},
                {"1.14285714", "1.28571429", "1.42857143", "1.57142857", "1.71428571", "1.85714286",
                 "2."}}},
        // numpy 1.24.2: np.array([1, 2, 3]), np.array([[np.nan, np.inf], [-np.inf, 0]])
        Sample{"numpy_row", "array([1, 2, 3])", {{"1", "2", "3"}}},
        Sample{"numpy_special",
               "array([[ nan,  inf],\n       [-inf,   0.]])",
               {{"nan", "inf"}, {"-inf", "0."}}},
        Sample{"after_prompts",
               ">>> a\nOut[3]: array([[1, 2],\n       [3, 4]])",
               {{"1", "2"}, {"3", "4"}}},
        Sample{"json_object", "{\"a\": 1}", {}},
        Sample{"json_rows", "[[1,2.5e-3],[3,-4]]", {{"1", "2.5e-3"}, {"3", "-4"}}},
        Sample{"python_assignment", "a = [[1, 2], [3, 4]]", {{"1", "2"}, {"3", "4"}}},
        // Mathematica (not in Debian; typed after its InputForm): exponents as *^
        Sample{"mathematica", "{{1.5, -2}, {3, 4.5*^-3}}", {{"1.5", "-2"}, {"3", "4.5E-3"}}},
        // maxima 5.46.0: string(matrix([1/2,3],[-4,1.5e-7])) and [[1,2],[3,4]]
        Sample{"maxima", "matrix([1/2,3],[-4,1.5E-7])", {{"0.5", "3"}, {"-4", "1.5E-7"}}},
        Sample{"maxima_list", "[[1,2],[3,4]]", {{"1", "2"}, {"3", "4"}}},
        Sample{"maxima_assignment", "m: matrix([1,2],[3,4])$", {{"1", "2"}, {"3", "4"}}}),
    SampleName);

// LaTeX environments.
INSTANTIATE_TEST_SUITE_P(
    Latex, Recognised,
    ::testing::Values(
        Sample{"pmatrix", "\\begin{pmatrix} 1.5 & -2 \\\\ 3 & 4 \\end{pmatrix}", kTwoByTwo},
        Sample{"bmatrix_in_math",
               "$$A = \\begin{bmatrix}\n  1 & 2 \\\\[2pt]\n  3 & 4 \\\\\n\\end{bmatrix}$$",
               {{"1", "2"}, {"3", "4"}}},
        Sample{"array_with_spec_and_rules",
               "\\left[\\begin{array}{cc|c}\n\\hline\n1 & 2 & 3 \\\\ % first\n"
               "\\hline\n4 & 5 & 6\n\\end{array}\\right]",
               {{"1", "2", "3"}, {"4", "5", "6"}}},
        Sample{"vmatrix_forms",
               "\\begin{vmatrix} -\\frac{1}{2} & 1.5 \\times 10^{-3} \\\\ 2{,}5 & "
               "\\phantom{-}\\mathbf{4} \\end{vmatrix}",
               {{"-0.5", "1.5E-3"}, {"2.5", "4"}}}),
    SampleName);

// Tables drawn with rules.
INSTANTIATE_TEST_SUITE_P(
    Tables, Recognised,
    ::testing::Values(
        Sample{"markdown", "| | a | b |\n|---|:---:|---:|\n| x | 1.5 | -2 |\n| y | 3 | 4 |\n",
               kTwoByTwo},
        Sample{"ascii_art", "+-----+----+\n| 1.5 | -2 |\n+-----+----+\n|   3 |  4 |\n+-----+----+",
               kTwoByTwo},
        Sample{"box_drawing",
               "\u250c\u2500\u2500\u2500\u2500\u2500\u252c\u2500\u2500\u2500\u2500\u2510\n"
               "\u2502 1.5 \u2502 -2 \u2502\n\u2502   3 \u2502    \u2502\n"
               "\u2514\u2500\u2500\u2500\u2500\u2500\u2534\u2500\u2500\u2500\u2500\u2518",
               {{"1.5", "-2"}, {"3", ""}}},
        Sample{"database_shell", " a  | b\n----+----\n 1.5 | -2\n 3   | 4\n(2 rows)\n", kTwoByTwo}),
    SampleName);

// Text that is not a printed matrix is left to the plain paste.
INSTANTIATE_TEST_SUITE_P(
    NotMatrices, Recognised,
    ::testing::Values(
        Sample{"prose", "Hello world", {}},
        Sample{"prose_with_numbers", "Chapter 1\nSection 2", {}},
        Sample{"labelled_single_line", "Call 555 1234", {}}, Sample{"one_decimal_comma", "2,5", {}},
        Sample{"csv", "1,2\n3,4\n", {}}, Sample{"tab_separated", "1\t2\n3\t4\n", {}},
        Sample{"words_in_a_row", "1 apple 2 pears", {}},
        // numpy 1.24.2: print(np.arange(2000)) elides entries; so does Julia's display.
        Sample{"numpy_summary", "[   0    1    2 ... 1997 1998 1999]", {}},
        Sample{
            "julia_elided", "100\u00d7100 Matrix{Float64}:\n 1.0  2.0  \u2026  3.0\n \u22ee\n", {}},
        // maxima 5.46.0: matrix([1/2, 3],[-4, 5]) stacks the fraction over three lines
        Sample{
            "stacked_fraction", "[  1     ]\n[  -   3 ]\n[  2     ]\n[        ]\n[ - 4  5 ]\n", {}},
        Sample{"unbalanced_list", "[[1, 2], 3]", {}}, Sample{"three_dimensions", "[[[1]]]", {}},
        Sample{"table_of_words", "| a | b |\n|---|---|\n| x | y |\n", {}}),
    SampleName);

// Hostile texts end quickly with a sane answer: deep nesting, long runs of blanks before
// multiplication signs, many lone minus signs, unclosed environments.
TEST(MatrixTextHostile, LargeTextsEndWithoutBlowingUp) {
    EXPECT_EQ(MatrixText::Parse(std::string(200000, '[')).RowsRead(), 0);
    std::string blanks = "1";
    for (int i = 0; i < 2000; ++i)
        blanks += std::string(100, ' ') + "\u00d7";
    EXPECT_EQ(MatrixText::Parse(blanks).RowsRead(), 0);
    std::string minus;
    for (int i = 0; i < 100000; ++i)
        minus += "- 1 ";
    EXPECT_EQ(MatrixText::Parse(minus).Cols(), 100000);
    std::string latex = "\\begin{pmatrix}";
    for (int i = 0; i < 20000; ++i)
        latex += "\\begin{bmatrix}1 & 2";
    EXPECT_EQ(MatrixText::Parse(latex).RowsRead(), 0);
}

// A spreadsheet's copy goes in as before; printed text is recognised whether it comes
// with or without markup beside it.
TEST(MatrixTextPaste, SpreadsheetCopyKeepsItsCells) {
    QMimeData sheet;
    sheet.setText("1 2\t3\n");
    sheet.setHtml("<table><tr><td>1 2</td><td>3</td></tr></table>");
    EXPECT_EQ(ClipboardFormats::FromMimeData(sheet).ToVectors(), (Rows{{"1 2", "3"}}));
    QMimeData terminal;
    terminal.setText("A =\n\n   1   2\n   3   4\n");
    EXPECT_EQ(ClipboardFormats::FromMimeData(terminal).ToVectors(), (Rows{{"1", "2"}, {"3", "4"}}));
}

// A bound keeps the paste to the grid's room; whether the text is a matrix does not change.
TEST(MatrixTextPaste, BoundCropsWhatIsKept) {
    const TextTable cropped = MatrixText::Parse("A =\n\n   1   2   3\n   4   5   6\n", {1, 2});
    EXPECT_EQ(cropped.ToVectors(), (Rows{{"1", "2"}}));
    EXPECT_EQ(ClipboardFormats::ParsePlainText("x =\n\n 1 2\n 3 4\n", {1, 1}).ToVectors(),
              (Rows{{"1"}}));
}

// Ctrl+V in a grid puts each entry of a printout into its own cell.
TEST(MatrixTextPaste, CtrlVFillsOneCellPerEntry) {
    GridWidget grid;
    grid.SetRows(3);
    grid.SetCols(3);
    grid.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&grid));
    grid.View().setCurrentIndex(grid.View().model()->index(0, 0));
    QGuiApplication::clipboard()->setText("A =\n\n   1.5000  -2.0000\n   3.0000   4.0000\n");
    QTest::keyClick(&grid.View(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(grid.Model().CellText(1, 1), "1.5000");
    EXPECT_EQ(grid.Model().CellText(1, 2), "-2.0000");
    EXPECT_EQ(grid.Model().CellText(2, 1), "3.0000");
    EXPECT_EQ(grid.Model().CellText(2, 2), "4.0000");
}

}  // namespace
