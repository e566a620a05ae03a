// The program's memory as a person meets it, measured on the real window in one run: just
// started, after a Compute of 3 x 3, then "A*B" on n x n operands pasted into A and B (the
// sizes grow with the paste; an operand of more than a paste's 8,388,608 cells has its
// sizes typed first and comes in two pastes), and back to 3 x 3 typed into the boxes. Each
// stage reports resident memory (VmRSS), anonymous resident memory (RssAnon), the stage's
// peak, the heap's used and free memory and the grids' cell storage, and the first
// Compute's time against the mean of three later ones.
//
// Goals: RssAnon at rest (just started, after 3 x 3) at most 20 MB, and VmRSS no more than a
// small Qt calculator's (bench/idle-memory.sh measures both programs on one display); the
// first Compute of 1000 x 1000 within 1.2x of the later ones; back at 3 x 3, RssAnon within
// 50 MB of the idle figure; "A*B" of 3000 x 3000 within 1.5 s with a peak of at most 800 MB.
//
// Run it on a display as the program runs (xvfb-run -a bench_memory) or headless
// (QT_QPA_PLATFORM=offscreen); sizes other than the default stages: bench_memory 300 2000.
// Timings on a shared machine vary: compare runs made side by side.

#include <malloc.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QTableView>
#include <QTest>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "GridWidget.h"
#include "RecordingPlatform.h"
#include "WorkingMemory.h"
#include "frmMatrix.h"

namespace {

// A field of /proc/self/status in megabytes ("VmRSS", "RssAnon", "VmHWM").
double StatusMegabytes(const std::string& field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind(field + ":", 0) == 0) return std::stod(line.substr(field.size() + 1)) / 1024;
    return -1;
}

// Starts a new peak (VmHWM) from the current resident memory.
void ResetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

