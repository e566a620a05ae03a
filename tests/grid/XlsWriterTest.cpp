// The workbook writer on its own, read back with libfreexl: the cases that need large or
// unusual sheets.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <functional>
#include <string>

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
    std::string_view Text(int row, int col) const override { return current_ = text_(row, col); }

private:
    int rows_;
    int cols_;
    std::function<std::string(int, int)> text_;
    mutable std::string current_;
};

// Writes the workbook into a file and reads it back from row firstRow on; also gives the
// file's bytes.
XlsSheet RoundTrip(const Xls::CellSource& cells, unsigned firstRow = 0,
                   std::string* bytes = nullptr) {
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("book.xls")));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_TRUE(Xls::WriteWorkbook(cells, [&](std::string_view part) {
        if (bytes != nullptr) bytes->append(part);
        return file.write(part.data(), qint64(part.size())) == qint64(part.size());
    }));
    file.close();
    return ReadXls(file.fileName().toStdString(), firstRow);
}

}  // namespace

// Many distinct texts, some of thousands of characters and some in UTF-16, so that texts are
// split across CONTINUE records at every kind of boundary. (libfreexl cannot read a text
// spread over three records, so the longest texts here stay below one record's size.)
TEST(XlsWriter, LongSharedStringTableSplitsIntoContinueRecords) {
    auto text = [](int r, int c) {
        const int n = r * 4 + c;
        if (n % 97 == 0) return std::string(3000 + n % 5000, static_cast<char>('a' + n % 26));
        return (n % 3 == 0 ? "ж" : "x") + std::to_string(n) + std::string(n % 50, 'y');
    };
    const XlsSheet sheet = RoundTrip(FunctionSource(2500, 4, text));
    ASSERT_TRUE(sheet.opened);
    ASSERT_EQ(sheet.rows, 2500u);
    for (int r = 0; r < 2500; ++r) {
        for (int c = 0; c < 4; ++c)
            ASSERT_EQ(sheet.At(r, c).text, text(r, c)) << r << "," << c;
    }
}

// Over 109 FAT sectors (a stream beyond about 7 MB) the header cannot list them all and
// DIFAT sectors list the rest.
TEST(XlsWriter, LargeSheetUsesDifatSectors) {
    auto text = [](int r, int c) { return std::to_string(r * 1000 + c) + ".5"; };
    std::string bytes;
    const XlsSheet sheet = RoundTrip(FunctionSource(2200, 200, text), 0, &bytes);
    ASSERT_GT(static_cast<unsigned char>(bytes.at(0x48)), 0);  // DIFAT sectors in the header
    ASSERT_TRUE(sheet.opened);
    ASSERT_EQ(sheet.rows, 2200u);
    ASSERT_EQ(sheet.cols, 200u);
    for (int r = 0; r < 2200; ++r) {
        for (int c = 0; c < 200; ++c)
            ASSERT_EQ(sheet.At(r, c).number, r * 1000 + c + 0.5);
    }
}

// The largest sheet BIFF8 holds, with only its bottom-right cell filled (beyond it the
// export answers false, see ExportTest).
TEST(XlsWriter, FullSizeSheetFits) {
    struct Corner : Xls::CellSource {
        int Rows() const override { return Xls::MaxRows; }
        int Cols() const override { return Xls::MaxCols; }
        std::string_view Text(int row, int col) const override {
            return row == Xls::MaxRows - 1 && col == Xls::MaxCols - 1 ? "7" : "";
        }
    };
    const XlsSheet sheet = RoundTrip(Corner(), Xls::MaxRows - 1);
    ASSERT_TRUE(sheet.opened);
    EXPECT_EQ(sheet.rows, 65536u);
    EXPECT_EQ(sheet.cols, 256);
    EXPECT_EQ(sheet.At(65535, 255).number, 7);
}

TEST(XlsWriter, TextLongerThanACellHoldsAnswersFalse) {
    for (const std::size_t length : {32767u, 32768u}) {
        bool sent = false;
        const FunctionSource cells(1, 1, [&](int, int) { return std::string(length, 'q'); });
        EXPECT_EQ(Xls::WriteWorkbook(cells, [&](std::string_view) { return sent = true; }),
                  length <= 32767);
        EXPECT_EQ(sent, length <= 32767);
    }
}
