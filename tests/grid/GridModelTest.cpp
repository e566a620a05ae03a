#include "GridModel.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

TEST(GridModelTest, StartsInDesignStateAndTakesCountsBelowOneAsOne) {
    GridModel grid;
    EXPECT_EQ(std::make_tuple(grid.Rows(), grid.Cols(), grid.rowCount(), grid.columnCount()),
              std::make_tuple(30, 5, 29, 4));
    for (const int count : {0, -7}) {
        grid.SetRows(count);
        grid.SetCols(count);
        EXPECT_EQ(std::make_tuple(grid.Rows(), grid.Cols(), grid.rowCount()),
                  std::make_tuple(1, 1, 0));
    }
}

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
    EXPECT_EQ(std::tuple(grid.CellText(3, 3), grid.CellFormat(3, 3), grid.ColumnWidth(3),
                         grid.RowHeight(3)),
              std::tuple(QString(), 0, GridModel::DefaultColumnWidth, GridModel::DefaultRowHeight));
}

TEST(GridModelTest, WritesGrowTheGridAndKeepUtf8Texts) {
    GridModel grid;
    const QString text = QString::fromUtf8("π ≈ 3,14 \xF0\x9F\x98\x80");
    grid.SetCellText(40, 12, text);
    EXPECT_EQ(std::make_tuple(grid.Rows(), grid.Cols(), grid.CellText(40, 12)),
              std::make_tuple(41, 13, text));
    const std::string big(300000, 'q');  // longer than a block of the arena
    grid.SetCellText(2, 1, big);
    grid.SetCellText(2, 2, grid.CellUtf8(2, 1));  // copying from the grid itself
    EXPECT_EQ(grid.CellUtf8(2, 2), big);
    EXPECT_EQ(grid.CellText(40, 12), text);
}

TEST(GridModelTest, UsedRangeCountsOnlyNonEmptyDataCells) {
    GridModel grid;
    EXPECT_EQ(grid.LastUsedRow(), 0);
    grid.SetCellText(0, 4, "heading");
    grid.SetCellText(20, 0, "heading");
    grid.SetCellText(40, 9, "gone");
    grid.SetCellText(40, 9, "");
    grid.SetCellText(2, 3, "x");
    grid.SetCellText(5, 1, "y");
    EXPECT_EQ(std::make_tuple(grid.LastUsedRow(), grid.LastUsedCol()), std::make_tuple(5, 3));
}

TEST(GridModelTest, ItemsAndHeadersMapOntoCells) {
    GridModel grid;
    grid.SetCellText(0, 2, "2");
    grid.SetCellText(3, 0, "3");
    grid.SetCellText(3, 2, "12.5");
    grid.SetCellText(4, 2, "1,5");
    EXPECT_EQ(grid.headerData(1, Qt::Horizontal).toString(), "2");
    EXPECT_EQ(grid.headerData(2, Qt::Vertical).toString(), "3");
    EXPECT_EQ(grid.data(grid.index(2, 1)).toString(), "12.5");

    const auto align = [&](int row) {
        return grid.data(grid.index(row, 1), Qt::TextAlignmentRole).toInt() &
               Qt::AlignHorizontal_Mask;
    };
    EXPECT_EQ(std::make_pair(align(2), align(3)), std::make_pair(+Qt::AlignRight, +Qt::AlignLeft));
    grid.SetDecimalSeparator(',');  // numbers as the exports take them: "1,5" is one now
    EXPECT_EQ(align(3), Qt::AlignRight);
    grid.SetSheetFlag(true);  // a report: everything left-aligned
    EXPECT_EQ(align(2), Qt::AlignLeft);

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
    EXPECT_EQ(std::make_pair(headings[0][1].toInt(), headings[0][2].toInt()), std::make_pair(0, 2));

    grid.SetCellText(2, 1, "2");  // the same text again: nothing to announce
    grid.FlushNotifications();
    EXPECT_EQ(changed.count(), 1);
}

