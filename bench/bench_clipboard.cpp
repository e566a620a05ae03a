// Copy and paste of a 1000 x 1000 block of number texts through the system clipboard
// (offscreen platform), with the grid's undo history recording the paste as the user's
// edits do, and 1000 x 1000 printouts of other programs pasted as text. The goal for
// pasting is well under a second.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QUndoStack>
#include <algorithm>
#include <memory>
#include <string>

#include "DelimitedText.h"
#include "GridModel.h"
#include "GridSelection.h"
#include "GridWidget.h"
#include "PlainText.h"

namespace {

constexpr int kSide = 1000;
const QRect kBlock(1, 1, kSide, kSide);

void FillNumbers(GridModel& model) {
    model.SetRows(kSide + 1);
    model.SetCols(kSide + 1);
    for (int row = 1; row <= kSide; ++row)
        for (int col = 1; col <= kSide; ++col)
            model.SetCellText(row, col, std::to_string(row * 1.25 - col / 3.0));
    model.FlushNotifications();
}

void PutBlockOnClipboard() {
    GridModel source;
    FillNumbers(source);
    GridSelection(source, kBlock, nullptr).Copy();
}

void BM_Copy(benchmark::State& state) {
    GridModel model;
    FillNumbers(model);
    for (auto _ : state)
        benchmark::DoNotOptimize(GridSelection(model, kBlock, nullptr).Copy());
    state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

// Pastes what the clipboard holds into a freshly shown grid: reading the clipboard, parsing,
// the undo step and the view's update are all counted.
void TimePastesIntoShownGrid(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto grid = std::make_unique<GridWidget>();
        grid->SetRows(kSide + 1);
        grid->SetCols(kSide + 1);
        grid->show();
        QCoreApplication::processEvents();
        state.ResumeTiming();
        if (!GridSelection(grid->Model(), kBlock, &grid->UndoStack()).Paste() ||
            grid->Model().CellText(kSide, kSide).isEmpty())
            state.SkipWithError("the paste did not fill the block");
        QCoreApplication::processEvents();
        state.PauseTiming();
        grid.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

void BM_PasteIntoGrid(benchmark::State& state) {
    PutBlockOnClipboard();
    TimePastesIntoShownGrid(state);
}

// Undoing the paste writes the million old texts back.
void BM_UndoPaste(benchmark::State& state) {
    PutBlockOnClipboard();
    GridModel model;
    model.SetRows(kSide + 1);
    model.SetCols(kSide + 1);
    QUndoStack undo;
    GridSelection(model, kBlock, &undo).Paste();
    for (auto _ : state) {
        undo.undo();
        model.FlushNotifications();
        state.PauseTiming();
        undo.redo();
        state.ResumeTiming();
    }
}

void BM_ParseTsv(benchmark::State& state) {
    PutBlockOnClipboard();
    const std::string text = QGuiApplication::clipboard()->text().toStdString();
    for (auto _ : state)
        benchmark::DoNotOptimize(TableText::ParseTsv(text));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// Plain text without a spreadsheet's HTML beside it goes through the recognition of printed
// matrices first: the same block as tab-separated text, and as columns aligned by blanks.
void BM_ParsePlainTextTsv(benchmark::State& state) {
    PutBlockOnClipboard();
    const std::string text = QGuiApplication::clipboard()->text().toStdString();
    for (auto _ : state)
        benchmark::DoNotOptimize(TableText::ParsePlainText(text));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void BM_ParsePlainTextBlankColumns(benchmark::State& state) {
    PutBlockOnClipboard();
    std::string text = QGuiApplication::clipboard()->text().toStdString();
    for (char& c : text)
        if (c == '\t') c = ' ';
    for (auto _ : state)
        benchmark::DoNotOptimize(TableText::ParsePlainText(text));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// The same numbers as other programs print them, pasted as plain text into a shown grid:
// a pandas frame (to_string(): numbered headings and rows), semicolon-separated text with
// decimal commas, and R's data frame (V1 V2 ... headings, rows numbered from 1).
enum Printout { kPandas, kSemicolons, kRFrame };

std::string PrintoutText(Printout kind) {
    std::string text;
    if (kind != kSemicolons) {
        text += "    ";
        for (int col = 0; col < kSide; ++col)
            text +=
                (kind == kPandas ? " " : " V") + std::to_string(kind == kPandas ? col : col + 1);
        text += '\n';
    }
    for (int row = 0; row < kSide; ++row) {
        if (kind != kSemicolons) text += std::to_string(kind == kPandas ? row : row + 1);
        for (int col = 0; col < kSide; ++col) {
            std::string number = std::to_string(row * 1.25 - col / 3.0);
            if (kind == kSemicolons) std::replace(number.begin(), number.end(), '.', ',');
            if (kind != kSemicolons || col > 0) text += kind == kSemicolons ? ';' : ' ';
            text += number;
        }
        text += '\n';
    }
    return text;
}

void BM_PastePrintout(benchmark::State& state) {
    const auto kind = static_cast<Printout>(state.range(0));
    QGuiApplication::clipboard()->setText(QString::fromStdString(PrintoutText(kind)));
    state.SetLabel(kind == kPandas ? "pandas" : kind == kSemicolons ? "semicolons" : "R frame");
    TimePastesIntoShownGrid(state);
}

BENCHMARK(BM_Copy)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_PasteIntoGrid)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_UndoPaste)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ParseTsv)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ParsePlainTextTsv)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ParsePlainTextBlankColumns)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_PastePrintout)
    ->Arg(kPandas)
    ->Arg(kSemicolons)
    ->Arg(kRFrame)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
