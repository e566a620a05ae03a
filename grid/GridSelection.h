#pragma once
// The selected cells of one grid, for one edit operation: cut, copy, paste, clear.
// A selection may be made of several ranges (Ctrl+click, Ctrl+drag). The clipboard
// carries tab-separated text (with spreadsheet quoting) and an HTML table, which
// spreadsheets and Kelvara itself exchange.

#include <QList>
#include <QRect>
#include <functional>

class GridModel;
class QUndoStack;

class GridSelection {
public:
    // Told the cells a paste wrote, so that the grid can select them.
    using Selector = std::function<void(QRect cells)>;

    // ranges: the selected rectangles in model coordinates (rows and columns from 1), in
    // any order and possibly overlapping; undo: where the grid records its edits (may be
    // null).
    GridSelection(GridModel& model, QList<QRect> ranges, QUndoStack* undo, Selector select = {});
    GridSelection(GridModel& model, QRect cells, QUndoStack* undo)
        : GridSelection(model, QList<QRect>{cells}, undo) {}

    // Copy puts the cells on the clipboard. Several ranges are copied when they line up
    // into one block (every selected row crossed with every selected column), closed up
    // as one table; otherwise nothing is copied and the answer is false.
    bool Copy();
    // Copies as Copy does, then empties exactly the selected cells.
    bool Cut();
    // Writes the clipboard's cells at the selection's top-left, cut off at the grid's
    // edges. One value fills every selected cell; a block pasted over one range whose
    // rows and columns are whole multiples of its own fills that range with copies of it.
    // A block is not pasted over several ranges. The pasted cells become the selection.
    bool Paste();
    // Empties exactly the selected cells; counts stay.
    void ClearContents();

    const QList<QRect>& Ranges() const { return ranges_; }

private:
    GridModel& model_;
    QList<QRect> ranges_;
    QUndoStack* undo_;
    Selector select_;
};
