// The five exports, each read back by a reader we did not write: libfreexl for the workbook,
// QXmlStreamReader for the XML and the web page, pdftotext for the PDF, and an RFC 4180
// parse for the CSV.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <csignal>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "CellNumber.h"
#include "Exporters.h"
#include "FreeXlSheet.h"
#include "GridModel.h"

namespace {

using Table = std::vector<std::vector<std::string>>;
using Exporter = bool (*)(const GridModel&, const QString&);

// Cells that each format must carry through: numbers, empty cells, separators, quotes,
// line breaks, markup characters and non-ASCII text.
const Table Sample = {
    {"A + B =", "", ""},
    {"1", "-2.5", "0.333333333333333"},
    {"1E-05", "say \"hi\", ok", "line1\r\nline2"},
    {"<b>&amp;</b>", "Ünïcödé €", "x"},
};

// A grid holding table in its data cells, with headings and spare empty rows and columns
// around it that no export may write.
void Fill(GridModel& grid, const Table& table) {
    grid.SetRows(static_cast<int>(table.size()) + 4);
    grid.SetCols(static_cast<int>(table.empty() ? 1 : table[0].size()) + 3);
    for (int c = 0; c < grid.Cols(); ++c)
        grid.SetCellText(0, c, QStringLiteral("Head"));
    for (int r = 0; r < grid.Rows(); ++r)
        grid.SetCellText(r, 0, QString::number(r));
    for (std::size_t r = 0; r < table.size(); ++r) {
        for (std::size_t c = 0; c < table[r].size(); ++c) {
            grid.SetCellText(static_cast<int>(r) + 1, static_cast<int>(c) + 1,
                             QString::fromStdString(table[r][c]));
        }
    }
}

std::string ReadAll(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return "<unreadable>";
    return file.readAll().toStdString();
}

// An RFC 4180 parse: CRLF-terminated records, quoted fields with doubled quotes.
std::optional<Table> ParseCsv(const std::string& text) {
    Table table;
    std::vector<std::string> record;
    std::string field;
    std::size_t i = 0;
    while (i < text.size()) {
        if (text[i] == '"') {
            for (++i;; ++i) {
                if (i >= text.size()) return std::nullopt;
                if (text[i] == '"') {
                    if (i + 1 < text.size() && text[i + 1] == '"') {
                        field += '"';
                        ++i;
                    } else {
                        ++i;
                        break;
                    }
                } else {
                    field += text[i];
                }
            }
        }
        if (text.compare(i, 2, "\r\n") == 0) {
            record.push_back(std::move(field));
            table.push_back(std::move(record));
            record.clear();
            field.clear();
            i += 2;
        } else if (text[i] == ',') {
            record.push_back(std::move(field));
            field.clear();
            ++i;
        } else if (text[i] == '"' || text[i] == '\r' || text[i] == '\n') {
            return std::nullopt;  // a quote or line break outside quotes
        } else {
            field += text[i++];
        }
    }
    if (!record.empty() || !field.empty()) return std::nullopt;  // last line unterminated
    return table;
}

struct XmlSheet {
    bool wellFormed = false;
    int rows = -1;
    int cols = -1;
    std::map<std::pair<int, int>, std::string> cells;
};

XmlSheet ParseXml(const std::string& text) {
    XmlSheet sheet;
    QXmlStreamReader xml(QByteArray::fromStdString(text));
    int row = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement()) continue;
        const auto attr = [&](const char* name) {
            return xml.attributes().value(QLatin1String(name)).toInt();
        };
        if (xml.name() == QLatin1String("sheet")) {
            sheet.rows = attr("rows");
            sheet.cols = attr("cols");
        } else if (xml.name() == QLatin1String("row")) {
            row = attr("index");
        } else if (xml.name() == QLatin1String("cell")) {
            const int col = attr("col");
            sheet.cells[{row, col}] = xml.readElementText().toStdString();
        }
    }
    sheet.wellFormed = !xml.hasError();
    return sheet;
}

struct HtmlTable {
    bool wellFormed = false;
    Table cells;
    std::vector<std::vector<bool>> rightAligned;
};

