// The main window as it starts, its layout and menus, the grids' context menus, the exports
// and the Help commands.

#include <QDialog>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QRadioButton>
#include <QScreen>
#include <QTableView>

#include "HomePage.h"
#include "WindowFixture.h"

namespace {

using Strings = std::vector<QString>;

TEST_F(WindowTest, StartsWithAPlusBOnThreeByThreeGrids) {
    frmMatrix& w = *window;
    EXPECT_EQ(w.windowTitle(), "Kelvara");
    EXPECT_TRUE(w.Option1->isChecked());
    EXPECT_FALSE(w.Option2->isChecked());
    EXPECT_TRUE(w.Combo1->isEnabled());
    EXPECT_EQ(w.Combo1->currentText(), "A+B");
    EXPECT_EQ(w.Combo1->count(), 9);
    EXPECT_FALSE(w.Combo2->isEnabled());
    EXPECT_EQ(w.Combo2->currentText(), "LU Decomposition(A)");
    for (QLineEdit* box : {w.Text1, w.Text2, w.Text3, w.Text4}) {
        EXPECT_TRUE(box->isEnabled());
        EXPECT_EQ(box->text(), "3");
    }
    EXPECT_FALSE(w.Text5->isEnabled());
    EXPECT_EQ(w.Text5->text(), "1");

    for (GridWidget* grid : {w.Grid1, w.Grid2}) {
        EXPECT_TRUE(grid->Enabled());
        ASSERT_EQ(grid->Rows(), 4);
        ASSERT_EQ(grid->Cols(), 4);
        for (int i = 1; i <= 3; ++i) {
            EXPECT_EQ(grid->CellText(0, i), QString::number(i));
            EXPECT_EQ(grid->CellText(i, 0), QString::number(i));
            EXPECT_EQ(grid->Model().CellFormat(0, i), 10);
            EXPECT_EQ(grid->Column(i).Width(), 60);
        }
    }
    // The result sheet: 29 by 9 cells, its headings hidden and empty.
    GridWidget& sheet = *w.Grid3;
    EXPECT_EQ(sheet.Rows(), 30);
    EXPECT_EQ(sheet.Cols(), 10);
    EXPECT_EQ(sheet.Column(0).Width(), 0);
    EXPECT_EQ(sheet.RowHeight(0), 0);
    EXPECT_TRUE(sheet.Model().SheetFlag());
    EXPECT_EQ(sheet.CellText(0, 1), "");
    EXPECT_EQ(sheet.Column(9).Width(), 60);
}

TEST_F(WindowTest, EveryControlIsNamedAndPlacedInTwips) {
    const double scale = QGuiApplication::primaryScreen()->logicalDotsPerInch() / 1440.0;
    auto px = [&](int twips) { return static_cast<int>(std::lround(twips * scale)); };
    EXPECT_EQ(window->Text1->geometry(), QRect(px(2040), px(240), px(555), px(285)));
    EXPECT_EQ(window->Grid2->geometry(), QRect(px(4020), px(600), px(3555), px(1935)));
    EXPECT_EQ(window->Frame3->geometry(), QRect(px(60), px(4200), px(7755), px(3495)));
    window->show();
    EXPECT_EQ(window->centralWidget()->size(), QSize(px(7890), px(7755)));
    EXPECT_TRUE(window->Frame1->font().bold());
    EXPECT_FALSE(window->Option1->font().bold());

    const char* names[] = {"Frame1", "Option1", "Option2", "Combo1", "Combo2", "Frame2",
                           "Label1", "Label2",  "Label3",  "Label4", "Label5", "Label6",
                           "Label7", "Text1",   "Text2",   "Text3",  "Text4",  "Text5",
                           "Grid1",  "Grid2",   "Frame3",  "Grid3"};
    for (const char* name : names) {
        auto* widget = window->findChild<QWidget*>(name);
        ASSERT_NE(widget, nullptr) << name;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << name;
    }
    EXPECT_EQ(window->findChild<QLabel*>("Label7")->text(), "Constant");
    EXPECT_EQ(window->findChild<QAction*>("mnuG2EDel")->text(), "Delete");

    // The keyboard visits the choice, the input grids, the boxes, then the result.
    const std::vector<QWidget*> expected = {
        window->Option1,        window->Option2,        window->Combo1, window->Combo2,
        &window->Grid1->View(), &window->Grid2->View(), window->Text1,  window->Text2,
        window->Text3,          window->Text4,          window->Text5,  &window->Grid3->View()};
    std::vector<QWidget*> visited;
    QWidget* at = window->Option1;
    do {
        if (std::find(expected.begin(), expected.end(), at) != expected.end())
            visited.push_back(at);
        at = at->nextInFocusChain();
    } while (at != window->Option1);
    EXPECT_EQ(visited, expected);
}

TEST_F(WindowTest, MenuBarHoldsComputeBetweenFileAndHelp) {
    Strings bar;
    for (QAction* a : window->menuBar()->actions())
        bar.push_back(a->text());
    EXPECT_EQ(bar, (Strings{"File", "Compute", "Help"}));
    EXPECT_EQ(window->mnuComp->menu(), nullptr);
    Strings exports;
    for (QAction* a : window->mnuFileExport->actions())
        exports.push_back(a->text());
    EXPECT_EQ(exports, (Strings{"Excel WorkBook...", "HTML ...", "PDF", "CSV", "XML"}));
    Strings help;
    for (QAction* a : window->mnuHelp->actions())
        help.push_back(a->text());
    EXPECT_EQ(help, (Strings{"Contents...", "Home Page", "", "About"}));
}

TEST_F(WindowTest, ExitClosesTheWindow) {
    window->show();
    window->mnuFileExit->trigger();
    EXPECT_FALSE(window->isVisible());
}

// A context menu opens for the right button strictly inside the cells.
struct MouseCase {
    int button;
    double dx, dy;  // offsets from the headings' far edges
    bool opens;
};
class GridMenuTest : public WindowTest, public ::testing::WithParamInterface<MouseCase> {};

TEST_P(GridMenuTest, OpensOnlyForTheRightButtonInsideTheCells) {
    const MouseCase& c = GetParam();
    GridWidget& grid = *window->Grid1;
    const float x = static_cast<float>(grid.Column(0).Width() + c.dx);
    const float y = static_cast<float>(grid.RowHeight(0) + c.dy);
    emit grid.MouseDown(c.button, 1, x, y);
    EXPECT_EQ(platform.Count("PopupMenu"), c.opens ? 1 : 0);
    if (c.opens) EXPECT_EQ(platform.Calls().back().args, QStringList{"mnuG1E"});
}

INSTANTIATE_TEST_SUITE_P(
    Clicks, GridMenuTest,
    ::testing::Values(MouseCase{2, 0.5, 0.5, true}, MouseCase{2, 0.0, 5.0, false},
                      MouseCase{2, 5.0, 0.0, false}, MouseCase{2, 5.0, -3.0, false},
                      MouseCase{1, 5.0, 5.0, false}, MouseCase{4, 5.0, 5.0, false}));

TEST_F(WindowTest, ResultSheetMenuOpensAnywhereInTheCellsAndItsDeleteEmptiesTheSelection) {
    emit window->Grid3->MouseDown(2, 0, 0.5f, 0.5f);
    EXPECT_EQ(platform.Count("PopupMenu"), 1);

    window->Grid1->SetCellText(1, 1, "7");
    window->Grid1->SetCellText(2, 2, "8");
    QTableView& view = window->Grid1->View();
    view.selectionModel()->select(view.model()->index(0, 0), QItemSelectionModel::ClearAndSelect);
    platform.onPopup = [](QMenu& menu) { menu.actions().at(3)->trigger(); };  // "Delete"
    emit window->Grid1->MouseDown(2, 0, 100.f, 100.f);
    EXPECT_EQ(window->Grid1->CellText(1, 1), "");
    EXPECT_EQ(window->Grid1->CellText(2, 2), "8");
    EXPECT_EQ(window->Grid1->Rows(), 4);
}

TEST_F(WindowTest, WorkbookExportAsksThenConfirmsSuccess) {
    platform.saveAnswers = {QString()};  // cancelled: nothing else happens
    window->mnuFileExcel->trigger();
    ASSERT_EQ(platform.Calls().size(), 1u);
    EXPECT_EQ(platform.Calls()[0].args,
              (QStringList{"Excel WorkBook (*.xls)|*.xls", "Export Excel file", ""}));

    const QString path = QDir::temp().filePath("kelvara-window-export");  // no extension added
    QFile::remove(path);
    platform.Clear();
    platform.saveAnswers = {path};
    platform.existingFiles = {path};
    platform.messageAnswers = {Platform::AnswerNo};
    window->mnuFileExcel->trigger();
    EXPECT_EQ(platform.CallsOf("MessageBox").at(0).args,
              (QStringList{"File " + path + " exists already, would you like to override it?", "36",
                           "Note"}));
    EXPECT_EQ(platform.Count("MessageBox"), 1);  // answered No: no export
    EXPECT_FALSE(QFile::exists(path));

    platform.Clear();
    platform.saveAnswers = {path};
    window->mnuFileExcel->trigger();  // answered Yes
    EXPECT_TRUE(QFile::exists(path));
    EXPECT_EQ(platform.Calls().back().args,
              (QStringList{QStringLiteral("Export successful\uFF01"), "48", "Note"}));
    QFile::remove(path);
}

TEST_F(WindowTest, HtmlExportUsesItsOwnFilterAndPdfAsksThroughTheGrid) {
    window->mnuFileExpHtml->trigger();
    EXPECT_EQ(platform.Calls().at(0).args,
              (QStringList{"Hypertext file(*.htm)|*.htm", "Export html file", ""}));
    platform.Clear();
    window->mnuFileExpPDF->trigger();  // the grid's own dialog, cancelled: no message
    EXPECT_EQ(platform.Count("SaveFileName"), 1);
    EXPECT_EQ(platform.Count("MessageBox"), 0);
    EXPECT_EQ(platform.Count("FileExists"), 0);
}

TEST_F(WindowTest, HelpCommandsGoThroughTheShell) {
    window->mnuHelpCont->trigger();
    EXPECT_EQ(platform.Calls().back().args,
              (QStringList{"frmMatrix", "/opt/kelvara" + QString(QDir::separator()) + "help.chm"}));
    platform.programFolder = QDir::rootPath();  // the root: the separator is doubled, as is
    window->mnuHelpCont->trigger();
    EXPECT_EQ(platform.Calls().back().args.at(1),
              QDir::rootPath() + QDir::separator() + "help.chm");
    window->mnuHelpHome->trigger();
    EXPECT_EQ(platform.Calls().back().args,
              (QStringList{"frmMatrix", QString::fromUtf8(HomePageAddress)}));

    window->mnuHelpAbout->trigger();
    window->mnuHelpAbout->trigger();
    ASSERT_EQ(platform.Count("ShowModal"), 2);
    EXPECT_EQ(platform.Calls().back().args.at(1), "About Kelvara");
}

}  // namespace
