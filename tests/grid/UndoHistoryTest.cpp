// The grid's undo history: steps keep only the cells they change, and past its memory
// budget the history drops its oldest steps while the rest still undo and redo.
#include <gtest/gtest.h>

#include <QUndoStack>
#include <string>

#include "GridEditCommands.h"
#include "GridModel.h"

namespace {

TEST(UndoHistory, StepKeepsOnlyTheCellsItChanges) {
    GridModel model;
    model.SetRows(301);
    model.SetCols(301);
    const QRect all(1, 1, 300, 300);
    CellBlockCommand clearEmpty(model, all, CellBlock::Filled(""));
    model.SetCellText(7, 9, std::string(1000, 'x'));
    CellBlockCommand clearOne(model, all, CellBlock::Filled(""));
    // 90,000 cells are covered, one changes: the step holds about that one text.
    EXPECT_LT(clearEmpty.Bytes(), 1000u);
    EXPECT_LT(clearOne.Bytes(), 2000u);
    clearOne.redo();
    EXPECT_EQ(model.CellUtf8(7, 9), "");
    clearOne.undo();
    EXPECT_EQ(model.CellUtf8(7, 9), std::string(1000, 'x'));

    // A block pasted over empty cells keeps its own texts only, and undoes to empty cells
    // in every corner; over a written block, the texts from before come back.
    GridModel sheet;
    sheet.SetRows(301);
    sheet.SetCols(301);
    CellBlockCommand fill(sheet, all, CellBlock::Filled("12.5"));
    EXPECT_LT(fill.Bytes(), 90000u * (sizeof(std::size_t) + 4) + 1000);
    fill.redo();
    EXPECT_LT(fill.Bytes(), 1000u);  // carried out, its texts stand in the grid alone
    CellBlockCommand over(sheet, QRect(299, 2, 2, 2), CellBlock::Filled("7"));
    over.redo();
    EXPECT_EQ(sheet.CellUtf8(3, 300), "7");
    over.undo();
    EXPECT_EQ(sheet.CellUtf8(3, 300), "12.5");
    fill.undo();
    for (const auto& [row, col] : {std::pair(1, 1), {1, 300}, {300, 1}, {300, 300}, {3, 300}})
        EXPECT_EQ(sheet.CellUtf8(row, col), "") << row << ',' << col;
    fill.redo();
    EXPECT_EQ(sheet.CellUtf8(300, 1), "12.5");
}

TEST(UndoHistory, PastTheBudgetTheOldestStepsGoAndTheRestStillWork) {
    GridModel model;
    QUndoStack history;
    const auto text = [](int step) { return std::string(10000, char('a' + step)); };
    const auto push = [&](int cols, int step) {
        PushEdit(history,
                 std::make_unique<CellBlockCommand>(model, QRect(1, 1, cols, 1),
                                                    CellBlock::Filled(text(step))),
                 25000);
    };
    for (int step = 0; step < 6; ++step)
        push(2, step);
    // Each step carried out holds the texts of 10,000 bytes it replaced in two cells.
    EXPECT_EQ(history.count(), 1);
    EXPECT_EQ(model.CellUtf8(1, 2), text(5));

    for (int step = 6; step < 9; ++step)
        push(1, step);
    EXPECT_EQ(history.count(), 2);
    EXPECT_EQ(model.CellUtf8(1, 1), text(8));
    history.undo();
    history.undo();
    EXPECT_EQ(model.CellUtf8(1, 1), text(6));
    EXPECT_FALSE(history.canUndo());
    history.redo();
    history.redo();
    EXPECT_EQ(model.CellUtf8(1, 1), text(8));
    EXPECT_EQ(model.CellUtf8(1, 2), text(5));
}

}  // namespace
