// The five exports, each read back by a reader we did not write: libfreexl for the workbook,
// QXmlStreamReader for the XML and the web page, pdftotext for the PDF, and Python's csv
// module for the CSV.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <algorithm>
#include <csignal>
#include <iterator>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "FreeXlSheet.h"
#include "GridModel.h"
#include "NamedRows.h"
#include "NumberShape.h"
#include "ResultExport.h"

namespace GridExport {
// The sheet written in each format, with "." as the decimal separator.
#define KELVARA_EXPORT(Name, Kind)                                             \
    bool Name(const GridModel& grid, const QString& path) {                    \
        return ResultExport::WriteFile(grid, Export::Format::Kind, '.', path); \
    }
KELVARA_EXPORT(ExportExcel, Workbook)
KELVARA_EXPORT(ExportHtml, WebPage)
KELVARA_EXPORT(ExportPdf, Pdf)
KELVARA_EXPORT(ExportCsv, Csv)
KELVARA_EXPORT(ExportXml, Xml)
#undef KELVARA_EXPORT
}  // namespace GridExport

namespace {

using Table = std::vector<std::vector<std::string>>;
using Exporter = bool (*)(const GridModel&, const QString&);

// Numbers, empty cells, commas, quotes, line breaks, markup, non-ASCII text, and a
// character XML cannot hold.
const Table Sample = {
    {"A + B =", "", ""},
    {"1", "-2.5", "0.333333333333333"},
    {"1E-05", "say \"hi\", ok", "line1\r\nline2"},
    {"<b>&amp;</b>, 1,5", "Ünïcödé €", "bell\x07"},
};

// The table in the data cells, with headings and spare empty rows and columns around it
// that no export may write.
void Fill(GridModel& grid, const Table& table) {
    grid.SetRows(static_cast<int>(table.size()) + 4);
    grid.SetCols(static_cast<int>(table[0].size()) + 3);
    for (int c = 0; c < grid.Cols(); ++c)
        grid.SetCellText(0, c, QStringLiteral("Head"));
    for (int r = 0; r < grid.Rows(); ++r)
        grid.SetCellText(r, 0, QStringLiteral("Head"));
    for (std::size_t r = 0; r < table.size(); ++r)
        for (std::size_t c = 0; c < table[r].size(); ++c)
            grid.SetCellText(int(r) + 1, int(c) + 1, QString::fromStdString(table[r][c]));
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

// The records of a CSV file as Python's csv module reads them; nothing when it finds the
// quoting broken.
std::optional<Table> PythonCsv(const QString& path) {
    QProcess python;
    python.start(QStringLiteral("/usr/bin/python3"),
                 {QStringLiteral("-c"),
                  QStringLiteral("import csv, json, sys\n"
                                 "with open(sys.argv[1], newline='', encoding='utf-8') as f:\n"
                                 "    print(json.dumps(list(csv.reader(f, strict=True))))"),
                  path});
    if (!python.waitForFinished(60000) || python.exitCode() != 0) return std::nullopt;
    Table table;
    for (const QJsonValue& row : QJsonDocument::fromJson(python.readAllStandardOutput()).array()) {
        table.emplace_back();
        for (const QJsonValue& cell : row.toArray())
            table.back().push_back(cell.toString().toStdString());
    }
    return table;
}

// The texts of the cell elements of an XML or XHTML document, grouped by row element, each
// with the value of one attribute; one "malformed" cell when the document is not well-formed.
using Markup = std::vector<std::vector<std::pair<std::string, std::string>>>;
Markup ParseMarkup(const std::string& text, const char* row, const char* cell,
                   const char* attribute) {
    Markup rows;
    QXmlStreamReader xml(QByteArray::fromStdString(text));
    while (xml.readNext() != QXmlStreamReader::Invalid && !xml.atEnd()) {
        if (xml.isStartElement() && xml.name() == QLatin1String(row)) rows.emplace_back();
        if (xml.isStartElement() && xml.name() == QLatin1String(cell)) {
            const QString value = xml.attributes().value(QLatin1String(attribute)).toString();
            rows.back().emplace_back(value.toStdString(), xml.readElementText().toStdString());
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

// A grid holding the sample, and a fresh folder for the files.
class Export : public ::testing::Test {
protected:
    void SetUp() override { Fill(grid_, Sample); }
    QString Path(const char* name) const { return dir_.filePath(QString::fromLatin1(name)); }
    // Writes the grid with the exporter and answers the file's path.
    QString Exported(Exporter exporter, const char* name) {
        EXPECT_TRUE(exporter(grid_, Path(name))) << name;
        return Path(name);
    }
    QTemporaryDir dir_;
    GridModel grid_;
};

struct Num {
    const char* text;
    char separator;
    std::optional<double> value;
};

class CellNumberTest : public ::testing::TestWithParam<Num> {};

TEST_P(CellNumberTest, WholeTextMustReadAsAFiniteNumber) {
    EXPECT_EQ(CellNumber(GetParam().text, GetParam().separator), GetParam().value)
        << '"' << GetParam().text << '"';
}

constexpr std::nullopt_t No = std::nullopt;
INSTANTIATE_TEST_SUITE_P(
    Texts, CellNumberTest,
    ::testing::Values(Num{"1E-05", '.', 1e-5}, Num{"-2.5", '.', -2.5},
                      Num{"0.333333333333333", '.', 0.333333333333333}, Num{" \t42 ", '.', 42.0},
                      Num{"+3", '.', 3.0}, Num{".5", '.', 0.5}, Num{"1,5", ',', 1.5},
                      Num{"1.5", ',', 1.5}, Num{"1,5", '.', No}, Num{"1,5,0", ',', No},
                      Num{"", '.', No}, Num{"-", '.', No}, Num{"1e", '.', No},
                      Num{"2 apples", '.', No}, Num{"inf", '.', No}, Num{"nan", '.', No},
                      Num{"0x1A", '.', No}, Num{"1E400", '.', No}));

TEST_F(Export, WorkbookHoldsTheUsedRangeWithNumberAndTextCells) {
    const XlsSheet sheet = ReadXls(Exported(GridExport::ExportExcel, "out.xls").toStdString());
    ASSERT_TRUE(sheet.opened);
    ASSERT_EQ(sheet.rows, 4u);
    ASSERT_EQ(sheet.cols, 3u);
    for (unsigned r = 0; r < 4; ++r) {
        for (unsigned short c = 0; c < 3; ++c) {
            const std::string& text = Sample[r][c];
            const std::optional<double> value = CellNumber(text);
            EXPECT_EQ(sheet.At(r, c).type, text.empty() ? FREEXL_CELL_NULL
                                           : value      ? FREEXL_CELL_DOUBLE
                                                        : FREEXL_CELL_SST_TEXT)
                << text;
            EXPECT_EQ(sheet.At(r, c).number, value.value_or(0)) << text;
            EXPECT_EQ(sheet.At(r, c).text, value ? "" : text);
        }
    }
}

TEST_F(Export, CsvParsesBackToTheUsedRange) {
    EXPECT_EQ(PythonCsv(Exported(GridExport::ExportCsv, "out.csv")), Sample);
    // Records end in CR LF; a lone empty field is quoted, or its record would read as a
    // blank line.
    grid_.SetRows(1);
    Fill(grid_, {{"a"}, {""}, {"b"}});
    EXPECT_EQ(ReadAll(Exported(GridExport::ExportCsv, "one.csv")), "a\r\n\"\"\r\nb\r\n");
}

// The XML lists the non-empty cells by column; the web page has every cell, numbers
// right-aligned. A character XML cannot hold shows as U+FFFD in both.
TEST_F(Export, XmlAndHtmlParseBackToTheCells) {
    const std::string xml = ReadAll(Exported(GridExport::ExportXml, "out.xml"));
    const std::string page = ReadAll(Exported(GridExport::ExportHtml, "out.htm"));
    EXPECT_NE(xml.find("<sheet rows=\"4\" cols=\"3\">"), std::string::npos);
    EXPECT_NE(page.find("<meta charset=\"utf-8\" />"), std::string::npos);
    Markup cells, tds;
    for (const auto& row : Sample) {
        cells.emplace_back();
        tds.emplace_back();
        for (std::size_t c = 0; c < row.size(); ++c) {
            if (!row[c].empty()) cells.back().emplace_back(std::to_string(c + 1), row[c]);
            tds.back().emplace_back(CellNumber(row[c]) ? "n" : "", row[c]);
        }
    }
    cells[3][2].second = tds[3][2].second = "bell\uFFFD";
    EXPECT_EQ(ParseMarkup(xml, "row", "cell", "col"), cells);
    EXPECT_EQ(ParseMarkup(page, "tr", "td", "class"), tds);
}

TEST_F(Export, PdfShowsTheCellTextsOnAsManyPagesAsTheyNeed) {
    auto pdf = PdfText(Exported(GridExport::ExportPdf, "out.pdf"));
    ASSERT_TRUE(pdf.has_value());
    for (const char* expected : {"A + B =", "0.333333333333333", "-2.5", "1E-05", "say \"hi\", ok",
                                 "<b>&amp;</b>, 1,5", "Ünïcödé €"}) {
        EXPECT_NE(pdf->first.find(expected), std::string::npos) << expected;
    }
    EXPECT_EQ(pdf->first.find("Head"), std::string::npos);  // headings are not exported
    EXPECT_EQ(pdf->second, 1);

    // More rows and columns than a page holds: every page holds exactly the texts of the
    // rows and columns its caption names, and together the pages hold every text.
    Table table(250, std::vector<std::string>(30));
    for (std::size_t r = 0; r < table.size(); ++r)
        for (std::size_t c = 0; c < table[r].size(); ++c)
            table[r][c] = std::to_string(r * 1000 + c) + ".25";
    Fill(grid_, table);
    pdf = PdfText(Exported(GridExport::ExportPdf, "big.pdf"));
    ASSERT_TRUE(pdf.has_value());
    EXPECT_GE(pdf->second, 12);
    std::set<std::string> seen;
    std::istringstream pages(pdf->first);
    for (std::string page; std::getline(pages, page, '\f') && !page.empty();) {
        const std::size_t dash = page.find("–"), comma = page.find(", columns ");
        ASSERT_TRUE(page.starts_with("Rows ") && dash < comma) << page.substr(0, 60);
        const std::size_t firstRow = std::stoul(page.substr(5)) - 1;
        const std::size_t lastRow = std::stoul(page.substr(dash + 3)) - 1;
        const std::size_t firstCol = std::stoul(page.substr(comma + 10)) - 1;
        const std::size_t lastCol = std::stoul(page.substr(page.find("–", comma) + 3)) - 1;
        std::set<std::string> expected;
        for (std::size_t r = firstRow; r <= lastRow; ++r)
            for (std::size_t c = firstCol; c <= lastCol; ++c)
                expected.insert(table[r][c]);
        std::istringstream words(page.substr(page.find('\n')));
        const std::set<std::string> shown{std::istream_iterator<std::string>(words), {}};
        EXPECT_EQ(shown, expected) << page.substr(0, page.find('\n'));
        seen.insert(shown.begin(), shown.end());
    }
    EXPECT_EQ(seen.size(), table.size() * table[0].size());
}

// The grid lines that poppler draws on a page: lines as long as at least half the longest
// one, counted across and down (a line a pixel or two thick counts once).
std::pair<int, int> GridLines(const QImage& page) {
    auto count = [&](int lines, int length, auto dark) {
        std::vector<int> longest(std::size_t(lines), 0);
        for (int i = 0; i < lines; ++i)
            for (int j = 0, run = 0; j < length; ++j)
                longest[std::size_t(i)] =
                    std::max(longest[std::size_t(i)], run = dark(i, j) ? run + 1 : 0);
        const int threshold = *std::max_element(longest.begin(), longest.end()) / 2;
        int found = 0;
        for (int i = 0; i < lines; ++i)
            found += longest[std::size_t(i)] >= threshold &&
                     (i == 0 || longest[std::size_t(i) - 1] < threshold);
        return found;
    };
    auto dark = [&](int x, int y) { return qGray(page.pixel(x, y)) < 240; };
    return {count(page.height(), page.width(), [&](int y, int x) { return dark(x, y); }),
            count(page.width(), page.height(), dark)};
}

// Pages of different shapes (a last page with fewer rows, bands with fewer or wider columns)
// each get a grid of their own rows and columns, as their captions name them.
TEST_F(Export, PdfPagesHaveTheGridOfTheirOwnRowsAndColumns) {
    Table table(45, std::vector<std::string>(9));
    for (std::size_t r = 0; r < table.size(); ++r)
        for (std::size_t c = 0; c < table[r].size(); ++c)
            table[r][c] = std::to_string(r) + std::string(4 + 6 * c, '7');
    Fill(grid_, table);
    const QString path = Exported(GridExport::ExportPdf, "shapes.pdf");
    const auto pdf = PdfText(path);
    ASSERT_TRUE(pdf.has_value());
    QProcess render;
    render.start(QStringLiteral("pdftoppm"), {QStringLiteral("-r"), QStringLiteral("100"),
                                              QStringLiteral("-gray"), path, Path("page")});
    ASSERT_TRUE(render.waitForFinished(120000) && render.exitCode() == 0);
    const QStringList pages = QDir(dir_.path()).entryList({QStringLiteral("page-*.pgm")});
    ASSERT_EQ(pages.size(), pdf->second);
    ASSERT_GE(pages.size(), 4);

    const QRegularExpression caption(
        QStringLiteral("Rows (\\d+)\u2013(\\d+), columns (\\d+)\u2013(\\d+)"));
    QRegularExpressionMatchIterator captions =
        caption.globalMatch(QString::fromStdString(pdf->first));
    std::set<std::pair<int, int>> shapes;
    for (const QString& page : pages) {
        ASSERT_TRUE(captions.hasNext()) << page.toStdString();
        const QRegularExpressionMatch names = captions.next();
        const int rows = names.captured(2).toInt() - names.captured(1).toInt() + 1;
        const int cols = names.captured(4).toInt() - names.captured(3).toInt() + 1;
        shapes.emplace(rows, cols);
        EXPECT_EQ(GridLines(QImage(dir_.filePath(page))), std::pair(rows + 1, cols + 1))
            << page.toStdString() << ": " << names.captured(0).toStdString();
    }
    EXPECT_GE(shapes.size(), 4u);
}

// Texts in other scripts, and a text too wide for a page, keep their characters; every font
// the file uses is embedded, as a subset of the glyphs it needs.
TEST_F(Export, PdfEmbedsTheFontsOfEveryScript) {
    Fill(grid_, {{"Ελληνικά кириллица", "12.5"}, {"עברית", std::string(300, 'w') + " end"}});
    const QString path = Exported(GridExport::ExportPdf, "scripts.pdf");
    const auto pdf = PdfText(path);
    ASSERT_TRUE(pdf.has_value());
    for (const char* expected : {"Ελληνικά кириллица", "12.5", "wwwwwwwwww"})
        EXPECT_NE(pdf->first.find(expected), std::string::npos) << expected;
    QProcess fonts;
    fonts.start(QStringLiteral("pdffonts"), {path});
    ASSERT_TRUE(fonts.waitForFinished(60000));
    const QStringList lines =
        QString::fromUtf8(fonts.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    ASSERT_GT(lines.size(), 2);
    for (qsizetype i = 2; i < lines.size(); ++i)  // after the two heading lines
        EXPECT_TRUE(lines[i].contains(QRegularExpression(R"(\+.*\s+yes\s+yes\s+yes\s)")))
            << lines[i].toStdString();
}

TEST_F(Export, EmptyGridGivesValidEmptyFiles) {
    grid_.SetRows(1);  // the headings only
    EXPECT_TRUE(ReadXls(Exported(GridExport::ExportExcel, "e.xls").toStdString()).opened);
    EXPECT_EQ(ReadXls(Path("e.xls").toStdString()).rows, 0u);
    EXPECT_EQ(ReadAll(Exported(GridExport::ExportCsv, "e.csv")), "");
    EXPECT_TRUE(ParseMarkup(ReadAll(Exported(GridExport::ExportXml, "e.xml")), "row", "cell", "col")
                    .empty());
    EXPECT_TRUE(ParseMarkup(ReadAll(Exported(GridExport::ExportHtml, "e.htm")), "tr", "td", "class")
                    .empty());
    EXPECT_TRUE(PdfText(Exported(GridExport::ExportPdf, "e.pdf")).has_value());
}

TEST_F(Export, WorkbookBeyondOneWorksheetContinuesOnTheNext) {
    for (const auto& [row, col] : {std::pair{65537, 1}, std::pair{1, 257}}) {
        GridModel grid;
        grid.SetCellText(row, col, QStringLiteral("x"));
        ASSERT_TRUE(GridExport::ExportExcel(grid, Path("wide.xls")));
        const XlsSheet second = ReadXls(Path("wide.xls").toStdString(), 0, 1);
        EXPECT_EQ(second.sheetCount, 2u);
        EXPECT_EQ(second.At(0, 0).text, "x");
    }
}

struct Format {
    const char* name;
    Exporter exporter;
};

class ExportFailure : public Export, public ::testing::WithParamInterface<Format> {};

// Places that cannot be written answer false. Things that are not ordinary files answer
// false and stay what they were: a pipe, a socket, a device (where the system lets us make
// one) and a link to one of them.
TEST_P(ExportFailure, UnwritablePlacesAndTargetsThatAreNoFilesAnswerFalse) {
    WriteText(Path("plain"), "");
    const Exporter exporter = GetParam().exporter;
    for (const QString& place : {QString(), Path("missing/out"), Path("plain/out"), dir_.path()})
        EXPECT_FALSE(exporter(grid_, place)) << place.toStdString();

    const std::string fifo = Path("fifo").toStdString();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string socketPath = Path("socket").toStdString();
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(socketPath.size(), sizeof(address.sun_path));
    socketPath.copy(address.sun_path, socketPath.size());
    ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_TRUE(QFile::link(Path("fifo"), Path("link")));
    const std::string device = Path("null").toStdString();
    static_cast<void>(mknod(device.c_str(), S_IFCHR | 0600, makedev(1, 3)));  // may be refused

    for (const char* name : {"fifo", "socket", "link", "null"}) {
        struct stat before {};
        if (lstat(Path(name).toStdString().c_str(), &before) != 0) continue;
        EXPECT_FALSE(exporter(grid_, Path(name))) << name;
        struct stat after {};
        ASSERT_EQ(lstat(Path(name).toStdString().c_str(), &after), 0) << name;
        EXPECT_EQ(after.st_mode, before.st_mode) << name;
        EXPECT_EQ(after.st_ino, before.st_ino) << name;
    }
    close(fd);
}

// A file size limit makes writes fail as on a full disk. (Not /dev/full: run as root,
// QSaveFile would put a plain file in place of the device.) The old file stays as it was,
// and no temporary file is left behind.
TEST_P(ExportFailure, FullDiskAnswersFalseAndKeepsTheOldFile) {
    Fill(grid_, Table(3000, std::vector<std::string>(20, "text 0.333333333333333")));
    WriteText(Path("out"), "previous");
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limited{64 * 1024, saved.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    const bool written = GetParam().exporter(grid_, Path("out"));
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previousHandler);
    EXPECT_FALSE(written);
    EXPECT_EQ(ReadAll(Path("out")), "previous");
    EXPECT_EQ(QDir(dir_.path()).entryList(QDir::Files), QStringList{QStringLiteral("out")});
}

INSTANTIATE_TEST_SUITE_P(Formats, ExportFailure,
                         ::testing::Values(Format{"Excel", GridExport::ExportExcel},
                                           Format{"Html", GridExport::ExportHtml},
                                           Format{"Pdf", GridExport::ExportPdf},
                                           Format{"Csv", GridExport::ExportCsv},
                                           Format{"Xml", GridExport::ExportXml}),
                         ByName());

}  // namespace