HtmlTable ParseHtml(const std::string& text) {
    HtmlTable table;
    QXmlStreamReader xml(QByteArray::fromStdString(text));
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement()) continue;
        if (xml.name() == QLatin1String("tr")) {
            table.cells.emplace_back();
            table.rightAligned.emplace_back();
        } else if (xml.name() == QLatin1String("td")) {
            table.rightAligned.back().push_back(xml.attributes().value(QLatin1String("class")) ==
                                                QLatin1String("n"));
            table.cells.back().push_back(xml.readElementText().toStdString());
        }
    }
    table.wellFormed = !xml.hasError();
    return table;
}

// The text pdftotext finds in a PDF, in drawing order, or nothing when it cannot read it.
std::optional<std::string> PdfText(const QString& path) {
    QProcess process;
    process.start(QStringLiteral("pdftotext"),
                  {QStringLiteral("-raw"), QStringLiteral("-enc"), QStringLiteral("UTF-8"), path,
                   QStringLiteral("-")});
    if (!process.waitForFinished(120000) || process.exitCode() != 0) return std::nullopt;
    return process.readAllStandardOutput().toStdString();
}

int PdfPages(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\f'));
}

class Export : public ::testing::Test {
protected:
    QString Path(const char* name) const { return dir_.filePath(QString::fromLatin1(name)); }
    QTemporaryDir dir_;
    GridModel grid_;
};

}  // namespace

// ---- what a cell counts as -----------------------------------------------------------------

struct NumberCase {
    const char* text;
    char separator;
    std::optional<double> value;
};

class CellNumberTest : public ::testing::TestWithParam<NumberCase> {};

TEST_P(CellNumberTest, WholeTextMustReadAsAFiniteNumber) {
    const NumberCase p = GetParam();
    EXPECT_EQ(CellNumber(p.text, p.separator), p.value) << '"' << p.text << '"';
}

INSTANTIATE_TEST_SUITE_P(
    Texts, CellNumberTest,
    ::testing::Values(NumberCase{"1E-05", '.', 1e-5}, NumberCase{"-2.5", '.', -2.5},
                      NumberCase{"0.333333333333333", '.', 0.333333333333333},
                      NumberCase{"1E+15", '.', 1e15}, NumberCase{" \t42 ", '.', 42.0},
                      NumberCase{"+3", '.', 3.0}, NumberCase{".5", '.', 0.5},
                      NumberCase{"1,5", ',', 1.5}, NumberCase{"1.5", ',', 1.5},
                      NumberCase{"1,5", '.', std::nullopt}, NumberCase{"1,5,0", ',', std::nullopt},
                      NumberCase{"", '.', std::nullopt}, NumberCase{"-", '.', std::nullopt},
                      NumberCase{".", '.', std::nullopt}, NumberCase{"1e", '.', std::nullopt},
                      NumberCase{"2 apples", '.', std::nullopt},
                      NumberCase{"1 2", '.', std::nullopt}, NumberCase{"inf", '.', std::nullopt},
                      NumberCase{"nan", '.', std::nullopt}, NumberCase{"0x1A", '.', std::nullopt},
                      NumberCase{"1E400", '.', std::nullopt},
                      NumberCase{"A + B =", '.', std::nullopt}));

// ---- each format read back -----------------------------------------------------------------

TEST_F(Export, WorkbookHoldsTheUsedRangeWithNumberAndTextCells) {
    Fill(grid_, Sample);
    ASSERT_TRUE(GridExport::ExportExcel(grid_, Path("out.xls")));
    const XlsSheet sheet = ReadXls(Path("out.xls").toStdString());
    ASSERT_TRUE(sheet.opened);
    ASSERT_EQ(sheet.rows, 4u);
    ASSERT_EQ(sheet.cols, 3u);
    for (unsigned r = 0; r < 4; ++r) {
        for (unsigned short c = 0; c < 3; ++c) {
            const std::string& text = Sample[r][c];
            const XlsCell& cell = sheet.At(r, c);
            if (text.empty()) {
                EXPECT_EQ(cell.type, FREEXL_CELL_NULL);
            } else if (const auto value = CellNumber(text)) {
                EXPECT_EQ(cell.type, FREEXL_CELL_DOUBLE) << text;
                EXPECT_EQ(cell.number, *value);
            } else {
                EXPECT_EQ(cell.type, FREEXL_CELL_SST_TEXT) << text;
                EXPECT_EQ(cell.text, text);
            }
        }
    }
}

