#pragma once
// The table behind a cell grid: rows and columns of text cells, the fixed heading row 0
// and heading column 0 included in the counts, with per-cell format codes, column widths,
// row heights, the top row, the enabled state and the sheet flag.
//
// Seen as a Qt item model, the data cells (1..Rows-1, 1..Cols-1) are the items
// (item (r, c) is cell (r + 1, c + 1)) and row 0 / column 0 are the header data, so a
// QTableView shows the headings in its own fixed headers.
//
// Storage is compact: a result sheet may hold millions of cells. Texts live as UTF-8 in
// an arena, and change notifications are gathered and delivered in batches.

#include <QAbstractTableModel>
#include <QString>
#include <cstddef>
#include <memory>
#include <string_view>

#include "CellStore.h"

class GridModel : public QAbstractTableModel {
    Q_OBJECT

public:
    // A new grid has its design state: 30 rows, 5 columns, empty cells.
    explicit GridModel(QObject* parent = nullptr);
    ~GridModel() override;

    // Counts include the heading row and column. Setting a count grows or shrinks the grid
    // at once; cells outside the new bounds are dropped. A count below 1 is taken as 1.
    int Rows() const;
    void SetRows(int rows);
    int Cols() const;
    void SetCols(int cols);

    // The text of a cell, headings included. Reading outside the grid gives "". Writing
    // outside the counts first grows the grid to hold the cell (no text is ever lost).
    QString CellText(int row, int col) const;
    std::string_view CellUtf8(int row, int col) const;  // valid until the next change
    void SetCellText(int row, int col, const QString& text);
    void SetCellText(int row, int col, std::string_view utf8);
    // A string literal is UTF-8 text (without this, a literal would fit both forms above).
    void SetCellText(int row, int col, const char* utf8) {
        SetCellText(row, col, std::string_view(utf8));
    }

    // The texts (UTF-8) of cells (row, firstCol) .. (row, firstCol + count - 1), written
    // as SetCellText would one after another, in one step.
    void SetRowTexts(int row, int firstCol, const std::string_view* texts, int count);
    // The same for texts packed as the grid keeps them (made ready on any thread).
    using PackedRow = CellStore::PackedRow;
    void SetRowTexts(int row, int firstCol, const PackedRow& texts);

    // The display code of a cell; HeadingFormat marks a heading (drawn centred and bold).
    int CellFormat(int row, int col) const;
    void SetCellFormat(int row, int col, int format);
    static constexpr int HeadingFormat = 10;

    // Widths and heights in device-independent pixels; 0 hides the column or row.
    int ColumnWidth(int col) const;
    void SetColumnWidth(int col, int width);
    int RowHeight(int row) const;
    void SetRowHeight(int row, int height);
    static constexpr int DefaultColumnWidth = 48;
    static constexpr int DefaultRowHeight = 20;

    // Column(i).Width, as the window's code reads it.
    class ColumnRef {
    public:
        int Width() const { return model_->ColumnWidth(col_); }
        void SetWidth(int width) { model_->SetColumnWidth(col_, width); }

    private:
        friend class GridModel;
        ColumnRef(GridModel* model, int col) : model_(model), col_(col) {}
        GridModel* model_;
        int col_;
    };
    ColumnRef Column(int index) { return ColumnRef(this, index); }

    // The first row shown below the fixed heading row.
    int TopRow() const;
    void SetTopRow(int row);

    bool Enabled() const;
    void SetEnabled(bool enabled);

    // The user's decimal separator ("." unless set): an input grid right-aligns the texts
    // that the exports, given the same separator, take for numbers (CellNumber).
    void SetDecimalSeparator(char separator);
    char DecimalSeparator() const;

    // An option of the grid that only the result sheet switches on: the sheet then shows
    // its cells as a report (no heading look, texts left-aligned).
    bool SheetFlag() const;
    void SetSheetFlag(bool on);

    // The used range: the last row and column (data cells only) holding a non-empty text,
    // or 0 when every data cell is empty.
    int LastUsedRow() const;
    int LastUsedCol() const;

    // Bytes of memory the cell storage holds (for the storage benchmark).
    std::size_t StorageBytes() const;

    // Delivers the gathered change notifications now rather than on the next event loop
    // pass. Views never need this; it is for code that reads the model through Qt's API
    // right after changing it.
    void FlushNotifications();

    // QAbstractItemModel
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

signals:
    void TopRowChanged(int row);
    void ColumnWidthChanged(int col, int width);
    void RowHeightChanged(int row, int height);
    void EnabledChanged(bool enabled);
    void SheetFlagChanged(bool on);

private:
    // Delivers the gathered notifications when the event loop comes back.
    void QueueFlush();
    struct Storage;
    std::unique_ptr<Storage> d_;
};