void Settle(int milliseconds) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (std::chrono::steady_clock::now() < until) {
        QApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

// Memory the program's blocks use, and free memory the heap holds.
std::string HeapFigures() {
    const struct mallinfo2 heap = mallinfo2();
    char text[64];
    std::snprintf(text, sizeof text, "used %.0f MB  free %.0f MB",
                  double(heap.uordblks + heap.hblkhd) / 1048576, double(heap.fordblks) / 1048576);
    return text;
}

frmMatrix* window = nullptr;

void Report(const char* stage, const std::string& extra = {}) {
    double cells = 0;  // what the three grids' cell stores hold
    for (const GridWidget* grid : window->Grids())
        cells += double(grid->Model().StorageBytes()) / 1048576;
    std::printf("%-22s VmRSS %6.1f MB  RssAnon %6.1f MB  peak %6.1f MB  %s  cells %.0f MB  %s\n",
                stage, StatusMegabytes("VmRSS"), StatusMegabytes("RssAnon"),
                StatusMegabytes("VmHWM"), HeapFigures().c_str(), cells, extra.c_str());
    std::fflush(stdout);
}

// Replaces a box's text key by key, as a person types it.
void Type(QLineEdit* box, int count) {
    box->setFocus();
    box->selectAll();
    QTest::keyClicks(box, QString::number(count));
}

// Columns first..last of an n x n operand as a spreadsheet copies them.
QString OperandText(int n, int first, int last, int seed) {
    QString text;
    text.reserve(n * (last - first + 1) * 7);
    for (int i = 1; i <= n; ++i) {
        for (int j = first; j <= last; ++j) {
            text += QString::number(((i * 7 + j * 3 + seed) % 19 - 9) * 0.125);
            text += j < last ? '\t' : '\n';
        }
    }
    return text;
}

// Pastes an n x n operand into the grid with Ctrl+V at cell (1, 1); the grid and its boxes
// grow with it. A paste holds at most 8,388,608 cells, so a larger operand comes in two
// halves side by side, into a grid whose size was typed first. Answers the milliseconds the
// window took for the pastes (the key and the loop's return), without making the texts.
double PasteOperand(GridWidget* grid, int n, int seed) {
    double milliseconds = 0;
    const int parts = double(n) * n > 8e6 ? 2 : 1;
    for (int part = 0; part < parts; ++part) {
        const int first = 1 + part * n / parts, last = (part + 1) * n / parts;
        QGuiApplication::clipboard()->setText(OperandText(n, first, last, seed));
        QTableView& view = grid->View();
        view.setFocus();
        QTest::qWait(0);  // the clipboard's new text arrives
        view.selectionModel()->setCurrentIndex(view.model()->index(0, first - 1),
                                               QItemSelectionModel::ClearAndSelect);
        const auto start = std::chrono::steady_clock::now();
        QTest::keyClick(&view, Qt::Key_V, Qt::ControlModifier);
        QApplication::processEvents();  // the window's loop comes back after the key
        milliseconds +=
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() * 1e3;
    }
    // The source program keeps the copied text, not this one.
    QGuiApplication::clipboard()->clear();
    QApplication::processEvents();
    return milliseconds;
}

double Compute(frmMatrix& w) {
    const auto start = std::chrono::steady_clock::now();
    w.mnuComp->trigger();
    QApplication::processEvents();  // the views take in the new sheet
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() * 1e3;
}

// Pastes both operands, then computes four times: the first Compute's time, and the mean
// of the later ones.
void ProductOfSize(frmMatrix& w, int n) {
    ResetPeak();
    if (double(n) * n > 8e6) {
        // The rows of B follow from the paste: typed, each digit would be refused in turn.
        for (QLineEdit* box : {w.Text1, w.Text2, w.Text4})
            Type(box, n);
    }
    const double pasteMs = PasteOperand(w.Grid1, n, 0) + PasteOperand(w.Grid2, n, 5);
    char label[64];
    std::snprintf(label, sizeof label, "pasted %d x %d", n, n);
    Report(label, "paste " + std::to_string(int(pasteMs)) + " ms");
    ResetPeak();
    const double first = Compute(w);
    double later = 0;
    for (int i = 0; i < 3; ++i)
        later += Compute(w) / 3;
    std::snprintf(label, sizeof label, "A*B %d x %d", n, n);
    char times[96];
    std::snprintf(times, sizeof times, "first %.0f ms  later %.0f ms  first/later %.2f", first,
                  later, first / later);
    Report(label, times);
}

void BackToThree(frmMatrix& w) {
    for (QLineEdit* box : {w.Text1, w.Text2, w.Text3, w.Text4})
        Type(box, 3);
    Compute(w);
    Settle(1000);
    Report("sizes 3 x 3, Compute");
}

}  // namespace

int main(int argc, char** argv) {
    WorkingMemory::Prepare();  // as kelvara's main() does
    QApplication app(argc, argv);
    std::vector<int> sizes;
    for (int i = 1; i < argc; ++i)
        if (const int n = std::atoi(argv[i]); n > 0) sizes.push_back(n);
    if (sizes.empty()) sizes = {1000, 3000};

    RecordingPlatform platform;
    frmMatrix w(platform);
    window = &w;
    w.show();
    QApplication::setActiveWindow(&w);
    (void)QTest::qWaitForWindowActive(&w);  // without a window manager it never is
    Settle(3000);
    Report("idle, just started");

    w.Combo1->setCurrentIndex(5);  // A*B
    PasteOperand(w.Grid1, 3, 0);
    PasteOperand(w.Grid2, 3, 5);
    Compute(w);
    Settle(1000);
    Report("Compute 3 x 3");

    for (const int n : sizes)
        ProductOfSize(w, n);
    BackToThree(w);
    // A message shown on the way (a refused paste or size) means the stages were not met.
    for (const auto& call : platform.Calls())
        std::printf("the window showed: %s\n", qPrintable(call.args.join(" | ")));
    if (platform.ended) std::printf("ended: %s\n", qPrintable(platform.errorDescription));
    return platform.ended ? 1 : 0;
}
