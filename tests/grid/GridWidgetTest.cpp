// The grid widget as the user works it: the clipboard between grids and other programs,
// pastes cropped at its edges, typing and keys, undo, the disabled state, the mouse-button event
// and the view's sizes.
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QMimeData>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QUndoStack>
#include <tuple>
#include <vector>

#include "GridWidget.h"
#include "NamedRows.h"

namespace {

using Cells = std::vector<std::vector<QString>>;

// The texts of a block of cells.
Cells Texts(const GridWidget& grid, int top, int left, int rows, int cols) {
    Cells out{std::size_t(rows), std::vector<QString>(cols)};
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c)
            out[r][c] = grid.CellText(top + r, left + c);
    return out;
}

// A shown grid of rows x cols data cells, headings included in the counts as usual.
class GridWidgetTest : public ::testing::Test {
protected:
    void SetUp() override {
        grid.SetRows(4);
        grid.SetCols(4);
        grid.resize(400, 300);
        grid.show();
        grid.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&grid));
    }

    void Fill(const Cells& rows) {
        for (std::size_t r = 0; r < rows.size(); ++r)
            for (std::size_t c = 0; c < rows[r].size(); ++c)
                grid.SetCellText(1 + int(r), 1 + int(c), rows[r][c]);
    }
    // Selects data cells (row, col) to (row2, col2), in model coordinates.
    void Select(int row, int col, int row2, int col2, GridWidget* on = nullptr) {
        QTableView& view = (on ? on : &grid)->View();
        auto* model = view.model();
        view.setCurrentIndex(model->index(row - 1, col - 1));
        view.selectionModel()->select(
            QItemSelection(model->index(row - 1, col - 1), model->index(row2 - 1, col2 - 1)),
            QItemSelectionModel::ClearAndSelect);
    }
    void Key(int key, Qt::KeyboardModifiers mods = Qt::NoModifier) {
        QTest::keyClick(&grid.View(), Qt::Key(key), mods);
    }

    GridWidget grid;
};

TEST_F(GridWidgetTest, CopyPasteBetweenGridsKeepsTexts) {
    const Cells cells{{"1", "tab\there"}, {"\"q\"", "two\nlines"}, {"5 €", ""}};
    Fill(cells);
    Select(1, 1, 3, 2);
    EXPECT_TRUE(grid.Selection().Copy());
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    // Rows end in CR LF as spreadsheets write them; a line break inside a cell stays LF.
    const QString text =
        QStringLiteral("1\t\"tab\there\"\r\n\"\"\"q\"\"\"\t\"two\nlines\"\r\n5 €\t\r\n");
    EXPECT_EQ(mime->text(), text);
    EXPECT_EQ(mime->data("text/plain;charset=utf-8"), text.toUtf8());
    EXPECT_TRUE(mime->html().contains("<table"));

    GridWidget other;
    other.SetRows(5);
    other.SetCols(5);
    Select(2, 2, 2, 2, &other);
    EXPECT_TRUE(other.Selection().Paste());
    EXPECT_EQ(Texts(other, 2, 2, 3, 2), cells);
}

// Keys typed at the grid, as a person types them -> the cells they leave, the current cell
// and the steps of undo. Characters are typed as they stand; {Shift+Return} is a key as
// shortcuts name it, {Dbl} a double-click on the current cell and {Click} a click into the
// open editor. Every case
// starts at cell (1,1) of a grid of 3 x 3 cells whose first row holds "12" and "old".
struct KeyCase {
    const char* name;
    const char* keys;
    const char* cells;  // rows separated by "/", cells by ","
    int row, col;       // the current cell afterwards
    int steps;          // edits kept in the undo history
};
class GridKeysTest : public GridWidgetTest, public ::testing::WithParamInterface<KeyCase> {
protected:
    void Run(const QString& keys) {
        QTableView& view = grid.View();
        for (qsizetype i = 0; i < keys.size(); ++i) {
            QWidget* focus = QApplication::focusWidget();
            ASSERT_NE(focus, nullptr);
            if (keys[i] != '{') {
                QTest::keyClicks(focus, keys.mid(i, 1));
                continue;
            }
            const qsizetype close = keys.indexOf('}', i);
            const QString name = keys.mid(i + 1, close - i - 1);
            i = close;
            if (name == "Dbl") {
                const QPoint at = view.visualRect(view.currentIndex()).center();
                // As the desktop sends it: a click, then the second press as a double-click.
                QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at);
                QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, at);
                QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, at);
            } else if (name == "Click") {
                QWidget* editor = view.indexWidget(view.currentIndex());
                ASSERT_NE(editor, nullptr);
                QTest::mouseClick(editor, Qt::LeftButton, {}, editor->rect().center());
            } else {
                const QKeySequence key = QKeySequence::fromString(name);
                ASSERT_EQ(key.count(), 1) << name.toStdString();
                QTest::keyClick(focus, key[0].key(), key[0].keyboardModifiers());
            }
        }
    }
};

