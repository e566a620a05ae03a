// The main window as it starts, its layout and menus, the grids' context menus, the exports
// and the Help commands.

#include <QAction>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QRadioButton>
#include <QRegularExpression>
#include <QScreen>
#include <QTableView>
#include <QTemporaryDir>

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

// What a person sees of the form: each control inside its container and below a frame's
// caption, clear of the others, with room for its caption (in the stand-in font "Cols" is a
// pixel wider than its labels), each label left of the box it names and on its line, an
// accessible name, and the dialog font, bold for the frames' captions only.
TEST_F(WindowTest, ControlsSitInsideTheirFramesClearOfEachOtherWithRoomForTheirCaptions) {
    window->show();
    const QList<QWidget*> controls = window->centralWidget()->findChildren<QWidget*>(
        QRegularExpression("^(Frame|Option|Combo|Label|Text|Grid)\\d$"));
    ASSERT_EQ(controls.size(), 22);
    for (const QWidget* c : controls) {
        const std::string name = c->objectName().toStdString();
        const QRect place = c->geometry();
        const QWidget* container = c->parentWidget();
        const int caption =
            container->inherits("QGroupBox") ? container->fontMetrics().height() : 0;
        EXPECT_TRUE(container->rect().adjusted(0, caption, 0, 0).contains(place)) << name;
        for (const QWidget* other : controls)
            EXPECT_TRUE(other == c || other->parentWidget() != container ||
                        !place.intersects(other->geometry()))
                << name << " and " << other->objectName().toStdString();
        if (const auto* label = qobject_cast<const QLabel*>(c); label && label->buddy()) {
            const QRect box = label->buddy()->geometry();
            EXPECT_TRUE(place.right() < box.left() && box.top() <= place.top() &&
                        place.bottom() <= box.bottom())
                << name;
        }
        const bool spare = name == "Label1" || name == "Label5";
        const bool captioned = !c->inherits("QLineEdit") && !c->inherits("GridWidget");
        EXPECT_LE(captioned ? c->minimumSizeHint().width() : 0, c->width() + spare) << name;
        EXPECT_FALSE(c->accessibleName().isEmpty()) << name;
        EXPECT_EQ(c->font().families(), window->font().families()) << name;
        EXPECT_EQ(c->font().pointSizeF(), 8.25) << name;
        EXPECT_EQ(c->font().bold(), c->inherits("QGroupBox")) << name;
    }
}

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
}

// The PDF, CSV and XML exports' own dialog. The name typed in a folder of the user's choice
// ("" cancels), a file already there and the answer to the question (6 Yes, 7 No) -> the
// file that holds the export ("" none). The dialog first opens in the documents folder,
// then in the folder of the file chosen.
struct OwnDialogCase {
    const char* name;
    const char* command;
    const char* extension;
    const char* typed;
    const char* existing;
    int answer;
    const char* written;
};
class OwnDialogTest : public WindowTest, public ::testing::WithParamInterface<OwnDialogCase> {};

TEST_P(OwnDialogTest, AsksBeforeReplacingAndAddsTheExtension) {
    const OwnDialogCase& c = GetParam();
    const QString existing = QString::fromLatin1(c.existing), written = c.written;
    QTemporaryDir documents, chosen;
    const QString suggested = QStringLiteral("Result.") + c.extension;
    QFile file(chosen.filePath(existing));
    ASSERT_TRUE(existing.isEmpty() || (file.open(QIODevice::WriteOnly) && file.write("old") == 3));
    file.close();
    platform.documentsFolder = documents.path();
    platform.saveAnswers = {*c.typed ? chosen.filePath(c.typed) : QString()};
    platform.messageAnswers = {c.answer};
    auto* item = window->findChild<QAction*>(c.command);
    item->trigger();

    QStringList messages;
    for (const RecordingPlatform::Call& call : platform.CallsOf("MessageBox"))
        messages << call.args.join('|');
    QStringList expected;
    if (!existing.isEmpty())
        expected << "File " + chosen.filePath(existing) + " already exists. Replace it?|292|" +
                        platform.CallsOf("SaveFileName")[0].args.at(1);
    if (!written.isEmpty()) expected << QStringLiteral("Export successful\uFF01|48|Note");
    EXPECT_EQ(messages, expected);
    QStringList files = {existing, written};
    files.removeAll(QString());
    files.removeDuplicates();
    EXPECT_EQ(QDir(chosen.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name), files);
    for (const QString& name : files) {
        QFile left(chosen.filePath(name));
        ASSERT_TRUE(left.open(QIODevice::ReadOnly));
        EXPECT_EQ(left.readAll() == "old", name != written) << name.toStdString();
    }
    item->trigger();
    const auto dialogs = platform.CallsOf("SaveFileName");
    EXPECT_EQ(dialogs.at(0).args.at(2), documents.filePath(suggested));
    EXPECT_EQ(dialogs.at(1).args.at(2), (*c.typed ? chosen : documents).filePath(suggested));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Names, OwnDialogTest, ::testing::Values(
    OwnDialogCase{"NewNameGetsTheExtension", "mnuFileCSV", "csv", "out", "", 6, "out.csv"},
    OwnDialogCase{"NameEndingInADot", "mnuFileXML", "xml", "out.", "", 6, "out.xml"},
    OwnDialogCase{"OtherExtensionKept", "mnuFileExpPDF", "pdf", "a.txt", "", 6, "a.txt"},
    OwnDialogCase{"ReplacedOnYes", "mnuFileCSV", "csv", "results.csv", "results.csv", 6,
                  "results.csv"},
    OwnDialogCase{"KeptOnNo", "mnuFileCSV", "csv", "results.csv", "results.csv", 7, ""},
    OwnDialogCase{"AskedForTheNameWithItsExtension", "mnuFileExpPDF", "pdf", "r", "r.pdf", 7, ""},
    OwnDialogCase{"HiddenFileAskedFor", "mnuFileXML", "xml", ".r", ".r.xml", 6, ".r.xml"},
    OwnDialogCase{"Cancelled", "mnuFileExpPDF", "pdf", "", "", 6, ""}),
    ByName());
// clang-format on

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
