// The Qt implementation of what the program asks of the desktop.

#include "QtPlatform.h"

#include <QApplication>
#include <QCursor>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLocale>
#include <QMenu>
#include <QMessageBox>
#include <QMimeDatabase>
#include <QStandardPaths>
#include <QStringList>
#include <QUrl>

namespace {

const char* const ProgramName = "Kelvara";

// The window a modal box belongs to: the one the user is working in.
QWidget* ActiveWindow() {
    return QApplication::activeWindow();
}

// The button sets of the style number's low bits, in their order.
QList<QMessageBox::StandardButton> Buttons(int style) {
    switch (style & 7) {
        case 1:
            return {QMessageBox::Ok, QMessageBox::Cancel};
        case 2:
            return {QMessageBox::Abort, QMessageBox::Retry, QMessageBox::Ignore};
        case 3:
            return {QMessageBox::Yes, QMessageBox::No, QMessageBox::Cancel};
        case 4:
            return {QMessageBox::Yes, QMessageBox::No};
        case 5:
            return {QMessageBox::Retry, QMessageBox::Cancel};
        default:
            return {QMessageBox::Ok};
    }
}

QMessageBox::Icon IconOf(int style) {
    switch (style & 0x70) {
        case 16:
            return QMessageBox::Critical;
        case 32:
            return QMessageBox::Question;
        case 48:
            return QMessageBox::Warning;
        case 64:
            return QMessageBox::Information;
        default:
            return QMessageBox::NoIcon;
    }
}

int AnswerOf(QMessageBox::StandardButton button) {
    switch (button) {
        case QMessageBox::Ok:
            return 1;
        case QMessageBox::Cancel:
            return 2;
        case QMessageBox::Abort:
            return 3;
        case QMessageBox::Retry:
            return 4;
        case QMessageBox::Ignore:
            return 5;
        case QMessageBox::Yes:
            return 6;
        case QMessageBox::No:
            return 7;
        default:
            return 2;
    }
}

}  // namespace

int QtPlatform::MessageBox(const QString& text, int style, const QString& title) {
    QMessageBox box(IconOf(style), title.isEmpty() ? QString::fromLatin1(ProgramName) : title, text,
                    QMessageBox::NoButton, ActiveWindow());
    const QList<QMessageBox::StandardButton> buttons = Buttons(style);
    for (QMessageBox::StandardButton b : buttons)
        box.addButton(b);
    // Style bits 256 and 512 make the second or third button the default one.
    const qsizetype defaultIndex = (style >> 8) & 3;
    box.setDefaultButton(buttons.value(defaultIndex < buttons.size() ? defaultIndex : 0));
    box.exec();
    QAbstractButton* clicked = box.clickedButton();
    if (clicked == nullptr) return buttons.size() == 1 ? AnswerOf(buttons.front()) : 2;
    return AnswerOf(box.standardButton(clicked));
}

QString QtPlatform::DialogFilter(const QString& filter) {
    const QStringList parts = filter.split(QLatin1Char('|'));
    QStringList entries;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QString description = parts[i];
        QString patterns = parts[i + 1];
        patterns.replace(QLatin1Char(';'), QLatin1Char(' '));
        // Qt reads the patterns from the description's last parentheses; a description that
        // already ends with them is shown as it is.
        if (description.endsWith(QLatin1Char('(') + patterns + QLatin1Char(')')))
            entries << description;
        else
            entries << description + QLatin1String(" (") + patterns + QLatin1Char(')');
    }
    return entries.join(QLatin1String(";;"));
}

QString QtPlatform::SaveFileName(const QString& filter, const QString& title,
                                 const QString& initialName) {
    return QFileDialog::getSaveFileName(ActiveWindow(), title, initialName, DialogFilter(filter),
                                        nullptr, QFileDialog::DontConfirmOverwrite);
}

bool QtPlatform::FileExists(const QString& path) {
    if (path.isEmpty()) return false;
    const QFileInfo info(path);
    return info.isFile() && !info.isHidden();
}

bool QtPlatform::HasDefaultProgram(const QString& path) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    const QStringList types = QStringList{type.name()} + type.aliases();
    // The association lists of the desktop (the freedesktop.org rules): the user's and the
    // system's configuration, then the programs' own folders with their caches of the
    // types each program declares.
    QStringList lists;
    QStringList desktops;
    for (const QString& desktop :
         qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts))
        desktops << desktop.toLower() + QLatin1String("-mimeapps.list");
    desktops << QStringLiteral("mimeapps.list");
    for (const auto location :
         {QStandardPaths::GenericConfigLocation, QStandardPaths::ApplicationsLocation}) {
        for (const QString& folder : QStandardPaths::standardLocations(location)) {
            for (const QString& name : desktops)
                lists << folder + QLatin1Char('/') + name;
            if (location == QStandardPaths::ApplicationsLocation)
                lists << folder + QLatin1String("/mimeinfo.cache");
        }
    }
    for (const QString& list : lists) {
        QFile file(list);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) continue;
        QString section;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.startsWith(QLatin1Char('['))) {
                section = line;
                continue;
            }
            if (section == QLatin1String("[Removed Associations]")) continue;
            const qsizetype equals = line.indexOf(QLatin1Char('='));
            if (equals < 0 || !types.contains(line.left(equals).trimmed())) continue;
            // A program counts only while its desktop entry is installed.
            for (const QString& id :
                 line.mid(equals + 1).split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
                if (!QStandardPaths::locate(QStandardPaths::ApplicationsLocation, id.trimmed())
                         .isEmpty())
                    return true;
            }
        }
    }
    return false;
}

bool QtPlatform::ShellOpen(QWidget* /*owner*/, const QString& target) {
    const bool address = target.contains(QLatin1String("://")) ||
                         target.startsWith(QLatin1String("mailto:"), Qt::CaseInsensitive);
    if (address) return QDesktopServices::openUrl(QUrl(target));
    // Handed a document it has no program for, the desktop opens nothing and tells nobody;
    // so ask first.
    if (!HasDefaultProgram(target)) return false;
    return QDesktopServices::openUrl(QUrl::fromLocalFile(target));
}

QString QtPlatform::DocumentsFolder() {
    // The desktop names a documents folder even before it has been made.
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return !documents.isEmpty() && QFileInfo(documents).isDir() ? documents : QDir::homePath();
}

QString QtPlatform::ProgramFolder() {
    return QCoreApplication::applicationDirPath();
}

char QtPlatform::DecimalSeparator() {
    return QLocale::system().decimalPoint() == QStringLiteral(",") ? ',' : '.';
}

void QtPlatform::PopupMenu(QMenu& menu) {
    menu.exec(QCursor::pos());
}

void QtPlatform::ShowModal(QDialog& dialog) {
    dialog.exec();
}

void QtPlatform::EndOnRuntimeError(int number, const QString& description) {
    QMessageBox box(QMessageBox::Critical, QString::fromLatin1(ProgramName),
                    QStringLiteral("Run-time error '%1':\n\n%2").arg(number).arg(description),
                    QMessageBox::Ok, ActiveWindow());
    box.exec();
    ended_ = true;
    exitStatus_ = number >= 1 && number <= 255 ? number : 1;
    // Closing the windows must not end the program with status 0 on its own.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QApplication::closeAllWindows();
    QCoreApplication::exit(exitStatus_);
}
