#include "GridSelection.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QUndoStack>
#include <algorithm>

#include "ClipboardFormats.h"
#include "GridEditCommands.h"
#include "GridModel.h"

namespace {

// The cells of a selection that lie inside the grid's data cells.
QRect InsideGrid(const GridModel& model, QRect cells) {
    return cells.intersected(
        QRect(1, 1, std::max(0, model.Cols() - 1), std::max(0, model.Rows() - 1)));
}

// Carries out an edit, as a step of the undo history when the grid keeps one.
void Record(QUndoStack* undo, CellBlockCommand* command) {
    if (undo != nullptr) {
        PushEdit(*undo, command);
    } else {
        command->redo();
        delete command;
    }
}

}  // namespace

GridSelection::GridSelection(GridModel& model, QRect cells, QUndoStack* undo)
    : model_(model), cells_(cells), undo_(undo) {}

bool GridSelection::Copy() {
    const QRect cells = InsideGrid(model_, cells_);
    if (cells.isEmpty()) return false;
    QGuiApplication::clipboard()->setMimeData(
        ClipboardFormats::ToMimeData(ReadCells(model_, cells)));
    return true;
}

bool GridSelection::Cut() {
    if (!Copy()) return false;
    Record(undo_, new CellBlockCommand(model_, InsideGrid(model_, cells_),
                                       CellBlock::Filled(std::string()), QStringLiteral("Cut")));
    return true;
}

bool GridSelection::Paste() {
    const QRect cells = InsideGrid(model_, cells_);
    if (cells.isEmpty()) return false;
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    if (mime == nullptr) return false;
    // The clipboard is read only as far as the grid reaches from the selection's corner.
    const TableBound bound{model_.Rows() - cells.top(), model_.Cols() - cells.left()};
    TextTable table = ClipboardFormats::FromMimeData(*mime, bound);
    if (table.IsEmpty()) return false;

    // One copied value pasted over several cells fills them all; anything else is laid
    // at the top-left cell and cut off at the grid's edges.
    QRect target;
    CellBlock texts;
    if (table.Rows() == 1 && table.Cols() == 1 && !table.Cropped() &&
        cells.width() * cells.height() > 1) {
        target = cells;
        texts = CellBlock::Filled(std::string(table.Cell(0, 0)));
    } else {
        target = QRect(cells.left(), cells.top(), table.Cols(), table.Rows());
        texts = CellBlock::FromTable(std::move(table));
    }
    Record(undo_, new CellBlockCommand(model_, target, std::move(texts), QStringLiteral("Paste")));
    return true;
}

void GridSelection::ClearContents() {
    const QRect cells = InsideGrid(model_, cells_);
    if (cells.isEmpty()) return;
    Record(undo_, new CellBlockCommand(model_, cells, CellBlock::Filled(std::string()),
                                       QStringLiteral("Clear")));
}
