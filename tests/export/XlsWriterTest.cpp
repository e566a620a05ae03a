// The workbook writer on its own, read back by readers we did not write: libfreexl, xlrd
// (Python's .xls reader) and LibreOffice, for the cases that need large or unusual sheets.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "ExportFiles.h"
#include "FreeXlSheet.h"
#include "NamedRows.h"
#include "XlsWriter.h"

namespace {

// A sheet given by a function of the cell position.
class FunctionSource : public Export::CellSource {
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

// Writes the workbook into a file and reads its first sheet back with libfreexl from row
// firstRow on; also gives the file's bytes.
XlsSheet RoundTrip(const Export::CellSource& cells, unsigned firstRow = 0,
                   std::string* bytes = nullptr) {
    const TempFolder folder;
    const std::string path = folder.Path("book.xls");
    EXPECT_TRUE(WriteFile(Export::Format::Workbook, cells, path));
    if (bytes != nullptr) *bytes = ReadFile(path);
    return ReadXls(path, firstRow);
}

// A workbook as a text: per sheet a line "# name", then a line "row col value" per non-empty
// cell, numbers as %.17g.
std::string Line(const std::string& a, const std::string& b, const std::string& c) {
    return a + "\t" + b + "\t" + c + "\n";
}

std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string FreeXlDump(const std::string& path) {
    std::string out;
    const unsigned sheets = ReadXls(path, UINT_MAX).sheetCount;
    for (unsigned short s = 0; s < sheets; ++s) {
        const XlsSheet sheet = ReadXls(path, 0, s);
        if (!sheet.opened) return "unreadable";
        out += "# " + sheet.name + "\n";
        for (unsigned r = 0; r < sheet.rows; ++r) {
            for (unsigned short c = 0; c < sheet.cols; ++c) {
                const XlsCell& cell = sheet.At(r, c);
                const bool number = cell.type == FREEXL_CELL_INT || cell.type == FREEXL_CELL_DOUBLE;
                const std::string value = number ? Number(cell.number) : cell.text;
                if (!value.empty()) out += Line(std::to_string(r), std::to_string(c), value);
            }
        }
    }
    return out;
}

// What the readers must find: the sheet cut into blocks of 65536 rows by 256 columns, left to
// right and then down, with the given names. Number texts must be integers here.
std::string ExpectedDump(const FunctionSource& cells, const std::vector<std::string>& names) {
    std::string out;
    std::size_t sheet = 0;
    for (int r0 = 0; r0 < cells.Rows(); r0 += Xls::MaxRows) {
        for (int c0 = 0; c0 < cells.Cols(); c0 += Xls::MaxCols) {
            const int rows = std::min(Xls::MaxRows, cells.Rows() - r0);
            const int cols = std::min(Xls::MaxCols, cells.Cols() - c0);
            out += "# " + (sheet < names.size() ? names[sheet] : "?") + "\n";
            ++sheet;
            for (int r = 0; r < rows; ++r) {
                for (int c = 0; c < cols; ++c) {
                    const std::string text(cells.Text(r0 + r, c0 + c));
                    if (!text.empty()) out += Line(std::to_string(r), std::to_string(c), text);
                }
            }
        }
    }
    return out;
}

// Compares two dumps and shows the first line where they part (gtest's own difference of
// texts this long would take too long).
::testing::AssertionResult SameDump(const std::string& found, const std::string& expected) {
    if (found == expected) return ::testing::AssertionSuccess();
    std::size_t at = 0;
    while (at < found.size() && at < expected.size() && found[at] == expected[at])
        ++at;
    const std::size_t line = found.rfind('\n', at == 0 ? 0 : at - 1);
    const std::size_t from = line == std::string::npos ? 0 : line + 1;
    return ::testing::AssertionFailure()
           << "first difference at byte " << at << ":\n  found:    " << found.substr(from, 120)
           << "\n  expected: " << expected.substr(from, 120);
}

// Writes `cells` into a workbook; xlrd and, unless told otherwise, libfreexl must find in it
// what `kept` holds, on worksheets with the given names.
void ExpectReadersFind(const Export::CellSource& cells, const FunctionSource& kept,
                       const std::vector<std::string>& names, bool freexl = true) {
    const TempFolder folder;
    const std::string path = folder.Path("book.xls");
    ASSERT_TRUE(WriteFile(Export::Format::Workbook, cells, path));
    const std::string expected = ExpectedDump(kept, names);
    EXPECT_TRUE(SameDump(ReadBack({"xls", path}), expected));
    if (freexl) {
        EXPECT_TRUE(SameDump(FreeXlDump(path), expected));
    }
}

// Text n of the tests: an integer, a word, or a word outside the basic plane.
std::string Mixed(int n) {
    if (n % 3 == 0) return std::to_string(n);
    return (n % 3 == 1 ? "w" : "\xF0\x9F\x98\x80") + std::to_string(n);
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

// The largest sheet one worksheet holds, with only its bottom-right cell filled, stays on
// one worksheet named as usual.
TEST(XlsWriter, FullSizeSheetFitsOneWorksheet) {
    const FunctionSource corner(Xls::MaxRows, Xls::MaxCols, [](int row, int col) {
        return row == Xls::MaxRows - 1 && col == Xls::MaxCols - 1 ? "7" : "";
    });
    const XlsSheet sheet = RoundTrip(corner, Xls::MaxRows - 1);
    ASSERT_TRUE(sheet.opened);
    EXPECT_EQ(std::tuple(sheet.sheetCount, sheet.name, sheet.rows, sheet.cols),
              std::tuple(1u, "Sheet1", 65536u, 256));
    EXPECT_EQ(sheet.At(65535, 255).number, 7);
}

namespace {
// A sheet longer or wider than a worksheet continues on further worksheets, and both
// readers find every cell where the worksheet's name says it came from.
struct SplitCase {
    const char* name;
    int rows;
    int cols;
    std::vector<std::string> sheets;
};
}  // namespace

class XlsSplit : public ::testing::TestWithParam<SplitCase> {};

TEST_P(XlsSplit, SheetContinuesOnFurtherWorksheets) {
    const SplitCase& c = GetParam();
    const FunctionSource cells(c.rows, c.cols, [&](int r, int col) {
        return (r + col) % 4 == 1 ? std::string() : Mixed(r * c.cols + col);
    });
    ExpectReadersFind(cells, cells, c.sheets);
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, XlsSplit,
    ::testing::Values(SplitCase{"long",
                                Xls::MaxRows * 2 + 5,
                                2,
                                {"Rows 1-65536", "Rows 65537-131072", "Rows 131073-131077"}},
                      SplitCase{"wide", 5, Xls::MaxCols + 3, {"Columns 1-256", "Columns 257-259"}}),
    ByName());

// Texts of characters outside the basic plane, long enough to go on in a CONTINUE record;
// a prefix of 0 to 3 basic-plane characters moves the record boundary onto every position
// of a surrogate pair.
class XlsSurrogates : public ::testing::TestWithParam<int> {};

TEST_P(XlsSurrogates, PairsStayWholeAcrossContinueRecords) {
    std::string text;
    for (int i = 0; i < GetParam(); ++i)
        text += "ж";
    for (int i = 0; i < 2100; ++i)  // U+1F600 to U+1F63F: 4 bytes in UTF-8, 2 units in UTF-16
        text += std::string("\xF0\x9F\x98") + static_cast<char>(0x80 + i % 64);
    const FunctionSource cells(2, 1, [&](int r, int) { return r == 0 ? text : "end"; });
    ExpectReadersFind(cells, cells, {"Sheet1"});
}

INSTANTIATE_TEST_SUITE_P(Prefixes, XlsSurrogates, ::testing::Range(0, 4));

// A text longer than a cell holds is cut to 32767 UTF-16 units, one fewer where the cut
// would halve a surrogate pair; the rest of the workbook is kept. (Read by xlrd: libfreexl
// cannot read a text spread over more than two records.)
TEST(XlsWriter, TextLongerThanACellHoldsIsCut) {
    auto repeat = [](const std::string& s, int n) {
        std::string out;
        for (int i = 0; i < n; ++i)
            out += s;
        return out;
    };
    const std::string emoji = "\xF0\x9F\x98\x80", emojis = repeat(emoji, 20000);
    // Each text with what a cell keeps of it.
    const std::vector<std::pair<std::string, std::string>> texts = {
        {std::string(32767, 'q'), std::string(32767, 'q')},
        {std::string(40000, 'r'), std::string(32767, 'r')},
        {"é" + std::string(40000, 's'), "é" + std::string(32766, 's')},
        {emojis, repeat(emoji, 16383)},
        {"a" + emojis, "a" + repeat(emoji, 16383)},
    };
    const FunctionSource written(int(texts.size()) + 1, 1, [&](int r, int) {
        return r < int(texts.size()) ? texts[r].first : "after";
    });
    const FunctionSource kept(int(texts.size()) + 1, 1, [&](int r, int) {
        return r < int(texts.size()) ? texts[r].second : "after";
    });
    ExpectReadersFind(written, kept, {"Sheet1"}, false);
}

// LibreOffice reads a workbook that continues over three worksheets, with texts outside
// the basic plane, cell for cell: each sheet converted to a tab-separated file (the
// workbook's raw values, UTF-8).
TEST(XlsWriter, LibreOfficeReadsEveryWorksheet) {
    const FunctionSource cells(40, 600, [](int r, int c) {
        return (r + c) % 4 == 0 ? std::string() : Mixed(r * 600 + c);
    });
    const TempFolder folder;
    const std::string path = folder.Path("wide.xls");
    ASSERT_TRUE(WriteFile(Export::Format::Workbook, cells, path));
    RunProgram({"soffice", "-env:UserInstallation=file://" + folder.Path("profile"), "--headless",
                "--convert-to",
                "csv:Text - txt - csv (StarCalc):9,34,76,1,,0,false,true,false,false,false,-1",
                "--outdir", folder.Path(""), path});
    std::vector<std::string> sheets = {"sheets"};
    const std::vector<std::string> names = {"Columns 1-256", "Columns 257-512", "Columns 513-600"};
    for (const std::string& name : names)
        sheets.push_back(name + "=" + folder.Path("wide-" + name + ".csv"));
    EXPECT_TRUE(SameDump(ReadBack(sheets), ExpectedDump(cells, names)));
}
