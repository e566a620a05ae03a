// The five formats as Export::Write writes them, each read back by a reader we did not
// write: libfreexl for the workbook, Python's csv module for the CSV, its ElementTree for the
// XML and the web page, and poppler (pdftotext, pdftoppm, pdffonts) for the PDF.
#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ExportFiles.h"
#include "FreeXlSheet.h"
#include "NamedRows.h"

namespace {

using Export::Format;
using nlohmann::json;

// Numbers, an empty row, empty cells, commas, quotes, line breaks, markup, non-ASCII text,
// and a character XML cannot hold.
const Table Sample = {
    {"A + B =", "1,5", ""},
    {"1", "-2.5", "0.333333333333333"},
    {"", "", ""},
    {"1E-05", "say \"hi\", ok", "line1\r\nline2"},
    {"<b>&amp;</b>, 1,5", "Ünïcödé €", "bell\x07"},
};

// The sample's number texts; "1,5" is one only where "," is the decimal separator.
std::optional<double> SampleNumber(const std::string& text, char separator) {
    if (text == "1,5") return separator == ',' ? std::optional(1.5) : std::nullopt;
    static const std::set<std::string> numbers = {"1", "-2.5", "0.333333333333333", "1E-05"};
    return numbers.contains(text) ? std::optional(std::stod(text)) : std::nullopt;
}

std::string Written(const TempFolder& folder, Format format, const Table& table, const char* name,
                    char separator = '.') {
    EXPECT_TRUE(WriteFile(format, TableSource(table), folder.Path(name), separator)) << name;
    return folder.Path(name);
}

// The root's attributes and the rows of an XML or XHTML document (read-back.py markup).
json Markup(const std::string& path, const char* row, const char* cell) {
    return json::parse(ReadBack({"markup", path, row, cell}), nullptr, false);
}

class NumberCells : public ::testing::TestWithParam<char> {};  // the decimal separator

// The workbook has number cells and text cells; the web page has every cell, numbers marked
// to be right-aligned, and a control character as U+FFFD.
TEST_P(NumberCells, WorkbookAndWebPageTellNumbersFromTexts) {
    const TempFolder folder;
    const XlsSheet sheet =
        ReadXls(Written(folder, Format::Workbook, Sample, "out.xls", GetParam()));
    const std::string page = Written(folder, Format::WebPage, Sample, "out.htm", GetParam());
    const json rows = Markup(page, "tr", "td")["rows"];
    ASSERT_TRUE(sheet.opened);
    ASSERT_EQ(std::pair(sheet.rows, unsigned(sheet.cols)), std::pair(5u, 3u));
    ASSERT_EQ(rows.size(), 5u);
    for (unsigned r = 0; r < sheet.rows; ++r) {
        for (unsigned short c = 0; c < sheet.cols; ++c) {
            const std::string& text = Sample[r][c];
            const std::optional<double> value = SampleNumber(text, GetParam());
            EXPECT_EQ(sheet.At(r, c).type, text.empty() ? FREEXL_CELL_NULL
                                           : value      ? FREEXL_CELL_DOUBLE
                                                        : FREEXL_CELL_SST_TEXT)
                << text;
            EXPECT_EQ(sheet.At(r, c).number, value.value_or(0)) << text;
            EXPECT_EQ(sheet.At(r, c).text, value ? "" : text);
            const json marked = value ? json::object({{"class", "n"}}) : json::object();
            EXPECT_EQ(rows[r][1].at(c),
                      json::array({marked, text == "bell\x07" ? "bell\uFFFD" : text}));
        }
    }
    EXPECT_NE(ReadFile(page).find("<meta charset=\"utf-8\" />"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Separators, NumberCells, ::testing::Values('.', ','));

// The XML gives the table's size and lists the non-empty cells by row and column.
TEST(Xml, ListsTheNonEmptyCellsAtTheirPlaces) {
    const TempFolder folder;
    EXPECT_EQ(Markup(Written(folder, Format::Xml, Sample, "out.xml"), "row", "cell"),
              json::parse(R"(
        {"root": {"rows": "5", "cols": "3"}, "rows": [
         [{"index": "1"}, [[{"col": "1"}, "A + B ="], [{"col": "2"}, "1,5"]]],
         [{"index": "2"}, [[{"col": "1"}, "1"], [{"col": "2"}, "-2.5"],
                           [{"col": "3"}, "0.333333333333333"]]],
         [{"index": "4"}, [[{"col": "1"}, "1E-05"], [{"col": "2"}, "say \"hi\", ok"],
                           [{"col": "3"}, "line1\r\nline2"]]],
         [{"index": "5"}, [[{"col": "1"}, "<b>&amp;</b>, 1,5"], [{"col": "2"}, "Ünïcödé €"],
                           [{"col": "3"}, "bell\uFFFD"]]]]})"));
}

TEST(Csv, ParsesBackToTheTable) {
    const TempFolder folder;
    EXPECT_EQ(json::parse(ReadBack({"csv", Written(folder, Format::Csv, Sample, "out.csv")}),
                          nullptr, false),
              json(Sample));
    // Records end in CR LF; a lone empty field is quoted, or its record would read as a
    // blank line.
    EXPECT_EQ(ReadFile(Written(folder, Format::Csv, {{"a"}, {""}, {"b"}}, "one.csv")),
              "a\r\n\"\"\r\nb\r\n");
}

TEST(EmptyTable, GivesValidEmptyFiles) {
    const TempFolder folder;
    const XlsSheet sheet = ReadXls(Written(folder, Format::Workbook, {}, "e.xls"));
    EXPECT_TRUE(sheet.opened);
    EXPECT_EQ(sheet.rows, 0u);
    EXPECT_EQ(ReadFile(Written(folder, Format::Csv, {}, "e.csv")), "");
    EXPECT_EQ(Markup(Written(folder, Format::Xml, {}, "e.xml"), "row", "cell"),
              json::object({{"root", {{"rows", "0"}, {"cols", "0"}}}, {"rows", json::array()}}));
    EXPECT_EQ(Markup(Written(folder, Format::WebPage, {}, "e.htm"), "tr", "td")["rows"],
              json::array());
    RunProgram({"pdftotext", Written(folder, Format::Pdf, {}, "e.pdf"), "-"});  // poppler reads it
}

// The sample, texts in other scripts and a text too wide for a page keep their characters;
// noncharacters and ill-formed UTF-8 show as U+FFFD. Every font the file uses is embedded,
// as a subset of the glyphs it needs.
TEST(Pdf, ShowsEveryTextWithItsFontsEmbedded) {
    Table table = Sample;
    table.push_back({"Ελληνικά кириллица", "12.5", "עברית"});
    table.push_back({std::string(300, 'w') + " end", "a\uFFFE\uFDD0b", "c\xFF-d"});
    const TempFolder folder;
    const std::string path = Written(folder, Format::Pdf, table, "out.pdf");
    const std::string text = RunProgram({"pdftotext", "-raw", "-enc", "UTF-8", path, "-"});
    for (const char* expected :
         {"A + B =", "0.333333333333333", "-2.5", "1E-05", "say \"hi\", ok", "<b>&amp;</b>, 1,5",
          "Ünïcödé €", "Ελληνικά кириллица", "12.5", "wwwwwwwwww", "a\uFFFD\uFFFDb", "c\uFFFD-d"}) {
        EXPECT_NE(text.find(expected), std::string::npos) << expected;
    }

    std::istringstream fonts(RunProgram({"pdffonts", path}));
    int lines = 0;
    for (std::string line; std::getline(fonts, line); ++lines) {  // two heading lines, then fonts
        const bool subset = line.find('+') < line.find(' ');      // a tag before the name
        EXPECT_TRUE(lines < 2 || (subset && line.find(" yes yes yes ") != std::string::npos))
            << line;  // embedded, a subset, with a character map
    }
    EXPECT_GT(lines, 2);
}

// The grid lines that poppler draws on a page, counted across and down: runs of dark pixels
// at least half as long as the longest run (a line a pixel or two thick counts once).
std::pair<int, int> GridLines(const std::string& png) {
    cairo_surface_t* page = cairo_image_surface_create_from_png(png.c_str());
    EXPECT_EQ(cairo_image_surface_get_format(page), CAIRO_FORMAT_RGB24) << png;
    const int width = cairo_image_surface_get_width(page);
    const int height = cairo_image_surface_get_height(page);
    const int stride = cairo_image_surface_get_stride(page);
    const unsigned char* pixels = cairo_image_surface_get_data(page);  // gray, 4 bytes a pixel
    auto count = [&](bool across) {
        std::vector<int> longest(std::size_t(across ? height : width), 0);
        for (std::size_t i = 0; i < longest.size(); ++i) {
            for (int j = 0, run = 0; j < (across ? width : height); ++j) {
                const int x = across ? j : int(i), y = across ? int(i) : j;
                run = pixels[y * stride + x * 4] < 240 ? run + 1 : 0;
                longest[i] = std::max(longest[i], run);
            }
        }
        const int threshold = *std::max_element(longest.begin(), longest.end()) / 2;
        int found = 0;
        for (std::size_t i = 0; i < longest.size(); ++i)
            found += longest[i] >= threshold && (i == 0 || longest[i - 1] < threshold);
        return found;
    };
    const std::pair lines(count(true), count(false));
    cairo_surface_destroy(page);
    return lines;
}

// More rows and columns than a page holds, in columns of different widths: each page holds
// exactly the texts of the rows and columns its caption names, in a grid of as many rows and
// columns, and together the pages hold every text. Pages come in different shapes (a last
// page with fewer rows, bands of fewer or more columns).
TEST(Pdf, PagesHoldTheRowsAndColumnsTheirCaptionsName) {
    Table table(90, std::vector<std::string>(12));
    for (std::size_t r = 0; r < table.size(); ++r)
        for (std::size_t c = 0; c < table[r].size(); ++c)
            table[r][c] = std::to_string(r * 1000 + c) + "." + std::string(1 + 4 * c, '5');
    const TempFolder folder;
    const std::string path = Written(folder, Format::Pdf, table, "big.pdf");
    std::istringstream pages(RunProgram({"pdftotext", "-raw", "-enc", "UTF-8", path, "-"}));
    std::set<std::string> seen;
    std::set<std::pair<int, int>> shapes;
    int n = 1;  // the page; a blank page at the end would have no caption
    for (std::string page; std::getline(pages, page, '\f'); ++n) {
        int firstRow = 0, lastRow = 0, firstCol = 0, lastCol = 0, end = 0;
        ASSERT_EQ(std::sscanf(page.c_str(), "Rows %d–%d, columns %d–%d%n", &firstRow, &lastRow,
                              &firstCol, &lastCol, &end),
                  4)
            << page.substr(0, 60);
        const std::string caption = page.substr(0, std::size_t(end));
        std::set<std::string> expected;
        for (int r = firstRow; r <= lastRow; ++r)  // 1-based
            for (int c = firstCol; c <= lastCol; ++c)
                expected.insert(table[std::size_t(r - 1)][std::size_t(c - 1)]);
        std::istringstream words(page.substr(std::size_t(end)));
        const std::set<std::string> shown{std::istream_iterator<std::string>(words), {}};
        EXPECT_EQ(shown, expected) << caption;
        seen.insert(shown.begin(), shown.end());
        const std::pair shape(lastRow - firstRow + 1, lastCol - firstCol + 1);
        shapes.insert(shape);
        RunProgram({"pdftoppm", "-r", "100", "-gray", "-png", "-singlefile", "-f",
                    std::to_string(n), path, folder.Path("page")});
        EXPECT_EQ(GridLines(folder.Path("page.png")), std::pair(shape.first + 1, shape.second + 1))
            << caption;
    }
    EXPECT_GE(shapes.size(), 4u);
    EXPECT_EQ(seen.size(), table.size() * table[0].size());
}

struct FormatCase {
    const char* name;
    Format format;
};
class EveryFormat : public ::testing::TestWithParam<FormatCase> {};

// A write the sink refuses fails the whole file, even when later writes succeed.
TEST_P(EveryFormat, RefusedWriteAnswersFalse) {
    const Table table(3000, std::vector<std::string>(20, "text 0.333333333333333"));
    int writes = 0;
    EXPECT_FALSE(Export::Write(GetParam().format, TableSource(table), '.',
                               [&writes](std::string_view) { return ++writes > 1; }));
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat,
                         ::testing::Values(FormatCase{"Workbook", Format::Workbook},
                                           FormatCase{"WebPage", Format::WebPage},
                                           FormatCase{"Pdf", Format::Pdf},
                                           FormatCase{"Csv", Format::Csv},
                                           FormatCase{"Xml", Format::Xml}),
                         ByName());

}  // namespace
