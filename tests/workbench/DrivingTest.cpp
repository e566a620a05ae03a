// The window driven as a person drives it, with keys and clicks through its own event path:
// the focus order, cell edits still open when a command runs, selections of several ranges,
// text typed into the operation lists, and text dragged onto the boxes.

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QMenu>
#include <QMimeData>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTableView>
#include <QWindow>

#include "NamedRows.h"
#include "WindowFixture.h"

namespace {

class DrivingTest : public WindowTest {
public:
    void SetUp() override {
        WindowTest::SetUp();
        window->show();
        QApplication::setActiveWindow(window.get());
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }

    // The control that holds the keyboard focus, by its name.
    static QString Focused() {
        static const QRegularExpression control(QStringLiteral("^(Option|Combo|Text|Grid)\\d$"));
        for (QWidget* w = QApplication::focusWidget(); w != nullptr; w = w->parentWidget())
            if (control.match(w->objectName()).hasMatch()) return w->objectName();
        return QStringLiteral("?");
    }
    static void Press(int key, Qt::KeyboardModifiers mods = Qt::NoModifier) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key(key), mods);
    }
    static void TypeHere(const QString& text) {
        QTest::keyClicks(QApplication::focusWidget(), text);
    }

    static QPoint CellCentre(GridWidget* grid, int row, int col) {
        QTableView& view = grid->View();
        return view.visualRect(view.model()->index(row - 1, col - 1)).center();
    }
    static void Click(GridWidget* grid, int row, int col, Qt::KeyboardModifiers mods = {}) {
        QTest::mouseClick(grid->View().viewport(), Qt::LeftButton, mods,
                          CellCentre(grid, row, col));
    }
    // A right-click on a cell, choosing the item with this caption from the menu it opens.
    void Choose(GridWidget* grid, int row, int col, const QString& caption) {
        platform.onPopup = [caption](QMenu& menu) {
            for (QAction* item : menu.actions())
                if (item->text() == caption) item->trigger();
        };
        QTest::mousePress(grid->View().viewport(), Qt::RightButton, {}, CellCentre(grid, row, col));
        QTest::mouseRelease(grid->View().viewport(), Qt::RightButton, {},
                            CellCentre(grid, row, col));
    }
    // A cell's new text typed in, its editor left open.
    void StartTyping(GridWidget* grid, int row, int col, const QString& text) {
        Click(grid, row, col);
        TypeHere(text);
        ASSERT_TRUE(Editing(grid));
    }
    static bool Editing(GridWidget* grid) {
        QTableView& view = grid->View();
        return view.indexWidget(view.currentIndex()) != nullptr;
    }
    static QString Texts(GridWidget* grid) {
        QStringList rows;
        for (int r = 1; r < grid->Rows(); ++r) {
            QStringList cells;
            for (int c = 1; c < grid->Cols(); ++c)
                cells << grid->CellText(r, c);
            rows << cells.join(',');
        }
        return rows.join('/');
    }
};

// Setup, first control, direction -> the controls the focus visits, each once.
struct FocusWalk {
    const char* name;
    int computation;  // -1: "Decompositions" chosen instead
    const char* from;
    bool forward;
    const char* visited;
};
class FocusWalkTest : public DrivingTest, public ::testing::WithParamInterface<FocusWalk> {};

TEST_P(FocusWalkTest, TabAndShiftTabFollowTheTabIndexesPastDisabledControls) {
    const FocusWalk& c = GetParam();
    if (c.computation < 0)
        window->Option2->setChecked(true);
    else
        window->Combo1->setCurrentIndex(c.computation);
    window->findChild<QWidget*>(c.from)->setFocus(Qt::OtherFocusReason);
    const QString before = Texts(window->Grid1) + Texts(window->Grid2) + window->Text1->text();

    QStringList visited{Focused()};
    const QString last = c.forward ? QStringLiteral("Grid3") : QStringLiteral("Option");
    for (int presses = 0; presses < 40 && !visited.back().startsWith(last); ++presses) {
        if (c.forward)
            Press(Qt::Key_Tab);
        else
            Press(Qt::Key_Backtab, Qt::ShiftModifier);
        if (Focused() != visited.back()) visited << Focused();
    }
    EXPECT_EQ(visited.join(' ').toStdString(), c.visited);
    EXPECT_EQ(Texts(window->Grid1) + Texts(window->Grid2) + window->Text1->text(), before);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Walks, FocusWalkTest, ::testing::Values(
    FocusWalk{"SumForward", 0, "Option1", true,
              "Option1 Combo1 Grid1 Grid2 Text1 Text2 Text3 Text4 Grid3"},
    FocusWalk{"SumBackward", 0, "Text4", false, "Text4 Text3 Text2 Text1 Grid2 Grid1 Combo1 Option1"},
    FocusWalk{"ScaleForward", 2, "Option1", true, "Option1 Combo1 Grid1 Text1 Text2 Text5 Grid3"},
    FocusWalk{"ScaleBackward", 2, "Grid3", false, "Grid3 Text5 Text2 Text1 Grid1 Combo1 Option1"},
    FocusWalk{"DecompositionForward", -1, "Option2", true, "Option2 Combo2 Grid1 Text1 Text2 Grid3"}),
    ByName());
