// Kelvara starts by creating its main window and ends when the window closes, or after a
// run-time error has been reported, with that error's number as the exit status.

#include <QApplication>
#include <new>

#include "Latin1Selection.h"
#include "MemoryCheck.h"
#include "QtPlatform.h"
#include "RuntimeError.h"
#include "WorkingMemory.h"
#include "frmMatrix.h"

namespace {

// The window's handlers report their own run-time errors. A few come from the grids' own
// key and mouse handling (typing or pasting into a cell when the machine has no memory
// left for the text): those reach the application here, are reported the same way, and end
// the program instead of aborting it.
class KelvaraApplication : public QApplication {
public:
    KelvaraApplication(int& argc, char** argv, QtPlatform& platform)
        : QApplication(argc, argv), platform_(platform) {}

    bool notify(QObject* receiver, QEvent* event) override {
        try {
            return QApplication::notify(receiver, event);
        } catch (const RuntimeError& e) {
            End(e.Number(), e.what());
        } catch (const std::bad_alloc&) {
            End(RuntimeError::OutOfMemory, RuntimeError(RuntimeError::OutOfMemory).what());
        }
        return true;
    }

private:
    void End(int number, const char* description) {
        if (!platform_.Ended()) platform_.EndOnRuntimeError(number, QString::fromUtf8(description));
    }

    QtPlatform& platform_;
};

}  // namespace

int main(int argc, char** argv) {
    // Before the application object and its threads: the heap keeps what a computation
    // frees for the next one. Memory for a computation is made ready only once its operands
    // arrive; at rest the program holds no more than it uses.
    WorkingMemory::Prepare();
    // What the heap keeps is given back before a large request would be refused for want
    // of memory.
    MemoryCheck::SetRelease(WorkingMemory::Release);
    QtPlatform platform;
    KelvaraApplication app(argc, argv, platform);
    QApplication::setApplicationName(QStringLiteral("Kelvara"));
    QApplication::setApplicationVersion(QStringLiteral("2.0"));

    Latin1Selection::Install();
    frmMatrix window(platform);
    // A run-time error during start-up ends the program before the window is shown.
    if (platform.Ended()) return platform.ExitStatus();
    window.show();
    const int status = QApplication::exec();
    return platform.Ended() ? platform.ExitStatus() : status;
}
