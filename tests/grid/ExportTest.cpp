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

// Numbers, empty cells, separators, quotes, line breaks, markup and non-ASCII text.
const Table Sample = {
    {"A + B =", "", ""},
    {"1", "-2.5", "0.333333333333333"},
    {"1E-05", "say \"hi\", ok", "line1\r\nline2"},
    {"<b>&amp;</b>", "Ünïcödé €", "x"},
};

// The table in the data cells, with headings and spare empty rows and columns around it
// that no export may write.
void Fill(GridModel& grid, const Table& table) {
    grid.SetRows(static_cast<int>(table.size()) + 4);
    grid.SetCols(static_cast<int>(table[0].size()) + 3);
    for (int c = 0; c < grid.Cols(); ++c)
        grid.SetCellText(0, c, QStringLiteral("Head"));
    for (int r = 0; r < grid.Rows(); ++r)
        grid.SetCellText(r, 0, QString::number(r));
    for (std::size_t r = 0; r < table.size(); ++r) {
        for (std::size_t c = 0; c < table[r].size(); ++c) {
            grid.SetCellText(int(r) + 1, int(c) + 1, QString::fromStdString(table[r][c]));
        }
    }
}

std::string ReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "<unreadable>";
}

void WriteText(const QString& path, const char* text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

// RFC 4180: CRLF after each record, quoted fields with doubled quotes; nothing when a quote
// or line break stands outside quotes.
std::optional<Table> ParseCsv(const std::string& text) {
    Table table(1);
    std::string field;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted && c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
            field += text[++i];
        } else if (c == '"' && (quoted || field.empty())) {
            quoted = !quoted;
        } else if (quoted || (c != ',' && c != '\r' && c != '\n' && c != '"')) {
            field += c;
        } else if (c == ',' || text.compare(i, 2, "\r\n") == 0) {
            table.back().push_back(std::move(field));
            field.clear();
            if (c == '\r') table.emplace_back(), ++i;
        } else {
            return std::nullopt;
        }
    }
    if (quoted || !field.empty() || !table.back().empty()) return std::nullopt;
    table.pop_back();
    return table;
}

// The texts of the cell elements of an XML or XHTML document, grouped by row element, each
// with the value of one attribute; empty when the document is not well-formed.
struct MarkupCell {
    std::string attribute;
    std::string text;
    bool operator==(const MarkupCell&) const = default;
};
std::vector<std::vector<MarkupCell>> ParseMarkup(const std::string& text, const char* row,
                                                 const char* cell, const char* attribute) {
    std::vector<std::vector<MarkupCell>> rows;
    QXmlStreamReader xml(QByteArray::fromStdString(text));
    while (xml.readNext() != QXmlStreamReader::Invalid && !xml.atEnd()) {
        if (xml.isStartElement() && xml.name() == QLatin1String(row)) rows.emplace_back();
        if (xml.isStartElement() && xml.name() == QLatin1String(cell)) {
            const QString value = xml.attributes().value(QLatin1String(attribute)).toString();
            rows.back().push_back({value.toStdString(), xml.readElementText().toStdString()});
        }
    }
    if (xml.hasError()) rows.assign(1, {{"malformed", xml.errorString().toStdString()}});
    return rows;
}

// The words pdftotext finds in a PDF and its page count; nothing when it cannot read it.
std::optional<std::pair<std::string, int>> PdfText(const QString& path) {
    QProcess process;
    process.start(QStringLiteral("pdftotext"),
                  {QStringLiteral("-raw"), QStringLiteral("-enc"), QStringLiteral("UTF-8"), path,
                   QStringLiteral("-")});
    if (!process.waitForFinished(120000) || process.exitCode() != 0) return std::nullopt;
    const std::string text = process.readAllStandardOutput().toStdString();
    return std::pair{text, static_cast<int>(std::count(text.begin(), text.end(), '\f'))};
}

class Export : public ::testing::Test {
protected:
    QString Path(const char* name) const { return dir_.filePath(QString::fromLatin1(name)); }
    QTemporaryDir dir_;
    GridModel grid_;
};

}  // namespace

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

