// Which inputs each operation enables, and Compute from the grids to the result sheet,
// including the run-time error that ends the program.

#include <QApplication>
#include <QRadioButton>
#include <QTableView>

#include "WindowFixture.h"

namespace {

using Strings = std::vector<QString>;

// The inputs of B and the constant follow the chosen computation.
struct EnablingCase {
    int position;  // -1: a typed text that is no entry
    bool usesB;
    bool usesConstant;
};
class EnablingTest : public WindowTest, public ::testing::WithParamInterface<EnablingCase> {};

TEST_P(EnablingTest, EnablesExactlyTheInputsTheOperationReads) {
    const EnablingCase& c = GetParam();
    if (c.position >= 0) {
        window->Combo1->setCurrentIndex(c.position);
    } else {
        window->Combo1->setCurrentIndex(2);
        window->Combo1->setEditText("A/B");
        emit window->Combo1->activated(2);
    }
    auto check = [&](bool usesB, bool usesConstant) {
        EXPECT_EQ(window->Text3->isEnabled(), usesB);
        EXPECT_EQ(window->Text4->isEnabled(), usesB);
        EXPECT_EQ(window->Grid2->Enabled(), usesB);
        EXPECT_EQ(window->Text5->isEnabled(), usesConstant);
    };
    check(c.usesB, c.usesConstant);

    window->Option2->setChecked(true);  // a decomposition reads only A
    EXPECT_FALSE(window->Combo1->isEnabled());
    EXPECT_TRUE(window->Combo2->isEnabled());
    check(false, false);
    window->Option1->setChecked(true);
    EXPECT_FALSE(window->Combo2->isEnabled());
    check(c.usesB, c.usesConstant);
}

INSTANTIATE_TEST_SUITE_P(
    Positions, EnablingTest,
    ::testing::Values(EnablingCase{0, true, false}, EnablingCase{1, true, false},
                      EnablingCase{2, false, true}, EnablingCase{3, true, false},
                      EnablingCase{4, false, false}, EnablingCase{5, true, false},
                      EnablingCase{6, false, false}, EnablingCase{7, false, false},
                      EnablingCase{8, false, false}, EnablingCase{-1, false, false}));

// Worked examples: operands typed in, Compute, and the rows of the sheet that show the result.
struct ComputeCase {
    const char* name;
    bool decomposition;
    int operation;
    int rowsA;
    std::vector<const char*> a;
    int rowsB;
    std::vector<const char*> b;
    const char* constant;
    int captionRow;
    Strings caption;
    std::vector<Strings> rows;  // the rows after the caption
};
class ComputeTest : public WindowTest, public ::testing::WithParamInterface<ComputeCase> {};

TEST_P(ComputeTest, ShowsTheWorkedExample) {
    const ComputeCase& c = GetParam();
    auto fill = [&](QLineEdit* rows, QLineEdit* cols, GridWidget* grid, int r,
                    const std::vector<const char*>& entries) {
        const int n = static_cast<int>(entries.size()) / r;
        Type(rows, QString::number(r));
        Type(cols, QString::number(n));
        for (int k = 0; k < static_cast<int>(entries.size()); ++k)
            grid->SetCellText(1 + k / n, 1 + k % n, QString::fromUtf8(entries[k]));
    };
    fill(window->Text1, window->Text2, window->Grid1, c.rowsA, c.a);
    if (c.rowsB > 0) fill(window->Text3, window->Text4, window->Grid2, c.rowsB, c.b);
    if (c.decomposition) {
        window->Option2->setChecked(true);
        window->Combo2->setCurrentIndex(c.operation);
    } else {
        window->Combo1->setCurrentIndex(c.operation);
    }
    if (c.constant) window->Text5->setText(c.constant);

    window->mnuComp->trigger();
    ASSERT_FALSE(platform.ended) << platform.errorDescription.toStdString();
    EXPECT_EQ(SheetRow(c.captionRow), c.caption);
    for (std::size_t i = 0; i < c.rows.size(); ++i)
        EXPECT_EQ(SheetRow(c.captionRow + 1 + static_cast<int>(i)), c.rows[i]) << "row " << i;
}

INSTANTIATE_TEST_SUITE_P(
    Operations, ComputeTest,
    ::testing::Values(
        ComputeCase{"Sum",
                    false,
                    0,
                    2,
                    {"1", "2", "3", "4"},
                    2,
                    {"1", "1", "1", "1"},
                    nullptr,
                    9,
                    {"A + B ="},
                    {{"", "2", "3"}, {"", "4", "5"}}},
        // "A-B" shows the sum under its own caption.
        ComputeCase{"Difference",
                    false,
                    1,
                    2,
                    {"1", "2", "3", "4"},
                    2,
                    {"1", "1", "1", "1"},
                    nullptr,
                    9,
                    {"A - B ="},
                    {{"", "2", "3"}, {"", "4", "5"}}},
        ComputeCase{
            "Scale", false, 2, 1, {"1", "2"}, 0, {}, "2.5", 7, {"c * A ="}, {{"", "2.5", "5"}}},
        // Unreadable cells count 0, and a comma ends a number.
        ComputeCase{"Elementwise",
                    false,
                    3,
                    1,
                    {"abc", "2,5"},
                    1,
                    {"3", "4"},
                    nullptr,
                    7,
                    {"A .* B ="},
                    {{"", "0", "8"}}},
        ComputeCase{"Transpose",
                    false,
                    4,
                    2,
                    {"1", "2", "3", "4"},
                    0,
                    {},
                    nullptr,
                    4,
                    {"A' ="},
                    {{"", "1", "3"}, {"", "2", "4"}}},
        ComputeCase{"Product",
                    false,
                    5,
                    2,
                    {"1", "2", "3", "4"},
                    2,
                    {"5", "6"},
                    nullptr,
                    9,
                    {"A * B ="},
                    {{"", "17"}, {"", "39"}}},
        ComputeCase{"Determinant",
                    false,
                    6,
                    2,
                    {"1", "2", "3", "4"},
                    0,
                    {},
                    nullptr,
                    4,
                    {"Det(A) ="},
                    {{"", "-2"}}},
        ComputeCase{"Singular",
                    false,
                    7,
                    2,
                    {"1", "2", "2", "4"},
                    0,
                    {},
                    nullptr,
                    4,
                    {"Inv(A) ="},
                    {{"", "Failed."}, {}}},
        ComputeCase{"Rank",
                    false,
                    8,
                    2,
                    {"1", "2", "2", "4"},
                    0,
                    {},
                    nullptr,
                    4,
                    {"Rank(A) ="},
                    {{"", "1"}}},
        ComputeCase{"LUFailure",
                    true,
                    0,
                    2,
                    {"0", "1", "1", "0"},
                    0,
                    {},
                    nullptr,
                    5,
                    {"L ="},
                    {{"", "Failed."}, {}, {"U ="}, {"", "Failed."}}},
        ComputeCase{
            "LU",
            true,
            0,
            2,
            {"4", "3", "6", "3"},
            0,
            {},
            nullptr,
            5,
            {"L ="},
            {{"", "1", "0"}, {"", "1.5", "1"}, {}, {"U ="}, {"", "4", "3"}, {"", "0", "-1.5"}}},
        ComputeCase{"QRWide",
                    true,
                    1,
                    2,
                    {"1", "2", "3", "4", "5", "6"},
                    0,
                    {},
                    nullptr,
                    5,
                    {"R ="},
                    {{"", "Failed."}, {}, {"Q ="}, {"", "Failed."}}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(WindowTest, ComputeReadsCountsAsTypedAndKeepsBWhileItIsDisabled) {
    FillA(2, {"1", "2", "3", "4"});
    FillB(2, {"5", "6", "7", "8"});
    window->mnuComp->trigger();
    window->Text1->setText("2.9");  // read as 2 by Compute itself
    window->Option2->setChecked(true);
    window->Text3->setText("7");
    window->mnuComp->trigger();
    const Operands& s = window->Operand();
    EXPECT_EQ(s.RowsA, 2);
    EXPECT_EQ(s.RowsB, 2);
    EXPECT_EQ(s.MatB.At(2, 2), 8.0);
}

TEST_F(WindowTest, UserTypesEntriesIntoTheGrid) {
    window->show();
    QApplication::setActiveWindow(window.get());
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTableView& view = window->Grid1->View();
    view.setCurrentIndex(view.model()->index(0, 0));
    view.setFocus();
    for (char key : {'4', '2'})
        QTest::keyClick(QApplication::focusWidget(), key);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_EQ(window->Grid1->CellText(1, 1), "42");
}

// A run-time error is reported with its number, the sheet keeps what was written before it,
// and nothing runs afterwards.
struct ErrorCase {
    const char* name;
    int operation;
    const char* rows;
    const char* cols;
    int number;
    const char* description;
};
class RuntimeErrorTest : public WindowTest, public ::testing::WithParamInterface<ErrorCase> {};

TEST_P(RuntimeErrorTest, EndsTheProgramWithTheErrorsNumber) {
    const ErrorCase& c = GetParam();
    window->Combo1->setCurrentIndex(c.operation);
    window->Text1->setText(c.rows);
    window->Text2->setText(c.cols);
    window->mnuComp->trigger();
    ASSERT_TRUE(platform.ended);
    EXPECT_EQ(platform.errorNumber, c.number);
    EXPECT_EQ(platform.errorDescription, c.description);
    EXPECT_EQ(platform.Count("EndOnRuntimeError"), 1);

    window->mnuHelpHome->trigger();  // the program is ending: no further handler runs
    EXPECT_EQ(platform.Count("ShellOpen"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Errors, RuntimeErrorTest,
    ::testing::Values(ErrorCase{"ZeroRows", 0, "0", "3", 9, "Subscript out of range"},
                      ErrorCase{"HugeCount", 0, "40000", "3", 6, "Overflow"},
                      ErrorCase{"TransposeOfNonSquare", 4, "3", "2", 9, "Subscript out of range"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
