// The grid widget as the user works it: the clipboard between grids and other programs,
// typing and keys, undo, the disabled state, the mouse-button event and the view's sizes.
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QUndoStack>

#include "GridWidget.h"

namespace {

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

    void Fill(const std::vector<std::vector<QString>>& rows, int top = 1, int left = 1) {
        for (std::size_t r = 0; r < rows.size(); ++r)
            for (std::size_t c = 0; c < rows[r].size(); ++c)
                grid.SetCellText(top + int(r), left + int(c), rows[r][c]);
    }
    std::vector<std::vector<QString>> Texts(int top, int left, int rows, int cols) {
        std::vector<std::vector<QString>> out{std::size_t(rows), std::vector<QString>(cols)};
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < cols; ++c)
                out[r][c] = grid.CellText(top + r, left + c);
        return out;
    }
    // Selects data cells (row, col) to (row2, col2), in model coordinates.
    void Select(QTableView& view, int row, int col, int row2, int col2) {
        auto* model = view.model();
        view.setCurrentIndex(model->index(row - 1, col - 1));
        view.selectionModel()->select(
            QItemSelection(model->index(row - 1, col - 1), model->index(row2 - 1, col2 - 1)),
            QItemSelectionModel::ClearAndSelect);
    }
    void Select(int row, int col, int row2, int col2) { Select(grid.View(), row, col, row2, col2); }
    void Key(int key, Qt::KeyboardModifiers mods = Qt::NoModifier, const QString& text = {}) {
        // Keys go to the cell editor while one is open, else to the view.
        QWidget* target = &grid.View();
        for (QLineEdit* editor : grid.View().findChildren<QLineEdit*>())
            if (editor->isVisible()) target = editor;
        QKeyEvent press(QEvent::KeyPress, key, mods, text);
        QApplication::sendEvent(target, &press);
    }
    void Type(const QString& text) {
        for (QChar c : text)
            Key(c.unicode(), Qt::NoModifier, QString(c));
    }

    GridWidget grid;
};

TEST_F(GridWidgetTest, CopyPasteBetweenGridsKeepsTexts) {
    Fill({{"1", "tab\there"}, {"\"q\"", "two\nlines"}});
    Select(1, 1, 2, 2);
    EXPECT_TRUE(grid.Selection().Copy());
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    EXPECT_EQ(mime->text(), "1\t\"tab\there\"\n\"\"\"q\"\"\"\t\"two\nlines\"\n");
    EXPECT_TRUE(mime->html().contains("<table"));

    GridWidget other;
    other.SetRows(5);
    other.SetCols(5);
    Select(other.View(), 2, 2, 2, 2);
    EXPECT_TRUE(other.Selection().Paste());
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 2; ++c)
            EXPECT_EQ(other.CellText(2 + r, 2 + c), grid.CellText(1 + r, 1 + c));
}

TEST_F(GridWidgetTest, PasteStopsAtTheGridsEdges) {
    QGuiApplication::clipboard()->setText("[1 2 3; 4 5 6; 7 8 9]");
    Select(2, 2, 2, 2);
    grid.Selection().Paste();
    EXPECT_EQ(Texts(1, 1, 3, 3),
              (std::vector<std::vector<QString>>{{"", "", ""}, {"", "1", "2"}, {"", "4", "5"}}));
    EXPECT_EQ(grid.Rows(), 4);
    EXPECT_EQ(grid.Cols(), 4);
}

TEST_F(GridWidgetTest, OneValueFillsTheSelection) {
    QGuiApplication::clipboard()->setText("7\n");
    Select(1, 1, 2, 3);
    grid.Selection().Paste();
    EXPECT_EQ(Texts(1, 1, 3, 3),
              (std::vector<std::vector<QString>>{{"7", "7", "7"}, {"7", "7", "7"}, {"", "", ""}}));
}

TEST_F(GridWidgetTest, CutClearAndPasteUndoOneStepEach) {
    Fill({{"a", "b"}, {"c", "d"}});
    const auto before = Texts(1, 1, 3, 3);
    Select(1, 1, 1, 2);
    grid.Selection().Cut();
    EXPECT_EQ(grid.CellText(1, 1), "");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "a\tb\n");
    Select(2, 1, 2, 2);
    grid.Selection().ClearContents();
    Select(3, 3, 3, 3);
    grid.Selection().Paste();
    EXPECT_EQ(grid.CellText(3, 3), "a");
    EXPECT_EQ(grid.Rows(), 4);
    EXPECT_EQ(grid.Cols(), 4);
    EXPECT_EQ(grid.UndoStack().count(), 3);

    grid.View().setFocus();
    for (int i = 0; i < 3; ++i)
        Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Texts(1, 1, 3, 3), before);
    grid.UndoStack().redo();
    EXPECT_EQ(grid.CellText(1, 2), "");

    // Shrinking the grid drops cells the history refers to: the history starts afresh.
    grid.SetRows(3);
    EXPECT_EQ(grid.UndoStack().count(), 0);
}

TEST_F(GridWidgetTest, TypingReplacesTheCellAndEnterMovesDown) {
    Fill({{"old"}});
    Select(1, 1, 1, 1);
    Type("42");
    Key(Qt::Key_Return);
    EXPECT_EQ(grid.CellText(1, 1), "42");
    EXPECT_EQ(grid.View().currentIndex().row(), 1);

    // F2 keeps the text and appends; Tab commits and moves right.
    Select(1, 1, 1, 1);
    Key(Qt::Key_F2);
    Type("5");
    Key(Qt::Key_Tab);
    EXPECT_EQ(grid.CellText(1, 1), "425");
    EXPECT_EQ(grid.View().currentIndex().column(), 1);

    // Escape throws the edit away.
    Type("x");
    Key(Qt::Key_Escape);
    EXPECT_EQ(grid.CellText(1, 2), "");

    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(grid.CellText(1, 1), "42");
    EXPECT_EQ(grid.UndoStack().count(), 2);
}

