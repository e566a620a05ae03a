#pragma once
// The grid's own edits as steps of its undo history. Each step covers one rectangle of
// cells and keeps the texts before and after in packed tables, so that a step over a
// million cells costs a few bytes per cell.

#include <QRect>
#include <QUndoCommand>
#include <string>

#include "ClipboardFormats.h"

class GridModel;

// The texts of the cells in `cells` (x columns, y rows), row by row.
TextTable ReadCells(const GridModel& model, QRect cells);

// The texts that an edit writes into a rectangle: a table laid at its top-left corner
// (cells beyond the table's rows become ""), or one text repeated over every cell.
class CellBlock {
public:
    static CellBlock Filled(std::string text);
    static CellBlock FromTable(TextTable table);
    // The texts of the cells in `cells` (x columns, y rows) as they stand now.
    static CellBlock Read(const GridModel& model, QRect cells);

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

private:
    void Write(const CellBlock& texts);

    GridModel& model_;
    QRect cells_;
    CellBlock before_;
    CellBlock after_;
};
