#include "ResultSheet.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <vector>

#include "Checked.h"
#include "GridModel.h"
#include "NumberText.h"
#include "Parallel.h"

// Positions on the sheet are 16-bit counts: every sum and product that yields a row, a
// column or a count is checked, and leaving the range raises run-time error 6 before the
// cell concerned is touched.

namespace {

using Count = std::int16_t;

Count Add(long long a, long long b) {
    return Checked::Count(Checked::Count(a) + b);
}
Count Times(long long a, long long b) {
    return Checked::Count(Checked::Count(a) * b);
}

constexpr std::string_view kFailed = "Failed.";

// Writes cells onto the sheet one at a time, in the order the report reads.
class Writer {
public:
    Writer(GridModel& sheet, char separator, const Operands& window)
        : sheet_(sheet), separator_(separator), window_(window) {}

    // Step 2 and 3 of every report: grows the sheet (never shrinks it) to its needs. The
    // column need is worked out only once the rows have grown.
    template <class RowNeed, class ColNeed>
    void Grow(RowNeed rowNeed, ColNeed colNeed) {
        const Count rows = rowNeed();
        if (sheet_.Rows() < rows) sheet_.SetRows(rows);
        const Count cols = colNeed();
        if (sheet_.Cols() < cols) sheet_.SetCols(cols);
    }

    void Text(Count row, Count col, std::string_view text) { sheet_.SetCellText(row, col, text); }

    void Number(Count row, Count col, double value) {
        char buffer[NumberTextCapacity];
        const std::size_t length = NumberToChars(value, buffer, separator_);
        sheet_.SetCellText(row, col, std::string_view(buffer, length));
    }

    void Integer(Count row, Count col, long long value) {
        char buffer[24];
        const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
        sheet_.SetCellText(row, col, std::string_view(buffer, std::size_t(end - buffer)));
    }

    // The block under a caption in row `caption`: entry (i, j) of m goes to cell
    // (caption + i, j + 1), row by row.
    void Block(Count caption, Count rows, Count cols, const Matrix& m) {
        if (rows < 1 || cols < 1) return;
        if (caption + rows <= 32767 && cols < 32767 && m.Covers(rows, cols)) {
            // No position can overflow and every element exists: the checks of the loop
            // below would all pass, so they are made once here.
            FastBlock(caption, rows, cols, m);
            return;
        }
        Checked::For(1, rows, [&](Count i) {
            Checked::For(1, cols, [&](Count j) {
                const Count row = Add(caption, i);
                const Count col = Add(j, 1);
                Number(row, col, m.At(i, j));
            });
        });
    }

    void TopRow(Count row) { sheet_.SetTopRow(row); }

private:
    // The texts of a few rows at a time are formatted by all cores, packed as the sheet keeps
    // them, and go onto the sheet a row at a time, in order; while one batch goes onto the
    // sheet, the workers format the next.
    void FastBlock(int caption, int rows, int cols, const Matrix& m) {
        constexpr int kRowsPerBatch = 64;
        const int batchRows = std::min(rows, kRowsPerBatch);
        std::vector<GridModel::PackedRow> held[2] = {
            std::vector<GridModel::PackedRow>(std::size_t(batchRows)),
            std::vector<GridModel::PackedRow>(std::size_t(batchRows))};
        const auto size = [&](std::ptrdiff_t batch) {
            return std::min<std::ptrdiff_t>(kRowsPerBatch, rows - batch * kRowsPerBatch);
        };
        const TypedTexts* typed = TypedFor(m, rows, cols);
        Parallel::Pipeline((rows + kRowsPerBatch - 1) / kRowsPerBatch, size,
                           200.0 * double(cols),  // a text costs ~100 ns
                           [&](std::ptrdiff_t batch, std::ptrdiff_t r) {
                               FormatRow(held[batch % 2][std::size_t(r)],
                                         int(batch * kRowsPerBatch + r + 1), cols, m, typed);
                           },
                           [&](std::ptrdiff_t batch) {
                               const int above = caption + int(batch * kRowsPerBatch);
                               for (int r = 0; r < int(size(batch)); ++r)
                                   sheet_.SetRowTexts(above + r + 1, 2,
                                                      held[batch % 2][std::size_t(r)]);
                           });
    }