// clang-format on

// Command run while a cell of a grid is still being edited -> where the typed text shows.
struct OpenEditCase {
    const char* name;
    int grid;  // the grid being edited
    std::function<void(DrivingTest&, frmMatrix&, RecordingPlatform&)> command;
    std::function<QString(frmMatrix&)> seen;
    const char* expected;
};
class OpenEditTest : public DrivingTest, public ::testing::WithParamInterface<OpenEditCase> {};

TEST_P(OpenEditTest, CommandCommitsTheOpenEditFirst) {
    const OpenEditCase& c = GetParam();
    QGuiApplication::clipboard()->setText("9");
    GridWidget* grid = window->findChild<GridWidget*>(QStringLiteral("Grid%1").arg(c.grid));
    grid->SetCellText(2, 2, "6");
    StartTyping(grid, 1, 1, "5");
    c.command(*this, *window, platform);
    EXPECT_EQ(c.seen(*window).toStdString(), c.expected);
    EXPECT_FALSE(Editing(grid));
}

// A menu command, chosen by its item's name.
std::function<void(DrivingTest&, frmMatrix&, RecordingPlatform&)> Item(const char* name) {
    return [name](auto&, frmMatrix& w, auto&) { w.findChild<QAction*>(name)->trigger(); };
}
QString Clipboard(frmMatrix&) {
    return QGuiApplication::clipboard()->text();
}
QString GridA(frmMatrix& w) {
    return DrivingTest::Texts(w.Grid1);
}
const QString CsvPath = QDir::temp().filePath("kelvara-open-edit.csv");

// clang-format off
INSTANTIATE_TEST_SUITE_P(Commands, OpenEditTest, ::testing::Values(
    OpenEditCase{"Compute", 1, Item("mnuComp"),
                 [](frmMatrix& w) { return w.Grid3->CellText(2, 2) + w.Grid3->CellText(3, 3); },
                 "56"},
    OpenEditCase{"Copy", 1, Item("mnuG1ECopy"), Clipboard, "5\r\n"},
    OpenEditCase{"Cut", 1, Item("mnuG1ECut"), [](frmMatrix& w) { return Clipboard(w) + GridA(w); },
                 "5\r\n,,/,6,/,,"},
    OpenEditCase{"Paste", 2, Item("mnuG2EPaste"),
                 [](frmMatrix& w) { return w.Grid2->CellText(1, 1); }, "9"},
    OpenEditCase{"Delete", 1, Item("mnuG1EDel"), GridA, ",,/,6,/,,"},
    OpenEditCase{"Resize", 1, [](auto&, frmMatrix& w, auto&) {
                     w.Text1->selectAll();
                     QTest::keyClick(w.Text1, Qt::Key_2);
                 }, GridA, "5,,/,6,"},
    OpenEditCase{"ExportCsv", 3, [](auto&, frmMatrix& w, RecordingPlatform& p) {
                     QFile::remove(CsvPath);
                     p.saveAnswers = {CsvPath};
                     w.mnuFileCSV->trigger();
                 }, [](frmMatrix&) {
                     QFile file(CsvPath);
                     return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll())
                                                           : QString();
                 }, "5,\r\n,6\r\n"}),
    ByName());
// clang-format on

// Cells clicked (the first plainly, the others with Ctrl, or with Shift to select the block
// up to them), a right-click on the last, a menu item -> the clipboard ("x" when nothing
// was copied; for a paste, what it pasted), the grid, and the cells selected afterwards
// (columns by rows; a null rectangle: not checked).
struct RangesCase {
    const char* name;
    std::vector<std::pair<int, int>> clicked;
    Qt::KeyboardModifier adding;
    const char* item;
    const char* clipboard;  // before a paste and after it; "x" before the other commands
    const char* grid;
    QRect selected;
};
class RangesTest : public DrivingTest, public ::testing::WithParamInterface<RangesCase> {};