constexpr std::nullopt_t No = std::nullopt;
INSTANTIATE_TEST_SUITE_P(
    Texts, CellNumberTest,
    ::testing::Values(
        NumberCase{"1E-05", '.', 1e-5}, NumberCase{"-2.5", '.', -2.5},
        NumberCase{"0.333333333333333", '.', 0.333333333333333}, NumberCase{" \t42 ", '.', 42.0},
        NumberCase{"+3", '.', 3.0}, NumberCase{".5", '.', 0.5}, NumberCase{"1,5", ',', 1.5},
        NumberCase{"1.5", ',', 1.5}, NumberCase{"1,5", '.', No}, NumberCase{"1,5,0", ',', No},
        NumberCase{"", '.', No}, NumberCase{"-", '.', No}, NumberCase{"1e", '.', No},
        NumberCase{"2 apples", '.', No}, NumberCase{"inf", '.', No}, NumberCase{"nan", '.', No},
        NumberCase{"0x1A", '.', No}, NumberCase{"1E400", '.', No}));

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
            const std::optional<double> value = CellNumber(text);
            const int type = text.empty() ? FREEXL_CELL_NULL
                             : value      ? FREEXL_CELL_DOUBLE
                                          : FREEXL_CELL_SST_TEXT;
            EXPECT_EQ(sheet.At(r, c).type, type) << text;
            EXPECT_EQ(sheet.At(r, c).number, value.value_or(0)) << text;
            EXPECT_EQ(sheet.At(r, c).text, value ? "" : text);
        }
    }
}

TEST_F(Export, CsvParsesBackToTheUsedRange) {
    Fill(grid_, Sample);
    ASSERT_TRUE(GridExport::ExportCsv(grid_, Path("out.csv")));
    EXPECT_EQ(ParseCsv(ReadAll(Path("out.csv"))), Sample);
    // A lone empty field is quoted, or its record would read as a blank line.
    GridModel column;
    Fill(column, {{"a"}, {""}, {"b"}});
    ASSERT_TRUE(GridExport::ExportCsv(column, Path("one.csv")));
    EXPECT_EQ(ReadAll(Path("one.csv")), "a\r\n\"\"\r\nb\r\n");
}

TEST_F(Export, XmlIsWellFormedAndHoldsTheNonEmptyCells) {
    Fill(grid_, Sample);
    grid_.SetCellText(2, 2, QStringLiteral("bell\x07"));  // a character XML cannot hold
    ASSERT_TRUE(GridExport::ExportXml(grid_, Path("out.xml")));
    const std::string xml = ReadAll(Path("out.xml"));
    EXPECT_NE(xml.find("<sheet rows=\"4\" cols=\"3\">"), std::string::npos);
    std::vector<std::vector<MarkupCell>> expected;
    for (const auto& row : Sample) {
        expected.emplace_back();
        for (std::size_t c = 0; c < row.size(); ++c) {
            if (!row[c].empty()) expected.back().push_back({std::to_string(c + 1), row[c]});
        }
    }
    expected[1][1].text = "bell\uFFFD";
    EXPECT_EQ(ParseMarkup(xml, "row", "cell", "col"), expected);
}

TEST_F(Export, HtmlTableHoldsEveryCellAndRightAlignsNumbers) {
    Fill(grid_, Sample);
    ASSERT_TRUE(GridExport::ExportHtml(grid_, Path("out.htm")));
    const std::string page = ReadAll(Path("out.htm"));
    EXPECT_NE(page.find("<meta charset=\"utf-8\" />"), std::string::npos);
    std::vector<std::vector<MarkupCell>> expected;
    for (const auto& row : Sample) {
        expected.emplace_back();
        for (const std::string& text : row) {
            expected.back().push_back({CellNumber(text) ? "n" : "", text});
        }
    }
    EXPECT_EQ(ParseMarkup(page, "tr", "td", "class"), expected);
}

