// Which inputs each operation enables, and Compute from the grids to the result sheet,
// including the run-time errors that end the program, out of memory among them.

#include <QAction>
#include <QRadioButton>
#include <filesystem>
#include <fstream>

#include "MemoryCheck.h"
#include "NamedRows.h"
#include "WindowFixture.h"

namespace {

// Position of Combo1 -> B's inputs, the constant.
class EnablingTest : public WindowTest,
                     public ::testing::WithParamInterface<std::tuple<int, bool, bool>> {};

TEST_P(EnablingTest, EnablesExactlyTheInputsTheOperationReads) {
    const auto [position, usesB, usesConstant] = GetParam();
    window->Combo1->setCurrentIndex(position);
    auto check = [&](bool b, bool constant) {
        EXPECT_EQ(window->Text3->isEnabled(), b);
        EXPECT_EQ(window->Text4->isEnabled(), b);
        EXPECT_EQ(window->Grid2->Enabled(), b);
        EXPECT_EQ(window->Text5->isEnabled(), constant);
    };
    check(usesB, usesConstant);
    window->Option2->setChecked(true);  // a decomposition reads only A
    EXPECT_FALSE(window->Combo1->isEnabled());
    EXPECT_TRUE(window->Combo2->isEnabled());
    check(false, false);
    window->Option1->setChecked(true);
    EXPECT_FALSE(window->Combo2->isEnabled());
    check(usesB, usesConstant);
}

INSTANTIATE_TEST_SUITE_P(Positions, EnablingTest,
                         ::testing::Values(std::tuple(0, true, false), std::tuple(1, true, false),
                                           std::tuple(2, false, true), std::tuple(3, true, false),
                                           std::tuple(4, false, false), std::tuple(5, true, false),
                                           std::tuple(6, false, false), std::tuple(7, false, false),
                                           std::tuple(8, false, false)));

// Worked examples: operands typed in, Compute, and the sheet's rows from the result caption
// on ("/" between rows, "|" between cells from column 1).
struct ComputeCase {
    const char* name;
    bool decomposition;
    int operation;
    const char* a;
    const char* b;  // nullptr: B is not typed
    const char* constant;
    int captionRow;
    const char* shown;
};
class ComputeTest : public WindowTest, public ::testing::WithParamInterface<ComputeCase> {};

TEST_P(ComputeTest, ShowsTheWorkedExample) {
    const ComputeCase& c = GetParam();
    Fill(window->Text1, window->Text2, window->Grid1, c.a);
    if (c.b) Fill(window->Text3, window->Text4, window->Grid2, c.b);
    if (c.decomposition) window->Option2->setChecked(true);
    (c.decomposition ? window->Combo2 : window->Combo1)->setCurrentIndex(c.operation);
    if (c.constant) window->Text5->setText(c.constant);

    window->mnuComp->trigger();
    ASSERT_FALSE(platform.ended) << platform.errorDescription.toStdString();
    const QStringList rows = QString(c.shown).split('/');
    for (int i = 0; i < rows.size(); ++i)
        EXPECT_EQ(SheetRow(c.captionRow + i), rows[i]);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Operations, ComputeTest, ::testing::Values(
    ComputeCase{"Sum", false, 0, "1 2;3 4", "1 1;1 1", nullptr, 9, "A + B =/|2|3/|4|5"},
    // "A-B" shows the sum under its own caption.
    ComputeCase{"Difference", false, 1, "1 2;3 4", "1 1;1 1", nullptr, 9, "A - B =/|2|3/|4|5"},
    ComputeCase{"Scale", false, 2, "1 2", nullptr, "2.5", 7, "c * A =/|2.5|5"},
    // Unreadable cells count 0, and a comma ends a number.
    ComputeCase{"Elementwise", false, 3, "abc 2,5", "3 4", nullptr, 7, "A .* B =/|0|8"},
    ComputeCase{"Transpose", false, 4, "1 2;3 4", nullptr, nullptr, 4, "A' =/|1|3/|2|4"},
    ComputeCase{"Product", false, 5, "1 2;3 4", "5;6", nullptr, 9, "A * B =/|17/|39"},
    ComputeCase{"Determinant", false, 6, "1 2;3 4", nullptr, nullptr, 4, "Det(A) =/|-2"},
    ComputeCase{"Singular", false, 7, "1 2;2 4", nullptr, nullptr, 4, "Inv(A) =/|Failed./"},
    ComputeCase{"Rank", false, 8, "1 2;2 4", nullptr, nullptr, 4, "Rank(A) =/|1"},
    ComputeCase{"LU", true, 0, "4 3;6 3", nullptr, nullptr, 5, "L =/|1|0/|1.5|1//U =/|4|3/|0|-1.5"},
    ComputeCase{"LUFailure", true, 0, "0 1;1 0", nullptr, nullptr, 5, "L =/|Failed.//U =/|Failed."},
    ComputeCase{"QRWide", true, 1, "1 2 3;4 5 6", nullptr, nullptr, 5, "R =/|Failed.//Q =/|Failed."}),
    ByName());
// clang-format on

// Typed cells reach the sheet in its own number form, with the user's decimal separator:
// a cell is shown as typed only where that is the form.
class TypedFormsTest : public WindowTest, public ::testing::WithParamInterface<char> {};

TEST_P(TypedFormsTest, ShowsTheOperandsInTheSheetsForm) {
    platform.decimalSeparator = GetParam();
    window = std::make_unique<frmMatrix>(platform);
    Fill(window->Text1, window->Text2, window->Grid1, "1.50 .5 -0 007 1e2 0.00001 2.5 -3.25 12");
    Fill(window->Text3, window->Text4, window->Grid2, "0 0 0 0 0 0 0 0 0");
    window->Combo1->setCurrentIndex(0);
    window->mnuComp->trigger();
    const QString shown = QString("|1.5|0.5|0|7|100|1E-05|2.5|-3.25|12").replace('.', GetParam());
    EXPECT_EQ(SheetRow(2), shown);
    EXPECT_EQ(SheetRow(8), shown);  // the sum with zeros
}

INSTANTIATE_TEST_SUITE_P(Separators, TypedFormsTest, ::testing::Values('.', ','));

TEST_F(WindowTest, ComputeReadsCountsAsTypedAndKeepsBWhileItIsDisabled) {
    Fill(window->Text1, window->Text2, window->Grid1, "1 2;3 4");
    Fill(window->Text3, window->Text4, window->Grid2, "5 6;7 8");
    window->mnuComp->trigger();
    window->Text1->setText("2.9");  // read as 2 by Compute itself
    window->Option2->setChecked(true);
    window->Text3->setText("7");
    window->mnuComp->trigger();
    EXPECT_EQ(window->Operand().RowsA, 2);
    EXPECT_EQ(window->Operand().RowsB, 2);
    EXPECT_EQ(window->Operand().MatB.At(2, 2), 8.0);
}

// A large operand is read by several cores; a cell beyond the range of a double still raises
// 6, with the cells before it read.
TEST_F(WindowTest, ANumberTooLargeInALargeOperandRaisesOverflow) {
    window->Combo1->setCurrentIndex(0);
    Type(window->Text1, "80");
    Type(window->Text2, "50");
    for (int i = 1; i <= 80; ++i)
        for (int j = 1; j <= 50; ++j)
            window->Grid1->SetCellText(i, j, QString::number(i * 100 + j));
    window->Grid1->SetCellText(41, 7, "1E400");
    window->mnuComp->trigger();
    ASSERT_EQ(platform.Count("EndOnRuntimeError"), 1);
    EXPECT_EQ(platform.errorNumber, 6);
    EXPECT_EQ(window->Operand().MatA.At(41, 6), 4106.0);
    EXPECT_EQ(window->Operand().MatA.At(40, 50), 4050.0);
}

// Operands larger than the machine can hold end the program with run-time error 7 over its
// message box, before anything is allocated that the system could only kill us for.
TEST_F(WindowTest, OperandsBeyondTheMachinesMemoryEndWithError7) {
    // A machine with 1 GB to spare; A + B of 32766 x 32766 asks for 26 GB.
    const auto report = std::filesystem::temp_directory_path() / "kelvara-meminfo-window";
    std::ofstream(report) << "MemAvailable: 1048576 kB\nSwapFree: 0 kB\n";
    const MemoryCheck::Sources saved = MemoryCheck::CurrentSources();
    MemoryCheck::CurrentSources() = {report.string(), "", ""};
    window->Text1->setText("32766");
    window->Text2->setText("32766");
    window->mnuComp->trigger();
    MemoryCheck::CurrentSources() = saved;
    std::filesystem::remove(report);
    ASSERT_EQ(platform.Count("EndOnRuntimeError"), 1);
    EXPECT_EQ(platform.errorNumber, 7);
    EXPECT_EQ(platform.errorDescription, "Out of memory");
}

// A run-time error is reported with its number, and nothing runs afterwards.
struct ErrorCase {
    int operation;
    const char* rows;
    const char* cols;
    int number;
    const char* description;
};
void PrintTo(const ErrorCase& c, std::ostream* os) {
    *os << "Combo1=" << c.operation << " A=" << c.rows << "x" << c.cols;
}
class RuntimeErrorTest : public WindowTest, public ::testing::WithParamInterface<ErrorCase> {};

TEST_P(RuntimeErrorTest, EndsTheProgramWithTheErrorsNumber) {
    const ErrorCase& c = GetParam();
    window->Combo1->setCurrentIndex(c.operation);
    window->Text1->setText(c.rows);
    window->Text2->setText(c.cols);
    window->mnuComp->trigger();
    ASSERT_EQ(platform.Count("EndOnRuntimeError"), 1);
    EXPECT_EQ(platform.errorNumber, c.number);
    EXPECT_EQ(platform.errorDescription, c.description);
    window->mnuHelpHome->trigger();  // the program is ending: no further handler runs
    EXPECT_EQ(platform.Count("ShellOpen"), 0);
}

INSTANTIATE_TEST_SUITE_P(Errors, RuntimeErrorTest,
                         ::testing::Values(ErrorCase{0, "0", "3", 9, "Subscript out of range"},
                                           ErrorCase{0, "40000", "3", 6, "Overflow"},
                                           // A non-square A is not transposed.
                                           ErrorCase{4, "3", "2", 9, "Subscript out of range"}));

}  // namespace