    // Row `row` of m, its first `cols` entries; a typed text as it stands.
    void FormatRow(GridModel::PackedRow& texts, int row, int cols, const Matrix& m,
                   const TypedTexts* typed) const {
        const double* source = m.RowData(Count(row));
        texts.Clear();
        for (int j = 0; j < cols; ++j) {
            if (typed != nullptr && typed->Typed(row, j + 1)) {
                const std::string_view text = typed->grid->CellUtf8(row, j + 1);
                texts.Commit(text.copy(texts.Reserve(text.size()), text.size()));
            } else {
                texts.Commit(
                    NumberToChars(source[j], texts.Reserve(NumberTextCapacity), separator_));
            }
        }
    }

    // The typed texts of the window's operand that m is, when they are known for every entry
    // of a block of rows x cols.
    const TypedTexts* TypedFor(const Matrix& m, int rows, int cols) const {
        const TypedTexts* typed = &m == &window_.MatA   ? &window_.TypedA
                                  : &m == &window_.MatB ? &window_.TypedB
                                                        : nullptr;
        if (typed == nullptr || typed->grid == nullptr || typed->separator != separator_ ||
            rows > typed->rows || cols > typed->cols)
            return nullptr;
        return typed;
    }

    GridModel& sheet_;
    char separator_;
    const Operands& window_;
};

}  // namespace

ResultSheet::ResultSheet(GridModel& sheet, const Operands& window, char decimalSeparator)
    : sheet_(sheet), window_(window), separator_(decimalSeparator) {}

void ResultSheet::ClearResultSheet() {
    // The cells that stay are emptied before the sheet shrinks: it then holds no text at
    // all, and its text storage goes back to the heap, where the report that follows finds
    // it (or, when the reports have become small, the system gets it back).
    const int keptRows = std::min(sheet_.Rows(), 31) - 1;
    const int keptCols = std::min(sheet_.Cols(), 11) - 1;
    for (int i = 1; i <= keptRows; ++i)
        for (int j = 1; j <= keptCols; ++j)
            sheet_.SetCellText(i, j, std::string_view());
    sheet_.SetRows(31);
    sheet_.SetCols(11);
    // The bounds are read back from the grid, the columns' at the start of every row.
    const int rows = sheet_.Rows() - 1;
    for (int i = 1; i <= rows; ++i) {
        const int cols = sheet_.Cols() - 1;
        for (int j = 1; j <= cols; ++j)
            sheet_.SetCellText(i, j, std::string_view());
    }
}

namespace {

// The three two-operand reports differ only in the result's caption. The B block is
// bounded by the window's B counts, and the result is placed by the window's B rows.
void ShowTwoOperandResult(GridModel& sheet, const Operands& window, char separator,
                          std::string_view caption, Count rA, Count cA, const Matrix& A,
                          const Matrix& B, const Matrix& C) {
    Writer out(sheet, separator, window);
    out.Grow([&] { return Add(Times(3, rA), 6); }, [&] { return Add(cA, 2); });
    out.Text(1, 1, "A =");
    out.Block(1, rA, cA, A);
    const Count rB = window.RowsB;
    const Count cB = window.ColsB;
    const Count bCaption = Add(rA, 3);
    out.Text(bCaption, 1, "B =");
    out.Block(bCaption, rB, cB, B);
    const Count resultCaption = Add(Add(rA, rB), 5);
    out.Text(resultCaption, 1, caption);
    out.Block(resultCaption, rA, cA, C);
    out.TopRow(Add(Add(rA, rB), 5));
}

// The two decomposition failures: A, then the two factors' captions each with "Failed."
// right under it.
void ShowFactorsFailed(GridModel& sheet, const Operands& window, char separator,
                       std::string_view first, std::string_view second, Count rows, Count cols,
                       const Matrix& A) {
    Writer out(sheet, separator, window);
    out.Grow([&] { return Add(Times(3, rows), 6); }, [&] { return Add(rows, 2); });
    out.Text(1, 1, "A =");
    out.Block(1, rows, cols, A);
    out.TopRow(Add(rows, 3));
    out.Text(Add(rows, 3), 1, first);
    out.Text(Add(rows, 4), 2, kFailed);
    out.Text(Add(rows, 6), 1, second);
    out.Text(Add(rows, 7), 2, kFailed);
}

}  // namespace

