#pragma once
// The main window: the operation choice, the operands' dimension boxes and entry grids,
// the constant, and the result sheet, with the File, Compute and Help menus and the grids'
// context menus. Every handler runs through one guard that hands a run-time error to the
// platform, which reports it and ends the program.

#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>

#include "FileFormats.h"
#include "Operands.h"
#include "Operations.h"
#include "Platform.h"
#include "ResultSheet.h"
#include "RuntimeError.h"

class GridWidget;
class HelpWindow;
class QAction;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QMenu;
class QRadioButton;

class frmMatrix : public QMainWindow {
    Q_OBJECT

public:
    explicit frmMatrix(Platform& platform, QWidget* parent = nullptr);
    ~frmMatrix() override;

    // Runs one handler. A run-time error raised in it is reported through the platform,
    // which ends the program; from then on no handler runs any more.
    template <class Handler>
    void Guarded(Handler&& handler) {
        if (ended_) return;
        try {
            handler();
        } catch (const RuntimeError& e) {
            End(e.Number(), QString::fromUtf8(e.what()));
        } catch (const std::bad_alloc&) {
            End(7, QStringLiteral("Out of memory"));
        } catch (const std::exception&) {
            End(51, QStringLiteral("Internal error"));
        }
    }

    // Start-up and File > Exit.
    void Form_Load();
    void mnuFileExit_Click();

    // The dimension boxes and the constant: a character about to be typed into the box
    // Text1 to Text5 (Index 0 to 4; setting KeyAscii to 0 discards it), and a key released.
    void Text_KeyPress(int Index, int& KeyAscii);
    void Text1_KeyUp(int& KeyCode, int Shift);
    void Text2_KeyUp(int& KeyCode, int Shift);
    void Text3_KeyUp(int& KeyCode, int Shift);
    void Text4_KeyUp(int& KeyCode, int Shift);
    void Text5_KeyUp(int& KeyCode, int Shift);

    // The operation choice and Compute.
    void Combo1_Click();
    void Option1_Click();
    void Option2_Click();
    void mnuComp_Click();

    // The grids' context menus: a mouse button down on Grid1, Grid2 or Grid3 (Index 0 to 2),
    // and a command chosen from that grid's menu.
    enum class EditCommand { Cut, Copy, Paste, Delete };
    void Grid_MouseDown(int Index, int Button, int Shift, float x, float y);
    void mnuGE_Click(int Index, EditCommand Command);
    // A paste into a grid, by Ctrl+V or its menu, needs the grid to hold Rows x Cols data
    // cells (setting Cancel writes nothing); a paste that writes nothing, and why.
    void Grid_PasteBeyond(int Index, int Rows, int Cols, bool& Cancel);
    void Grid_PasteRefused(int Index, const QString& Reason);

    // Exporting the result sheet.
    void mnuFileExcel_Click();
    void mnuFileExpHtml_Click();
    void mnuFileExpPDF_Click();
    void mnuFileCSV_Click();
    void mnuFileXML_Click();

    // Help.
    void mnuHelpCont_Click();
    void mnuHelpHome_Click();
    void mnuHelpAbout_Click();

    // The list position of a drop-down list: the entry last chosen from the list (with
    // the mouse or the arrow keys, or set from code), or -1 when nothing is chosen: text
    // typed into the edit field is no choice, even when it reads like an entry.
    static int ListIndex(const QComboBox& combo);

    Operands& Operand() { return operands_; }
    ResultSheet& Sheet() { return *sheet_; }

    // The boxes and grids in the order of their names.
    std::array<QLineEdit*, 5> TextBoxes() const { return {Text1, Text2, Text3, Text4, Text5}; }
    std::array<GridWidget*, 3> Grids() const { return {Grid1, Grid2, Grid3}; }

    // The controls, by their names.
    QGroupBox* Frame1;
    QRadioButton* Option1;
    QRadioButton* Option2;
    QComboBox* Combo1;
    QComboBox* Combo2;
    QGroupBox* Frame2;
    QLabel* Label1;
    QLabel* Label2;
    QLabel* Label3;
    QLabel* Label4;
    QLabel* Label5;
    QLabel* Label6;
    QLabel* Label7;
    QLineEdit* Text1;
    QLineEdit* Text2;
    QLineEdit* Text3;
    QLineEdit* Text4;
    QLineEdit* Text5;
    GridWidget* Grid1;
    GridWidget* Grid2;
    QGroupBox* Frame3;
    GridWidget* Grid3;

    // The menus.
    QMenu* mnuFile;
    QMenu* mnuFileExport;
    QAction* mnuFileExcel;
    QAction* mnuFileExpHtml;
    QAction* mnuFileExpPDF;
    QAction* mnuFileCSV;
    QAction* mnuFileXML;
    QAction* mnuFileSep;
    QAction* mnuFileExit;
    QAction* mnuComp;
    QMenu* mnuHelp;
    QAction* mnuHelpCont;
    QAction* mnuHelpHome;
    QAction* mnuHelpSep;
    QAction* mnuHelpAbout;
    // The grids' context menus mnuG1E, mnuG2E and mnuG3E, and their items by grid and
    // command, named after both (mnuG1ECut, mnuG1ECopy, mnuG1EPaste, mnuG1EDel, ...).
    std::array<QMenu*, 3> mnuGE{};
    std::array<std::array<QAction*, 4>, 3> mnuGEItems{};

    // The window's one save dialog, shared by the exports that ask for a file name: each
    // sets its filter, file name and title afresh before showing it.
    struct SaveDialog {
        QString Filter;
        QString FileName;
        QString DialogTitle;
    } CommonDialog1;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void SetupForm();  // the form's properties, controls and menus (frmMatrixForm.cpp)
    void CreateControls();
    void CreateMenus();
    void ConnectHandlers();
    void End(int number, const QString& description);

    // The operation chosen in a list (Combo1 or Combo2); none while it shows typed text.
    const OperationRow* Chosen(const QComboBox& list) const;
    void DimensionTyped(QLineEdit* box);
    QString DimensionRefusal(const QLineEdit* box, std::int16_t n) const;
    void DimensionCheck(QLineEdit* box, int old, const QString& message);
    std::size_t ComputeBytes(bool cellsToCome = false) const;
    void ExportResults(Export::Format format);
    void ShowSaveDialog();
    QString ChooseExportFile(const QString& filter, const QString& title, const QString& extension);

    Platform& platform_;
    Operands operands_;
    std::unique_ptr<ResultSheet> sheet_;
    bool ended_ = false;
    QString lastExportFolder_;         // the folder of the last file chosen to export to, if any
    QPointer<HelpWindow> helpWindow_;  // our own help window, while it is open
};
