// The recording stand-in for the desktop.

#include "RecordingPlatform.h"

#include <QDialog>
#include <QMenu>
#include <QWidget>

std::vector<RecordingPlatform::Call> RecordingPlatform::CallsOf(const QString& name) const {
    std::vector<Call> found;
    for (const Call& call : calls_)
        if (call.name == name) found.push_back(call);
    return found;
}

int RecordingPlatform::MessageBox(const QString& text, int style, const QString& title) {
    calls_.push_back({QStringLiteral("MessageBox"), {text, QString::number(style), title}});
    if (!messageAnswers.empty()) {
        const int answer = messageAnswers.front();
        messageAnswers.pop_front();
        return answer;
    }
    return (style & 7) == YesNo ? AnswerYes : AnswerOk;
}

QString RecordingPlatform::SaveFileName(const QString& filter, const QString& title,
                                        const QString& initialName) {
    calls_.push_back({QStringLiteral("SaveFileName"), {filter, title, initialName}});
    if (saveAnswers.empty()) return QString();
    const QString answer = saveAnswers.front();
    saveAnswers.pop_front();
    return answer;
}

bool RecordingPlatform::FileExists(const QString& path) {
    calls_.push_back({QStringLiteral("FileExists"), {path}});
    return existsTest ? existsTest(path) : existingFiles.contains(path);
}

bool RecordingPlatform::ShellOpen(QWidget* owner, const QString& target) {
    calls_.push_back(
        {QStringLiteral("ShellOpen"), {owner ? owner->objectName() : QString(), target}});
    return shellOpens;
}

QString RecordingPlatform::DocumentsFolder() {
    return documentsFolder;
}

QString RecordingPlatform::ProgramFolder() {
    calls_.push_back({QStringLiteral("ProgramFolder"), {}});
    return programFolder;
}

char RecordingPlatform::DecimalSeparator() {
    return decimalSeparator;
}

void RecordingPlatform::PopupMenu(QMenu& menu) {
    calls_.push_back({QStringLiteral("PopupMenu"), {menu.objectName()}});
    if (onPopup) onPopup(menu);
}

void RecordingPlatform::ShowModal(QDialog& dialog) {
    calls_.push_back({QStringLiteral("ShowModal"), {dialog.objectName(), dialog.windowTitle()}});
    if (onShowModal) onShowModal(dialog);
}

void RecordingPlatform::EndOnRuntimeError(int number, const QString& description) {
    calls_.push_back({QStringLiteral("EndOnRuntimeError"), {QString::number(number), description}});
    ended = true;
    errorNumber = number;
    errorDescription = description;
}
