#pragma once
// The cell grid as the user sees it: a spreadsheet-like view over a GridModel. Row 0 and
// column 0 of the model are its fixed headings; their size is Column(0).Width and
// RowHeight(0). It offers the selection with the clipboard, and the mouse-button event on
// which the window opens its context menu.

#include <QPointF>
#include <QString>
#include <QWidget>
#include <memory>

#include "GridModel.h"
#include "GridSelection.h"

class QTableView;
class QUndoStack;

class GridWidget : public QWidget {
    Q_OBJECT

public:
    explicit GridWidget(QWidget* parent = nullptr);
    ~GridWidget() override;

    GridModel& Model();
    const GridModel& Model() const;
    QTableView& View();

    // Convenience forwards to the model, so window code reads like the grid's own API.
    int Rows() const { return Model().Rows(); }
    void SetRows(int rows) {
        CommitEdit();
        Model().SetRows(rows);
    }
    int Cols() const { return Model().Cols(); }
    void SetCols(int cols) {
        CommitEdit();
        Model().SetCols(cols);
    }
    QString CellText(int row, int col) const { return Model().CellText(row, col); }
    void SetCellText(int row, int col, const QString& text) { Model().SetCellText(row, col, text); }
    void SetCellFormat(int row, int col, int format) { Model().SetCellFormat(row, col, format); }
    GridModel::ColumnRef Column(int index) { return Model().Column(index); }
    int RowHeight(int row) const { return Model().RowHeight(row); }
    void SetRowHeight(int row, int height) { Model().SetRowHeight(row, height); }
    void SetTopRow(int row) { Model().SetTopRow(row); }
    bool Enabled() const { return Model().Enabled(); }
    void SetEnabled(bool enabled) { Model().SetEnabled(enabled); }
    void SetSheetFlag(bool on) { Model().SetSheetFlag(on); }
    void SetDecimalSeparator(char separator) { Model().SetDecimalSeparator(separator); }

    // Ends the cell edit in progress, keeping what was typed. Every command that reads or
    // changes the grid does this first: the edit commands, the exports and a new size.
    void CommitEdit();

    // The currently selected cells, as a fresh object for one edit operation.
    GridSelection Selection();
    // What the grid's owner decides about pastes, by Ctrl+V and by its own menu alike.
    void SetPasteRules(PasteRules rules);

    // The grid's own undo history of edits (typing, cut, paste, delete).
    QUndoStack& UndoStack();

signals:
    // A mouse button went down on the grid, with these keys held; the position is taken
    // from the grid's top-left corner, in the unit of the column widths and row heights. A
    // disabled grid raises none.
    void MouseDown(Qt::MouseButton button, Qt::KeyboardModifiers modifiers, QPointF position);

private:
    struct Parts;
    std::unique_ptr<Parts> p_;
};
