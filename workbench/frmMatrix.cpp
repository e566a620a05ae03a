// The main window's behaviour: start-up, the handlers of its controls and menus, and the
// filter that hands the boxes' keys to their handlers. The form itself is laid out in
// frmMatrixForm.cpp.

#include "frmMatrix.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <string_view>
#include <vector>

#include "About.h"
#include "Checked.h"
#include "GridWidget.h"
#include "HelpWindow.h"
#include "HomePage.h"
#include "KeyCodes.h"
#include "NumericValue.h"
#include "OperandEntries.h"
#include "ResultExport.h"
#include "WorkingMemory.h"

namespace {

using Checked::Count;

const QString ProgramName = QStringLiteral("Kelvara");
const QString SquareMessage =
    QStringLiteral("The numbers of columns and rows of matrix A must be equal.");
const QString QRMessage =
    QStringLiteral("The numbers of columns must be >= the number of rows of matrix A.");
const QString ProductMessage = QStringLiteral(
    "The number of columns of matrix A must be equal to the number of rows of matrix B.");
const QString ExportedMessage = QStringLiteral("Export successful\uFF01");
const QString NoteTitle = QStringLiteral("Note");

// The property of a drop-down list that marks text typed into its edit field.
const char* const TypedText = "typedText";

// Data columns of the grids are this wide, in the grid's own unit.
constexpr int DataColumnWidth = 60;

// The largest count of rows or columns a grid takes: a box's count n makes the grid n + 1
// long, a 16-bit count.
constexpr int MostCount = 32766;

double ValueOf(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    return NumericValue(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

std::int16_t DimensionOf(const QLineEdit* box) {
    const QByteArray utf8 = box->text().toUtf8();
    return ReadDimension(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

// The heading cells of a grid's top row and left column carry their numbers.
void NumberColumnHeading(GridWidget& grid, std::int16_t col) {
    grid.SetCellFormat(0, col, GridModel::HeadingFormat);
    grid.SetCellText(0, col, QString::number(col));
}

void NumberRowHeadings(GridWidget& grid) {
    Checked::For(1, Count(grid.Rows() - 1), [&](std::int16_t row) {
        grid.SetCellFormat(row, 0, GridModel::HeadingFormat);
        grid.SetCellText(row, 0, QString::number(row));
    });
}

// Every data column gets its width again, and its number in the heading row.
void SizeAndNumberColumns(GridWidget& grid) {
    Checked::For(1, Count(grid.Cols() - 1), [&](std::int16_t col) {
        grid.Column(col).SetWidth(DataColumnWidth);
        NumberColumnHeading(grid, col);
    });
}

// The operand's entries from its grid, row by row; the heading row and column are not read.
void ReadEntries(const GridWidget& grid, std::int16_t rows, std::int16_t cols, Matrix& m,
                 TypedTexts& typed, char separator) {
    ReadOperandEntries(grid.Model(), rows, cols, m, &typed, separator);
}

// The characters and released keys each kind of box lets through. The key numbers are the
// character codes on purpose: digits, Backspace (8) and, as keys, Delete (46); the constant
// also takes "," and "-" as characters, which as keys are Print (44) and Insert (45).
bool DimensionCharacter(int code) {
    return (code >= 48 && code <= 57) || code == 46 || code == 8;
}
bool ConstantCharacter(int code) {
    return DimensionCharacter(code) || code == 44 || code == 45;
}
bool DimensionKey(int code) {
    return DimensionCharacter(code);
}
bool ConstantKey(int code) {
    return ConstantCharacter(code);
}

// Tab and Shift+Tab (which arrives as Backtab) move the focus between controls.
bool IsFocusKey(const QKeyEvent& key) {
    return (key.key() == Qt::Key_Tab || key.key() == Qt::Key_Backtab) &&
           !(key.modifiers() & (Qt::ControlModifier | Qt::AltModifier));
}

// The captions of a list's entries, in list order.
QStringList Captions(std::span<const OperationRow> list) {
    QStringList captions;
    for (const OperationRow& row : list)
        captions << QString::fromLatin1(row.caption);
    return captions;
}

}  // namespace

frmMatrix::frmMatrix(Platform& platform, QWidget* parent)
    : QMainWindow(parent), platform_(platform) {
    SetupForm();
    for (GridWidget* grid : {Grid1, Grid2, Grid3})
        grid->SetDecimalSeparator(platform_.DecimalSeparator());
    sheet_ = std::make_unique<ResultSheet>(Grid3->Model(), operands_, platform_.DecimalSeparator());
    ConnectHandlers();

    Guarded([this] { Form_Load(); });
    Option1->setFocus();
}

// No handler runs while the controls are taken down.
frmMatrix::~frmMatrix() {
    ended_ = true;
}

// Every handler of the window is connected here, each through the run-time-error guard.
void frmMatrix::ConnectHandlers() {
    auto on = [this](QAction* action, void (frmMatrix::*handler)()) {
        connect(action, &QAction::triggered, this,
                [this, handler] { Guarded([this, handler] { (this->*handler)(); }); });
    };
    on(mnuFileExcel, &frmMatrix::mnuFileExcel_Click);
    on(mnuFileExpHtml, &frmMatrix::mnuFileExpHtml_Click);
    on(mnuFileExpPDF, &frmMatrix::mnuFileExpPDF_Click);
    on(mnuFileCSV, &frmMatrix::mnuFileCSV_Click);
    on(mnuFileXML, &frmMatrix::mnuFileXML_Click);
    on(mnuFileExit, &frmMatrix::mnuFileExit_Click);
    on(mnuComp, &frmMatrix::mnuComp_Click);
    on(mnuHelpCont, &frmMatrix::mnuHelpCont_Click);
    on(mnuHelpHome, &frmMatrix::mnuHelpHome_Click);
    on(mnuHelpAbout, &frmMatrix::mnuHelpAbout_Click);

    // Each grid's mouse button and the four commands of its menu. The grid reports the
    // button and the keys held as the toolkit names them; the handler takes their numbers.
    for (int index = 0; index < 3; ++index) {
        connect(Grids()[index], &GridWidget::MouseDown, this,
                [this, index](Qt::MouseButton button, Qt::KeyboardModifiers keys, QPointF at) {
                    Guarded([&] {
                        const int Button = KeyCodes::ButtonCode(button);
                        if (Button == 0) return;  // a button without a number raises nothing
                        Grid_MouseDown(index, Button, KeyCodes::ShiftCode(keys),
                                       static_cast<float>(at.x()), static_cast<float>(at.y()));
                    });
                });
        for (int command = 0; command < 4; ++command)
            connect(mnuGEItems[index][command], &QAction::triggered, this, [this, index, command] {
                Guarded([&] { mnuGE_Click(index, EditCommand(command)); });
            });
        // Ctrl+V and the menu's Paste ask the window alike before a paste is written.
        PasteRules rules;
        rules.most = MostCount;
        rules.grow = [this, index](int rows, int cols) {
            bool cancel = true;  // a run-time error pastes nothing
            Guarded([&] {
                cancel = false;
                Grid_PasteBeyond(index, rows, cols, cancel);
            });
            return !cancel;
        };
        rules.refuse = [this, index](const QString& reason) {
            Guarded([&] { Grid_PasteRefused(index, reason); });
        };
        Grids()[index]->SetPasteRules(std::move(rules));
    }

    // An option button reacts when it becomes selected, by the user or from code.
    connect(Option1, &QRadioButton::toggled, this, [this](bool selected) {
        if (selected) Guarded([this] { Option1_Click(); });
    });
    connect(Option2, &QRadioButton::toggled, this, [this](bool selected) {
        if (selected) Guarded([this] { Option2_Click(); });
    });

    // Typing into a list's edit field chooses nothing; choosing an entry from the list, or
    // setting one from code, is a choice again. Neither Enter nor leaving the edit field
    // turns typed text into a choice, even when it reads like an entry.
    for (QComboBox* combo : {Combo1, Combo2}) {
        QLineEdit* edit = combo->lineEdit();
        disconnect(edit, SIGNAL(returnPressed()), combo, nullptr);
        disconnect(edit, SIGNAL(editingFinished()), combo, nullptr);
        connect(edit, &QLineEdit::textEdited, combo,
                [combo] { combo->setProperty(TypedText, true); });
        connect(combo, &QComboBox::currentIndexChanged, combo,
                [combo] { combo->setProperty(TypedText, false); });
        connect(combo, &QComboBox::activated, combo,
                [combo] { combo->setProperty(TypedText, false); });
    }
    // Choosing an entry, also choosing the shown one again, and setting it from code.
    connect(Combo1, &QComboBox::activated, this, [this] { Guarded([this] { Combo1_Click(); }); });
    connect(Combo1, &QComboBox::currentIndexChanged, this,
            [this] { Guarded([this] { Combo1_Click(); }); });
}

// The two option buttons are one stop of the keyboard: Tab and Shift+Tab reach the
// selected one only, and the arrow keys move between them.
bool frmMatrix::focusNextPrevChild(bool next) {
    for (int step = 0; step < 2; ++step) {
        if (!QMainWindow::focusNextPrevChild(next)) return false;
        const QWidget* now = QApplication::focusWidget();
        if ((now != Option1 || Option1->isChecked()) && (now != Option2 || Option2->isChecked()))
            break;
    }
    return true;
}

// The boxes' characters and key releases reach their handlers from here. Tab and
// Shift+Tab move the focus on before any box sees them: they type nothing.
bool frmMatrix::eventFilter(QObject* watched, QEvent* event) {
    const std::array<QLineEdit*, 5> boxes = TextBoxes();
    const auto found = std::find(boxes.begin(), boxes.end(), watched);
    if (found == boxes.end()) return QMainWindow::eventFilter(watched, event);
    const int box = static_cast<int>(found - boxes.begin());

    if (event->type() == QEvent::InputMethodQuery) {
        // No input method composes text into a box past its filter: the box tells the
        // desktop that it takes none, and gets plain keys instead.
        watched->event(event);
        auto* query = static_cast<QInputMethodQueryEvent*>(event);
        if (query->queries() & Qt::ImEnabled) query->setValue(Qt::ImEnabled, false);
        return true;
    }
    const bool press = event->type() == QEvent::KeyPress;
    if (!press && event->type() != QEvent::KeyRelease) return false;
    const auto* key = static_cast<const QKeyEvent*>(event);
    if (IsFocusKey(*key)) return false;

    if (press) {
        int code = KeyCodes::CharacterCode(*key);
        if (code == 0) return false;  // a key that types nothing goes to the box as it is
        Guarded([&] { Text_KeyPress(box, code); });
        return code == 0;  // a discarded character never reaches the box
    }
    if (key->isAutoRepeat()) return false;  // a held key is released once, at the end
    static constexpr void (frmMatrix::*KeyUp[])(int&, int) = {
        &frmMatrix::Text1_KeyUp, &frmMatrix::Text2_KeyUp, &frmMatrix::Text3_KeyUp,
        &frmMatrix::Text4_KeyUp, &frmMatrix::Text5_KeyUp};
    int code = KeyCodes::VirtualKey(*key);
    const int shift = KeyCodes::ShiftCode(key->modifiers());
    Guarded([&] { (this->*KeyUp[box])(code, shift); });
    return false;
}

void frmMatrix::End(int number, const QString& description) {
    ended_ = true;
    platform_.EndOnRuntimeError(number, description);
}

// ---- Start-up and exit ----------------------------------------------------------------

void frmMatrix::Form_Load() {
    for (GridWidget* grid : {Grid1, Grid2}) {
        grid->SetCols(4);
        grid->SetRows(4);
        SizeAndNumberColumns(*grid);
        NumberRowHeadings(*grid);
    }

    // The result sheet: no headings, nine data columns of the same width as the inputs'.
    Grid3->SetSheetFlag(true);
    Grid3->Column(0).SetWidth(0);
    Grid3->SetRowHeight(0, 0);
    Grid3->SetCols(10);
    Checked::For(1, 9, [&](std::int16_t col) { Grid3->Column(col).SetWidth(DataColumnWidth); });

    {
        const QSignalBlocker quiet(Combo1);
        Combo1->addItems(Captions(Computations()));
        Combo1->setCurrentIndex(-1);
    }
    Combo1->setCurrentIndex(0);  // reacts like the user's choice of "A+B"

    Combo2->addItems(Captions(Decompositions()));
    Combo2->setCurrentIndex(0);
    Combo2->setEnabled(false);
    Text5->setEnabled(false);
}

void frmMatrix::mnuFileExit_Click() {
    close();
}

// ---- Dimension boxes ------------------------------------------------------------------

// The dimension boxes take digits and the decimal point; the constant also a sign and a
// comma.
void frmMatrix::Text_KeyPress(int Index, int& KeyAscii) {
    const bool constant = TextBoxes()[Index] == Text5;
    if (!(constant ? ConstantCharacter(KeyAscii) : DimensionCharacter(KeyAscii))) KeyAscii = 0;
}

// Rows of A: the grid follows at once.
void frmMatrix::Text1_KeyUp(int& KeyCode, int /*Shift*/) {
    if (!DimensionKey(KeyCode)) {
        KeyCode = 0;
        return;
    }
    DimensionTyped(Text1);
}

// Columns of A: refused when the operation chosen in the enabled list needs another shape
// of A.
void frmMatrix::Text2_KeyUp(int& KeyCode, int /*Shift*/) {
    if (!DimensionKey(KeyCode)) {
        KeyCode = 0;
        return;
    }
    DimensionTyped(Text2);
}

// Rows of B: refused when the chosen computation needs them to match the columns of A.
void frmMatrix::Text3_KeyUp(int& KeyCode, int /*Shift*/) {
    if (!DimensionKey(KeyCode)) {
        KeyCode = 0;
        return;
    }
    DimensionTyped(Text3);
}

// Columns of B.
void frmMatrix::Text4_KeyUp(int& KeyCode, int /*Shift*/) {
    if (!DimensionKey(KeyCode)) {
        KeyCode = 0;
        return;
    }
    DimensionTyped(Text4);
}

// A count typed into a dimension box, or set there by a paste: refused when the chosen
// operation cannot use it, otherwise the grid takes it at once and numbers its headings.
void frmMatrix::DimensionTyped(QLineEdit* box) {
    GridWidget& grid = box == Text1 || box == Text2 ? *Grid1 : *Grid2;
    const bool rows = box == Text1 || box == Text3;
    const int old = (rows ? grid.Rows() : grid.Cols()) - 1;
    const std::int16_t n = DimensionOf(box);
    if (const QString refusal = DimensionRefusal(box, n); !refusal.isEmpty()) {
        DimensionCheck(box, old, refusal);
        return;
    }
    if (rows) {
        grid.SetRows(Count(n + 1));
        NumberRowHeadings(grid);
    } else {
        grid.SetCols(Count(n + 1));
        SizeAndNumberColumns(grid);
    }
    // Large operands are coming: memory for their cells and their Compute is made ready in
    // the background.
    WorkingMemory::Expect(ComputeBytes(true));
}

// Why the chosen operation cannot use the count n in the box, or nothing. The columns of A
// are compared with the rows box of A, the rows of B with the columns box of A, each read
// rounded down; the other boxes are never checked.
QString frmMatrix::DimensionRefusal(const QLineEdit* box, std::int16_t n) const {
    if (box == Text2) {
        const double rows = std::floor(ValueOf(Text1->text()));
        for (const QComboBox* list : {Combo1, Combo2}) {
            const OperationRow* chosen = list->isEnabled() ? Chosen(*list) : nullptr;
            if (chosen == nullptr) continue;
            if (chosen->columnsOfA == ColumnsOfA::EqualToRows && rows != n) return SquareMessage;
            if (chosen->columnsOfA == ColumnsOfA::AtMostRows && rows < n) return QRMessage;
        }
    }
    if (box == Text3) {
        const double cols = std::floor(ValueOf(Text2->text()));
        const OperationRow* chosen = Combo1->isEnabled() ? Chosen(*Combo1) : nullptr;
        if (chosen != nullptr && chosen->rowsOfBEqualColumnsOfA && cols != n) return ProductMessage;
    }
    return QString();
}

// The constant, kept as typed, without rounding.
void frmMatrix::Text5_KeyUp(int& KeyCode, int /*Shift*/) {
    if (!ConstantKey(KeyCode)) {
        KeyCode = 0;
        return;
    }
    operands_.ConstC = ValueOf(Text5->text());
}

// A refused count: say why, then put the grid's own count back into the box.
void frmMatrix::DimensionCheck(QLineEdit* box, int old, const QString& message) {
    platform_.MessageBox(message, Platform::OkOnly, ProgramName);
    box->setText(QString::number(old));
}

// ---- Operation choice and Compute -----------------------------------------------------

int frmMatrix::ListIndex(const QComboBox& combo) {
    return combo.property(TypedText).toBool() ? -1 : combo.currentIndex();
}

const OperationRow* frmMatrix::Chosen(const QComboBox& list) const {
    return RowAt(&list == Combo1 ? Computations() : Decompositions(), ListIndex(list));
}

// The inputs the chosen computation reads are enabled, the others not.
void frmMatrix::Combo1_Click() {
    const OperationRow* chosen = Chosen(*Combo1);
    const bool readsB = chosen != nullptr && chosen->readsB;
    Text3->setEnabled(readsB);
    Text4->setEnabled(readsB);
    Grid2->SetEnabled(readsB);
    Text5->setEnabled(chosen != nullptr && chosen->readsConstant);
}

void frmMatrix::Option1_Click() {
    Combo1->setEnabled(true);
    Combo2->setEnabled(false);
    Combo1_Click();
}

// A decomposition reads only A.
void frmMatrix::Option2_Click() {
    Combo1->setEnabled(false);
    Combo2->setEnabled(true);
    Text3->setEnabled(false);
    Text4->setEnabled(false);
    Grid2->SetEnabled(false);
    Text5->setEnabled(false);
}

// Reads the operands the chosen operation may use, then carries it out; with nothing chosen
// (text typed into the list) the sheet stays as it is.
void frmMatrix::mnuComp_Click() {
    // A cell still being edited counts as typed; the sheet's own edit ends before the
    // sheet is written anew.
    for (GridWidget* grid : Grids())
        grid->CommitEdit();
    Operands& s = operands_;
    s.RowsA = DimensionOf(Text1);
    s.ColsA = DimensionOf(Text2);
    s.MatA.Resize(s.RowsA, s.ColsA);
    const char separator = platform_.DecimalSeparator();
    ReadEntries(*Grid1, s.RowsA, s.ColsA, s.MatA, s.TypedA, separator);
    if (Grid2->Enabled()) {
        s.RowsB = DimensionOf(Text3);
        s.ColsB = DimensionOf(Text4);
        s.MatB.Resize(s.RowsB, s.ColsB);
        ReadEntries(*Grid2, s.RowsB, s.ColsB, s.MatB, s.TypedB, separator);
    }
    if (Text5->isEnabled()) s.ConstC = ValueOf(Text5->text());

    if (Option1->isChecked())
        if (const OperationRow* chosen = Chosen(*Combo1)) chosen->compute(s, *sheet_);
    if (Option2->isChecked())
        if (const OperationRow* chosen = Chosen(*Combo2)) chosen->compute(s, *sheet_);
    // The cells may change from now on.
    s.TypedA.Forget();
    s.TypedB.Forget();
    // The next Compute of these sizes reuses what this one frees; after a large one, what is
    // held beyond them goes back.
    WorkingMemory::Keep(ComputeBytes());
}

// The fresh memory a Compute on the operands as now sized needs: each entry of the operands
// and of a result of their size as a double and as a text on the sheet, less what the
// sheet's present texts free when the Compute clears it; and, for operand cells still to be
// filled in, their texts. A text on the sheet takes about what the operands' texts take
// per cell now (the sheet shows the same numbers); what it needs beyond that comes in
// during the Compute, while memory prepared beyond the need would only raise the peak.
std::size_t frmMatrix::ComputeBytes(bool cellsToCome) const {
    constexpr double kBytesPerDouble = 8;
    constexpr double kBytesPerCellAtFirst = 10;  // before any operand cell is filled in
    constexpr double kLeastBytesPerCell = 6;     // "0" and its reference
    const auto entries = [](const GridWidget& grid) {
        return double(grid.Rows() - 1) * double(grid.Cols() - 1);
    };
    const auto filled = [](const GridWidget& grid) {
        const GridModel& cells = grid.Model();
        return double(cells.LastUsedRow()) * cells.LastUsedCol();
    };
    const bool readsB = Grid2->Enabled();
    const double a = entries(*Grid1);
    const double b = readsB ? entries(*Grid2) : 0;
    const double filledCells = filled(*Grid1) + (readsB ? filled(*Grid2) : 0);
    const double filledBytes = double(Grid1->Model().StorageBytes()) +
                               (readsB ? double(Grid2->Model().StorageBytes()) : 0);
    const double bytesPerCell = filledCells >= 1e5
                                    ? std::max(filledBytes / filledCells, kLeastBytesPerCell)
                                    : kBytesPerCellAtFirst;
    double bytes = (kBytesPerDouble + bytesPerCell) * (a + b + std::max(a, b));
    if (cellsToCome) bytes += bytesPerCell * std::max(0.0, a + b - filledCells);
    bytes -= double(Grid3->Model().StorageBytes());
    return bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

// ---- Grid context menus ---------------------------------------------------------------

// The grid's menu opens for the right button inside the cells, never on a heading or its
// edge; the keys held play no part.
void frmMatrix::Grid_MouseDown(int Index, int Button, int /*Shift*/, float x, float y) {
    GridWidget& grid = *Grids()[Index];
    const double headingWidth = grid.Column(0).Width();
    const double headingHeight = grid.RowHeight(0);
    if (Button == 2 && static_cast<double>(x) > headingWidth &&
        static_cast<double>(y) > headingHeight)
        platform_.PopupMenu(*mnuGE[Index]);
}

// A command of a grid's menu acts on that grid's selection, whichever grid it is.
void frmMatrix::mnuGE_Click(int Index, EditCommand Command) {
    GridSelection selection = Grids()[Index]->Selection();
    switch (Command) {
        case EditCommand::Cut:
            selection.Cut();
            break;
        case EditCommand::Copy:
            selection.Copy();
            break;
        case EditCommand::Paste:
            selection.Paste();
            break;
        case EditCommand::Delete:
            selection.ClearContents();
            break;
    }
}

// A paste into A or B that reaches beyond the grid: the boxes take the counts that hold it,
// as if the user had typed them (rows first, so that a square A can grow), and the grid
// follows them. A count the chosen operation refuses is refused as a typed one is, before
// anything changes, and Cancel keeps the paste from being written. The result sheet simply
// grows, as it does for a result.
void frmMatrix::Grid_PasteBeyond(int Index, int Rows, int Cols, bool& Cancel) {
    GridWidget& grid = *Grids()[Index];
    if (&grid == Grid3) {
        grid.SetRows(std::max(grid.Rows(), Rows + 1));
        grid.SetCols(std::max(grid.Cols(), Cols + 1));
        return;
    }
    QLineEdit* const rowsBox = &grid == Grid1 ? Text1 : Text3;
    QLineEdit* const colsBox = &grid == Grid1 ? Text2 : Text4;
    const QString rowsText = rowsBox->text(), colsText = colsBox->text();
    std::vector<QLineEdit*> changed;
    if (Rows > grid.Rows() - 1) {
        rowsBox->setText(QString::number(Rows));
        changed.push_back(rowsBox);
    }
    if (Cols > grid.Cols() - 1) {
        colsBox->setText(QString::number(Cols));
        changed.push_back(colsBox);
    }
    for (const QLineEdit* box : changed) {
        if (const QString refusal = DimensionRefusal(box, DimensionOf(box)); !refusal.isEmpty()) {
            platform_.MessageBox(refusal, Platform::OkOnly, ProgramName);
            rowsBox->setText(rowsText);
            colsBox->setText(colsText);
            Cancel = true;
            return;
        }
    }
    for (QLineEdit* box : changed)
        DimensionTyped(box);
    // The new sizes made memory ready for a Compute, and the pasted cells take some of it:
    // once they are written, it is made up again.
    QTimer::singleShot(0, this, [this] {
        if (!ended_) WorkingMemory::Expect(ComputeBytes());
    });
}

// A paste that writes nothing, and why.
void frmMatrix::Grid_PasteRefused(int /*Index*/, const QString& Reason) {
    platform_.MessageBox(Reason, Platform::Information, ProgramName);
}

// ---- Exports --------------------------------------------------------------------------

namespace {

// The five commands of File > Export Results, in menu order: the format, its save dialog's
// filter and title, whether it asks through the window's own dialog, and the extension its
// own dialog adds to a name typed without one.
struct ExportCommand {
    Export::Format format;
    const char* filter;
    const char* title;
    bool windowDialog;
    const char* extension;
};
constexpr ExportCommand ExportCommands[] = {
    {Export::Format::Workbook, "Excel WorkBook (*.xls)|*.xls", "Export Excel file", true, ""},
    {Export::Format::WebPage, "Hypertext file(*.htm)|*.htm", "Export html file", true, ""},
    {Export::Format::Pdf, "PDF file (*.pdf)|*.pdf", "Export PDF file", false, "pdf"},
    {Export::Format::Csv, "CSV file (*.csv)|*.csv", "Export CSV file", false, "csv"},
    {Export::Format::Xml, "XML file (*.xml)|*.xml", "Export XML file", false, "xml"},
};

// The name the export dialog suggests in its folder, "Result.csv" and so on.
const QString SuggestedName = QStringLiteral("Result");

// path with ".extension" added when its file name has no extension of its own: "out" and
// "out." become "out.csv", while "a.txt" stays as typed, for the user chose that name. A
// leading dot marks a hidden file, not an extension: ".out" becomes ".out.csv".
QString WithExtension(const QString& path, const QString& extension) {
    const QString name = QFileInfo(path).fileName();
    if (name.endsWith(QLatin1Char('.'))) return path + extension;
    if (name.lastIndexOf(QLatin1Char('.')) > 0) return path;
    return path + QLatin1Char('.') + extension;
}

}  // namespace

void frmMatrix::ShowSaveDialog() {
    CommonDialog1.FileName = platform_.SaveFileName(CommonDialog1.Filter, CommonDialog1.DialogTitle,
                                                    CommonDialog1.FileName);
}

// The dialog of the PDF, CSV and XML exports: it opens in the folder of the last export, or
// else in the user's documents, with a name suggested; a name typed without an extension
// gets the format's; a file already there is replaced only when the user says so. Answers
// the path to write, or "" when the user cancelled or kept the old file.
QString frmMatrix::ChooseExportFile(const QString& filter, const QString& title,
                                    const QString& extension) {
    const QString folder =
        lastExportFolder_.isEmpty() ? platform_.DocumentsFolder() : lastExportFolder_;
    QString path = platform_.SaveFileName(
        filter, title, QDir(folder).filePath(SuggestedName + QLatin1Char('.') + extension));
    if (path.isEmpty()) return path;
    path = WithExtension(path, extension);
    lastExportFolder_ = QFileInfo(path).absolutePath();
    // Any name already taken counts here, a hidden file's too: the dialog did not ask about
    // the name with its extension added.
    if (QFileInfo::exists(path) &&
        platform_.MessageBox(
            QStringLiteral("File ") + path + QStringLiteral(" already exists. Replace it?"),
            Platform::YesNo + Platform::Question + Platform::DefaultButton2,
            title) != Platform::AnswerYes)
        return QString();
    return path;
}

// The one way every export runs: where the file goes, whether it may be written there, the
// writing, and the note of success. The workbook and the web page ask through the window's
// dialog and before replacing a file; the PDF, CSV and XML exports through a dialog of their
// own (ChooseExportFile). Cancelling, answering No and a failed export end silently.
void frmMatrix::ExportResults(Export::Format format) {
    const ExportCommand& command =
        *std::find_if(std::begin(ExportCommands), std::end(ExportCommands),
                      [format](const ExportCommand& c) { return c.format == format; });
    const QString filter = QString::fromLatin1(command.filter);
    const QString title = QString::fromLatin1(command.title);
    Grid3->CommitEdit();
    QString path;
    if (command.windowDialog) {
        CommonDialog1.Filter = filter;
        CommonDialog1.FileName = QString();
        CommonDialog1.DialogTitle = title;
        ShowSaveDialog();
        path = CommonDialog1.FileName;
        if (path.isEmpty()) return;
        lastExportFolder_ = QFileInfo(path).absolutePath();
        if (platform_.FileExists(path) &&
            platform_.MessageBox(
                QStringLiteral("File ") + path +
                    QStringLiteral(" exists already, would you like to override it?"),
                Platform::YesNo + Platform::Question, NoteTitle) == Platform::AnswerNo)
            return;
    } else {
        path = ChooseExportFile(filter, title, QString::fromLatin1(command.extension));
        if (path.isEmpty()) return;
    }
    if (ResultExport::WriteFile(Grid3->Model(), format, platform_.DecimalSeparator(), path))
        platform_.MessageBox(ExportedMessage, Platform::Exclamation, NoteTitle);
}

void frmMatrix::mnuFileExcel_Click() {
    ExportResults(Export::Format::Workbook);
}
void frmMatrix::mnuFileExpHtml_Click() {
    ExportResults(Export::Format::WebPage);
}
void frmMatrix::mnuFileExpPDF_Click() {
    ExportResults(Export::Format::Pdf);
}
void frmMatrix::mnuFileCSV_Click() {
    ExportResults(Export::Format::Csv);
}
void frmMatrix::mnuFileXML_Click() {
    ExportResults(Export::Format::Xml);
}

// ---- Help -----------------------------------------------------------------------------

// The help file beside the program; a program in the root folder gives a doubled
// separator, which the shell copes with.
void frmMatrix::mnuHelpCont_Click() {
    const QString path = platform_.ProgramFolder() + QDir::separator() + QStringLiteral("help.chm");
    if (platform_.ShellOpen(this, path)) return;
    // The desktop has no program for compiled help: show the file in our own help window,
    // one window however often the command is given. Without a readable file, nothing shows.
    if (helpWindow_ == nullptr) helpWindow_ = HelpWindow::Open(path, this);
    if (helpWindow_ == nullptr) return;
    helpWindow_->show();
    helpWindow_->raise();
    helpWindow_->activateWindow();
}

void frmMatrix::mnuHelpHome_Click() {
    platform_.ShellOpen(this, QString::fromUtf8(HomePageAddress));
}

// The About box is built afresh for every showing.
void frmMatrix::mnuHelpAbout_Click() {
    About box(platform_, this);
    platform_.ShowModal(box);
}
