// Pasting what real clipboards hold into small grids: the grid takes what fits, fast, and
// its undo history keeps no more than the cells that changed.
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QMimeData>
#include <QTableView>
#include <QUndoStack>

#include "GridWidget.h"

namespace {

class PasteLimits : public ::testing::Test {
protected:
    void SetUp() override {
        grid.SetRows(4);
        grid.SetCols(4);
    }
    // Selects data cells (row, col) to (row2, col2) and presses Ctrl+V.
    void PasteAt(int row, int col, int row2, int col2) {
        QTableView& view = grid.View();
        auto* model = view.model();
        view.setCurrentIndex(model->index(row - 1, col - 1));
        view.selectionModel()->select(
            QItemSelection(model->index(row - 1, col - 1), model->index(row2 - 1, col2 - 1)),
            QItemSelectionModel::ClearAndSelect);
        QKeyEvent press(QEvent::KeyPress, Qt::Key_V, Qt::ControlModifier);
        QApplication::sendEvent(&view, &press);
    }
    QString Row(int row) const {
        return grid.CellText(row, 1) + "|" + grid.CellText(row, 2) + "|" + grid.CellText(row, 3);
    }

    GridWidget grid;
};

// A row cut off at the grid's edge is still a row: it does not fill the selection as a
// single copied value would.
TEST_F(PasteLimits, CroppedRowIsNoSingleValue) {
    QGuiApplication::clipboard()->setText("a\tb\n");
    PasteAt(1, 3, 2, 3);
    EXPECT_EQ(Row(1), "||a");
    EXPECT_EQ(Row(2), "||");
}

// A web page's table of huge spans lands as the corner that fits.
TEST_F(PasteLimits, HugeSpansFillOnlyTheGrid) {
    QByteArray html = "<table><tr>";
    for (int i = 0; i < 40; ++i)
        html += "<td colspan=1000 rowspan=1000>" + QByteArray::number(i) + "</td>";
    html += "</tr>";
    for (int i = 0; i < 999; ++i)
        html += "<tr><td>x</td></tr>";
    html += "</table>";
    auto* mime = new QMimeData;
    mime->setHtml(QString::fromUtf8(html));
    QGuiApplication::clipboard()->setMimeData(mime);
    PasteAt(2, 2, 2, 2);
    EXPECT_EQ(Row(1), "||");
    EXPECT_EQ(Row(2), "|0|");
    EXPECT_EQ(Row(3), "||");
}

}  // namespace
