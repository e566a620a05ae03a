#include "GridEditCommands.h"

#include <QUndoStack>
#include <algorithm>
#include <memory>

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

std::string_view CellBlock::Text(int rowOffset, int colOffset) const {
    if (filled_) return table_.Cell(0, 0);
    if (rowOffset >= table_.Rows()) return {};
    return table_.Cell(rowOffset, colOffset);
}

CellBlockCommand::CellBlockCommand(GridModel& model, QRect cells, CellBlock texts,
                                   const QString& label)
    : QUndoCommand(label), model_(model), cells_(cells) {
    // Only cells inside the grid are ever written, and only those whose text differs are
    // remembered.
    cells_ = cells_.intersected(
        QRect(1, 1, std::max(0, model.Cols() - 1), std::max(0, model.Rows() - 1)));
    before_.NewRow();
    after_.NewRow();
    for (int row = cells_.top(); row <= cells_.bottom(); ++row) {
        for (int col = cells_.left(); col <= cells_.right(); ++col) {
            const std::string_view now = model_.CellUtf8(row, col);
            const std::string_view text = texts.Text(row - cells_.top(), col - cells_.left());
            if (now == text) continue;
            changed_.emplace_back(col, row);
            before_.AddCell(now);
            after_.AddCell(text);
        }
    }
    changed_.shrink_to_fit();
}

CellBlockCommand::CellBlockCommand(CellBlockCommand& done)
    : QUndoCommand(done.text()),
      model_(done.model_),
      cells_(done.cells_),
      changed_(std::move(done.changed_)),
      before_(std::move(done.before_)),
      after_(std::move(done.after_)),
      skipRedo_(true) {}

void CellBlockCommand::redo() {
    if (skipRedo_) {
        skipRedo_ = false;
        return;
    }
    Write(after_);
}

void CellBlockCommand::undo() {
    Write(before_);
}

void CellBlockCommand::Write(const TextTable& texts) {
    for (std::size_t i = 0; i < changed_.size(); ++i) {
        const QPoint cell = changed_[i];
        if (cell.y() < model_.Rows() && cell.x() < model_.Cols())
            model_.SetCellText(cell.y(), cell.x(), texts.Cell(0, static_cast<int>(i)));
    }
}

std::size_t CellBlockCommand::Bytes() const {
    return sizeof(*this) + changed_.capacity() * sizeof(QPoint) + before_.Bytes() + after_.Bytes();
}

void PushEdit(QUndoStack& history, std::unique_ptr<CellBlockCommand> command, std::size_t budget) {
    history.push(command.release());  // the history owns its steps
    // The steps to keep, counted from the newest back.
    const int count = history.count();
    int keepFrom = count;
    std::size_t total = 0;
    for (int i = count - 1; i >= 0; --i) {
        const auto* step = dynamic_cast<const CellBlockCommand*>(history.command(i));
        if (step == nullptr) return;  // steps of other kinds cannot be moved
        total += step->Bytes();
        if (i < count - 1 && total > budget) break;
        keepFrom = i;
    }
    if (keepFrom == 0) return;

    // QUndoStack drops its oldest steps only by a count fixed while it is empty. So the
    // steps to keep move into fresh commands, and the history starts again with them;
    // pushing them does not carry them out a second time.
    std::vector<std::unique_ptr<CellBlockCommand>> kept;
    for (int i = keepFrom; i < count; ++i) {
        auto* step =
            const_cast<CellBlockCommand*>(static_cast<const CellBlockCommand*>(history.command(i)));
        kept.push_back(std::unique_ptr<CellBlockCommand>(new CellBlockCommand(*step)));
    }
    history.clear();
    for (auto& step : kept)
        history.push(step.release());
}
