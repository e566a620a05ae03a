#include "GridModel.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QStringList>
#include <string>
#include <tuple>

namespace {

// Collects the warnings QAbstractItemModelTester reports while it is attached.
class ModelWarnings {
public:
    ModelWarnings() { previous_ = qInstallMessageHandler(&ModelWarnings::Handle); }
    ~ModelWarnings() { qInstallMessageHandler(previous_); }
    static QStringList& Messages() {
        static QStringList messages;
        return messages;
    }

private:
    static void Handle(QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type != QtDebugMsg && type != QtInfoMsg) Messages().append(text);
    }
    QtMessageHandler previous_;
};

TEST(GridModelTest, StartsInDesignState) {
    GridModel grid;
    EXPECT_EQ(grid.Rows(), 30);
    EXPECT_EQ(grid.Cols(), 5);
    EXPECT_EQ(grid.rowCount(), 29);
    EXPECT_EQ(grid.columnCount(), 4);
    EXPECT_EQ(grid.ColumnWidth(4), GridModel::DefaultColumnWidth);
    EXPECT_EQ(grid.RowHeight(29), GridModel::DefaultRowHeight);
    EXPECT_TRUE(grid.Enabled());
    EXPECT_FALSE(grid.SheetFlag());
    EXPECT_EQ(grid.LastUsedRow(), 0);
}

class GridCountTest : public ::testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(GridCountTest, SetCountReadsBackClampedToOne) {
    const auto [set, expected] = GetParam();
    GridModel grid;
    grid.SetRows(set);
    grid.SetCols(set);
    EXPECT_EQ(grid.Rows(), expected);
    EXPECT_EQ(grid.Cols(), expected);
    EXPECT_EQ(grid.rowCount(), expected - 1);
    EXPECT_EQ(grid.columnCount(), expected - 1);
}

INSTANTIATE_TEST_SUITE_P(Counts, GridCountTest,
                         ::testing::Values(std::make_tuple(31, 31), std::make_tuple(1, 1),
                                           std::make_tuple(0, 1), std::make_tuple(-7, 1),
                                           std::make_tuple(4, 4)));

TEST(GridModelTest, ShrinkingDropsCellsFormatsAndSizes) {
    GridModel grid;
    grid.SetCellText(3, 3, "x");
    grid.SetCellFormat(3, 3, 10);
    grid.SetColumnWidth(3, 0);
    grid.SetRowHeight(3, 0);
    grid.SetRows(3);
    grid.SetCols(3);
    EXPECT_EQ(grid.CellText(3, 3), "");  // outside the grid
    grid.SetRows(10);
    grid.SetCols(10);
    EXPECT_EQ(grid.CellText(3, 3), "");
    EXPECT_EQ(grid.CellFormat(3, 3), 0);
    EXPECT_EQ(grid.ColumnWidth(3), GridModel::DefaultColumnWidth);
    EXPECT_EQ(grid.RowHeight(3), GridModel::DefaultRowHeight);
}

TEST(GridModelTest, WritingBeyondTheCountsGrowsTheGrid) {
    GridModel grid;
    grid.SetCellText(40, 12, "far");
    EXPECT_EQ(grid.Rows(), 41);
    EXPECT_EQ(grid.Cols(), 13);
    EXPECT_EQ(grid.CellText(40, 12), "far");
    EXPECT_EQ(grid.CellText(41, 12), "");
    EXPECT_EQ(grid.CellText(-1, 0), "");
    grid.SetCellText(-1, 2, "ignored");
    EXPECT_EQ(grid.Rows(), 41);
}

TEST(GridModelTest, TextsRoundTripAsUtf8) {
    GridModel grid;
    const QString text = QString::fromUtf8("π ≈ 3,14 \xF0\x9F\x98\x80");
    grid.SetCellText(1, 1, text);
    EXPECT_EQ(grid.CellText(1, 1), text);
    EXPECT_EQ(grid.CellUtf8(1, 1), text.toUtf8().toStdString());
    const std::string big(300000, 'q');  // longer than a block of the arena
    grid.SetCellText(2, 1, big);
    grid.SetCellText(2, 2, grid.CellUtf8(2, 1));  // copying from the grid itself
    EXPECT_EQ(grid.CellUtf8(2, 2), big);
    EXPECT_EQ(grid.CellUtf8(1, 1), text.toUtf8().toStdString());
}

class UsedRangeTest : public ::testing::TestWithParam<std::tuple<int, int, int, int>> {};

TEST_P(UsedRangeTest, CountsOnlyNonEmptyDataCells) {
    const auto [row, col, lastRow, lastCol] = GetParam();
    GridModel grid;
    grid.SetCellText(0, 4, "heading");
    grid.SetCellText(20, 0, "heading");
    grid.SetCellText(2, 3, "x");
    grid.SetCellText(40, 9, "gone");
    grid.SetCellText(40, 9, "");  // emptied again: not used any more
    grid.SetCellText(5, 1, "z");
    grid.SetCellText(row, col, "y");
    EXPECT_EQ(grid.LastUsedRow(), lastRow);
    EXPECT_EQ(grid.LastUsedCol(), lastCol);
}

INSTANTIATE_TEST_SUITE_P(Cells, UsedRangeTest,
                         ::testing::Values(std::make_tuple(0, 0, 5, 3), std::make_tuple(9, 2, 9, 3),
                                           std::make_tuple(1, 4, 5, 4),
                                           std::make_tuple(35, 8, 35, 8)));

