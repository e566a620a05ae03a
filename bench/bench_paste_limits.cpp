// What real clipboards and careless hands deliver, against a small grid. Goals: a 5 KB web
// page table of huge spans pastes in well under a second; four pastes of a 2000 x 2000
// table into a 3 x 3 grid grow the process by less than 100 MB in all; a cell of a million
// characters repaints in a few milliseconds.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTableView>
#include <QUndoStack>
#include <fstream>
#include <memory>
#include <string>

#include "GridModel.h"
#include "GridSelection.h"
#include "GridWidget.h"

namespace {

// The resident size of the process, in MB.
double ResidentMb() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

// A grid of 3 x 3 data cells with its undo history, as the input grids start.
struct SmallGrid {
    GridModel model;
    QUndoStack undo;
    SmallGrid() {
        model.SetRows(4);
        model.SetCols(4);
    }
    bool Paste() { return GridSelection(model, QRect(1, 1, 1, 1), &undo).Paste(); }
};

// 40 cells spanning 1000 x 1000 each and 999 rows: about 5 KB, as a web page offers it
// (text/html only).
void BM_PasteHugeSpans(benchmark::State& state) {
    QByteArray html = "<table><tr>";
    for (int i = 0; i < 40; ++i)
        html += "<td colspan=1000 rowspan=1000>" + QByteArray::number(i) + "</td>";
    html += "</tr>";
    for (int i = 0; i < 999; ++i)
        html += "<tr>";
    html += "</table>";
    auto* mime = new QMimeData;
    mime->setHtml(QString::fromUtf8(html));
    QGuiApplication::clipboard()->setMimeData(mime);
    SmallGrid grid;
    for (auto _ : state)
        benchmark::DoNotOptimize(grid.Paste());
    state.counters["html_bytes"] = double(html.size());
}

// Four pastes of a 2000 x 2000 tab-separated table of numbers into a 3 x 3 grid, each a
// step of the undo history. The growth is measured from after the clipboard was filled.
void BM_FourLargePastesMemory(benchmark::State& state) {
    constexpr int kSide = 2000;
    std::string text;
    text.reserve(std::size_t(kSide) * kSide * 8);
    for (int row = 0; row < kSide; ++row) {
        for (int col = 0; col < kSide; ++col) {
            if (col > 0) text += '\t';
            text += std::to_string(row * 3 + col % 97);
        }
        text += '\n';
    }
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
    std::string().swap(text);
    double before = 0;
    double after = 0;
    for (auto _ : state) {
        SmallGrid grid;
        before = ResidentMb();
        for (int i = 0; i < 4; ++i)
            benchmark::DoNotOptimize(grid.Paste());
        after = ResidentMb();
    }
    state.counters["before_MB"] = before;
    state.counters["grown_MB"] = after - before;
}

// Repainting a shown grid whose first cell holds a million characters.
void BM_RepaintMillionCharacterCell(benchmark::State& state) {
    GridWidget grid;
    grid.SetRows(4);
    grid.SetCols(4);
    grid.SetCellText(1, 1, QString(1000000, QLatin1Char('x')));
    grid.resize(600, 400);
    grid.show();
    QCoreApplication::processEvents();
    QWidget* cells = grid.View().viewport();
    for (auto _ : state)
        benchmark::DoNotOptimize(cells->grab());
}

BENCHMARK(BM_PasteHugeSpans)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_FourLargePastesMemory)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_RepaintMillionCharacterCell)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
