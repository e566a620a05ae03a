// The clipboard's side: which of the formats that other programs offer is read, how its text
// is decoded, and a paste into a grid through Ctrl+V.
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTableView>
#include <QTest>

#include "ClipboardFormats.h"
#include "GridWidget.h"

namespace {

using Rows = std::vector<std::vector<std::string>>;
using namespace ClipboardFormats;

QMimeData* Mime(std::initializer_list<std::pair<const char*, QByteArray>> formats) {
    auto* mime = new QMimeData;
    for (const auto& [type, data] : formats)
        mime->setData(type, data);
    return mime;
}

QByteArray Utf16(const QString& text, bool bom) {
    QByteArray bytes(bom ? "\xFF\xFE" : "", bom ? 2 : 0);
    bytes.append(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
    return bytes;
}

TEST(ClipboardReading, PrefersCalcTsvThenTextThenHtml) {
    std::unique_ptr<QMimeData> calc(
        Mime({{kLibreOfficeTsv, Utf16("1\t\"a\nb\"\n", false)}, {kPlainText, "other"}}));
    EXPECT_EQ(FromMimeData(*calc).ToVectors(), (Rows{{"1", "a\nb"}}));

    std::unique_ptr<QMimeData> calcBom(Mime({{kLibreOfficeTsv, Utf16("x\ty\n", true)}}));
    EXPECT_EQ(FromMimeData(*calcBom).ToVectors(), (Rows{{"x", "y"}}));

    // Beside a spreadsheet's HTML table the text is its TSV, even when it has commas.
    std::unique_ptr<QMimeData> sheet(
        Mime({{kPlainText, "1,5\r\n2,5\r\n"}, {kHtml, "<table><tr><td>no</td></tr></table>"}}));
    EXPECT_EQ(FromMimeData(*sheet).ToVectors(), (Rows{{"1,5"}, {"2,5"}}));

    std::unique_ptr<QMimeData> htmlOnly(Mime({{kHtml, "<table><tr><td>7</td></tr></table>"}}));
    EXPECT_EQ(FromMimeData(*htmlOnly).ToVectors(), (Rows{{"7"}}));

    std::unique_ptr<QMimeData> empty(Mime({{"image/png", "x"}}));
    EXPECT_TRUE(FromMimeData(*empty).IsEmpty());
}

TEST(ClipboardReading, DecodesUtf8AndUtf16) {
    EXPECT_EQ(DecodeText(QByteArray("\xEF\xBB\xBF\xC3\xA9", 5)), QString(QChar(0xE9)));
    EXPECT_EQ(DecodeText(Utf16("1\t2", false)), "1\t2");
    QByteArray bigEndian("\xFE\xFF\0a\0b", 6);
    EXPECT_EQ(DecodeText(bigEndian), "ab");
}

// Ctrl+V in a grid puts each entry of a printout into its own cell, a decimal comma between
// semicolons as the user writes it; a data frame's HTML gives its entries, not the headings
// of the text beside it; a printout that cannot be read exactly writes nothing.
struct CtrlVCase {
    const char* name;
    char separator;
    const char* text;
    const char* html;
    Rows cells;  // the 2 x 2 cells at the top left
};

void PrintTo(const CtrlVCase& c, std::ostream* os) {
    *os << c.name;
}

class MatrixTextPaste : public ::testing::TestWithParam<CtrlVCase> {};

TEST_P(MatrixTextPaste, CtrlVFillsOneCellPerEntry) {
    GridWidget grid;
    grid.SetRows(3);
    grid.SetCols(3);
    grid.Model().SetDecimalSeparator(GetParam().separator);
    grid.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&grid));
    grid.View().setCurrentIndex(grid.View().model()->index(0, 0));
    auto* mime = new QMimeData;
    mime->setText(GetParam().text);
    if (*GetParam().html) mime->setHtml(GetParam().html);
    QGuiApplication::clipboard()->setMimeData(mime);
    QTest::keyClick(&grid.View(), Qt::Key_V, Qt::ControlModifier);
    Rows cells(2, std::vector<std::string>(2));
    for (int row = 0; row < 2; ++row)
        for (int col = 0; col < 2; ++col)
            cells[row][col] = grid.Model().CellText(row + 1, col + 1).toStdString();
    EXPECT_EQ(cells, GetParam().cells);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, MatrixTextPaste, ::testing::Values(
    CtrlVCase{"octave", '.', "A =\n\n   1.5000  -2.0000\n   3.0000   4.0000\n", "",
              {{"1.5000", "-2.0000"}, {"3.0000", "4.0000"}}},
    CtrlVCase{"semicolons_decimal_comma", ',', "1,5;-2\n3;4,25\n", "", {{"1,5", "-2"}, {"3", "4,25"}}},
    CtrlVCase{"semicolons_decimal_point", '.', "1,5;-2\n3;4,25\n", "", {{"1.5", "-2"}, {"3", "4.25"}}},
    CtrlVCase{"notebook_frame", '.', "\ta\tb\nx\t1.5\t-2\ny\t3\t4\n",
              "<table><tr><th></th><th>a</th><th>b</th></tr><tr><th>x</th><td>1.5</td><td>-2</td>"
              "</tr><tr><th>y</th><td>3</td><td>4</td></tr></table>", {{"1.5", "-2"}, {"3", "4"}}},
    CtrlVCase{"complex_refused", '.', "     [,1] [,2]\n[1,] 1+2i 3-1i\n", "<tr><td>1</td></tr>",
              {{"", ""}, {"", ""}}}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

}  // namespace
