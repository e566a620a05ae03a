// Each export of a 3,000,000-cell result sheet: 12,000 rows by 250 columns (the workbook
// holds at most 256 columns, so every format gets the same sheet) of number texts as the
// result writers produce them, 6 to 17 characters long. Goal: each export under 3 s, the
// PDF (some thousands of pages) under 5 s.
#include <benchmark/benchmark.h>

#include <QFileInfo>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <memory>

#include "GridModel.h"
#include "NumberText.h"
#include "ResultExport.h"
#include "WorkingMemory.h"

namespace {

constexpr int kRows = 12000;
constexpr int kCols = 250;

const GridModel& Sheet() {
    static const std::unique_ptr<GridModel> sheet = [] {
        auto grid = std::make_unique<GridModel>();
        grid->SetRows(kRows + 1);
        grid->SetCols(kCols + 1);
        char text[NumberTextCapacity];
        for (int r = 1; r <= kRows; ++r) {
            for (int c = 1; c <= kCols; ++c) {
                const double value = (r % 7 == 0) ? r * 10.0 + c : (r - c * 0.5) / 7.0;
                const std::size_t n = NumberToChars(value, text);
                grid->SetCellText(r, c, std::string_view(text, n));
            }
        }
        grid->FlushNotifications();
        return grid;
    }();
    return *sheet;
}

void RunExport(benchmark::State& state, Export::Format format, const char* name) {
    const GridModel& sheet = Sheet();
    QTemporaryDir dir;
    const QString path = dir.filePath(QString::fromLatin1(name));
    for (auto _ : state) {
        if (!ResultExport::WriteFile(sheet, format, '.', path))
            state.SkipWithError("export failed");
    }
    state.counters["MB"] = static_cast<double>(QFileInfo(path).size()) / 1e6;
    state.counters["cells"] = static_cast<double>(kRows) * kCols;
}

}  // namespace

#define EXPORT_BENCHMARK(Name, Kind, file)            \
    void BM_##Name(benchmark::State& state) {         \
        RunExport(state, Export::Format::Kind, file); \
    }                                                 \
    BENCHMARK(BM_##Name)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime()

EXPORT_BENCHMARK(ExportExcel, Workbook, "sheet.xls");
EXPORT_BENCHMARK(ExportHtml, WebPage, "sheet.htm");
EXPORT_BENCHMARK(ExportCsv, Csv, "sheet.csv");
EXPORT_BENCHMARK(ExportXml, Xml, "sheet.xml");
EXPORT_BENCHMARK(ExportPdf, Pdf, "sheet.pdf");

int main(int argc, char** argv) {
    WorkingMemory::Prepare();  // as kelvara's main() does
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);  // the PDF export needs fonts
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