TEST_F(GridWidgetTest, DeleteAndShortcutsActOnTheSelection) {
    Fill({{"1", "2"}, {"3", "4"}});
    Select(1, 1, 2, 1);
    Key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "1\n3\n");
    Key(Qt::Key_Delete);
    EXPECT_EQ(Texts(1, 1, 2, 2), (std::vector<std::vector<QString>>{{"", "2"}, {"", "4"}}));
    Select(1, 3, 1, 3);
    Key(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(grid.CellText(1, 3), "1");
    EXPECT_EQ(grid.CellText(2, 3), "3");
}

TEST_F(GridWidgetTest, DisabledGridTakesNoInputAndRaisesNoEvents) {
    QSignalSpy spy(&grid, &GridWidget::MouseDown);
    grid.SetEnabled(false);
    EXPECT_FALSE(grid.isEnabled());
    Select(1, 1, 1, 1);
    Type("9");
    QTest::mouseClick(grid.View().viewport(), Qt::RightButton, {}, QPoint(5, 5));
    EXPECT_EQ(grid.CellText(1, 1), "");
    EXPECT_EQ(spy.count(), 0);

    grid.SetEnabled(true);
    QTest::mouseClick(grid.View().viewport(), Qt::RightButton, {}, QPoint(5, 5));
    EXPECT_EQ(spy.count(), 1);
}

TEST_F(GridWidgetTest, MouseDownReportsButtonShiftAndGridPosition) {
    grid.Column(0).SetWidth(50);
    grid.SetRowHeight(0, 25);
    QCoreApplication::processEvents();
    QSignalSpy spy(&grid, &GridWidget::MouseDown);
    QTest::mousePress(grid.View().viewport(), Qt::RightButton, Qt::ControlModifier, QPoint(10, 5));
    QTest::mouseRelease(grid.View().viewport(), Qt::RightButton, Qt::ControlModifier,
                        QPoint(10, 5));
    QTest::mouseClick(grid.View().horizontalHeader()->viewport(), Qt::MiddleButton,
                      Qt::ShiftModifier | Qt::AltModifier, QPoint(70, 3));
    QTest::mouseClick(grid.View().verticalHeader()->viewport(), Qt::LeftButton, {}, QPoint(4, 30));
    ASSERT_EQ(spy.count(), 3);
    const QList<QVariant> expected[] = {
        {2, 2, 60.0f, 30.0f}, {4, 5, 120.0f, 3.0f}, {1, 0, 4.0f, 55.0f}};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(spy.at(i), expected[i]) << i;

    // With the headings hidden, the cells start at the grid's corner.
    grid.Column(0).SetWidth(0);
    grid.SetRowHeight(0, 0);
    QCoreApplication::processEvents();
    QTest::mouseClick(grid.View().viewport(), Qt::RightButton, {}, QPoint(1, 1));
    EXPECT_EQ(spy.at(3), (QList<QVariant>{2, 0, 1.0f, 1.0f}));
}

TEST_F(GridWidgetTest, ViewFollowsSizesAndTopRow) {
    grid.Column(2).SetWidth(90);
    grid.Column(3).SetWidth(0);
    grid.Column(0).SetWidth(33);
    grid.SetRowHeight(2, 41);
    EXPECT_EQ(grid.View().columnWidth(1), 90);
    EXPECT_TRUE(grid.View().isColumnHidden(2));
    EXPECT_EQ(grid.View().verticalHeader()->width(), 33);
    EXPECT_EQ(grid.View().rowHeight(1), 41);
    grid.SetRowHeight(0, 0);
    EXPECT_TRUE(grid.View().horizontalHeader()->isHidden());

    grid.SetRows(300);
    grid.SetTopRow(120);
    QCoreApplication::processEvents();
    EXPECT_EQ(grid.View().rowAt(0), 119);
}

struct ExportCase {
    const char* name;
    bool (GridWidget::*run)(const QString&);
    const char* filter;
    const char* title;
};

class GridExportAsk : public ::testing::TestWithParam<ExportCase> {};

TEST_P(GridExportAsk, EmptyPathAsksAndCancelAnswersFalse) {
    GridWidget grid;
    EXPECT_FALSE((grid.*GetParam().run)(QString()));  // no asker at all
    QStringList asked;
    grid.SetDestinationAsker(
        [&](const QString& filter, const QString& title, const QString& initial) {
            asked << filter << title << initial;
            return QString();
        });
    EXPECT_FALSE((grid.*GetParam().run)(QString()));
    EXPECT_EQ(asked, (QStringList{GetParam().filter, GetParam().title, QString()}));
    asked.clear();
    EXPECT_FALSE((grid.*GetParam().run)("/nonexistent-folder/x"));
    EXPECT_TRUE(asked.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Formats, GridExportAsk,
                         ::testing::Values(ExportCase{"Pdf", &GridWidget::ExportPdf,
                                                      "PDF file (*.pdf)|*.pdf", "Export PDF file"},
                                           ExportCase{"Csv", &GridWidget::ExportCsv,
                                                      "CSV file (*.csv)|*.csv", "Export CSV file"},
                                           ExportCase{"Xml", &GridWidget::ExportXml,
                                                      "XML file (*.xml)|*.xml", "Export XML file"}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
