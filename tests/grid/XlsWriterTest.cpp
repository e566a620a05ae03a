// The workbook writer, read back with libfreexl.
#include <gtest/gtest.h>

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>
#include <functional>
#include <string>
#include <vector>

#include "FreeXlSheet.h"
#include "XlsWriter.h"

namespace {

// A sheet given by a function of the cell position.
class FunctionSource : public Xls::CellSource {
public:
    FunctionSource(int rows, int cols, std::function<std::string(int, int)> text)
        : rows_(rows), cols_(cols), text_(std::move(text)) {}
    int Rows() const override { return rows_; }
    int Cols() const override { return cols_; }
    std::string_view Text(int row, int col) const override {
        current_ = text_(row, col);
        return current_;
    }

private:
    int rows_;
    int cols_;
    std::function<std::string(int, int)> text_;
    mutable std::string current_;
};

struct Written {
    bool ok = false;
    std::string bytes;
};

Written Write(const Xls::CellSource& cells, char separator = '.') {
    Written w;
    w.ok = Xls::WriteWorkbook(
        cells,
        [&](std::string_view part) {
            w.bytes.append(part);
            return true;
        },
        separator);
    return w;
}

// Writes the workbook to a file and reads it back.
XlsSheet RoundTrip(const Xls::CellSource& cells, char separator = '.', unsigned firstRow = 0) {
    const Written w = Write(cells, separator);
    EXPECT_TRUE(w.ok);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("book.xls"));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(w.bytes.data(), static_cast<qint64>(w.bytes.size()));
    file.close();
    return ReadXls(path.toStdString(), firstRow);
}

std::uint32_t HeaderField(const std::string& bytes, std::size_t at) {
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i)
        v = v << 8 | static_cast<unsigned char>(bytes[at + i]);
    return v;
}

}  // namespace

TEST(XlsWriter, NumbersBecomeNumberCellsAndTextsSharedStrings) {
    const std::vector<std::vector<std::string>> table = {
        {"A + B =", "", "Failed."},
        {"1E-05", "-2.5", "0.333333333333333"},
        {"2 apples", "Ünïcödé €", "中文"},
        {"", "", "1,5"},
    };
    const FunctionSource cells(4, 3, [&](int r, int c) { return table[r][c]; });
    const XlsSheet sheet = RoundTrip(cells, ',');
    ASSERT_TRUE(sheet.opened);
    EXPECT_EQ(sheet.sheetCount, 1u);
    ASSERT_EQ(sheet.rows, 4u);
    ASSERT_EQ(sheet.cols, 3u);
    EXPECT_EQ(sheet.At(0, 0).type, FREEXL_CELL_SST_TEXT);
    EXPECT_EQ(sheet.At(0, 0).text, "A + B =");
    EXPECT_EQ(sheet.At(0, 1).type, FREEXL_CELL_NULL);
    EXPECT_EQ(sheet.At(0, 2).text, "Failed.");
    EXPECT_EQ(sheet.At(1, 0).type, FREEXL_CELL_DOUBLE);
    EXPECT_EQ(sheet.At(1, 0).number, 1e-5);
    EXPECT_EQ(sheet.At(1, 1).number, -2.5);
    EXPECT_EQ(sheet.At(1, 2).number, 0.333333333333333);
    EXPECT_EQ(sheet.At(2, 0).text, "2 apples");
    EXPECT_EQ(sheet.At(2, 1).text, "Ünïcödé €");
    EXPECT_EQ(sheet.At(2, 2).text, "中文");
    EXPECT_EQ(sheet.At(3, 2).number, 1.5);
}

TEST(XlsWriter, EmptySheetIsAValidWorkbook) {
    const FunctionSource cells(0, 0, [](int, int) { return std::string(); });
    const XlsSheet sheet = RoundTrip(cells);
    ASSERT_TRUE(sheet.opened);
    EXPECT_EQ(sheet.sheetCount, 1u);
    EXPECT_EQ(sheet.rows, 0u);
}

