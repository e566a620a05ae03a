#pragma once
// The main window: the operation choice, the operands' dimension boxes and entry grids,
// the constant, and the result sheet, with the File, Compute and Help menus and the grids'
// context menus. Every handler runs through one guard that hands a run-time error to the
// platform, which reports it and ends the program.

#include <QMainWindow>
#include <QPointer>
#include <QString>
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

    // The dimension boxes and the constant: a character about to be typed (0 discards it)
    // and a key released.
    void Text1_KeyPress(int& KeyAscii);
    void Text2_KeyPress(int& KeyAscii);
    void Text3_KeyPress(int& KeyAscii);
    void Text4_KeyPress(int& KeyAscii);
    void Text5_KeyPress(int& KeyAscii);
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

    // The grids' context menus.
    void Grid1_MouseDown(int Button, int Shift, float x, float y);
    void Grid2_MouseDown(int Button, int Shift, float x, float y);
    void Grid3_MouseDown(int Button, int Shift, float x, float y);
    void mnuG1ECut_Click();
    void mnuG1ECopy_Click();
    void mnuG1EPaste_Click();
    void mnuG1EDel_Click();
    void mnuG2ECut_Click();
    void mnuG2ECopy_Click();
    void mnuG2EPaste_Click();
    void mnuG2EDel_Click();
    void mnuG3ECut_Click();
    void mnuG3ECopy_Click();
    void mnuG3EPaste_Click();
    void mnuG3EDel_Click();

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
    QMenu* mnuG1E;
    QAction* mnuG1ECut;
    QAction* mnuG1ECopy;
    QAction* mnuG1EPaste;
    QAction* mnuG1EDel;
    QMenu* mnuG2E;
    QAction* mnuG2ECut;
    QAction* mnuG2ECopy;
    QAction* mnuG2EPaste;
    QAction* mnuG2EDel;
    QMenu* mnuG3E;
    QAction* mnuG3ECut;
    QAction* mnuG3ECopy;
    QAction* mnuG3EPaste;
    QAction* mnuG3EDel;

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
    void DimensionCheck(QLineEdit* box, int old, const QString& message);
    void ExportResults(Export::Format format);
    void ShowSaveDialog();

    Platform& platform_;
    Operands operands_;
    std::unique_ptr<ResultSheet> sheet_;
    bool ended_ = false;
    QPointer<HelpWindow> helpWindow_;  // our own help window, while it is open
};
