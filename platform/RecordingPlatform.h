#pragma once
// A stand-in for the desktop in tests: every call is recorded with its arguments, message
// boxes and save dialogs answer from a script, and a run-time error is recorded instead of
// ending the program. Nothing ever blocks.

#include <QString>
#include <QStringList>
#include <deque>
#include <functional>
#include <vector>

#include "Platform.h"

class RecordingPlatform : public Platform {
public:
    struct Call {
        QString name;      // the operation: "MessageBox", "SaveFileName", ...
        QStringList args;  // its arguments as texts, in order
    };

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

    // Every call so far, oldest first, and the ones of one operation.
    const std::vector<Call>& Calls() const { return calls_; }
    std::vector<Call> CallsOf(const QString& name) const;
    int Count(const QString& name) const { return static_cast<int>(CallsOf(name).size()); }
    void Clear() { calls_.clear(); }

    // Scripted answers, used up in order. A message box without a scripted answer answers
    // OK (1), or Yes (6) when it asks Yes or No; a save dialog without one is cancelled.
    std::deque<int> messageAnswers;
    std::deque<QString> saveAnswers;
    // The files FileExists finds (by exact path); when set, existsTest decides instead.
    QStringList existingFiles;
    std::function<bool(const QString&)> existsTest;
    QString documentsFolder = QStringLiteral("/home/user/Documents");
    QString programFolder = QStringLiteral("/opt/kelvara");
    char decimalSeparator = '.';
    // What ShellOpen answers: whether the desktop had a program for the target.
    bool shellOpens = true;
    // What happens while a menu or dialog is "shown" (for instance, choosing an item).
    std::function<void(QMenu&)> onPopup;
    std::function<void(QDialog&)> onShowModal;

    // The run-time error that would have ended the program.
    bool ended = false;
    int errorNumber = 0;
    QString errorDescription;

private:
    std::vector<Call> calls_;
};
