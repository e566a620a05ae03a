#pragma once
// The desktop as the real program meets it: Qt message boxes and file dialogs, the file
// system, the desktop's URL handlers, and the application object for ending the program.

#include "Platform.h"

class QtPlatform : public Platform {
public:
    int MessageBox(const QString& text, int style, const QString& title) override;
    QString SaveFileName(const QString& filter, const QString& title,
                         const QString& initialName) override;
    bool FileExists(const QString& path) override;
    bool ShellOpen(QWidget* owner, const QString& target) override;
    QString DocumentsFolder() override;
    QString ProgramFolder() override;
    char DecimalSeparator() override;
    void PopupMenu(QMenu& menu) override;
    void ShowModal(QDialog& dialog) override;
    void EndOnRuntimeError(int number, const QString& description) override;

    // Whether a run-time error has ended the program, and the exit status it asked for.
    // main() checks this when the error came before the event loop was running.
    bool Ended() const { return ended_; }
    int ExitStatus() const { return exitStatus_; }

    // "desc|*.ext|desc2|*.a;*.b" as Qt's file-dialog filter "desc (*.ext);;desc2 (*.a *.b)".
    static QString DialogFilter(const QString& filter);

    // Whether the desktop has a program for documents of the local file's type: an
    // installed program that its association lists name for the type.
    static bool HasDefaultProgram(const QString& path);

private:
    bool ended_ = false;
    int exitStatus_ = 0;
};
