// The main window's form: its properties, controls (captions, initial texts, places and
// sizes in twips), keyboard order and menus. The behaviour behind them is in frmMatrix.cpp.

#include <QComboBox>
#include <QGroupBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QRadioButton>
#include <QScreen>
#include <QTableView>
#include <cmath>

#include "AppIcon.h"
#include "DialogFont.h"
#include "GridWidget.h"
#include "frmMatrix.h"

namespace {

// Positions and sizes are laid out in twips (1/1440 inch) and drawn at the screen's
// logical resolution, so the window keeps its proportions on any screen.
int Px(int twips) {
    const QScreen* screen = QGuiApplication::primaryScreen();
    const double dpi = screen ? screen->logicalDotsPerInch() : 96.0;
    return static_cast<int>(std::lround(twips * dpi / 1440.0));
}

void Place(QWidget* widget, int left, int top, int width, int height) {
    widget->setGeometry(Px(left), Px(top), Px(width), Px(height));
}

}  // namespace

void frmMatrix::SetupForm() {
    setObjectName(QStringLiteral("frmMatrix"));
    setWindowTitle(QStringLiteral("Kelvara"));
    setAccessibleName(windowTitle());
    setWindowIcon(AppIcon());
    // Minimize and close, no maximize; the border still resizes, and nothing follows it.
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                   Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                   Qt::WindowCloseButtonHint);
    setFont(DialogFont());

    CreateControls();
    CreateMenus();

    // The client area is 7890 by 7755 twips below the menu bar, centred on the screen.
    resize(Px(7890), Px(7755) + menuBar()->sizeHint().height());
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());
}

void frmMatrix::CreateControls() {
    auto* client = new QWidget(this);
    client->setObjectName(QStringLiteral("client"));
    setCentralWidget(client);

    QFont normal = DialogFont();
    normal.setWeight(QFont::Normal);  // set, so that no control takes its frame's bold
    QFont bold = normal;
    bold.setWeight(QFont::Bold);

    auto frame = [&](QGroupBox*& box, const char* name, const QString& caption) {
        box = new QGroupBox(caption, client);
        box->setObjectName(QString::fromLatin1(name));
        box->setAccessibleName(caption);
        box->setFont(bold);  // only the caption is bold: every control inside sets its own
    };
    auto named = [&](QWidget* widget, const char* name, const QString& accessible) {
        widget->setObjectName(QString::fromLatin1(name));
        widget->setAccessibleName(accessible);
        widget->setFont(normal);
    };
    auto label = [&](QLabel*& l, const char* name, const QString& caption, QWidget* buddy) {
        l = new QLabel(caption, Frame2);
        named(l, name, caption);
        l->setAlignment(Qt::AlignLeft | Qt::AlignTop);
        if (buddy) l->setBuddy(buddy);
    };
    // The boxes take text through their key filter and Paste only: nothing is dropped in.
    auto text = [&](QLineEdit*& t, const char* name, const QString& initial,
                    const QString& accessible) {
        t = new QLineEdit(initial, Frame2);
        named(t, name, accessible);
        t->setAcceptDrops(false);
        t->installEventFilter(this);
    };
    auto grid = [&](GridWidget*& g, const char* name, QWidget* container,
                    const QString& accessible) {
        g = new GridWidget(container);
        named(g, name, accessible);
        g->View().setAccessibleName(accessible);
    };

    frame(Frame1, "Frame1", QStringLiteral("Operation"));
    Place(Frame1, 60, 60, 7755, 1035);
    Option1 = new QRadioButton(QStringLiteral("Computations"), Frame1);
    named(Option1, "Option1", Option1->text());
    Option1->setChecked(true);
    Place(Option1, 240, 300, 1455, 195);
    Option2 = new QRadioButton(QStringLiteral("Decompositions"), Frame1);
    named(Option2, "Option2", Option2->text());
    Place(Option2, 3960, 300, 1995, 195);
    for (QComboBox** combo : {&Combo1, &Combo2}) {
        *combo = new QComboBox(Frame1);
        (*combo)->setEditable(true);
        (*combo)->setInsertPolicy(QComboBox::NoInsert);  // typed text adds no entry
        (*combo)->setCompleter(nullptr);                 // nor is it completed
    }
    named(Combo1, "Combo1", QStringLiteral("Computation"));
    Place(Combo1, 480, 540, 2655, 315);
    named(Combo2, "Combo2", QStringLiteral("Decomposition"));
    Place(Combo2, 4200, 540, 2655, 315);

    frame(Frame2, "Frame2", QStringLiteral("Matrix"));
    Place(Frame2, 60, 1140, 7755, 3015);
    grid(Grid1, "Grid1", Frame2, QStringLiteral("Entries of matrix A"));
    Place(Grid1, 180, 600, 3555, 1875);
    grid(Grid2, "Grid2", Frame2, QStringLiteral("Entries of matrix B"));
    Place(Grid2, 4020, 600, 3555, 1935);
    text(Text1, "Text1", QStringLiteral("3"), QStringLiteral("Rows of matrix A"));
    Place(Text1, 2040, 240, 555, 285);
    text(Text2, "Text2", QStringLiteral("3"), QStringLiteral("Columns of matrix A"));
    Place(Text2, 3060, 240, 615, 285);
    text(Text3, "Text3", QStringLiteral("3"), QStringLiteral("Rows of matrix B"));
    Place(Text3, 5880, 240, 555, 285);
    text(Text4, "Text4", QStringLiteral("3"), QStringLiteral("Columns of matrix B"));
    Place(Text4, 6960, 240, 555, 285);
    text(Text5, "Text5", QStringLiteral("1"), QStringLiteral("Constant"));
    Place(Text5, 1080, 2580, 915, 315);
    label(Label3, "Label3", QStringLiteral("Matrix A"), nullptr);
    Place(Label3, 240, 300, 1035, 195);
    label(Label2, "Label2", QStringLiteral("Rows"), Text1);
    Place(Label2, 1560, 300, 435, 195);
    label(Label1, "Label1", QStringLiteral("Cols"), Text2);
    Place(Label1, 2700, 300, 315, 195);
    label(Label4, "Label4", QStringLiteral("Matrix B"), nullptr);
    Place(Label4, 4080, 300, 855, 195);
    label(Label6, "Label6", QStringLiteral("Rows"), Text3);
    Place(Label6, 5400, 300, 435, 195);
    label(Label5, "Label5", QStringLiteral("Cols"), Text4);
    Place(Label5, 6600, 300, 315, 195);
    label(Label7, "Label7", QStringLiteral("Constant"), Text5);
    Place(Label7, 240, 2640, 675, 195);

    frame(Frame3, "Frame3", QStringLiteral("Result"));
    Place(Frame3, 60, 4200, 7755, 3495);
    grid(Grid3, "Grid3", Frame3, QStringLiteral("Result sheet"));
    Place(Grid3, 180, 300, 7395, 3075);

    // The controls are created in the order of their tab indexes, which is the order in
    // which the keyboard visits them: the operation choice, the input grids, the five
    // boxes, the result. Frames and labels never take the focus; disabled controls are
    // passed over.
    for (QWidget* w : std::initializer_list<QWidget*>{Frame1, Frame2, Frame3, Label1, Label2,
                                                      Label3, Label4, Label5, Label6, Label7})
        w->setFocusPolicy(Qt::NoFocus);
}

