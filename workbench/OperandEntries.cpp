#include "OperandEntries.h"

#include <atomic>

#include "Checked.h"
#include "GridModel.h"
#include "NumericValue.h"
#include "Parallel.h"
#include "RuntimeError.h"

namespace {

// One cell at a time through the checked access, as the loop reads: errors 9 and 6 come at
// the element where they arise.
void ReadOneByOne(const GridModel& grid, std::int16_t rows, std::int16_t cols, Matrix& m) {
    Checked::For(1, rows, [&](std::int16_t i) {
        Checked::For(1, cols,
                     [&](std::int16_t j) { m.At(i, j) = NumericValue(grid.CellUtf8(i, j)); });
    });
}

}  // namespace

void ReadOperandEntries(const GridModel& grid, std::int16_t rows, std::int16_t cols, Matrix& m,
                        TypedTexts* typed, char separator) {
    if (typed != nullptr) typed->Forget();
    // Counts that would overflow a counter, or a matrix too small, take the checked loop.
    if (rows < 1 || cols < 1 || rows == 32767 || cols == 32767 || !m.Covers(rows, cols)) {
        ReadOneByOne(grid, rows, cols, m);
        return;
    }
    TypedTexts noted;
    if (typed != nullptr) {
        noted.wordsPerRow = (std::size_t(cols) + 63) / 64;
        noted.bits.assign(std::size_t(rows) * noted.wordsPerRow, 0);
    }
    std::atomic<bool> failed{false};
    const double work = 300.0 * double(rows) * double(cols);  // a cell costs ~100 ns
    Parallel::ForRange(0, rows, 1, work, [&](std::ptrdiff_t r0, std::ptrdiff_t r1) {
        try {
            for (std::ptrdiff_t r = r0; r < r1; ++r) {
                double* row = m.RowData(std::int16_t(r + 1));
                std::uint64_t* bits = noted.bits.empty()
                                          ? nullptr
                                          : noted.bits.data() + std::size_t(r) * noted.wordsPerRow;
                for (std::int16_t j = 1; j <= cols; ++j) {
                    bool numberText = false;
                    row[j - 1] = NumericValue(grid.CellUtf8(int(r + 1), j), separator, numberText);
                    if (bits != nullptr && numberText)
                        bits[std::size_t(j - 1) / 64] |= std::uint64_t(1) << ((j - 1) % 64);
                }
            }
        } catch (const RuntimeError&) {
            failed = true;  // a text beyond the range of a double
        }
    });
    // Read again in order, so that the error comes at its own cell.
    if (failed) {
        ReadOneByOne(grid, rows, cols, m);
        return;
    }
    if (typed != nullptr) {
        noted.grid = &grid;
        noted.separator = separator;
        noted.rows = rows;
        noted.cols = cols;
        *typed = std::move(noted);
    }
}