TEST_P(RangesTest, CommandsActOnExactlyTheSelectedCells) {
    const RangesCase& c = GetParam();
    GridWidget* grid = window->Grid1;
    if (c.item != QStringLiteral("Paste")) {
        const char* texts[3][3] = {{"a", "b", "c"}, {"d", "e", "f"}, {"g", "h", "i"}};
        for (int r = 0; r < 3; ++r)
            for (int col = 0; col < 3; ++col)
                grid->SetCellText(r + 1, col + 1, texts[r][col]);
    }
    QGuiApplication::clipboard()->setText(c.item == QStringLiteral("Paste") ? c.clipboard : "x");
    Click(grid, c.clicked[0].first, c.clicked[0].second);
    for (std::size_t i = 1; i < c.clicked.size(); ++i)
        Click(grid, c.clicked[i].first, c.clicked[i].second, c.adding);
    Choose(grid, c.clicked.back().first, c.clicked.back().second, c.item);
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), c.clipboard);
    EXPECT_EQ(Texts(grid).toStdString(), c.grid);
    if (c.selected.isNull()) return;
    QTableView& view = grid->View();
    const QModelIndexList selected = view.selectionModel()->selectedIndexes();
    QRect cells;
    for (const QModelIndex& index : selected)
        cells |= QRect(index.column() + 1, index.row() + 1, 1, 1);
    EXPECT_EQ(cells, c.selected);
    EXPECT_EQ(int(selected.size()), c.selected.width() * c.selected.height());
    EXPECT_EQ(view.currentIndex(),
              view.model()->index(c.selected.top() - 1, c.selected.left() - 1));
}

constexpr Qt::KeyboardModifier Ctrl = Qt::ControlModifier, Shift = Qt::ShiftModifier;
const char* const Abc = "a,b,c/d,e,f/g,h,i";

// clang-format off
INSTANTIATE_TEST_SUITE_P(Selections, RangesTest, ::testing::Values(
    RangesCase{"DeleteTwoCells", {{1, 1}, {3, 3}}, Ctrl, "Delete", "x", ",b,c/d,e,f/g,h,", {}},
    RangesCase{"CopyAcrossAGap", {{1, 1}, {1, 3}}, Ctrl, "Copy", "a\tc\r\n", Abc, {}},
    RangesCase{"CutTwoRows", {{1, 2}, {3, 2}}, Ctrl, "Cut", "b\r\nh\r\n", "a,,c/d,e,f/g,,i", {}},
    RangesCase{"CopyThatLinesUpNot", {{1, 1}, {3, 3}}, Ctrl, "Copy", "x", Abc, {}},
    RangesCase{"CutThatLinesUpNot", {{1, 1}, {2, 2}, {1, 2}}, Ctrl, "Cut", "x", Abc, {}},
    RangesCase{"FourCornersLineUp", {{1, 1}, {1, 3}, {3, 1}, {3, 3}}, Ctrl, "Copy",
               "a\tc\r\ng\ti\r\n", Abc, {}},
    RangesCase{"BlockNotPastedOverTwoRanges", {{1, 1}, {3, 3}}, Ctrl, "Paste", "p\tq\n",
               ",,/,,/,,", {}},
    RangesCase{"OneValueFillsThreeCells", {{1, 1}, {1, 2}, {3, 3}}, Ctrl, "Paste", "7",
               "7,7,/,,/,,7", {}},
    RangesCase{"BlockAtOneCell", {{2, 2}}, Ctrl, "Paste", "1\t2\n3\t4\n", ",,/,1,2/,3,4",
               QRect(2, 2, 2, 2)},
    RangesCase{"RowDownAColumn", {{1, 1}, {3, 2}}, Shift, "Paste", "1\t2\n", "1,2,/1,2,/1,2,",
               QRect(1, 1, 2, 3)},
    RangesCase{"TwoByTwoTiles", {{1, 1}, {2, 3}}, Shift, "Paste", "1\n2\n", "1,1,1/2,2,2/,,",
               QRect(1, 1, 3, 2)},
    RangesCase{"NoWholeMultiple", {{1, 1}, {1, 3}}, Shift, "Paste", "1\t2\n", "1,2,/,,/,,",
               QRect(1, 1, 2, 1)},
    RangesCase{"OneValueFillsABlock", {{2, 1}, {3, 3}}, Shift, "Paste", "7\n", ",,/7,7,7/7,7,7",
               QRect(1, 2, 3, 2)}),
    ByName());
