// Kelvara starts by creating its main window and ends when the window closes, or after a
// run-time error has been reported, with that error's number as the exit status.

#include <QApplication>

#include "Latin1Selection.h"
#include "QtPlatform.h"
#include "frmMatrix.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Kelvara"));
    QApplication::setApplicationVersion(QStringLiteral("2.0"));

    Latin1Selection::Install();
    QtPlatform platform;
    frmMatrix window(platform);
    // A run-time error during start-up ends the program before the window is shown.
    if (platform.Ended()) return platform.ExitStatus();
    window.show();
    const int status = QApplication::exec();
    return platform.Ended() ? platform.ExitStatus() : status;
}
