// The largest report the result sheet is asked for: "A+B" of two 1000 x 1000 matrices,
// three million numbers written into a fresh sheet. Beside it, the same numbers only
// turned into text, so the sheet's own share of the time shows as a ratio.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <memory>
#include <random>

#include "GridModel.h"
#include "NumberText.h"
#include "Operands.h"
#include "ResultSheet.h"

namespace {

constexpr std::int16_t kOrder = 1000;

struct SumOperands {
    Operands window;
    Matrix A, B, C;
    SumOperands() {
        std::mt19937_64 random(20240613);
        std::uniform_real_distribution<double> value(-1000.0, 1000.0);
        A.Resize(kOrder, kOrder);
        B.Resize(kOrder, kOrder);
        C.Resize(kOrder, kOrder);
        for (std::int16_t i = 1; i <= kOrder; ++i) {
            for (std::int16_t j = 1; j <= kOrder; ++j) {
                A.At(i, j) = value(random);
                B.At(i, j) = value(random);
                C.At(i, j) = A.At(i, j) + B.At(i, j);
            }
        }
        window.RowsB = kOrder;
        window.ColsB = kOrder;
    }
};

const SumOperands& Operands1000() {
    static const SumOperands operands;
    return operands;
}

constexpr double kCellsWritten = 3.0 * kOrder * kOrder;

void BM_ShowSumResult(benchmark::State& state) {
    const SumOperands& op = Operands1000();
    std::size_t bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto sheet = std::make_unique<GridModel>();
        state.ResumeTiming();
        ResultSheet(*sheet, op.window).ShowSumResult(kOrder, kOrder, op.A, op.B, op.C);
        state.PauseTiming();
        bytes = sheet->StorageBytes();
        sheet.reset();
        state.ResumeTiming();
    }
    state.counters["bytes_per_cell"] = double(bytes) / kCellsWritten;
    state.counters["cells_per_s"] =
        benchmark::Counter(kCellsWritten, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_ShowSumResult)->Unit(benchmark::kMillisecond)->UseRealTime();

// Only the number-to-text work of the same report.
void BM_FormatSumNumbers(benchmark::State& state) {
    const SumOperands& op = Operands1000();
    char buffer[NumberTextCapacity];
    for (auto _ : state) {
        std::size_t total = 0;
        for (const Matrix* m : {&op.A, &op.B, &op.C}) {
            for (std::int16_t i = 1; i <= kOrder; ++i) {
                const double* row = m->RowData(i);
                for (int j = 0; j < kOrder; ++j)
                    total += NumberToChars(row[j], buffer);
            }
        }
        benchmark::DoNotOptimize(total);
    }
    state.counters["cells_per_s"] =
        benchmark::Counter(kCellsWritten, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_FormatSumNumbers)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    // The sheet posts its change notifications to the event queue of an application.
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
