// The dimension boxes and the constant: what may be typed, which key releases resize the
// grids, and the counts that the chosen operation refuses.

#include <QClipboard>
#include <QGuiApplication>
#include <QRadioButton>

#include "WindowFixture.h"

namespace {

// Typing a character into a box either reaches its text or is discarded.
struct CharacterCase {
    int box;  // 1..5
    const char* typed;
    const char* text;
};
class CharacterFilterTest : public WindowTest,
                            public ::testing::WithParamInterface<CharacterCase> {};

TEST_P(CharacterFilterTest, LetsThroughOnlyItsCharacters) {
    const CharacterCase& c = GetParam();
    window->Option1->setChecked(true);
    window->Combo1->setCurrentIndex(2);  // "Const.*A" enables the constant
    QLineEdit* boxes[] = {window->Text1, window->Text2, window->Text3, window->Text4,
                          window->Text5};
    QLineEdit* box = boxes[c.box - 1];
    box->clear();
    box->setEnabled(true);
    QTest::keyClicks(box, c.typed);
    EXPECT_EQ(box->text(), c.text);
}

INSTANTIATE_TEST_SUITE_P(Characters, CharacterFilterTest,
                         ::testing::Values(CharacterCase{1, "4a-, 5", "45"},
                                           CharacterCase{2, "2.5", "2.5"},
                                           CharacterCase{4, "x1+e", "1"},
                                           CharacterCase{5, "-1,5a", "-1,5"},
                                           CharacterCase{5, "2.5E3", "2.53"}));

TEST_F(WindowTest, CtrlVDoesNotPasteIntoABox) {
    QGuiApplication::clipboard()->setText("7");
    window->Text1->clear();
    QTest::keyClick(window->Text1, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(window->Text1->text(), "");
}

TEST_F(WindowTest, MainRowDigitResizesButKeypadDigitDoesNot) {
    Type(window->Text1, "4");
    EXPECT_EQ(window->Grid1->Rows(), 5);
    EXPECT_EQ(window->Grid1->CellText(4, 0), "4");

    window->Text1->selectAll();
    QTest::keyClick(window->Text1, Qt::Key_2, Qt::KeypadModifier);
    EXPECT_EQ(window->Text1->text(), "2");
    EXPECT_EQ(window->Grid1->Rows(), 5);

    Type(window->Text2, "5");
    EXPECT_EQ(window->Grid1->Cols(), 6);
    EXPECT_EQ(window->Grid1->CellText(0, 5), "5");
    EXPECT_EQ(window->Grid1->Column(5).Width(), 60);
}

TEST_F(WindowTest, CountsAreRoundedDownAndZeroKeepsOnlyHeadings) {
    Type(window->Text1, "2.5");
    EXPECT_EQ(window->Grid1->Rows(), 3);
    Type(window->Text4, "3.9");
    EXPECT_EQ(window->Grid2->Cols(), 4);

    window->Text2->end(false);
    QTest::keyClick(window->Text2, Qt::Key_Backspace);  // "" counts 0
    EXPECT_EQ(window->Grid1->Cols(), 1);
    Type(window->Text2, "3");
    EXPECT_EQ(window->Grid1->Cols(), 4);
    EXPECT_EQ(window->Grid1->Column(3).Width(), 60);
}

// The operations that need a certain shape refuse other counts, and the box shows the
// grid's count again.
struct RefusalCase {
    bool decomposition;
    int operation;
    const char* rowsOfA;
    int box;  // 2 (columns of A) or 3 (rows of B)
    const char* typed;
    const char* message;  // nullptr: accepted
};
class RefusalTest : public WindowTest, public ::testing::WithParamInterface<RefusalCase> {};

const char* const Square = "The numbers of columns and rows of matrix A must be equal.";
const char* const Tall = "The numbers of columns must be >= the number of rows of matrix A.";
const char* const Product =
    "The number of columns of matrix A must be equal to the number of rows of matrix B.";

TEST_P(RefusalTest, RefusesOnlyWhatTheOperationCannotUse) {
    const RefusalCase& c = GetParam();
    window->Text1->setText(c.rowsOfA);
    if (c.decomposition) {
        window->Option2->setChecked(true);
        window->Combo2->setCurrentIndex(c.operation);
    } else {
        window->Combo1->setCurrentIndex(c.operation);
    }
    QLineEdit* box = c.box == 2 ? window->Text2 : window->Text3;
    GridWidget* grid = c.box == 2 ? window->Grid1 : window->Grid2;
    const int oldCount = c.box == 2 ? grid->Cols() : grid->Rows();
    Type(box, c.typed);
    if (c.message == nullptr) {
        EXPECT_EQ(platform.Count("MessageBox"), 0);
        EXPECT_EQ(box->text(), c.typed);
        return;
    }
    ASSERT_EQ(platform.Count("MessageBox"), 1);
    EXPECT_EQ(platform.Calls().at(0).args, (QStringList{c.message, "0", "Kelvara"}));
    EXPECT_EQ(box->text(), "3");
    EXPECT_EQ(c.box == 2 ? grid->Cols() : grid->Rows(), oldCount);
}

INSTANTIATE_TEST_SUITE_P(
    Operations, RefusalTest,
    ::testing::Values(
        RefusalCase{false, 6, "3", 2, "4", Square}, RefusalCase{false, 7, "3", 2, "2", Square},
        RefusalCase{false, 6, "3.7", 2, "3", nullptr}, RefusalCase{false, 0, "3", 2, "7", nullptr},
        RefusalCase{false, 5, "3", 2, "4", nullptr},  // B's rows are not checked here
        RefusalCase{true, 0, "3", 2, "2", Square}, RefusalCase{true, 1, "3", 2, "2", nullptr},
        RefusalCase{true, 1, "3", 2, "3", nullptr}, RefusalCase{true, 1, "3", 2, "4", Tall},
        RefusalCase{false, 5, "3", 3, "2", Product}, RefusalCase{false, 5, "3", 3, "3", nullptr},
        RefusalCase{false, 0, "3", 3, "2", nullptr}));

TEST_F(WindowTest, BackspaceTowardsAnotherSquareSizeIsRefusedAtOnce) {
    window->Combo1->setCurrentIndex(6);  // "Determinant(A)"
    window->Text2->end(false);
    QTest::keyClick(window->Text2, Qt::Key_Backspace);
    EXPECT_EQ(platform.Count("MessageBox"), 1);
    EXPECT_EQ(window->Text2->text(), "3");
    EXPECT_EQ(window->Grid1->Cols(), 4);

    Type(window->Text1, "4");  // rows are never checked
    EXPECT_EQ(window->Grid1->Rows(), 5);
    EXPECT_EQ(platform.Count("MessageBox"), 1);
}

TEST_F(WindowTest, ConstantIsStoredOnAcceptedKeysOnly) {
    window->Combo1->setCurrentIndex(2);
    window->Text5->setText("2.5");
    QTest::keyClick(window->Text5, Qt::Key_Minus);  // "-" typed, the key stores nothing
    EXPECT_EQ(window->Operand().ConstC, 0.0);
    QTest::keyClick(window->Text5, Qt::Key_Insert);
    EXPECT_EQ(window->Operand().ConstC, 2.5);
}

TEST_F(WindowTest, CountBeyondTheRangeEndsTheProgram) {
    window->Text1->setText("4000");
    QTest::keyClick(window->Text1, Qt::Key_0);  // "40000"
    EXPECT_TRUE(platform.ended);
    EXPECT_EQ(platform.errorNumber, 6);
    EXPECT_EQ(platform.errorDescription, "Overflow");
    EXPECT_EQ(window->Grid1->Rows(), 4);
}

}  // namespace