void ResultSheet::ShowSumResult(std::int16_t rows, std::int16_t cols, const Matrix& A,
                                const Matrix& B, const Matrix& C) {
    ClearResultSheet();
    ShowTwoOperandResult(sheet_, window_, separator_, "A + B =", rows, cols, A, B, C);
}

void ResultSheet::ShowDifferenceResult(std::int16_t rows, std::int16_t cols, const Matrix& A,
                                       const Matrix& B, const Matrix& C) {
    ClearResultSheet();
    ShowTwoOperandResult(sheet_, window_, separator_, "A - B =", rows, cols, A, B, C);
}

void ResultSheet::ShowElementwiseProductResult(std::int16_t rows, std::int16_t cols,
                                               const Matrix& A, const Matrix& B, const Matrix& C) {
    ClearResultSheet();
    ShowTwoOperandResult(sheet_, window_, separator_, "A .* B =", rows, cols, A, B, C);
}

void ResultSheet::ShowScalarMultipleResult(std::int16_t rows, std::int16_t cols, double c,
                                           const Matrix& /*A: the window's MatA is shown*/,
                                           const Matrix& C) {
    ClearResultSheet();
    Writer out(sheet_, separator_, window_);
    out.Grow([&] { return Add(Times(2, rows), 4); }, [&] { return Add(cols, 2); });
    out.Text(1, 1, "A =");
    out.Block(1, rows, cols, window_.MatA);
    // The view scrolls to the constant, before anything below it is written.
    out.TopRow(Add(rows, 3));
    out.Text(Add(rows, 3), 1, "c =");
    out.Number(Add(rows, 4), 2, c);
    const Count resultCaption = Add(rows, 6);
    out.Text(resultCaption, 1, "c * A =");
    out.Block(resultCaption, rows, cols, C);
}

void ResultSheet::ShowTransposeResult(std::int16_t rows, std::int16_t cols, const Matrix& A,
                                      const Matrix& T) {
    ClearResultSheet();
    Writer out(sheet_, separator_, window_);
    // The rows are sized by A's row count twice, although the transpose has cols rows.
    out.Grow([&] { return Add(Times(2, rows), 4); }, [&] { return Add(std::max(rows, cols), 2); });
    out.Text(1, 1, "A =");
    out.Block(1, rows, cols, A);
    const Count caption = Add(rows, 2);
    out.Text(caption, 1, "A' =");
    out.Block(caption, cols, rows, T);
    out.TopRow(Add(rows, 2));
}

void ResultSheet::ShowProductResult(std::int16_t rowsA, std::int16_t colsA, std::int16_t colsB,
                                    const Matrix& A, const Matrix& B, const Matrix& C) {
    ClearResultSheet();
    Writer out(sheet_, separator_, window_);
    out.Grow([&] { return Add(Times(3, rowsA), 6); }, [&] { return Add(colsA, 2); });
    out.Text(1, 1, "A =");
    out.Block(1, rowsA, colsA, A);
    const Count bCaption = Add(rowsA, 3);
    out.Text(bCaption, 1, "B =");
    out.Block(bCaption, colsA, colsB, B);
    // The product's caption is placed by the window's B rows, not by the B block written.
    const Count rB = window_.RowsB;
    const Count caption = Add(Add(rowsA, rB), 5);
    out.Text(caption, 1, "A * B =");
    out.Block(caption, rowsA, colsB, C);
    out.TopRow(Add(Add(rowsA, rB), 5));
}

