#pragma once
// The selected cells of one grid, for one edit operation: cut, copy, paste, clear.
// A selection may be made of several ranges (Ctrl+click, Ctrl+drag). The clipboard
// carries tab-separated text (with spreadsheet quoting) and an HTML table, which
// spreadsheets and Kelvara itself exchange.

#include <QList>
#include <QRect>
#include <QString>
#include <functional>

class GridModel;
class QUndoStack;

// What the grid's owner decides about a paste before anything is written. Without an owner's
// rules a paste stops at the grid's edges.
struct PasteRules {
    // The most data rows and columns a paste may make the grid hold; a block reaching further
    // is refused. 0: the grid never grows for a paste.
    int most = 0;
    // A pasted block reaches beyond the grid's last row or column: make the grid hold at
    // least `rows` x `cols` data cells and answer true, or say why not and answer false, and
    // nothing is pasted.
    std::function<bool(int rows, int cols)> grow;
    // Nothing is pasted, for the reason given in one sentence: a text that cannot be read
    // exactly, or a block larger than the most the grid may hold.
    std::function<void(const QString& reason)> refuse;
};

class GridSelection {
public:
    // Told the cells a paste wrote, so that the grid can select them.
    using Selector = std::function<void(QRect cells)>;

    // ranges: the selected rectangles in model coordinates (rows and columns from 1), in
    // any order and possibly overlapping; undo: where the grid records its edits (may be
    // null).
    GridSelection(GridModel& model, QList<QRect> ranges, QUndoStack* undo, Selector select = {},
                  PasteRules rules = {});
    GridSelection(GridModel& model, QRect cells, QUndoStack* undo)
        : GridSelection(model, QList<QRect>{cells}, undo) {}

    // Copy puts the cells on the clipboard. Several ranges are copied when they line up
    // into one block (every selected row crossed with every selected column), closed up
    // as one table; otherwise nothing is copied and the answer is false.
    bool Copy();
    // Copies as Copy does, then empties exactly the selected cells.
    bool Cut();
    // Writes the clipboard's cells at the selection's top-left. A block reaching beyond the
    // grid makes it grow when the rules let it, and is cut off at the grid's edges when they
    // do not. One value fills every selected cell; a block pasted over one range whose
    // rows and columns are whole multiples of its own fills that range with copies of it.
    // A block is not pasted over several ranges. A refused text pastes nothing and its
    // reason goes to the rules. The pasted cells become the selection.
    bool Paste();
    // Empties exactly the selected cells; counts stay.
    void ClearContents();

    const QList<QRect>& Ranges() const { return ranges_; }

private:
    // Tells the owner why nothing is pasted; answers false, as the paste does.
    bool Refuse(const QString& reason) const;

    GridModel& model_;
    QList<QRect> ranges_;
    QUndoStack* undo_;
    Selector select_;
    PasteRules rules_;
};
