#include "GridEditCommands.h"

#include <QUndoStack>
#include <algorithm>
#include <memory>
#include <utility>

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
    const auto eachChange = [&](auto&& visit) {
        for (int row = cells_.top(); row <= cells_.bottom(); ++row) {
            for (int col = cells_.left(); col <= cells_.right(); ++col) {
                const std::string_view now = model_.CellUtf8(row, col);
                const std::string_view text = texts.Text(row - cells_.top(), col - cells_.left());
                if (now != text) visit(row, col, now, text);
            }
        }
    };
    // A first pass sizes what the step keeps, so that a paste of millions of cells is kept
    // in tables allocated once at their size. A step that changes every cell of its
    // rectangle keeps no list of cells, and one that writes only into empty cells keeps no
    // texts from before.
    std::size_t count = 0, beforeBytes = 0, afterBytes = 0;
    eachChange([&](int, int, std::string_view now, std::string_view text) {
        ++count;
        beforeBytes += now.size();
        afterBytes += text.size();
    });
    whole_ = count > 0 && count == std::size_t(cells_.width()) * std::size_t(cells_.height());
    wasEmpty_ = beforeBytes == 0;
    if (!whole_) changed_.reserve(count);
    before_.NewRow();
    after_.NewRow();
    if (!wasEmpty_) before_.Reserve(beforeBytes, count);
    after_.Reserve(afterBytes, count);
    eachChange([&](int row, int col, std::string_view now, std::string_view text) {
        if (!whole_) changed_.emplace_back(col, row);
        if (!wasEmpty_) before_.AddCell(now);
        after_.AddCell(text);
    });
}

CellBlockCommand::CellBlockCommand(CellBlockCommand& done)
    : QUndoCommand(done.text()),
      model_(done.model_),
      cells_(done.cells_),
      changed_(std::move(done.changed_)),
      before_(std::move(done.before_)),
      after_(std::move(done.after_)),
      whole_(done.whole_),
      wasEmpty_(done.wasEmpty_),
      skipRedo_(true) {}

// While a step is carried out its new texts stand in the grid, so it keeps only the texts
// from before; undoing it takes the new texts back from the grid first. A paste of millions
// of cells thus costs no second copy of its texts for as long as it stays pasted.
void CellBlockCommand::redo() {
    if (!skipRedo_) Write(&after_);
    skipRedo_ = false;
    // Swapped out rather than assigned an empty table, which would keep the text buffer.
    TextTable released;
    std::swap(after_, released);
}

void CellBlockCommand::undo() {
    after_ = Read();
    Write(wasEmpty_ ? nullptr : &before_);
}

std::size_t CellBlockCommand::Count() const {
    const std::size_t width = std::size_t(std::max(cells_.width(), 1));
    return whole_ ? width * std::size_t(cells_.height()) : changed_.size();
}

QPoint CellBlockCommand::Cell(std::size_t i) const {
    const std::size_t width = std::size_t(std::max(cells_.width(), 1));
    return whole_ ? QPoint(cells_.left() + int(i % width), cells_.top() + int(i / width))
                  : changed_[i];
}

TextTable CellBlockCommand::Read() const {
    const std::size_t count = Count();
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < count; ++i)
        bytes += model_.CellUtf8(Cell(i).y(), Cell(i).x()).size();
    TextTable texts;
    texts.NewRow();
    texts.Reserve(bytes, count);
    for (std::size_t i = 0; i < count; ++i)
        texts.AddCell(model_.CellUtf8(Cell(i).y(), Cell(i).x()));
    return texts;
}

void CellBlockCommand::Write(const TextTable* texts) {
    const std::size_t count = Count();
    for (std::size_t i = 0; i < count; ++i) {
        const QPoint cell = Cell(i);
        if (cell.y() < model_.Rows() && cell.x() < model_.Cols())
            model_.SetCellText(
                cell.y(), cell.x(),
                texts != nullptr ? texts->Cell(0, static_cast<int>(i)) : std::string_view());
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