TEST_P(GridKeysTest, KeysLeaveTheseCells) {
    const KeyCase& c = GetParam();
    Fill({{"12", "old"}});
    grid.UndoStack().clear();
    Select(1, 1, 1, 1);
    QApplication::setActiveWindow(&grid);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&grid));
    grid.View().setFocus();
    Run(QString::fromUtf8(c.keys));

    QStringList rows;
    for (const std::vector<QString>& row : Texts(grid, 1, 1, 3, 3))
        rows << QStringList(row.begin(), row.end()).join(',');
    const QModelIndex current = grid.View().currentIndex();
    EXPECT_EQ(rows.join('/').toStdString(), c.cells);
    EXPECT_EQ(std::pair(current.row() + 1, current.column() + 1), std::pair(c.row, c.col));
    EXPECT_EQ(grid.UndoStack().count(), c.steps);
    EXPECT_EQ(grid.View().indexWidget(current), nullptr) << "an editor left open";
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Typing, GridKeysTest, ::testing::Values(
    KeyCase{"RowWithArrows", "1{Right}2{Right}3{Return}", "1,2,3/,,/,,", 2, 3, 3},
    KeyCase{"ColumnWithEnter", "4{Return}5{Num+Enter}6{Shift+Return}", "4,old,/5,,/6,,", 2, 1, 3},
    KeyCase{"EveryWayOfAnEntry", "{Down}{Right}5{Up}6{Left}7{Down}{Down}8{Tab}9{Shift+Backtab}",
            "7,6,/,5,/8,9,", 3, 1, 5},
    // At the edge the text is kept and the editor closed: the next character starts afresh.
    KeyCase{"EntryAtTheRightEdge", "{Right}{Right}9{Right}8{Tab}7{Return}", "12,old,7/,,/,,",
            2, 3, 3},
    KeyCase{"EntryAtTheTopAndBottom", "3{Shift+Return}4{Up}{Down}{Down}1{Return}2{Down}",
            "4,old,/,,/2,,", 3, 1, 4},
    KeyCase{"EditMovesTheCaret", "{F2}{Left}{Left}3{End}4{Home}5{Right}{Return}{F2}x{Up}",
            "53124,old,/x,,/,,", 1, 1, 2},
    KeyCase{"DoubleClickEdits", "{Dbl}{Left}3{Down}", "132,old,/,,/,,", 2, 1, 1},
    KeyCase{"ClickIntoAnEntryEdits", "{Right}1{Click}{Left}2{Tab}", "12,21,/,,/,,", 1, 3, 1},
    KeyCase{"EscapeKeepsTheCell", "{F2}9{Esc}{Right}x{Esc}{Backspace}{Esc}", "12,old,/,,/,,",
            1, 2, 0},
    KeyCase{"BackspaceStartsAnEmptyEntry",
            "{Right}{Backspace}{Left}{Backspace}{Return}{Backspace}7{Right}", ",,/7,,/,,",
            2, 2, 3}),
    ByName());
// clang-format on

// Cut, copy, Delete and paste by their keys; each edit is one step of undo.
TEST_F(GridWidgetTest, ShortcutsAndDeleteActOnTheSelectionAndUndoOneStepEach) {
    Fill({{"a", "b"}, {"c", "d"}});
    const Cells before = Texts(grid, 1, 1, 3, 3);
    Select(1, 1, 1, 2);
    Key(Qt::Key_X, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "a\tb\r\n");
    Select(2, 1, 2, 1);
    Key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "c\r\n");
    Select(2, 1, 2, 2);
    Key(Qt::Key_Delete);
    Select(3, 3, 3, 3);
    Key(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(Texts(grid, 1, 1, 3, 3), (Cells{{"", "", ""}, {"", "", ""}, {"", "", "c"}}));
    EXPECT_EQ(grid.UndoStack().count(), 3);

    for (int i = 0; i < 3; ++i)
        Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Texts(grid, 1, 1, 3, 3), before);
    grid.UndoStack().redo();
    EXPECT_EQ(grid.CellText(1, 2), "");

    // Shrinking the grid drops cells the history refers to: the history starts afresh.
    grid.SetRows(3);
    EXPECT_EQ(grid.UndoStack().count(), 0);
}