TEST_F(Export, CsvParsesBackToTheUsedRange) {
    Fill(grid_, Sample);
    ASSERT_TRUE(GridExport::ExportCsv(grid_, Path("out.csv")));
    const std::optional<Table> table = ParseCsv(ReadAll(Path("out.csv")));
    ASSERT_TRUE(table.has_value());
    EXPECT_EQ(*table, Sample);
}

TEST_F(Export, CsvSingleEmptyFieldIsNotABlankLine) {
    Fill(grid_, {{"a"}, {""}, {"b"}});
    ASSERT_TRUE(GridExport::ExportCsv(grid_, Path("out.csv")));
    EXPECT_EQ(ReadAll(Path("out.csv")), "a\r\n\"\"\r\nb\r\n");
}

TEST_F(Export, XmlIsWellFormedAndHoldsTheNonEmptyCells) {
    Fill(grid_, Sample);
    grid_.SetCellText(2, 2, QStringLiteral("bell\x07"));
    ASSERT_TRUE(GridExport::ExportXml(grid_, Path("out.xml")));
    const XmlSheet sheet = ParseXml(ReadAll(Path("out.xml")));
    ASSERT_TRUE(sheet.wellFormed);
    EXPECT_EQ(sheet.rows, 4);
    EXPECT_EQ(sheet.cols, 3);
    std::map<std::pair<int, int>, std::string> expected;
    for (std::size_t r = 0; r < Sample.size(); ++r) {
        for (std::size_t c = 0; c < Sample[r].size(); ++c) {
            if (!Sample[r][c].empty()) expected[{r + 1, c + 1}] = Sample[r][c];
        }
    }
    expected[{2, 2}] = "bell\uFFFD";  // a control character XML cannot hold
    EXPECT_EQ(sheet.cells, expected);
}

TEST_F(Export, HtmlTableHoldsEveryCellAndRightAlignsNumbers) {
    Fill(grid_, Sample);
    ASSERT_TRUE(GridExport::ExportHtml(grid_, Path("out.htm")));
    const std::string page = ReadAll(Path("out.htm"));
    EXPECT_NE(page.find("<meta charset=\"utf-8\" />"), std::string::npos);
    const HtmlTable table = ParseHtml(page);
    ASSERT_TRUE(table.wellFormed);
    EXPECT_EQ(table.cells, Sample);
    for (std::size_t r = 0; r < Sample.size(); ++r) {
        for (std::size_t c = 0; c < Sample[r].size(); ++c) {
            EXPECT_EQ(table.rightAligned[r][c], CellNumber(Sample[r][c]).has_value())
                << Sample[r][c];
        }
    }
}

TEST_F(Export, PdfShowsTheCellTexts) {
    Fill(grid_, Sample);
    ASSERT_TRUE(GridExport::ExportPdf(grid_, Path("out.pdf")));
    const std::optional<std::string> text = PdfText(Path("out.pdf"));
    ASSERT_TRUE(text.has_value());
    for (const char* expected : {"A + B =", "0.333333333333333", "-2.5", "1E-05", "say \"hi\", ok",
                                 "<b>&amp;</b>", "Ünïcödé €"}) {
        EXPECT_NE(text->find(expected), std::string::npos) << expected;
    }
    EXPECT_EQ(text->find("Head"), std::string::npos);  // headings are not exported
    EXPECT_EQ(PdfPages(*text), 1);
}

// More rows and columns than a page holds: every text still appears, on several pages.
TEST_F(Export, PdfContinuesRowsAndColumnsOnFurtherPages) {
    Table table(120, std::vector<std::string>(30));
    for (std::size_t r = 0; r < table.size(); ++r) {
        for (std::size_t c = 0; c < table[r].size(); ++c) {
            table[r][c] = std::to_string(r * 1000 + c) + ".25";
        }
    }
    Fill(grid_, table);
    ASSERT_TRUE(GridExport::ExportPdf(grid_, Path("big.pdf")));
    const std::optional<std::string> text = PdfText(Path("big.pdf"));
    ASSERT_TRUE(text.has_value());
    EXPECT_GE(PdfPages(*text), 6);
    std::set<std::string> words;
    std::istringstream stream(*text);
    for (std::string word; stream >> word;)
        words.insert(word);
    for (const auto& row : table) {
        for (const std::string& cell : row)
            ASSERT_TRUE(words.count(cell)) << cell;
    }
}

