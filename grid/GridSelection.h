#pragma once
// The selected cells of one grid, for one edit operation: cut, copy, paste, clear.
// The clipboard carries tab-separated text (with spreadsheet quoting) and an HTML table,
// which spreadsheets and Kelvara itself exchange.

#include <QRect>

class GridModel;
class QUndoStack;

class GridSelection {
public:
    // cells: the selected rectangle in model coordinates (rows and columns from 1);
    // undo: where the grid records its edits (may be null).
    GridSelection(GridModel& model, QRect cells, QUndoStack* undo);

    bool Cut();            // copies the cells to the clipboard, then empties them
    bool Copy();           // puts the cells on the clipboard
    bool Paste();          // writes the clipboard's cells at the selection's top-left
    void ClearContents();  // empties the cells; counts stay

    QRect Cells() const { return cells_; }

private:
    GridModel& model_;
    QRect cells_;
    QUndoStack* undo_;
};
