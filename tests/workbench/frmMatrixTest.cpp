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

#include "About.h"
#include "HomePage.h"
#include "NamedRows.h"
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
    EXPECT_EQ(w.Combo1->currentText() + "|" + w.Combo2->currentText(), "A+B|LU Decomposition(A)");
    EXPECT_EQ(QList<bool>({w.Option1->isChecked(), w.Combo2->isEnabled(), w.Text4->isEnabled(),
                           w.Text5->isEnabled()}),
              QList<bool>({true, false, true, false}));
    for (GridWidget* grid : {w.Grid1, w.Grid2}) {
        EXPECT_EQ(std::tuple(grid->Rows(), grid->Cols(), grid->CellText(0, 3), grid->CellText(3, 0),
                             grid->Column(3).Width()),
                  std::tuple(4, 4, QString("3"), QString("3"), 60));
    }
    // The result sheet: 29 by 9 cells without headings.
    EXPECT_EQ(std::tuple(w.Grid3->Rows(), w.Grid3->Cols(), w.Grid3->Column(0).Width(),
                         w.Grid3->RowHeight(0), w.Grid3->Column(9).Width()),
              std::tuple(30, 10, 0, 0, 60));
}

// Control, its container, Left, Top, Width, Height in twips.
struct Placement {
    const char* name;
    const char* container;
    int left, top, width, height;
};
class PlacementTest : public WindowTest, public ::testing::WithParamInterface<Placement> {};

TEST_P(PlacementTest, ControlSitsWhereTheFormPutsIt) {
    const Placement& c = GetParam();
    const double scale = QGuiApplication::primaryScreen()->logicalDotsPerInch() / 1440.0;
    auto px = [&](int twips) { return static_cast<int>(std::lround(twips * scale)); };
    auto* widget = window->findChild<QWidget*>(c.name);
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget->parentWidget()->objectName().toStdString(), c.container);
    EXPECT_EQ(widget->geometry(), QRect(px(c.left), px(c.top), px(c.width), px(c.height)));
    EXPECT_FALSE(widget->accessibleName().isEmpty());
    // The dialog font everywhere, bold for the frame captions only.
    EXPECT_EQ(widget->font().families(), window->font().families());
    EXPECT_EQ(widget->font().pointSizeF(), 8.25);
    EXPECT_EQ(widget->font().bold(), QString(c.name).startsWith("Frame"));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Form, PlacementTest, ::testing::Values(
    Placement{"Frame1", "client", 60, 60, 7755, 1035},
    Placement{"Option1", "Frame1", 240, 300, 1455, 195},
    Placement{"Option2", "Frame1", 3960, 300, 1995, 195},
    Placement{"Combo1", "Frame1", 480, 540, 2655, 315},
    Placement{"Combo2", "Frame1", 4200, 540, 2655, 315},
    Placement{"Frame2", "client", 60, 1140, 7755, 3015},
    Placement{"Label3", "Frame2", 240, 300, 1035, 195},
    Placement{"Label2", "Frame2", 1560, 300, 435, 195},
    Placement{"Text1", "Frame2", 2040, 240, 555, 285},
    Placement{"Label1", "Frame2", 2700, 300, 315, 195},
    Placement{"Text2", "Frame2", 3060, 240, 615, 285},
    Placement{"Label4", "Frame2", 4080, 300, 855, 195},
    Placement{"Label6", "Frame2", 5400, 300, 435, 195},
    Placement{"Text3", "Frame2", 5880, 240, 555, 285},
    Placement{"Label5", "Frame2", 6600, 300, 315, 195},
    Placement{"Text4", "Frame2", 6960, 240, 555, 285},
    Placement{"Grid1", "Frame2", 180, 600, 3555, 1875},
    Placement{"Grid2", "Frame2", 4020, 600, 3555, 1935},
    Placement{"Label7", "Frame2", 240, 2640, 675, 195},
    Placement{"Text5", "Frame2", 1080, 2580, 915, 315},
    Placement{"Frame3", "client", 60, 4200, 7755, 3495},
    Placement{"Grid3", "Frame3", 180, 300, 7395, 3075}),
    ByName());
// clang-format on

TEST_F(WindowTest, ClientAreaAndFontMatchTheAboutBox) {
    const double scale = QGuiApplication::primaryScreen()->logicalDotsPerInch() / 1440.0;
    window->show();
    EXPECT_EQ(window->centralWidget()->size(),
              QSize(std::lround(7890 * scale), std::lround(7755 * scale)));
    EXPECT_EQ(window->font().families().value(0).toStdString(), "MS Sans Serif");
    About about(platform);
    EXPECT_EQ(window->font().families(), about.font().families());
    // Both windows draw with the same family at the same size, whichever was found.
    const QFontInfo shown(window->Text1->font()), inAbout(about.font());
    EXPECT_EQ(shown.family(), inAbout.family());
    EXPECT_EQ(shown.pointSizeF(), inAbout.pointSizeF());
}

TEST_F(WindowTest, MenuBarHoldsComputeBetweenFileAndHelp) {
    EXPECT_EQ(Captions(window->menuBar()), (QStringList{"File", "Compute", "Help"}));
    EXPECT_EQ(window->mnuComp->menu(), nullptr);
    EXPECT_EQ(Captions(window->mnuFileExport),
              (QStringList{"Excel WorkBook...", "HTML ...", "PDF", "CSV", "XML"}));
    EXPECT_EQ(Captions(window->findChild<QMenu*>("mnuG3E")),
              (QStringList{"Cut", "Copy", "Paste", "Delete"}));
    window->show();
    window->mnuFileExit->trigger();
    EXPECT_FALSE(window->isVisible());
}

// A mouse button pressed on a grid (1 to 3) with keys held, at a point of its cells' area,
// whose left and top edges are the headings' far edges -> whether a menu opens; it must be
// the grid's own, whose Delete clears the cell under the pointer.
using GridClick = std::tuple<int, Qt::MouseButton, Qt::KeyboardModifier, int, int, bool>;
class GridMenuTest : public WindowTest, public ::testing::WithParamInterface<GridClick> {};

TEST_P(GridMenuTest, OpensOnlyForTheRightButtonInsideTheCells) {
    const auto [g, button, keys, x, y, opens] = GetParam();
    window->show();
    auto* grid = window->findChild<GridWidget*>(QString("Grid%1").arg(g));
    grid->SetCellText(1, 1, "x");
    platform.onPopup = [](QMenu& menu) { menu.actions().back()->trigger(); };
    QTest::mousePress(grid->View().viewport(), button, keys, QPoint(x, y));
    EXPECT_EQ(platform.Count("PopupMenu"), opens ? 1 : 0);
    EXPECT_EQ(grid->CellText(1, 1), opens ? "" : "x");
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Clicks, GridMenuTest, ::testing::Values(
    std::tuple(1, Qt::RightButton, Qt::NoModifier, 1, 1, true),
    std::tuple(2, Qt::RightButton, Qt::ControlModifier, 5, 5, true),
    std::tuple(3, Qt::RightButton, Qt::NoModifier, 1, 1, true),
    std::tuple(1, Qt::RightButton, Qt::NoModifier, 0, 5, false),
    std::tuple(2, Qt::RightButton, Qt::NoModifier, 5, 0, false),
    std::tuple(1, Qt::LeftButton, Qt::NoModifier, 5, 5, false),
    std::tuple(3, Qt::MiddleButton, Qt::NoModifier, 5, 5, false)));
// clang-format on

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
