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
}

TEST(UndoHistory, PastTheBudgetTheOldestStepsGoAndTheRestStillWork) {
    GridModel model;
    QUndoStack history;
    const auto text = [](int step) { return std::string(10000, char('a' + step)); };
    const auto push = [&](int cols, int step) {
        PushEdit(history,
                 std::make_unique<CellBlockCommand>(model, QRect(1, 1, cols, 1),
                                                    CellBlock::Filled(text(step))),
                 50000);
    };
    for (int step = 0; step < 6; ++step)
        push(2, step);
    // Each step holds two texts of 10,000 bytes in each of two cells.
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