// Writes, growth, shrinking with changes still pending and edits through the Qt API, all
// watched by Qt's model checker (which aborts the program on a fault).
TEST(GridModelTest, SatisfiesQtModelChecks) {
    GridModel grid;
    QAbstractItemModelTester tester(&grid, QAbstractItemModelTester::FailureReportingMode::Fatal);
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
    EXPECT_EQ(std::make_pair(grid.CellText(3, 3), grid.CellText(2, 2)),
              std::make_pair(QString("c"), QString("d")));
}

TEST(GridModelTest, StorageStaysCompactThroughOverwritesAndClearing) {
    GridModel grid;
    for (int r = 1; r <= 2000; ++r) {
        for (int c = 1; c <= 200; ++c)
            grid.SetCellText(r, c, "-0.123456789012345");
    }
    EXPECT_LT(grid.StorageBytes(), std::size_t(2000 * 200 * 40));

    // Rewriting every cell many times keeps the garbage in check and loses no text.
    for (int round = 0; round < 5; ++round) {
        for (int r = 1; r <= 2000; ++r) {
            for (int c = 1; c <= 200; ++c)
                grid.SetCellText(r, c, std::to_string(round * r * c));
        }
    }
    EXPECT_LT(grid.StorageBytes(), std::size_t(2000 * 200 * 40));
    EXPECT_EQ(grid.CellUtf8(1999, 7), std::to_string(4 * 1999 * 7));

    grid.SetRows(31);
    grid.SetCols(11);
    EXPECT_LT(grid.StorageBytes(), std::size_t(256 * 1024));
    EXPECT_EQ(grid.CellUtf8(30, 10), std::to_string(4 * 30 * 10));
}

// Writing a row of texts at once leaves the grid as writing them one by one: overwrites,
// empty texts, and a row reaching past the grid's last row and column.
TEST(GridModelTest, RowWritesMatchCellWrites) {
    using Texts = std::vector<std::string_view>;
    const std::tuple<int, int, Texts> writes[] = {
        {2, 1, {"1", "", "x", "", ""}},     {2, 2, {"", "y", "zz", "w"}}, {7, 3, {"a", "b"}},
        {40, 4, {"", "", "", "", "", "q"}}, {2, 1, {"", "", "", "", ""}}, {3, 1, {"", ""}}};
    GridModel byRow, byCell;
    for (const auto& [row, first, texts] : writes) {
        byRow.SetRowTexts(row, first, texts.data(), int(texts.size()));
        for (std::size_t i = 0; i < texts.size(); ++i)
            byCell.SetCellText(row, first + int(i), texts[i]);
    }
    ASSERT_EQ(std::make_pair(byRow.Rows(), byRow.Cols()),
              std::make_pair(byCell.Rows(), byCell.Cols()));
    for (int r = 0; r < byCell.Rows(); ++r)
        for (int c = 0; c < byCell.Cols(); ++c)
            EXPECT_EQ(byRow.CellUtf8(r, c), byCell.CellUtf8(r, c)) << r << ", " << c;
    EXPECT_EQ(byRow.LastUsedRow(), byCell.LastUsedRow());
}

// A grid emptied and written again with as much text reuses the memory it had.
TEST(GridModelTest, RefillingAClearedSheetReusesItsStorage) {
    GridModel grid;
    const std::vector<std::string_view> row(200, "-0.123456789012345");
    std::size_t bytes = 0;
    for (int round = 0; round < 3; ++round) {
        grid.SetRows(1);
        for (int r = 1; r <= 2000; ++r)
            grid.SetRowTexts(r, 1, row.data(), int(row.size()));
        if (round == 0) bytes = grid.StorageBytes();
        EXPECT_EQ(grid.StorageBytes(), bytes) << round;
    }
    EXPECT_EQ(grid.CellUtf8(2000, 200), row[0]);
}

}  // namespace