TEST_F(Export, PdfShowsTheCellTexts) {
    Fill(grid_, Sample);
    ASSERT_TRUE(GridExport::ExportPdf(grid_, Path("out.pdf")));
    const auto pdf = PdfText(Path("out.pdf"));
    ASSERT_TRUE(pdf.has_value());
    for (const char* expected : {"A + B =", "0.333333333333333", "-2.5", "1E-05", "say \"hi\", ok",
                                 "<b>&amp;</b>", "Ünïcödé €"}) {
        EXPECT_NE(pdf->first.find(expected), std::string::npos) << expected;
    }
    EXPECT_EQ(pdf->first.find("Head"), std::string::npos);  // headings are not exported
    EXPECT_EQ(pdf->second, 1);
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
    const auto pdf = PdfText(Path("big.pdf"));
    ASSERT_TRUE(pdf.has_value());
    EXPECT_GE(pdf->second, 6);
    std::set<std::string> words;
    std::istringstream stream(pdf->first);
    for (std::string word; stream >> word;)
        words.insert(word);
    for (const auto& row : table) {
        for (const std::string& cell : row)
            ASSERT_TRUE(words.count(cell)) << cell;
    }
}

TEST_F(Export, EmptyGridGivesValidEmptyFiles) {
    ASSERT_TRUE(GridExport::ExportExcel(grid_, Path("e.xls")));
    const XlsSheet sheet = ReadXls(Path("e.xls").toStdString());
    EXPECT_TRUE(sheet.opened);
    EXPECT_EQ(sheet.rows, 0u);
    ASSERT_TRUE(GridExport::ExportCsv(grid_, Path("e.csv")));
    EXPECT_EQ(ReadAll(Path("e.csv")), "");
    ASSERT_TRUE(GridExport::ExportXml(grid_, Path("e.xml")));
    EXPECT_TRUE(ParseMarkup(ReadAll(Path("e.xml")), "row", "cell", "col").empty());
    ASSERT_TRUE(GridExport::ExportHtml(grid_, Path("e.htm")));
    EXPECT_TRUE(ParseMarkup(ReadAll(Path("e.htm")), "tr", "td", "class").empty());
    ASSERT_TRUE(GridExport::ExportPdf(grid_, Path("e.pdf")));
    EXPECT_TRUE(PdfText(Path("e.pdf")).has_value());
}

TEST_F(Export, WorkbookBeyondBiff8LimitsAnswersFalseAndKeepsTheOldFile) {
    for (const auto& [row, col] : {std::pair{65537, 1}, std::pair{1, 257}}) {
        GridModel grid;
        grid.SetCellText(row, col, QStringLiteral("x"));
        WriteText(Path("old.xls"), "previous");
        EXPECT_FALSE(GridExport::ExportExcel(grid, Path("old.xls")));
        EXPECT_EQ(ReadAll(Path("old.xls")), "previous");
    }
}

struct Format {
    const char* name;
    Exporter exporter;
};

class ExportFailure : public ::testing::TestWithParam<Format> {
protected:
    QTemporaryDir dir_;
    GridModel grid_;
};

TEST_P(ExportFailure, UnwritablePlacesAnswerFalse) {
    Fill(grid_, Sample);
    WriteText(dir_.filePath(QStringLiteral("plain")), "");
    const Exporter exporter = GetParam().exporter;
    EXPECT_FALSE(exporter(grid_, QString()));
    EXPECT_FALSE(exporter(grid_, dir_.filePath(QStringLiteral("missing/out"))));
    EXPECT_FALSE(exporter(grid_, dir_.filePath(QStringLiteral("plain/out"))));  // not a folder
    EXPECT_FALSE(exporter(grid_, dir_.path()));  // a folder, not a file
}

// A file size limit makes writes fail as on a full disk. (Not /dev/full: run as root,
// QSaveFile would put a plain file in place of the device.) The old file stays as it was,
// and no temporary file is left behind.
TEST_P(ExportFailure, FullDiskAnswersFalseAndKeepsTheOldFile) {
    Fill(grid_, Table(3000, std::vector<std::string>(20, "text 0.333333333333333")));
    const QString path = dir_.filePath(QStringLiteral("out"));
    WriteText(path, "previous");
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

INSTANTIATE_TEST_SUITE_P(Formats, ExportFailure,
                         ::testing::Values(Format{"Excel", GridExport::ExportExcel},
                                           Format{"Html", GridExport::ExportHtml},
                                           Format{"Pdf", GridExport::ExportPdf},
                                           Format{"Csv", GridExport::ExportCsv},
                                           Format{"Xml", GridExport::ExportXml}),
                         [](const auto& info) { return std::string(info.param.name); });
