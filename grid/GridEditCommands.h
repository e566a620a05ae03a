#pragma once
// The grid's own edits as steps of its undo history. Each step keeps only the cells that
// it changes, with their texts before (and, while undone, after) in packed tables sized once, and
// the history as a whole is held to a memory budget by dropping its oldest steps.

#include <QPoint>
#include <QRect>
#include <QUndoCommand>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "ClipboardFormats.h"

class GridModel;
class QUndoStack;

// The texts of the cells in `cells` (x columns, y rows), row by row.
TextTable ReadCells(const GridModel& model, QRect cells);

// The texts that an edit writes into a rectangle: a table laid at its top-left corner
// (cells beyond the table's rows become ""), or one text repeated over every cell.
class CellBlock {
public:
    static CellBlock Filled(std::string text);
    static CellBlock FromTable(TextTable table);

    std::string_view Text(int rowOffset, int colOffset) const;

private:
    TextTable table_;
    bool filled_ = false;
};

// Writes a block of texts over a rectangle (x columns, y rows); undoing writes the old
// texts back. Cells outside the grid's current counts are left alone: the grid is never
// grown by an edit.
class CellBlockCommand : public QUndoCommand {
public:
    CellBlockCommand(GridModel& model, QRect cells, CellBlock texts,
                     const QString& label = QString());

    void redo() override;
    void undo() override;

    QRect Cells() const { return cells_; }
    // Bytes of memory the step holds.
    std::size_t Bytes() const;

private:
    friend void PushEdit(QUndoStack& history, std::unique_ptr<CellBlockCommand> command,
                         std::size_t budget);
    // Takes over another step that has been carried out, and is not carried out again
    // when it is pushed.
    explicit CellBlockCommand(CellBlockCommand& done);
    // How many cells the step changes, and the i-th of them.
    std::size_t Count() const;
    QPoint Cell(std::size_t i) const;
    // The present texts of the changed cells, in order ("" outside the grid), and writes
    // texts (nullptr: every text empty) into them.
    TextTable Read() const;
    void Write(const TextTable* texts);

    GridModel& model_;
    QRect cells_;
    std::vector<QPoint> changed_;  // the cells whose text the step changes (x col, y row)
    TextTable before_;             // their texts before and after, in one row each; the texts
    TextTable after_;              // after only while the step is undone
    bool whole_ = false;           // every cell of cells_ changes, row by row; changed_ is empty
    bool wasEmpty_ = false;        // every changed cell was empty; before_ holds nothing
    bool skipRedo_ = false;
};

// The most memory a grid's undo history holds, beyond its newest step.
inline constexpr std::size_t kHistoryBytes = std::size_t(64) << 20;

// Carries out an edit as the newest step of a history, then drops the oldest steps for as
// long as the history holds more than the budget. The newest step is always kept.
void PushEdit(QUndoStack& history, std::unique_ptr<CellBlockCommand> command,
              std::size_t budget = kHistoryBytes);