// Many distinct texts, some of thousands of characters and some in UTF-16, so that texts are
// split across CONTINUE records at every kind of boundary. (libfreexl cannot read a text
// spread over three records, so the longest texts here stay below one record's size.)
TEST(XlsWriter, LongSharedStringTableSplitsIntoContinueRecords) {
    auto text = [](int r, int c) {
        const int n = r * 4 + c;
        if (n % 97 == 0) return std::string(3000 + n % 5000, static_cast<char>('a' + n % 26));
        std::string s = (n % 3 == 0 ? "ж" : "x") + std::to_string(n);
        return s + std::string(static_cast<std::size_t>(n % 50), n % 3 == 0 ? 'y' : 'z');
    };
    const FunctionSource cells(2500, 4, text);
    const XlsSheet sheet = RoundTrip(cells);
    ASSERT_TRUE(sheet.opened);
    ASSERT_EQ(sheet.rows, 2500u);
    for (int r = 0; r < 2500; ++r) {
        for (int c = 0; c < 4; ++c) {
            ASSERT_EQ(sheet.At(r, c).text, text(r, c)) << r << "," << c;
        }
    }
}

// Over 109 FAT sectors (a stream beyond about 7 MB) needs DIFAT sectors.
TEST(XlsWriter, LargeSheetUsesDifatSectors) {
    auto text = [](int r, int c) { return std::to_string(r * 1000 + c) + ".5"; };
    const FunctionSource cells(2200, 200, text);
    const Written w = Write(cells);
    ASSERT_TRUE(w.ok);
    EXPECT_GT(HeaderField(w.bytes, 0x2C), 109u);  // FAT sectors
    EXPECT_GT(HeaderField(w.bytes, 0x48), 0u);    // DIFAT sectors
    const XlsSheet sheet = RoundTrip(cells);
    ASSERT_TRUE(sheet.opened);
    ASSERT_EQ(sheet.rows, 2200u);
    ASSERT_EQ(sheet.cols, 200u);
    for (int r = 0; r < 2200; ++r) {
        for (int c = 0; c < 200; ++c) {
            ASSERT_EQ(sheet.At(r, c).number, r * 1000 + c + 0.5) << r << "," << c;
        }
    }
}

struct LimitCase {
    int rows;
    int cols;
    bool fits;
};

// Only the bottom-right cell holds a text, so the whole range is the used range.
class CornerSource : public Xls::CellSource {
public:
    CornerSource(int rows, int cols) : rows_(rows), cols_(cols) {}
    int Rows() const override { return rows_; }
    int Cols() const override { return cols_; }
    std::string_view Text(int row, int col) const override {
        return row == rows_ - 1 && col == cols_ - 1 ? "7" : "";
    }

private:
    int rows_;
    int cols_;
};

class XlsLimits : public ::testing::TestWithParam<LimitCase> {};

TEST_P(XlsLimits, SheetBeyondBiff8AnswersFalseAndSendsNothing) {
    const LimitCase p = GetParam();
    const CornerSource cells(p.rows, p.cols);
    if (!p.fits) {
        bool sent = false;
        EXPECT_FALSE(Xls::WriteWorkbook(cells, [&](std::string_view) { return sent = true; }));
        EXPECT_FALSE(sent);
        return;
    }
    const XlsSheet sheet = RoundTrip(cells, '.', p.rows - 1);
    ASSERT_TRUE(sheet.opened);
    EXPECT_EQ(sheet.rows, static_cast<unsigned>(p.rows));
    EXPECT_EQ(sheet.cols, p.cols);
    EXPECT_EQ(sheet.At(p.rows - 1, p.cols - 1).number, 7);
}

INSTANTIATE_TEST_SUITE_P(Bounds, XlsLimits,
                         ::testing::Values(LimitCase{65536, 256, true}, LimitCase{65537, 1, false},
                                           LimitCase{1, 257, false}));

TEST(XlsWriter, TextLongerThanACellHoldsAnswersFalse) {
    const FunctionSource fits(1, 1, [](int, int) { return std::string(32767, 'q'); });
    const FunctionSource tooLong(1, 1, [](int, int) { return std::string(32768, 'q'); });
    EXPECT_TRUE(Write(fits).ok);
    EXPECT_FALSE(Write(tooLong).ok);
}

TEST(XlsWriter, FailingSinkAnswersFalse) {
    const FunctionSource cells(10, 10, [](int r, int c) { return std::to_string(r + c); });
    int calls = 0;
    EXPECT_FALSE(Xls::WriteWorkbook(cells, [&](std::string_view) { return ++calls < 3; }));
}
