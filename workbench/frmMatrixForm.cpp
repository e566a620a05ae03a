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
#include <type_traits>
#include <variant>

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

// The member that holds a control, of the control's own kind.
using Member =
    std::variant<QGroupBox * frmMatrix::*, QRadioButton * frmMatrix::*, QComboBox * frmMatrix::*,
                 QLabel * frmMatrix::*, QLineEdit * frmMatrix::*, GridWidget * frmMatrix::*>;

// A control of the form: its member and name, its container (the client area, or a frame
// further up the table), its caption or initial text, the name assistive tools read where
// the caption says nothing or is not the control's meaning, and Left, Top, Width, Height
// in twips within the container.
struct Control {
    Member member;
    const char* name;
    const char* container;
    const char* caption;
    const char* accessible;
    int left, top, width, height;
};

// The controls in the order of their tab indexes, which is the order in which they are
// created and the keyboard visits them: the operation choice, the input grids, the five
// boxes, the result. Frames and labels never take the focus; disabled controls are passed
// over.
constexpr Control Controls[] = {
    {&frmMatrix::Frame1, "Frame1", "client", "Operation", "", 60, 60, 7755, 1035},
    {&frmMatrix::Option1, "Option1", "Frame1", "Computations", "", 240, 300, 1455, 195},
    {&frmMatrix::Option2, "Option2", "Frame1", "Decompositions", "", 3960, 300, 1995, 195},
    {&frmMatrix::Combo1, "Combo1", "Frame1", "", "Computation", 480, 540, 2655, 315},
    {&frmMatrix::Combo2, "Combo2", "Frame1", "", "Decomposition", 4200, 540, 2655, 315},
    {&frmMatrix::Frame2, "Frame2", "client", "Matrix", "", 60, 1140, 7755, 3015},
    {&frmMatrix::Grid1, "Grid1", "Frame2", "", "Entries of matrix A", 180, 600, 3555, 1875},
    {&frmMatrix::Grid2, "Grid2", "Frame2", "", "Entries of matrix B", 4020, 600, 3555, 1935},
    {&frmMatrix::Text1, "Text1", "Frame2", "3", "Rows of matrix A", 2040, 240, 555, 285},
    {&frmMatrix::Text2, "Text2", "Frame2", "3", "Columns of matrix A", 3060, 240, 615, 285},
    {&frmMatrix::Text3, "Text3", "Frame2", "3", "Rows of matrix B", 5880, 240, 555, 285},
    {&frmMatrix::Text4, "Text4", "Frame2", "3", "Columns of matrix B", 6960, 240, 555, 285},
    {&frmMatrix::Text5, "Text5", "Frame2", "1", "Constant", 1080, 2580, 915, 315},
    {&frmMatrix::Label3, "Label3", "Frame2", "Matrix A", "", 240, 300, 1035, 195},
    {&frmMatrix::Label2, "Label2", "Frame2", "Rows", "", 1560, 300, 435, 195},
    {&frmMatrix::Label1, "Label1", "Frame2", "Cols", "", 2700, 300, 315, 195},
    {&frmMatrix::Label4, "Label4", "Frame2", "Matrix B", "", 4080, 300, 855, 195},
    {&frmMatrix::Label6, "Label6", "Frame2", "Rows", "", 5400, 300, 435, 195},
    {&frmMatrix::Label5, "Label5", "Frame2", "Cols", "", 6600, 300, 315, 195},
    {&frmMatrix::Label7, "Label7", "Frame2", "Constant", "", 240, 2640, 675, 195},
    {&frmMatrix::Frame3, "Frame3", "client", "Result", "", 60, 4200, 7755, 3495},
    {&frmMatrix::Grid3, "Grid3", "Frame3", "", "Result sheet", 180, 300, 7395, 3075},
};

// What each kind of control needs beyond its place, caption and names.
void Prepare(QWidget&, QObject&) {}
// Only the frames' captions are bold: every control inside sets its own font.
void Prepare(QGroupBox& frame, QObject&) {
    QFont bold = frame.font();
    bold.setWeight(QFont::Bold);
    frame.setFont(bold);
    frame.setFocusPolicy(Qt::NoFocus);
}
void Prepare(QLabel& label, QObject&) {
    label.setAlignment(Qt::AlignLeft | Qt::AlignTop);
    label.setFocusPolicy(Qt::NoFocus);
}
void Prepare(QComboBox& list, QObject&) {
    list.setEditable(true);
    list.setInsertPolicy(QComboBox::NoInsert);  // typed text adds no entry
    list.setCompleter(nullptr);                 // nor is it completed
}
// The boxes take text through the window's key filter, and by Paste: nothing is dropped in.
void Prepare(QLineEdit& box, QObject& window) {
    box.setAcceptDrops(false);
    box.installEventFilter(&window);
}
void Prepare(GridWidget& grid, QObject&) {
    grid.View().setAccessibleName(grid.accessibleName());
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

    for (const Control& c : Controls) {
        QWidget* container = client->objectName() == QLatin1String(c.container)
                                 ? client
                                 : client->findChild<QWidget*>(QLatin1String(c.container));
        const QString caption = QString::fromLatin1(c.caption);
        QWidget* control = std::visit(
            [&](auto member) -> QWidget* {
                auto* widget = new std::remove_reference_t<decltype(*(this->*member))>(container);
                if constexpr (requires { widget->setTitle(caption); })
                    widget->setTitle(caption);
                else if constexpr (requires { widget->setText(caption); })
                    widget->setText(caption);
                this->*member = widget;
                return widget;
            },
            c.member);
        control->setObjectName(QLatin1String(c.name));
        control->setAccessibleName(*c.accessible ? QString::fromLatin1(c.accessible) : caption);
        control->setFont(normal);
        control->setGeometry(Px(c.left), Px(c.top), Px(c.width), Px(c.height));
        std::visit([&](auto member) { Prepare(*(this->*member), *this); }, c.member);
    }
    Option1->setChecked(true);
    // The labels beside the boxes name them.
    Label2->setBuddy(Text1);
    Label1->setBuddy(Text2);
    Label6->setBuddy(Text3);
    Label5->setBuddy(Text4);
    Label7->setBuddy(Text5);
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