// Overlapping ranges are emptied cell by cell, once, and undone in one step.
TEST_F(GridWidgetTest, SeveralRangesClearExactlyTheirCellsAsOneUndoStep) {
    Fill({{"a", "b", "c"}, {"d", "e", "f"}, {"g", "h", "i"}});
    Select(1, 1, 2, 1);
    auto* model = grid.View().model();
    for (const auto& [r1, c1, r2, c2] : {std::tuple(2, 1, 2, 2), std::tuple(3, 3, 3, 3)})
        grid.View().selectionModel()->select(
            QItemSelection(model->index(r1 - 1, c1 - 1), model->index(r2 - 1, c2 - 1)),
            QItemSelectionModel::Select);
    Key(Qt::Key_Delete);
    EXPECT_EQ(Texts(grid, 1, 1, 3, 3), (Cells{{"", "b", "c"}, {"", "", "f"}, {"g", "h", ""}}));
    EXPECT_EQ(grid.UndoStack().count(), 1);
    grid.UndoStack().undo();
    EXPECT_EQ(Texts(grid, 1, 1, 3, 3), (Cells{{"a", "b", "c"}, {"d", "e", "f"}, {"g", "h", "i"}}));
}

TEST_F(GridWidgetTest, DisabledGridTakesNoInputAndRaisesNoEvents) {
    QSignalSpy spy(&grid, &GridWidget::MouseDown);
    grid.SetEnabled(false);
    Select(1, 1, 1, 1);
    QTest::keyClicks(&grid.View(), "9");
    grid.CommitEdit();  // an editor opened by the key would write its text now
    QTest::mouseClick(grid.View().viewport(), Qt::RightButton, {}, QPoint(5, 5));
    EXPECT_EQ(grid.CellText(1, 1), "");
    EXPECT_EQ(spy.count(), 0);

    grid.SetEnabled(true);
    QTest::mouseClick(grid.View().viewport(), Qt::RightButton, {}, QPoint(5, 5));
    EXPECT_EQ(spy.count(), 1);
}

TEST_F(GridWidgetTest, MouseDownReportsEveryButtonAtItsGridPosition) {
    grid.Column(0).SetWidth(50);
    grid.SetRowHeight(0, 25);
    QCoreApplication::processEvents();
    QSignalSpy spy(&grid, &GridWidget::MouseDown);
    QTest::mouseClick(grid.View().viewport(), Qt::RightButton, Qt::ControlModifier, QPoint(10, 5));
    QTest::mouseClick(grid.View().horizontalHeader()->viewport(), Qt::MiddleButton,
                      Qt::ShiftModifier | Qt::AltModifier, QPoint(70, 3));
    QTest::mouseClick(grid.View().verticalHeader()->viewport(), Qt::LeftButton, {}, QPoint(4, 30));
    // With the headings hidden, the cells start at the grid's corner.
    grid.Column(0).SetWidth(0);
    grid.SetRowHeight(0, 0);
    QCoreApplication::processEvents();
    QTest::mouseClick(grid.View().viewport(), Qt::RightButton, {}, QPoint(1, 1));
    // Button and keys come as the event brought them; the window gives them their numbers.
    ASSERT_EQ(spy.count(), 4);
    const QPointF expected[] = {{60, 30}, {120, 3}, {4, 55}, {1, 1}};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(spy.at(i)[2].toPointF(), expected[i]) << i;
    EXPECT_EQ(spy.at(1)[1].value<Qt::KeyboardModifiers>(), Qt::ShiftModifier | Qt::AltModifier);
}

TEST_F(GridWidgetTest, ViewFollowsSizesAndTopRow) {
    grid.Column(2).SetWidth(90);
    grid.Column(3).SetWidth(0);
    grid.Column(0).SetWidth(33);
    grid.SetRowHeight(2, 41);
    QTableView& view = grid.View();
    EXPECT_EQ(std::tuple(view.columnWidth(1), view.isColumnHidden(2),
                         view.verticalHeader()->width(), view.rowHeight(1)),
              std::tuple(90, true, 33, 41));
    grid.SetRowHeight(0, 0);
    EXPECT_TRUE(view.horizontalHeader()->isHidden());

    grid.SetRows(300);
    grid.SetTopRow(120);
    QCoreApplication::processEvents();
    EXPECT_EQ(view.rowAt(0), 119);
}

}  // namespace