// clang-format on

// Operation (Combo1 position), a count typed into Text2 first, the grid and cell (column,
// row) pasted at by Ctrl+V or the menu, the clipboard -> the four boxes, the grid's cells,
// and the message boxes shown as "text|style".
struct GrowCase {
    const char* name;
    int operation;
    const char* colsOfA;
    int grid;
    QPoint at;
    bool menu;
    QString clipboard;
    const char* boxes;
    const char* cells;
    QString messages;
};
class PasteGrowTest : public DrivingTest, public ::testing::WithParamInterface<GrowCase> {};

// A paste beyond A or B sets their boxes as typing would, with the same refusals, and the
// grid numbers its new headings; a refused paste writes nothing. Undoing a paste empties its
// cells and keeps the grid's size.
TEST_P(PasteGrowTest, BoxesFollowAPasteBeyondTheGrid) {
    const GrowCase& c = GetParam();
    window->Combo1->setCurrentIndex(c.operation);
    if (*c.colsOfA) Type(window->Text2, c.colsOfA);
    GridWidget* grid = window->Grids()[c.grid - 1];
    QGuiApplication::clipboard()->setText(c.clipboard);
    if (c.menu) {
        Choose(grid, c.at.y(), c.at.x(), "Paste");
    } else {
        Click(grid, c.at.y(), c.at.x());
        QTest::keyClick(&grid->View(), Qt::Key_V, Qt::ControlModifier);
    }
    QStringList boxes, messages;
    for (int box = 0; box < 4; ++box)
        boxes << window->TextBoxes()[box]->text();
    for (const RecordingPlatform::Call& call : platform.CallsOf("MessageBox"))
        messages << call.args[0] + '|' + call.args[1];
    EXPECT_EQ(boxes.join(' ').toStdString(), c.boxes);
    EXPECT_EQ(Texts(grid).toStdString(), c.cells);
    EXPECT_EQ(messages.join('/'), c.messages);
    EXPECT_EQ(grid->CellText(grid->Rows() - 1, 0), QString::number(grid->Rows() - 1));
    EXPECT_EQ(grid->Column(grid->Cols() - 1).Width(), 60);
    const QSize size(grid->Cols(), grid->Rows());
    QTest::keyClick(&grid->View(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_FALSE(Texts(grid).contains(QRegularExpression("[^,/]")));
    EXPECT_EQ(QSize(grid->Cols(), grid->Rows()), size);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Pastes, PasteGrowTest, ::testing::Values(
    GrowCase{"Fits", 0, "", 1, {2, 2}, false, "1\t2\n3\t4\n", "3 3 3 3", ",,/,1,2/,3,4", ""},
    GrowCase{"GrowsA", 0, "", 1, {2, 2}, false, "1\t2\t3\n4\t5\t6\n7\t8\t9\n", "4 4 3 3",
             ",,,/,1,2,3/,4,5,6/,7,8,9", ""},
    GrowCase{"SquareAGrowsRowsFirst", 6, "", 1, {1, 1}, true, "1 2 3 4\n5 6 7 8\n1 2 3 4\n5 6 7 8",
             "4 4 3 3", "1,2,3,4/5,6,7,8/1,2,3,4/5,6,7,8", ""},
    GrowCase{"SquareARefused", 6, "", 1, {1, 1}, true, "1\t2\t3\t4\n", "3 3 3 3", ",,/,,/,,",
             "The numbers of columns and rows of matrix A must be equal.|0"},
    GrowCase{"ProductRowsOfBFollowA", 5, "4", 2, {1, 1}, false, "1\n2\n3\n4\n", "3 4 4 3",
             "1,,/2,,/3,,/4,,", ""},
    GrowCase{"ProductRowsOfBRefused", 5, "", 2, {1, 1}, true, "1\n2\n3\n4\n", "3 3 3 3",
             ",,/,,/,,", "The number of columns of matrix A must be equal to the number of rows "
             "of matrix B.|0"},
    GrowCase{"ProductColumnsOfBUnchecked", 5, "", 2, {3, 1}, false, "1\t2\n", "3 3 3 4",
             ",,1,2/,,,/,,,", ""},
    GrowCase{"BeyondTheLargestCount", 0, "", 1, {1, 2}, false, QString("1\n").repeated(32766),
             "3 3 3 3", ",,/,,/,,", "The pasted table is too large: a paste fills at most 32766 "
             "rows, 32766 columns and 8388608 cells.|64"},
    GrowCase{"ShortenedPrintoutRefused", 0, "", 1, {1, 1}, false, "[   0    1 ... 1998 1999]",
             "3 3 3 3", ",,/,,/,,", "The copied matrix was printed shortened, with \"...\" in "
             "place of some entries: print it in full and copy it again.|64"}),
    ByName());
// clang-format on

// The result sheet has no boxes: a paste beyond it makes it grow.
TEST_F(DrivingTest, PasteBeyondTheResultSheetGrowsIt) {
    QGuiApplication::clipboard()->setText(QString("7\t").repeated(11) + "8\n");
    Choose(window->Grid3, 1, 2, "Paste");
    EXPECT_EQ(window->Grid3->CellText(1, 13) + QString::number(window->Grid3->Cols()), "814");
}

// Text typed into a list's edit field chooses nothing, even an entry's caption.
TEST_F(DrivingTest, TypedCaptionInAListIsNoChoice) {
    window->Combo1->setFocus(Qt::TabFocusReason);
    for (int i = 0; i < 2; ++i)
        Press(Qt::Key_Down);  // "Const.*A" chosen with the arrow keys
    ASSERT_EQ(window->ListIndex(*window->Combo1), 2);
    EXPECT_FALSE(window->Grid2->Enabled());
    EXPECT_TRUE(window->Text5->isEnabled());

    window->Combo1->lineEdit()->selectAll();
    TypeHere("A*B");
    Press(Qt::Key_Return);
    EXPECT_EQ(window->ListIndex(*window->Combo1), -1);
    EXPECT_FALSE(window->Grid2->Enabled());
    window->mnuComp->trigger();  // nothing chosen: nothing happens
    EXPECT_FALSE(platform.ended);
    EXPECT_EQ(SheetRow(1), "");

    // Leaving the computations and coming back reads the typed text as no choice as well.
    window->Option2->setChecked(true);
    window->Option1->setChecked(true);
    EXPECT_FALSE(window->Grid2->Enabled() || window->Text3->isEnabled() ||
                 window->Text4->isEnabled());
    EXPECT_FALSE(window->Text5->isEnabled());

    window->Combo1->setFocus(Qt::TabFocusReason);
    Press(Qt::Key_Down);  // a choice from the list again
    EXPECT_EQ(window->Combo1->currentText().toStdString(), "A.*B");
    EXPECT_EQ(window->ListIndex(*window->Combo1), 3);
    EXPECT_TRUE(window->Grid2->Enabled());

    window->Option2->setChecked(true);
    window->Combo2->setFocus(Qt::TabFocusReason);
    window->Combo2->lineEdit()->selectAll();
    TypeHere("QR Decomposition(A)");
    EXPECT_EQ(window->ListIndex(*window->Combo2), -1);
}

// Text dragged from elsewhere and dropped onto a box is refused; the box keeps its text.
// Nor does an input method compose text into a box past its character filter.
TEST_F(DrivingTest, BoxesRefuseDroppedAndComposedText) {
    QWindow* handle = window->windowHandle();
    for (QLineEdit* box : {window->Text1, window->Text2, window->Text3, window->Text4}) {
        QInputMethodQueryEvent query(Qt::ImEnabled | Qt::ImCursorRectangle);
        QApplication::sendEvent(box, &query);
        EXPECT_FALSE(query.value(Qt::ImEnabled).toBool());
        EXPECT_TRUE(query.value(Qt::ImCursorRectangle).isValid());
        const QPoint at = box->mapTo(window.get(), box->rect().center());
        QMimeData text;
        text.setText("77");
        QDragEnterEvent enter(at, Qt::CopyAction | Qt::MoveAction, &text, Qt::LeftButton, {});
        QApplication::sendEvent(handle, &enter);
        EXPECT_FALSE(enter.isAccepted()) << box->objectName().toStdString();
        QDropEvent drop(at, Qt::CopyAction | Qt::MoveAction, &text, Qt::LeftButton, {});
        QApplication::sendEvent(handle, &drop);
        EXPECT_EQ(box->text(), "3");
    }
}

}  // namespace
