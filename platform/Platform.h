#pragma once
// What the program asks of the desktop, behind one small interface: a Qt implementation
// for the real program (QtPlatform) and a recording fake for tests (RecordingPlatform).

#include <QString>

class QWidget;
class QMenu;
class QDialog;

class Platform {
public:
    // Message-box styles: a button set plus an icon; answers as the buttons' numbers.
    static constexpr int OkOnly = 0;
    static constexpr int YesNo = 4;
    static constexpr int Question = 32;
    static constexpr int Exclamation = 48;
    static constexpr int Information = 64;
    static constexpr int DefaultButton2 = 256;
    static constexpr int AnswerOk = 1;
    static constexpr int AnswerYes = 6;
    static constexpr int AnswerNo = 7;

    virtual ~Platform() = default;

    // A modal message box; returns the number of the button pressed.
    virtual int MessageBox(const QString& text, int style, const QString& title) = 0;
    // A modal save dialog. filter is "description|*.ext"; returns the chosen path, or ""
    // when cancelled. It asks nothing about overwriting and adds no extension.
    virtual QString SaveFileName(const QString& filter, const QString& title,
                                 const QString& initialName) = 0;
    // Whether path names an existing ordinary file that is not hidden.
    virtual bool FileExists(const QString& path) = 0;
    // Opens a document or web address with the program the desktop has for it. Answers
    // false when the desktop has no program for a document of its type, or opening failed.
    virtual bool ShellOpen(QWidget* owner, const QString& target) = 0;
    // The user's documents folder, or the home folder where there is none.
    virtual QString DocumentsFolder() = 0;
    // The folder holding the running program, without a trailing separator (except at
    // the root of a file system).
    virtual QString ProgramFolder() = 0;
    // The decimal separator of the user's regional settings: "," where it is a comma,
    // otherwise ".". Numbers are written with it and read with it as well as with ".".
    virtual char DecimalSeparator() = 0;
    // Shows a context menu at the mouse pointer and returns when it closes.
    virtual void PopupMenu(QMenu& menu) = 0;
    // Shows a dialog modally and returns when it closes.
    virtual void ShowModal(QDialog& dialog) = 0;
    // Reports a run-time error (title "Kelvara", "Run-time error 'N':" and the description)
    // and ends the program with a non-zero status. The fake only records it.
    virtual void EndOnRuntimeError(int number, const QString& description) = 0;
};
