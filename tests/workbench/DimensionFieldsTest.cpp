// The dimension boxes and the constant: what may be typed, which key releases resize the
// grids, and the counts that the chosen operation refuses.

#include <QClipboard>
#include <QGuiApplication>
#include <QRadioButton>

#include "WindowFixture.h"
#include "WorkingMemory.h"

namespace {

// Box (1..5), keys typed into it -> its text.
class CharacterFilterTest
    : public WindowTest,
      public ::testing::WithParamInterface<std::tuple<int, const char*, const char*>> {};

TEST_P(CharacterFilterTest, LetsThroughOnlyItsCharacters) {
    const auto [number, typed, text] = GetParam();
    QLineEdit* box = window->findChild<QLineEdit*>(QStringLiteral("Text%1").arg(number));
    box->setEnabled(true);
    box->clear();
    QTest::keyClicks(box, typed);
    EXPECT_EQ(box->text(), text);
}

INSTANTIATE_TEST_SUITE_P(Characters, CharacterFilterTest,
                         ::testing::Values(std::tuple(1, "4a-, 5", "45"),
                                           std::tuple(2, "2.5", "2.5"),
                                           std::tuple(5, "-1,5a", "-1,5"),
                                           std::tuple(5, "2.5E 3", "2.53")));

TEST_F(WindowTest, CtrlVDoesNotPasteIntoABox) {
    QGuiApplication::clipboard()->setText("7");
    window->Text1->clear();
    QTest::keyClick(window->Text1, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(window->Text1->text(), "");
}

TEST_F(WindowTest, MainRowDigitsResizeAndRenumberButKeypadDigitsDoNot) {
    Type(window->Text1, "4");
    EXPECT_EQ(window->Grid1->Rows(), 5);
    EXPECT_EQ(window->Grid1->CellText(4, 0), "4");
    window->Text1->selectAll();
    QTest::keyClick(window->Text1, Qt::Key_2, Qt::KeypadModifier);
    EXPECT_EQ(window->Text1->text(), "2");
    EXPECT_EQ(window->Grid1->Rows(), 5);

    Type(window->Text4, "3.9");  // rounded down
    EXPECT_EQ(window->Grid2->Cols(), 4);
    window->Text2->end(false);
    QTest::keyClick(window->Text2, Qt::Key_Backspace);  // empty: headings only
    EXPECT_EQ(window->Grid1->Cols(), 1);
    Type(window->Text2, "5");
    EXPECT_EQ(window->Grid1->CellText(0, 5), "5");
    EXPECT_EQ(window->Grid1->Column(5).Width(), 60);
}

// Operations that need a certain shape refuse other counts; the box then shows the grid's
// count again.
struct RefusalCase {
    bool decomposition;
    int operation;
    const char* rowsOfA;
    int box;  // 2 (columns of A) or 3 (rows of B)
    const char* typed;
    const char* message;  // nullptr: accepted
};
void PrintTo(const RefusalCase& c, std::ostream* os) {
    *os << (c.decomposition ? "Combo2=" : "Combo1=") << c.operation << " Text" << c.box << "="
        << c.typed;
}
class RefusalTest : public WindowTest, public ::testing::WithParamInterface<RefusalCase> {};

TEST_P(RefusalTest, RefusesOnlyWhatTheOperationCannotUse) {
    const RefusalCase& c = GetParam();
    window->Text1->setText(c.rowsOfA);
    if (c.decomposition) window->Option2->setChecked(true);
    (c.decomposition ? window->Combo2 : window->Combo1)->setCurrentIndex(c.operation);
    QLineEdit* box = c.box == 2 ? window->Text2 : window->Text3;
    auto count = [&] { return c.box == 2 ? window->Grid1->Cols() : window->Grid2->Rows(); };
    const int before = count();
    Type(box, c.typed);
    if (c.message == nullptr) {
        EXPECT_EQ(platform.Count("MessageBox"), 0);
        EXPECT_EQ(count(), QString(c.typed).toInt() + 1);
        return;
    }
    ASSERT_EQ(platform.Count("MessageBox"), 1);
    EXPECT_EQ(platform.Calls().at(0).args, (QStringList{c.message, "0", "Kelvara"}));
    EXPECT_EQ(box->text(), "3");
    EXPECT_EQ(count(), before);
}

const char* const Square = "The numbers of columns and rows of matrix A must be equal.";
const char* const Tall = "The numbers of columns must be >= the number of rows of matrix A.";
const char* const Product =
    "The number of columns of matrix A must be equal to the number of rows of matrix B.";

// clang-format off
INSTANTIATE_TEST_SUITE_P(Operations, RefusalTest, ::testing::Values(
    RefusalCase{false, 6, "3", 2, "4", Square}, RefusalCase{false, 7, "3", 2, "2", Square},
    RefusalCase{false, 6, "3.7", 2, "3", nullptr}, RefusalCase{false, 0, "3", 2, "7", nullptr},
    RefusalCase{false, 5, "3", 2, "4", nullptr},  // the columns of A are not checked for A*B
    RefusalCase{true, 0, "3", 2, "2", Square}, RefusalCase{true, 1, "3", 2, "2", nullptr},
    RefusalCase{true, 1, "3", 2, "3", nullptr}, RefusalCase{true, 1, "3", 2, "4", Tall},
    RefusalCase{false, 5, "3", 3, "2", Product}, RefusalCase{false, 0, "3", 3, "2", nullptr}));
// clang-format on

TEST_F(WindowTest, BackspaceTowardsAnotherSquareSizeIsRefusedAtOnce) {
    window->Combo1->setCurrentIndex(6);  // "Determinant(A)"
    window->Text2->end(false);
    QTest::keyClick(window->Text2, Qt::Key_Backspace);
    EXPECT_EQ(platform.Count("MessageBox"), 1);
    EXPECT_EQ(window->Text2->text(), "3");
    EXPECT_EQ(window->Grid1->Cols(), 4);
}

TEST_F(WindowTest, ConstantIsStoredOnAcceptedKeysOnly) {
    window->Combo1->setCurrentIndex(2);
    window->Text5->setText("2.5");
    QTest::keyClick(window->Text5, Qt::Key_Minus);  // "-" is typed, but the key stores nothing
    EXPECT_EQ(window->Operand().ConstC, 0.0);
    QTest::keyClick(window->Text5, Qt::Key_Insert);
    EXPECT_EQ(window->Operand().ConstC, 2.5);
}

TEST_F(WindowTest, CountBeyondTheRangeEndsTheProgram) {
    window->Text1->setText("4000");
    QTest::keyClick(window->Text1, Qt::Key_0);
    EXPECT_EQ(platform.errorNumber, 6);
    EXPECT_EQ(window->Grid1->Rows(), 4);
}

// Sizes typed for large operands make memory ready for their cells and their Compute (A*B
// of 1000 x 1000 by 1000 x 3: 8 bytes an entry of A, B and the result as a double, and as a
// text what the operands' cells take, 10 bytes before there are any, at least 6), in
// proportion to what the chosen operation reads; small sizes give it back.
TEST_F(WindowTest, LargeSizesMakeMemoryReadyAndSmallOnesGiveItBack) {
    WorkingMemory::Prepare();
    window->Combo1->setCurrentIndex(5);
    Type(window->Text1, "1000");
    EXPECT_EQ(WorkingMemory::Ready(), 0u);  // 1000 x 3: too small to prepare
    Type(window->Text2, "1000");
    window->Text3->setText("100");  // typed digit by digit, each count would be refused
    QTest::keyClick(window->Text3, Qt::Key_0);
    EXPECT_EQ(WorkingMemory::Ready(), std::size_t(18 * 2003000 + 10 * 1003000));
    window->Combo1->setCurrentIndex(4);  // A' reads no B
    Type(window->Text1, "999");
    EXPECT_EQ(WorkingMemory::Ready(), std::size_t(18 * 2 * 999000 + 10 * 999000));
    // Filled in, A's cells are no longer to come; what the sheet holds is not fresh memory.
    // A's one text stands for 998 x 1000 cells: the sheet's texts take at least 6 bytes.
    window->Grid1->SetCellText(998, 1000, "1");
    window->Grid3->SetCellText(30, 10, QString(5000, '1'));
    window->Text1->setText("99");
    QTest::keyClick(window->Text1, Qt::Key_8);
    EXPECT_EQ(WorkingMemory::Ready(),
              std::size_t(14 * 2 * 998000 - window->Grid3->Model().StorageBytes()));
    Type(window->Text2, "3");
    WorkingMemory::WaitForBacking();
    EXPECT_EQ(WorkingMemory::Ready(),
              std::size_t(18 * 2 * 2994 + 10 * 2994 - window->Grid3->Model().StorageBytes()));
    EXPECT_FALSE(WorkingMemory::Backing());
}

}  // namespace
