// The main window as it starts, its layout and menus, the grids' context menus, the exports
// and the Help commands.

#include <QAction>
#include <QDir>
#include <QGroupBox>
#include <QMenu>
#include <QMenuBar>
#include <QRadioButton>
#include <QScreen>
#include <QTableView>

#include "HomePage.h"
#include "WindowFixture.h"

namespace {

QStringList Captions(const QWidget* menu) {
    QStringList captions;
    for (const QAction* a : menu->actions())
        captions << a->text();
    return captions;
}

TEST_F(WindowTest, StartsWithAPlusBOnThreeByThreeGrids) {
    frmMatrix& w = *window;
    EXPECT_TRUE(w.Option1->isChecked());
    EXPECT_EQ(w.Combo1->currentText(), "A+B");
    EXPECT_FALSE(w.Combo2->isEnabled());
    EXPECT_EQ(w.Combo2->currentText(), "LU Decomposition(A)");
    EXPECT_TRUE(w.Text4->isEnabled());
    EXPECT_FALSE(w.Text5->isEnabled());
    for (GridWidget* grid : {w.Grid1, w.Grid2}) {
        ASSERT_EQ(grid->Rows(), 4);
        ASSERT_EQ(grid->Cols(), 4);
        EXPECT_EQ(grid->CellText(0, 3), "3");
        EXPECT_EQ(grid->CellText(3, 0), "3");
        EXPECT_EQ(grid->Column(3).Width(), 60);
    }
    // The result sheet: 29 by 9 cells without headings.
    EXPECT_EQ(w.Grid3->Rows(), 30);
    EXPECT_EQ(w.Grid3->Cols(), 10);
    EXPECT_EQ(w.Grid3->Column(0).Width(), 0);
    EXPECT_EQ(w.Grid3->RowHeight(0), 0);
    EXPECT_EQ(w.Grid3->Column(9).Width(), 60);
}

TEST_F(WindowTest, ControlsAreNamedPlacedInTwipsAndVisitedInOrder) {
    const double scale = QGuiApplication::primaryScreen()->logicalDotsPerInch() / 1440.0;
    auto px = [&](int twips) { return static_cast<int>(std::lround(twips * scale)); };
    window->show();
    EXPECT_EQ(window->centralWidget()->size(), QSize(px(7890), px(7755)));
    EXPECT_EQ(window->Text1->geometry(), QRect(px(2040), px(240), px(555), px(285)));
    EXPECT_EQ(window->Grid2->geometry(), QRect(px(4020), px(600), px(3555), px(1935)));
    EXPECT_TRUE(window->Frame1->font().bold());
    EXPECT_FALSE(window->Option1->font().bold());
    for (const char* name : {"Frame2", "Option2", "Combo1", "Label1", "Label7", "Text5", "Grid3"}) {
        auto* widget = window->findChild<QWidget*>(name);
        ASSERT_NE(widget, nullptr) << name;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << name;
    }
    const std::vector<QWidget*> order = {
        window->Option1,        window->Option2,        window->Combo1, window->Combo2,
        &window->Grid1->View(), &window->Grid2->View(), window->Text1,  window->Text2,
        window->Text3,          window->Text4,          window->Text5,  &window->Grid3->View()};
    std::vector<QWidget*> visited;
    QWidget* at = window->Option1;
    do {
        if (std::find(order.begin(), order.end(), at) != order.end()) visited.push_back(at);
        at = at->nextInFocusChain();
    } while (at != window->Option1);
    EXPECT_EQ(visited, order);
}

TEST_F(WindowTest, MenuBarHoldsComputeBetweenFileAndHelp) {
    EXPECT_EQ(Captions(window->menuBar()), (QStringList{"File", "Compute", "Help"}));
    EXPECT_EQ(window->mnuComp->menu(), nullptr);
    EXPECT_EQ(Captions(window->mnuFileExport),
              (QStringList{"Excel WorkBook...", "HTML ...", "PDF", "CSV", "XML"}));
    EXPECT_EQ(Captions(window->mnuG3E), (QStringList{"Cut", "Copy", "Paste", "Delete"}));
    window->show();
    window->mnuFileExit->trigger();
    EXPECT_FALSE(window->isVisible());
}

// (button, x and y past the headings' far edges) -> whether the context menu opens.
class GridMenuTest : public WindowTest,
                     public ::testing::WithParamInterface<std::tuple<int, float, float, bool>> {};

TEST_P(GridMenuTest, OpensOnlyForTheRightButtonInsideTheCells) {
    const auto [button, dx, dy, opens] = GetParam();
    GridWidget& grid = *window->Grid1;
    emit grid.MouseDown(button, 1, grid.Column(0).Width() + dx, grid.RowHeight(0) + dy);
    ASSERT_EQ(platform.Count("PopupMenu"), opens ? 1 : 0);
    if (opens) {
        EXPECT_EQ(platform.Calls().back().args, QStringList{"mnuG1E"});
    }
}

INSTANTIATE_TEST_SUITE_P(Clicks, GridMenuTest,
                         ::testing::Values(std::tuple(2, 0.5f, 0.5f, true),
                                           std::tuple(2, 0.0f, 5.0f, false),
                                           std::tuple(2, 5.0f, 0.0f, false),
                                           std::tuple(1, 5.0f, 5.0f, false),
                                           std::tuple(4, 5.0f, 5.0f, false)));

TEST_F(WindowTest, ContextMenuDeleteEmptiesTheSelectionOnly) {
    window->Grid1->SetCellText(1, 1, "7");
    window->Grid1->SetCellText(2, 2, "8");
    QTableView& view = window->Grid1->View();
    view.selectionModel()->select(view.model()->index(0, 0), QItemSelectionModel::ClearAndSelect);
    platform.onPopup = [](QMenu& menu) { menu.actions().at(3)->trigger(); };  // "Delete"
    emit window->Grid1->MouseDown(2, 0, 100.f, 100.f);
    EXPECT_EQ(window->Grid1->CellText(1, 1), "");
    EXPECT_EQ(window->Grid1->CellText(2, 2), "8");
}

TEST_F(WindowTest, WorkbookExportAsksBeforeReplacingThenConfirms) {
    const QString path = QDir::temp().filePath("kelvara-window-export");  // no extension added
    QFile::remove(path);
    platform.saveAnswers = {QString(), path, path};  // cancelled, then chosen twice
    platform.existingFiles = {path};
    platform.messageAnswers = {Platform::AnswerNo};
    window->mnuFileExcel->trigger();
    EXPECT_EQ(platform.Calls().size(), 1u);
    EXPECT_EQ(platform.Calls()[0].args,
              (QStringList{"Excel WorkBook (*.xls)|*.xls", "Export Excel file", ""}));
    window->mnuFileExcel->trigger();  // answered No
    EXPECT_EQ(platform.Calls().back().args,
              (QStringList{"File " + path + " exists already, would you like to override it?", "36",
                           "Note"}));
    EXPECT_FALSE(QFile::exists(path));
    window->mnuFileExcel->trigger();  // answered Yes
    EXPECT_TRUE(QFile::exists(path));
    EXPECT_EQ(platform.Calls().back().args,
              (QStringList{QStringLiteral("Export successful\uFF01"), "48", "Note"}));
    QFile::remove(path);

    platform.Clear();
    window->mnuFileExpPDF->trigger();  // only the grid's own dialog, cancelled: no message
    EXPECT_EQ(platform.Calls().size(), 1u);
    EXPECT_EQ(platform.Calls()[0].name, "SaveFileName");
}

TEST_F(WindowTest, HelpCommandsGoThroughTheShell) {
    const QString separator = QDir::separator();
    window->mnuHelpCont->trigger();
    EXPECT_EQ(platform.Calls().back().args,
              (QStringList{"frmMatrix", "/opt/kelvara" + separator + "help.chm"}));
    platform.programFolder = QDir::rootPath();  // the root: the separator is doubled, as is
    window->mnuHelpCont->trigger();
    EXPECT_EQ(platform.Calls().back().args.at(1), QDir::rootPath() + separator + "help.chm");
    window->mnuHelpHome->trigger();
    EXPECT_EQ(platform.Calls().back().args.at(1), QString::fromUtf8(HomePageAddress));
    window->mnuHelpAbout->trigger();
    EXPECT_EQ(platform.Calls().back().args.at(1), "About Kelvara");
}

}  // namespace
