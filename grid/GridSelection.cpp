#include "GridSelection.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QUndoStack>
#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "ClipboardFormats.h"
#include "GridEditCommands.h"
#include "GridModel.h"

namespace {

// A paste that may grow the grid keeps at most this many cells: more than a text copied by
// hand holds, and little memory when a web page's spans stand for millions of empty cells.
constexpr std::size_t kMostGrownCells = std::size_t(1) << 23;

// The cells of a range that lie inside the grid's data cells.
QRect InsideGrid(const GridModel& model, QRect cells) {
    return cells.intersected(
        QRect(1, 1, std::max(0, model.Cols() - 1), std::max(0, model.Rows() - 1)));
}

// Several ranges over the grid, cut along every edge of every range into bands of rows
// and columns; each crossing of a row band with a column band is wholly selected or not
// at all. The ranges a user selects are few, so the crossings are few too.
class Coverage {
public:
    explicit Coverage(const QList<QRect>& ranges) {
        for (const QRect& r : ranges) {
            rowEdges_.insert(rowEdges_.end(), {r.top(), r.bottom() + 1});
            colEdges_.insert(colEdges_.end(), {r.left(), r.right() + 1});
        }
        for (std::vector<int>* edges : {&rowEdges_, &colEdges_}) {
            std::sort(edges->begin(), edges->end());
            edges->erase(std::unique(edges->begin(), edges->end()), edges->end());
        }
        covered_.assign(RowBands() * ColBands(), false);
        for (const QRect& r : ranges) {
            const std::size_t top = Band(rowEdges_, r.top()),
                              bottom = Band(rowEdges_, r.bottom() + 1);
            const std::size_t left = Band(colEdges_, r.left()),
                              right = Band(colEdges_, r.right() + 1);
            for (std::size_t y = top; y < bottom; ++y)
                for (std::size_t x = left; x < right; ++x)
                    covered_[y * ColBands() + x] = true;
        }
    }

    // The selected cells as rectangles that do not overlap, one run of crossings per band.
    QList<QRect> Pieces() const {
        QList<QRect> pieces;
        for (std::size_t y = 0; y < RowBands(); ++y) {
            for (std::size_t x = 0; x < ColBands();) {
                if (!Covered(y, x)) {
                    ++x;
                    continue;
                }
                std::size_t end = x;
                while (end < ColBands() && Covered(y, end))
                    ++end;
                pieces.append(QRect(QPoint(colEdges_[x], rowEdges_[y]),
                                    QPoint(colEdges_[end] - 1, rowEdges_[y + 1] - 1)));
                x = end;
            }
        }
        return pieces;
    }

    // The bands that hold a selected cell; false when the selected cells are not every
    // crossing of those rows with those columns.
    bool LinesUp(std::vector<QPoint>& rowSpans, std::vector<QPoint>& colSpans) const {
        std::vector<bool> rowUsed(RowBands(), false), colUsed(ColBands(), false);
        for (std::size_t y = 0; y < RowBands(); ++y)
            for (std::size_t x = 0; x < ColBands(); ++x)
                if (Covered(y, x)) rowUsed[y] = colUsed[x] = true;
        for (std::size_t y = 0; y < RowBands(); ++y)
            for (std::size_t x = 0; x < ColBands(); ++x)
                if (Covered(y, x) != (rowUsed[y] && colUsed[x])) return false;
        for (std::size_t y = 0; y < RowBands(); ++y)
            if (rowUsed[y]) rowSpans.emplace_back(rowEdges_[y], rowEdges_[y + 1] - 1);
        for (std::size_t x = 0; x < ColBands(); ++x)
            if (colUsed[x]) colSpans.emplace_back(colEdges_[x], colEdges_[x + 1] - 1);
        return true;
    }

private:
    std::size_t RowBands() const { return rowEdges_.empty() ? 0 : rowEdges_.size() - 1; }
    std::size_t ColBands() const { return colEdges_.empty() ? 0 : colEdges_.size() - 1; }
    bool Covered(std::size_t y, std::size_t x) const { return covered_[y * ColBands() + x]; }
    static std::size_t Band(const std::vector<int>& edges, int edge) {
        return static_cast<std::size_t>(std::lower_bound(edges.begin(), edges.end(), edge) -
                                        edges.begin());
    }

