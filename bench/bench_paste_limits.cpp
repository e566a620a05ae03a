// What real clipboards and careless hands deliver, against a small grid. Goals: a 5 KB web
// page table of huge spans pastes in well under a second; four pastes of a 2000 x 2000
// table into a 3 x 3 grid grow the process by less than 100 MB in all; a cell of a million
// characters repaints in a few milliseconds. On the window's grid of A, which grows to hold
// a paste: a 1000 x 1000 printout pastes well under a second, and the web page of huge spans
// is refused within a small fraction of one, without holding its millions of empty cells.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTableView>
#include <QUndoStack>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "GridModel.h"
#include "GridSelection.h"
#include "GridWidget.h"
#include "RecordingPlatform.h"
#include "frmMatrix.h"

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
QByteArray HugeSpans() {
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
    return html;
}

void BM_PasteHugeSpans(benchmark::State& state) {
    const QByteArray html = HugeSpans();
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

// The shown main window as it starts, A at 3 x 3; a paste at A's first cell runs the
// window's own paste path (Ctrl+V and the menu's Paste take the same one).
struct StartedWindow {
    RecordingPlatform platform;
    frmMatrix window{platform};
    StartedWindow() {
        window.show();
        QCoreApplication::processEvents();
        window.Grid1->View().setCurrentIndex(window.Grid1->View().model()->index(0, 0));
    }
    bool PasteIntoA() {
        const bool pasted = window.Grid1->Selection().Paste();
        QCoreApplication::processEvents();
        return pasted;
    }
};

// A 1000 x 1000 matrix printed in columns aligned by blanks, as Octave shows it; A grows to
// hold it through its dimension boxes.
void BM_PrintoutGrowsA(benchmark::State& state) {
    constexpr int kSide = 1000;
    std::string text = "A =\n\n";
    char entry[32];
    for (int row = 0; row < kSide; ++row) {
        for (int col = 0; col < kSide; ++col) {
            std::snprintf(entry, sizeof entry, "%11.4f", row * 1.25 - col / 3.0);
            text += entry;
        }
        text += '\n';
    }
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
    for (auto _ : state) {
        state.PauseTiming();
        auto started = std::make_unique<StartedWindow>();
        state.ResumeTiming();
        benchmark::DoNotOptimize(started->PasteIntoA());
        state.PauseTiming();
        if (started->window.Grid1->Rows() != kSide + 1) state.SkipWithError("A did not grow");
        started.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

// The web page of huge spans pasted into A: refused, with one message.
void BM_HugeSpansIntoA(benchmark::State& state) {
    HugeSpans();
    StartedWindow started;
    const double before = ResidentMb();
    for (auto _ : state)
        benchmark::DoNotOptimize(started.PasteIntoA());
    state.counters["grown_MB"] = ResidentMb() - before;
    state.counters["messages"] = started.platform.Count(QStringLiteral("MessageBox"));
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
BENCHMARK(BM_PrintoutGrowsA)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_HugeSpansIntoA)->Unit(benchmark::kMillisecond)->Iterations(5);
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
