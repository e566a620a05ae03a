// Tables of texts read from what spreadsheets and other programs put on the clipboard: each
// format's reader, bounded reading, and what the grid writes read back; the characters of
// UTF-8 text and their HTML escapes.
#include <gtest/gtest.h>

#include <algorithm>

#include "BracketMatrix.h"
#include "DelimitedText.h"
#include "HtmlEscape.h"
#include "HtmlTable.h"
#include "NamedRows.h"
#include "PlainText.h"
#include "SampleTexts.h"
#include "Utf8.h"

namespace {

using Rows = std::vector<std::vector<std::string>>;
using namespace TableText;

// Texts as spreadsheets and other programs put them on the clipboard, from
// samples/clipboard-texts.json, read by the parser of their format.
class TsvParse : public ::testing::TestWithParam<SampleText> {};
TEST_P(TsvParse, ReadsSpreadsheetText) {
    EXPECT_EQ(ParseTsv(GetParam().text).ToVectors(), GetParam().cells);
}
INSTANTIATE_TEST_SUITE_P(Cases, TsvParse,
                         ::testing::ValuesIn(SampleTexts("clipboard-texts.json", "Tsv")), ByName());

class PlainTextParse : public ::testing::TestWithParam<SampleText> {};
TEST_P(PlainTextParse, RecognisesTheLayout) {
    const TextTable table = ParsePlainText(GetParam().text, {}, GetParam().separator);
    EXPECT_EQ(table.ToVectors(), GetParam().cells);
    ExpectRefusal(table, GetParam().refused);
}
INSTANTIATE_TEST_SUITE_P(Cases, PlainTextParse,
                         ::testing::ValuesIn(SampleTexts("clipboard-texts.json", "PlainText")),
                         ByName());

class HtmlParse : public ::testing::TestWithParam<SampleText> {};
TEST_P(HtmlParse, ReadsTheFirstTable) {
    EXPECT_EQ(ParseHtmlTable(GetParam().text).ToVectors(), GetParam().cells);
}
INSTANTIATE_TEST_SUITE_P(Cases, HtmlParse,
                         ::testing::ValuesIn(SampleTexts("clipboard-texts.json", "Html")),
                         ByName());

// Data frames and MathML matrices in web pages; a page that is neither gives no table.
class HtmlMatrixParse : public ::testing::TestWithParam<SampleText> {};
TEST_P(HtmlMatrixParse, ReadsTheEntries) {
    const TextTable table = ParseHtmlMatrix(GetParam().text);
    EXPECT_EQ(table.ToVectors(), GetParam().cells);
    ExpectRefusal(table, GetParam().refused);
}
INSTANTIATE_TEST_SUITE_P(Cases, HtmlMatrixParse,
                         ::testing::ValuesIn(SampleTexts("clipboard-texts.json", "HtmlMatrix")),
                         ByName());

// A bounded parse keeps exactly the top-left corner of what an unbounded one reads, and
// cropping never changes how a text is taken (CSV or not, where a span ends).
struct BoundCase {
    const char* name;
    TextTable (*parse)(std::string_view, TableBound);
    std::string text;
};

class BoundedParse : public ::testing::TestWithParam<BoundCase> {};

TextTable PlainText(std::string_view text, TableBound bound) {
    return ParsePlainText(text, bound, ',');
}

TEST_P(BoundedParse, KeepsTheCornerOfTheWholeTable) {
    const Rows whole = GetParam().parse(GetParam().text, {}).ToVectors();
    for (const TableBound bound : {TableBound{1, 1}, TableBound{1, 3}, TableBound{2, 1},
                                   TableBound{2, 2}, TableBound{3, 5}, TableBound{9, 9}}) {
        Rows corner(whole.begin(),
                    whole.begin() + std::min<std::ptrdiff_t>(std::ssize(whole), bound.rows));
        bool cut = corner.size() < whole.size();
        for (auto& row : corner) {
            cut = cut || std::ssize(row) > bound.cols;
            row.resize(std::min<std::size_t>(row.size(), static_cast<std::size_t>(bound.cols)));
        }
        const TextTable bounded = GetParam().parse(GetParam().text, bound);
        EXPECT_EQ(bounded.ToVectors(), corner) << bound.rows << " x " << bound.cols;
        EXPECT_EQ(bounded.Cropped(), cut) << bound.rows << " x " << bound.cols;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BoundedParse,
    ::testing::Values(
        BoundCase{"tsv", ParseTsv, "1\t2\t3\n\"a\nb\"\t\n4\t5\t6\t7\n8"},
        BoundCase{"csv", ParseCsv, " 1 , \"x,y\"\n2,3,4\n"},
        BoundCase{"plain_csv", PlainText, "1,2,3\n4,5,6\n7,8,9\n"},
        BoundCase{"plain_uneven_csv_late", PlainText, "1,2\n3,4\n5,6\n7"},
        BoundCase{"plain_long_line_late", PlainText, "1,2\n3,4\n5,6,7"},
        BoundCase{"semicolons", PlainText, "1,5;-2;x\n3;4,25E-3;\"a;b\"\n"},
        BoundCase{"pandas_frame", PlainText, "   0  1\n0  1  2\n1  3  4\n"},
        BoundCase{"refused_beyond_the_bound", PlainText, "A =\n\n 1 2 3\n 4 5 6\n 7 8 NaN\n"},
        BoundCase{"html_frame", ParseHtmlMatrix,
                  "<table><tr><th>i</th><th>a</th><th>b</th></tr><tr><th>0</th><td>1</td>"
                  "<td>2</td></tr><tr><th>1</th><td>3</td><td>4</td></tr></table>"},
        BoundCase{"matrix", PlainText, "[1 2 3; 4 5 6; 7 8 9]"},
        BoundCase{"printed_matrix", PlainText, "A =\n\n   1   2   3\n   4   5   6\n"},
        BoundCase{"nested_matrix", ParseBracketMatrix, "[[1, 2], [3, 4], [5, 6]]"},
        BoundCase{"html_spans", ParseHtmlTable,
                  "<table><tr><td colspan=4 rowspan=3>x</td><td>y</td></tr><tr><td>z</td>"
                  "</tr><tr><td rowspan=2>1</td><td colspan=2>2</td></tr><tr></tr>"
                  "<tr><td>3</td><td>4</td><td>5</td></tr></table>"}),
    ByName());

// A count of cells keeps no more than it allows, stops the reading and says so, also where a
// few bytes of spans stand for millions of cells; a table of exactly that count is whole.
TEST(BoundedParse, CountOfCellsKeepsNoMore) {
    std::string spans = "<table><tr>";
    for (int i = 0; i < 40; ++i)
        spans += "<td colspan=1000 rowspan=1000>" + std::to_string(i) + "</td>";
    const TextTable html = ParseHtmlTable(spans + "<tr><tr></table>", {INT_MAX, INT_MAX, 5000});
    EXPECT_TRUE(html.Cropped() && html.Full());
    EXPECT_LE(html.Bytes(), 5000 * 2 * sizeof(std::size_t) + 1024);
    for (const std::size_t cells : {5, 6})
        EXPECT_EQ(ParseTsv("1\t2\t3\n4\t5\t6", {INT_MAX, INT_MAX, cells}).Cropped(), cells == 5);
}

const Rows kAwkward = {{"1", "-2.5E-07", ""},
                       {"tab\there", "line\nbreak", "\"quoted\""},
                       {"a & <b>", "\xC3\xA9t\xC3\xA9", " spaced"}};

// What the grid writes reads back as it was (the exact TSV text is checked where the grid
// copies).
TEST(ClipboardEncoding, TsvAndHtmlTableReadBack) {
    EXPECT_EQ(ParseTsv(EncodeTsv(TextTable::FromVectors(kAwkward))).ToVectors(), kAwkward);
    const Rows back = ParseHtmlTable(EncodeHtml(TextTable::FromVectors(kAwkward))).ToVectors();
    Rows expected = kAwkward;
    expected[1][0] = "tab here";  // white space inside a cell collapses, as in a browser
    expected[2][2] = "spaced";
    EXPECT_EQ(back, expected);
}

// A text's first character as Decode reads it (an ill-formed byte as U+FFFD, taking one
// byte) and as Append writes it back; codes that UTF-8 cannot hold are written as U+FFFD.
TEST(Utf8, DecodesOneCharacterAndAppendsItBack) {
    const auto appended = [](char32_t code) {
        std::string written;
        Utf8::Append(written, code);
        return written;
    };
    // clang-format off
    const std::tuple<std::string_view, char32_t, std::size_t> characters[] = {
        {"A", U'A', 1}, {"\xC3\xA9", 0xE9, 2}, {"\xE2\x82\xAC", 0x20AC, 3},
        {"\xF4\x8F\xBF\xBF", 0x10FFFF, 4},
        // A stray continuation byte, a cut and a broken sequence, overlong forms, a surrogate,
        // beyond U+10FFFF, a byte that starts no sequence.
        {"\x80", 0xFFFD, 1}, {"\xE2\x82", 0xFFFD, 1}, {"\xC3(", 0xFFFD, 1}, {"\xC0\xAF", 0xFFFD, 1},
        {"\xE0\x80\xAF", 0xFFFD, 1}, {"\xED\xA0\x80", 0xFFFD, 1}, {"\xF4\x90\x80\x80", 0xFFFD, 1},
        {"\xFF", 0xFFFD, 1}};
    // clang-format on
    for (const auto& [text, code, length] : characters) {
        std::size_t read = 0;
        EXPECT_EQ(std::make_pair(Utf8::Decode(text, 0, read), read), std::make_pair(code, length));
        EXPECT_EQ(appended(code), code == 0xFFFD ? "\uFFFD" : text);
    }
    for (const char32_t code : {0x0u, 0xD800u, 0xDFFFu, 0x110000u})
        EXPECT_EQ(appended(code), "\uFFFD") << static_cast<unsigned>(code);
}

// The web page and the XML keep line breaks as they are; the clipboard's HTML table shows
// each as <br>. Characters that XML cannot hold become U+FFFD in both.
TEST(HtmlEscape, EscapesMarkupAndWritesLineBreaksAsChosen) {
    const std::tuple<std::string_view, std::string_view, std::string_view> escapes[] = {
        {"<b> & \"c\" 'd'\t\xC3\xA9", "&lt;b&gt; &amp; &quot;c&quot; 'd'\t\xC3\xA9",
         "&lt;b&gt; &amp; &quot;c&quot; 'd'\t\xC3\xA9"},
        {"1\r\n2\r3\n\n4\r", "1&#13;\n2&#13;3\n\n4&#13;", "1<br>2<br>3<br><br>4<br>"},
        {"\x07\x1F\xEF\xBF\xBE\xEF\xBF\xBF", "\uFFFD\uFFFD\uFFFD\uFFFD",
         "\uFFFD\uFFFD\uFFFD\uFFFD"}};
    for (const auto& [text, kept, asBr] : escapes) {
        std::string files, clipboard;
        AppendHtmlEscaped(files, text);
        AppendHtmlEscaped(clipboard, text, LineBreaks::AsBr);
        EXPECT_EQ(files, kept);
        EXPECT_EQ(clipboard, asBr);
    }
}

}  // namespace
