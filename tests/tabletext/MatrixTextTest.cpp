// Matrices as programs print them and people write them, read into one entry per cell.
// The samples live in samples/matrix-texts.json. Where a sample's source names a program and
// its version ("octave 7.3.0", "R 4.2.2", "numpy 1.24.2", "pandas 1.5.3", "pari-gp 2.15.2",
// "maxima 5.46.0"), its text is that program's output on Debian 12, made with the command
// shown. Programs that Debian does not ship (MATLAB, Julia, Mathematica, giac) are typed
// after their documented display, and say so; so are a few displays typed after Octave's.
#include <gtest/gtest.h>

#include "MatrixText.h"
#include "NamedRows.h"
#include "SampleTexts.h"

namespace {

std::vector<SampleText> Samples(const char* family) {
    return SampleTexts("matrix-texts.json", family);
}

class Recognised : public ::testing::TestWithParam<SampleText> {};

TEST_P(Recognised, OneEntryPerCell) {
    const TextTable table = MatrixText::Parse(GetParam().text);
    EXPECT_EQ(table.ToVectors(), GetParam().cells);
    ExpectRefusal(table, GetParam().refused);
}

// Columns aligned by blanks, as PDFs, web pages and terminals give them; Octave's and
// MATLAB's display output; R's printed matrices, vectors and data frames; Julia's display
// and literals; nested lists (NumPy, JSON and Python, Mathematica, Maxima, giac, PARI/GP);
// LaTeX environments and tables; tables drawn with rules; pandas' frames; printouts that
// cannot be read exactly, refused; and text that is no printed matrix, which is left to the
// plain paste.
INSTANTIATE_TEST_SUITE_P(Columns, Recognised, ::testing::ValuesIn(Samples("Columns")), ByName());
INSTANTIATE_TEST_SUITE_P(Octave, Recognised, ::testing::ValuesIn(Samples("Octave")), ByName());
INSTANTIATE_TEST_SUITE_P(R, Recognised, ::testing::ValuesIn(Samples("R")), ByName());
INSTANTIATE_TEST_SUITE_P(Julia, Recognised, ::testing::ValuesIn(Samples("Julia")), ByName());
INSTANTIATE_TEST_SUITE_P(Lists, Recognised, ::testing::ValuesIn(Samples("Lists")), ByName());
INSTANTIATE_TEST_SUITE_P(Latex, Recognised, ::testing::ValuesIn(Samples("Latex")), ByName());
INSTANTIATE_TEST_SUITE_P(Tables, Recognised, ::testing::ValuesIn(Samples("Tables")), ByName());
INSTANTIATE_TEST_SUITE_P(Pandas, Recognised, ::testing::ValuesIn(Samples("Pandas")), ByName());
INSTANTIATE_TEST_SUITE_P(Refused, Recognised, ::testing::ValuesIn(Samples("Refused")), ByName());
INSTANTIATE_TEST_SUITE_P(NotMatrices, Recognised, ::testing::ValuesIn(Samples("NotMatrices")),
                         ByName());

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

}  // namespace
