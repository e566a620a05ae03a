#include "GridEditCommands.h"

#include <algorithm>

#include "GridModel.h"

CellBlock CellBlock::Filled(std::string text) {
    CellBlock block;
    block.table_.NewRow();
    block.table_.AddCell(text);
    block.filled_ = true;
    return block;
}

CellBlock CellBlock::FromTable(TextTable table) {
    CellBlock block;
    block.table_ = std::move(table);
    return block;
}

TextTable ReadCells(const GridModel& model, QRect cells) {
    TextTable table;
    if (cells.isEmpty()) return table;
    const std::size_t count =
        static_cast<std::size_t>(cells.width()) * static_cast<std::size_t>(cells.height());
    table.Reserve(count * 4, count);
    for (int row = cells.top(); row <= cells.bottom(); ++row) {
        table.NewRow();
        for (int col = cells.left(); col <= cells.right(); ++col)
            table.AddCell(model.CellUtf8(row, col));
    }
    return table;
}

CellBlock CellBlock::Read(const GridModel& model, QRect cells) {
    return FromTable(ReadCells(model, cells));
}

std::string_view CellBlock::Text(int rowOffset, int colOffset) const {
    if (filled_) return table_.Cell(0, 0);
    if (rowOffset >= table_.Rows()) return {};
    return table_.Cell(rowOffset, colOffset);
}

CellBlockCommand::CellBlockCommand(GridModel& model, QRect cells, CellBlock texts,
                                   const QString& label)
    : QUndoCommand(label), model_(model), cells_(cells), after_(std::move(texts)) {
    // Only cells inside the grid are ever written, so only they are remembered.
    cells_ = cells_.intersected(
        QRect(1, 1, std::max(0, model.Cols() - 1), std::max(0, model.Rows() - 1)));
    before_ = CellBlock::Read(model_, cells_);
}

void CellBlockCommand::redo() {
    Write(after_);
}

void CellBlockCommand::undo() {
    Write(before_);
}

void CellBlockCommand::Write(const CellBlock& texts) {
    if (cells_.isEmpty()) return;
    const int lastRow = std::min(cells_.bottom(), model_.Rows() - 1);
    const int lastCol = std::min(cells_.right(), model_.Cols() - 1);
    for (int row = cells_.top(); row <= lastRow; ++row) {
        for (int col = cells_.left(); col <= lastCol; ++col) {
            const std::string_view text = texts.Text(row - cells_.top(), col - cells_.left());
            if (model_.CellUtf8(row, col) != text) model_.SetCellText(row, col, text);
        }
    }
}