void frmMatrix::CreateMenus() {
    auto menu = [&](QMenu* m, const QString& name) {
        m->setObjectName(name);
        m->setAccessibleName(m->title());
        return m;
    };
    auto item = [&](QMenu* m, const QString& name, const QString& caption) {
        QAction* a = m->addAction(caption);
        a->setObjectName(name);
        return a;
    };
    auto separator = [&](QMenu* m, const char* name) {
        QAction* a = m->addSeparator();
        a->setObjectName(QString::fromLatin1(name));
        return a;
    };

    mnuFile = menu(menuBar()->addMenu(QStringLiteral("File")), "mnuFile");
    mnuFileExport = menu(mnuFile->addMenu(QStringLiteral("Export Results")), "mnuFileExport");
    mnuFileExcel = item(mnuFileExport, "mnuFileExcel", QStringLiteral("Excel WorkBook..."));
    mnuFileExpHtml = item(mnuFileExport, "mnuFileExpHtml", QStringLiteral("HTML ..."));
    mnuFileExpPDF = item(mnuFileExport, "mnuFileExpPDF", QStringLiteral("PDF"));
    mnuFileCSV = item(mnuFileExport, "mnuFileCSV", QStringLiteral("CSV"));
    mnuFileXML = item(mnuFileExport, "mnuFileXML", QStringLiteral("XML"));
    mnuFileSep = separator(mnuFile, "mnuFileSep");
    mnuFileExit = item(mnuFile, "mnuFileExit", QStringLiteral("Exit"));

    // Compute is a command of the menu bar itself, with no submenu.
    mnuComp = menuBar()->addAction(QStringLiteral("Compute"));
    mnuComp->setObjectName(QStringLiteral("mnuComp"));

    mnuHelp = menu(menuBar()->addMenu(QStringLiteral("Help")), "mnuHelp");
    mnuHelpCont = item(mnuHelp, "mnuHelpCont", QStringLiteral("Contents..."));
    mnuHelpHome = item(mnuHelp, "mnuHelpHome", QStringLiteral("Home Page"));
    mnuHelpSep = separator(mnuHelp, "mnuHelpSep");
    mnuHelpAbout = item(mnuHelp, "mnuHelpAbout", QStringLiteral("About"));
    menuBar()->setObjectName(QStringLiteral("menuBar"));
    menuBar()->setAccessibleName(QStringLiteral("Menu bar"));

    // The grids' context menus never show in the menu bar. Each has the same four items,
    // in the order of EditCommand: the ending of the item's name, and its caption.
    const char* const commands[][2] = {
        {"Cut", "Cut"}, {"Copy", "Copy"}, {"Paste", "Paste"}, {"Del", "Delete"}};
    for (int grid = 0; grid < 3; ++grid) {
        const QString name = QStringLiteral("mnuG%1E").arg(grid + 1);
        mnuGE[grid] = menu(new QMenu(QStringLiteral("Grid%1Edit").arg(grid + 1), this), name);
        for (int command = 0; command < 4; ++command)
            mnuGEItems[grid][command] =
                item(mnuGE[grid], name + QLatin1String(commands[command][0]),
                     QString::fromLatin1(commands[command][1]));
    }
}