    std::vector<int> rowEdges_, colEdges_;
    std::vector<bool> covered_;
};

// The selected ranges inside the grid, without the parts that lie outside it.
QList<QRect> Cropped(const GridModel& model, const QList<QRect>& ranges) {
    QList<QRect> inside;
    for (const QRect& r : ranges)
        if (const QRect cells = InsideGrid(model, r); !cells.isEmpty()) inside.append(cells);
    return inside;
}

// The selected cells as rectangles that do not overlap.
QList<QRect> Pieces(const GridModel& model, const QList<QRect>& ranges) {
    const QList<QRect> inside = Cropped(model, ranges);
    return inside.size() <= 1 ? inside : Coverage(inside).Pieces();
}

// The texts of the selected cells as one table, or an empty table when they do not line
// up into one block.
TextTable SelectedTable(const GridModel& model, const QList<QRect>& ranges) {
    const QList<QRect> inside = Cropped(model, ranges);
    if (inside.size() <= 1) return inside.isEmpty() ? TextTable() : ReadCells(model, inside[0]);
    std::vector<QPoint> rowSpans, colSpans;
    if (!Coverage(inside).LinesUp(rowSpans, colSpans)) return TextTable();
    TextTable table;
    for (const QPoint& rows : rowSpans) {
        for (int row = rows.x(); row <= rows.y(); ++row) {
            table.NewRow();
            for (const QPoint& cols : colSpans)
                for (int col = cols.x(); col <= cols.y(); ++col)
                    table.AddCell(model.CellUtf8(row, col));
        }
    }
    return table;
}

// A table repeated `down` times downwards and `across` times to the right.
TextTable Tiled(const TextTable& table, int down, int across) {
    TextTable tiles;
    for (int i = 0; i < down; ++i) {
        for (int row = 0; row < table.Rows(); ++row) {
            tiles.NewRow();
            for (int j = 0; j < across; ++j)
                for (int col = 0; col < table.Cols(); ++col)
                    tiles.AddCell(table.Cell(row, col));
        }
    }
    return tiles;
}

// Carries out an edit, as a step of the undo history when the grid keeps one.
void Record(QUndoStack* undo, std::unique_ptr<CellBlockCommand> command) {
    if (undo != nullptr)
        PushEdit(*undo, std::move(command));
    else
        command->redo();
}

// One edit that writes `text` into every cell of the pieces and leaves the cells between
// them as they are, so that several ranges are undone in one step. The step itself keeps
// only the cells it changes.
std::unique_ptr<CellBlockCommand> FillPieces(GridModel& model, const QList<QRect>& pieces,
                                             std::string_view text, const QString& label) {
    if (pieces.size() == 1)
        return std::make_unique<CellBlockCommand>(model, pieces[0],
                                                  CellBlock::Filled(std::string(text)), label);
    QRect box;
    for (const QRect& piece : pieces)
        box |= piece;
    TextTable texts;
    for (int row = box.top(); row <= box.bottom(); ++row) {
        texts.NewRow();
        for (int col = box.left(); col <= box.right(); ++col) {
            const bool selected = std::any_of(pieces.begin(), pieces.end(),
                                              [&](const QRect& p) { return p.contains(col, row); });
            texts.AddCell(selected ? text : model.CellUtf8(row, col));
        }
    }
    return std::make_unique<CellBlockCommand>(model, box, CellBlock::FromTable(std::move(texts)),
                                              label);
}

}  // namespace

GridSelection::GridSelection(GridModel& model, QList<QRect> ranges, QUndoStack* undo,
                             Selector select, PasteRules rules)
    : model_(model),
      ranges_(std::move(ranges)),
      undo_(undo),
      select_(std::move(select)),
      rules_(std::move(rules)) {}