TEST(GridModelTest, ItemsAndHeadersMapOntoCells) {
    GridModel grid;
    grid.SetCellText(0, 2, "2");
    grid.SetCellFormat(0, 2, 10);
    grid.SetCellText(3, 0, "3");
    grid.SetCellText(3, 2, "12.5");
    grid.SetCellText(4, 2, "abc");
    EXPECT_EQ(grid.headerData(1, Qt::Horizontal).toString(), "2");
    EXPECT_EQ(grid.headerData(2, Qt::Vertical).toString(), "3");
    EXPECT_EQ(grid.data(grid.index(2, 1)).toString(), "12.5");
    EXPECT_TRUE(grid.setData(grid.index(0, 0), QString("typed")));
    EXPECT_EQ(grid.CellText(1, 1), "typed");

    const auto align = [&](int row, int col) {
        return grid.data(grid.index(row, col), Qt::TextAlignmentRole).toInt() &
               Qt::AlignHorizontal_Mask;
    };
    EXPECT_EQ(align(2, 1), Qt::AlignRight);
    EXPECT_EQ(align(3, 1), Qt::AlignLeft);
    grid.SetSheetFlag(true);
    EXPECT_EQ(align(2, 1), Qt::AlignLeft);

    EXPECT_TRUE(grid.flags(grid.index(0, 0)) & Qt::ItemIsEditable);
    grid.SetEnabled(false);
    EXPECT_FALSE(grid.flags(grid.index(0, 0)) & (Qt::ItemIsEditable | Qt::ItemIsEnabled));
}

TEST(GridModelTest, BatchesChangesIntoOneNotification) {
    GridModel grid;
    QSignalSpy changed(&grid, &QAbstractItemModel::dataChanged);
    QSignalSpy headings(&grid, &QAbstractItemModel::headerDataChanged);
    for (int r = 2; r <= 6; ++r) {
        for (int c = 1; c <= 3; ++c)
            grid.SetCellText(r, c, std::to_string(r * c));
    }
    grid.SetCellText(0, 1, "h");
    grid.SetCellText(0, 3, "h");
    EXPECT_EQ(changed.count(), 0);
    QCoreApplication::processEvents();
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex(), grid.index(1, 0));
    EXPECT_EQ(changed[0][1].toModelIndex(), grid.index(5, 2));
    ASSERT_EQ(headings.count(), 1);
    EXPECT_EQ(headings[0][1].toInt(), 0);
    EXPECT_EQ(headings[0][2].toInt(), 2);

    // Writing the same text again changes nothing and announces nothing.
    grid.SetCellText(2, 1, "2");
    grid.FlushNotifications();
    EXPECT_EQ(changed.count(), 1);
}

// Writes, growth, shrinking with changes still pending and edits through the Qt API, all
// watched by Qt's model checker.
TEST(GridModelTest, SatisfiesQtModelChecks) {
    ModelWarnings warnings;
    ModelWarnings::Messages().clear();
    GridModel grid;
    QAbstractItemModelTester tester(&grid, QAbstractItemModelTester::FailureReportingMode::Warning);
    QSignalSpy changed(&grid, &QAbstractItemModel::dataChanged);

    grid.SetCellText(25, 4, "a");
    grid.SetCellText(45, 9, "b");  // grows both counts
    grid.SetCellText(0, 9, "h");
    grid.SetCellText(9, 0, "v");
    grid.SetCellText(15, 2, "in");
    grid.SetCellText(45, 9, "b2");
    // Shrinking announces the pending changes, cut to the rows that remain.
    const qsizetype before = changed.count();
    grid.SetRows(20);
    ASSERT_EQ(changed.count(), before + 1);
    EXPECT_EQ(changed.last()[0].toModelIndex(), grid.index(14, 1));
    EXPECT_EQ(changed.last()[1].toModelIndex(), grid.index(18, 8));
    grid.SetCols(3);
    grid.SetRows(1);
    grid.SetCols(1);
    grid.SetCellText(3, 3, "c");
    grid.setData(grid.index(1, 1), QString("d"));
    grid.SetRows(31);
    grid.SetCols(11);
    QCoreApplication::processEvents();
    EXPECT_EQ(grid.CellText(3, 3), "c");
    EXPECT_EQ(grid.CellText(2, 2), "d");
    EXPECT_TRUE(ModelWarnings::Messages().isEmpty())
        << ModelWarnings::Messages().join('\n').toStdString();
}

TEST(GridModelTest, StorageStaysCompactThroughOverwritesAndClearing) {
    GridModel grid;
    grid.SetRows(2001);
    grid.SetCols(201);
    const std::string sample = "-0.123456789012345";
    for (int r = 1; r <= 2000; ++r) {
        for (int c = 1; c <= 200; ++c)
            grid.SetCellText(r, c, sample);
    }
    const double perCell = double(grid.StorageBytes()) / (2000.0 * 200.0);
    EXPECT_LT(perCell, 40.0);

    // Rewriting every cell many times keeps the garbage in check and loses no text.
    for (int round = 0; round < 5; ++round) {
        for (int r = 1; r <= 2000; ++r) {
            for (int c = 1; c <= 200; ++c) {
                grid.SetCellText(r, c, std::to_string(round * 1000003 + r * 211 + c));
            }
        }
    }
    EXPECT_LT(grid.StorageBytes(), std::size_t(2000 * 200 * 40));
    EXPECT_EQ(grid.CellUtf8(1999, 7), std::to_string(4 * 1000003 + 1999 * 211 + 7));

    grid.SetRows(31);
    grid.SetCols(11);
    EXPECT_LT(grid.StorageBytes(), std::size_t(256 * 1024));
    EXPECT_EQ(grid.CellUtf8(30, 10), std::to_string(4 * 1000003 + 30 * 211 + 10));
}

}  // namespace