void ResultSheet::ShowDeterminantResult(std::int16_t n, const Matrix& A, double det) {
    ClearResultSheet();
    Writer out(sheet_, separator_, window_);
    out.Grow([&] { return Add(n, 4); }, [&] { return Add(n, 2); });
    out.Text(1, 1, "A =");
    out.Block(1, n, n, A);
    out.Text(Add(n, 2), 1, "Det(A) =");
    out.Number(Add(n, 3), 2, det);
    out.TopRow(Add(n, 2));
}

void ResultSheet::ShowInverseResult(bool ok, std::int16_t n, const Matrix& A, const Matrix& Inv) {
    ClearResultSheet();
    Writer out(sheet_, separator_, window_);
    out.Grow([&] { return Add(Times(2, n), 4); }, [&] { return Add(n, 2); });
    out.Text(1, 1, "A =");
    out.Block(1, n, n, A);
    const Count caption = Add(n, 2);
    out.Text(caption, 1, "Inv(A) =");
    if (ok) {
        out.Block(caption, n, n, Inv);
    } else {
        out.Text(Add(n, 3), 2, kFailed);
    }
    out.TopRow(Add(n, 2));
}

void ResultSheet::ShowRankResult(std::int16_t rows, std::int16_t cols, const Matrix& A,
                                 std::int16_t rank) {
    ClearResultSheet();
    Writer out(sheet_, separator_, window_);
    out.Grow([&] { return Add(rows, 4); }, [&] { return Add(cols, 2); });
    out.Text(1, 1, "A =");
    out.Block(1, rows, cols, A);
    out.Text(Add(rows, 2), 1, "Rank(A) =");
    out.Integer(Add(rows, 3), 2, rank);
    out.TopRow(Add(rows, 2));
}

void ResultSheet::ShowLUResult(std::int16_t n, const Matrix& A, const Matrix& L, const Matrix& U) {
    ClearResultSheet();
    Writer out(sheet_, separator_, window_);
    out.Grow([&] { return Add(Times(3, n), 6); }, [&] { return Add(n, 2); });
    out.Text(1, 1, "A =");
    out.Block(1, n, n, A);
    // The view scrolls to the first factor before the factors are written.
    out.TopRow(Add(n, 3));
    const Count lCaption = Add(n, 3);
    out.Text(lCaption, 1, "L =");
    out.Block(lCaption, n, n, L);
    const Count uCaption = Add(Times(2, n), 5);
    out.Text(uCaption, 1, "U =");
    out.Block(uCaption, n, n, U);
}

void ResultSheet::ShowLUFailure(std::int16_t n, const Matrix& A, const Matrix& /*L*/,
                                const Matrix& /*U*/) {
    ClearResultSheet();
    ShowFactorsFailed(sheet_, window_, separator_, "L =", "U =", n, n, A);
}

void ResultSheet::ShowQRResult(std::int16_t m, std::int16_t p, const Matrix& A, const Matrix& R,
                               const Matrix& Q) {
    ClearResultSheet();
    Writer out(sheet_, separator_, window_);
    // Both needs come from the row count m: a wide A reaches past the columns asked for.
    out.Grow([&] { return Add(Times(3, m), 6); }, [&] { return Add(m, 2); });
    out.Text(1, 1, "A =");
    out.Block(1, m, p, A);
    out.TopRow(Add(m, 3));
    const Count rCaption = Add(m, 3);
    out.Text(rCaption, 1, "R =");
    out.Block(rCaption, m, p, R);
    const Count qCaption = Add(Times(2, m), 5);
    out.Text(qCaption, 1, "Q =");
    out.Block(qCaption, m, m, Q);
}

void ResultSheet::ShowQRFailure(std::int16_t m, std::int16_t p, const Matrix& A,
                                const Matrix& /*R*/, const Matrix& /*Q*/) {
    ClearResultSheet();
    ShowFactorsFailed(sheet_, window_, separator_, "R =", "Q =", m, p, A);
}