bool GridSelection::Copy() {
    const TextTable table = SelectedTable(model_, ranges_);
    if (table.IsEmpty()) return false;
    // The clipboard owns what it is given.
    QGuiApplication::clipboard()->setMimeData(ClipboardFormats::ToMimeData(table).release());
    return true;
}

bool GridSelection::Cut() {
    if (!Copy()) return false;
    Record(undo_, FillPieces(model_, Pieces(model_, ranges_), {}, QStringLiteral("Cut")));
    return true;
}

bool GridSelection::Paste() {
    const QList<QRect> pieces = Pieces(model_, ranges_);
    if (pieces.isEmpty()) return false;
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    if (mime == nullptr) return false;
    // The clipboard is read only as far as the grid reaches from the selection's corner, or
    // as far as the grid may grow.
    QRect box;
    for (const QRect& piece : pieces)
        box |= piece;
    const bool mayGrow = rules_.most > 0 && rules_.grow;
    const int mostRows = mayGrow ? std::max(rules_.most, model_.Rows() - 1) : model_.Rows() - 1;
    const int mostCols = mayGrow ? std::max(rules_.most, model_.Cols() - 1) : model_.Cols() - 1;
    TextTable table = ClipboardFormats::FromMimeData(
        *mime,
        TableBound{mostRows - box.top() + 1, mostCols - box.left() + 1,
                   mayGrow ? kMostGrownCells : SIZE_MAX},
        model_.DecimalSeparator());
    if (table.IsRefused()) return Refuse(QString::fromStdString(table.Refusal()));
    if (table.IsEmpty()) return false;

    const QString label = QStringLiteral("Paste");
    if (table.Rows() == 1 && table.Cols() == 1 && !table.Cropped()) {
        // One value fills every selected cell.
        Record(undo_, FillPieces(model_, pieces, table.Cell(0, 0), label));
        if (select_ && pieces.size() == 1) select_(pieces[0]);
        return true;
    }
    if (pieces.size() > 1) return false;

    const QRect cells = pieces[0];
    const bool fills = !table.Cropped() && cells.height() % table.Rows() == 0 &&
                       cells.width() % table.Cols() == 0 &&
                       (cells.height() > table.Rows() || cells.width() > table.Cols());
    QRect target;
    CellBlock texts;
    if (fills) {
        target = cells;
        texts = CellBlock::FromTable(
            Tiled(table, cells.height() / table.Rows(), cells.width() / table.Cols()));
    } else {
        target = QRect(cells.left(), cells.top(), table.Cols(), table.Rows());
        if (mayGrow && table.Cropped())
            return Refuse(QStringLiteral("The pasted table is too large: a paste fills at most "
                                         "%1 rows, %1 columns and %2 cells.")
                              .arg(rules_.most)
                              .arg(kMostGrownCells));
        // The grid grows before the cells are written, so undoing the paste empties them
        // again and leaves the grid at its new size.
        const int rowsNeeded = std::max(target.bottom(), model_.Rows() - 1);
        const int colsNeeded = std::max(target.right(), model_.Cols() - 1);
        if (mayGrow && (rowsNeeded >= model_.Rows() || colsNeeded >= model_.Cols()) &&
            !rules_.grow(rowsNeeded, colsNeeded))
            return false;
        texts = CellBlock::FromTable(std::move(table));
    }
    Record(undo_, std::make_unique<CellBlockCommand>(model_, target, std::move(texts), label));
    if (select_) select_(InsideGrid(model_, target));
    return true;
}

bool GridSelection::Refuse(const QString& reason) const {
    if (rules_.refuse) rules_.refuse(reason);
    return false;
}

void GridSelection::ClearContents() {
    const QList<QRect> pieces = Pieces(model_, ranges_);
    if (pieces.isEmpty()) return;
    Record(undo_, FillPieces(model_, pieces, {}, QStringLiteral("Clear")));
}