TEST_F(Export, EmptyGridGivesValidEmptyFiles) {
    GridModel& grid = grid_;  // the design state: 30 by 5 empty cells
    ASSERT_TRUE(GridExport::ExportExcel(grid, Path("e.xls")));
    const XlsSheet sheet = ReadXls(Path("e.xls").toStdString());
    EXPECT_TRUE(sheet.opened);
    EXPECT_EQ(sheet.rows, 0u);

    ASSERT_TRUE(GridExport::ExportCsv(grid, Path("e.csv")));
    EXPECT_EQ(ReadAll(Path("e.csv")), "");

    ASSERT_TRUE(GridExport::ExportXml(grid, Path("e.xml")));
    const XmlSheet xml = ParseXml(ReadAll(Path("e.xml")));
    EXPECT_TRUE(xml.wellFormed);
    EXPECT_EQ(xml.rows, 0);
    EXPECT_TRUE(xml.cells.empty());

    ASSERT_TRUE(GridExport::ExportHtml(grid, Path("e.htm")));
    const HtmlTable html = ParseHtml(ReadAll(Path("e.htm")));
    EXPECT_TRUE(html.wellFormed);
    EXPECT_TRUE(html.cells.empty());

    ASSERT_TRUE(GridExport::ExportPdf(grid, Path("e.pdf")));
    EXPECT_TRUE(PdfText(Path("e.pdf")).has_value());
}

TEST_F(Export, WorkbookBeyondBiff8LimitsAnswersFalseAndKeepsTheOldFile) {
    for (const auto& [row, col] : {std::pair{65537, 1}, std::pair{1, 257}}) {
        GridModel grid;
        grid.SetCellText(row, col, QStringLiteral("x"));
        QFile old(Path("old.xls"));
        ASSERT_TRUE(old.open(QIODevice::WriteOnly));
        old.write("previous");
        old.close();
        EXPECT_FALSE(GridExport::ExportExcel(grid, Path("old.xls")));
        EXPECT_EQ(ReadAll(Path("old.xls")), "previous");
    }
}

// ---- places that cannot be written ---------------------------------------------------------

struct Format {
    const char* name;
    Exporter exporter;
};

const Format Formats[] = {{"Excel", GridExport::ExportExcel},
                          {"Html", GridExport::ExportHtml},
                          {"Pdf", GridExport::ExportPdf},
                          {"Csv", GridExport::ExportCsv},
                          {"Xml", GridExport::ExportXml}};

class ExportFailure : public ::testing::TestWithParam<Format> {
protected:
    QTemporaryDir dir_;
    GridModel grid_;
};

TEST_P(ExportFailure, UnwritablePlacesAnswerFalse) {
    Fill(grid_, Sample);
    QFile plain(dir_.filePath(QStringLiteral("plain")));
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.close();
    const Exporter exporter = GetParam().exporter;
    EXPECT_FALSE(exporter(grid_, QString()));
    EXPECT_FALSE(exporter(grid_, dir_.filePath(QStringLiteral("missing/out"))));
    EXPECT_FALSE(exporter(grid_, dir_.filePath(QStringLiteral("plain/out"))));  // not a folder
    EXPECT_FALSE(exporter(grid_, dir_.path()));  // a folder, not a file
}

// A file size limit makes every write past it fail as on a full disk (and, unlike /dev/full,
// works for whoever runs the tests). The old file stays as it was and no temporary is left.
TEST_P(ExportFailure, FullDiskAnswersFalseAndKeepsTheOldFile) {
    Table table(3000, std::vector<std::string>(20, "text 0.333333333333333"));
    Fill(grid_, table);
    const QString path = dir_.filePath(QStringLiteral("out"));
    QFile old(path);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("previous");
    old.close();

    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limited = saved;
    limited.rlim_cur = 64 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    const bool written = GetParam().exporter(grid_, path);
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previousHandler);

    EXPECT_FALSE(written);
    EXPECT_EQ(ReadAll(path), "previous");
    EXPECT_EQ(QDir(dir_.path()).entryList(QDir::Files), QStringList{QStringLiteral("out")});
}

INSTANTIATE_TEST_SUITE_P(Formats, ExportFailure, ::testing::ValuesIn(Formats),
                         [](const auto& info) { return std::string(info.param.name); });
