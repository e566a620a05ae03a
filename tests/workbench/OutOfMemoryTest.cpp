// Operands larger than the machine can hold end the program with run-time error 7 over its
// message box, before anything is allocated that the system could only kill us for.
#include <filesystem>
#include <fstream>

#include "MemoryCheck.h"
#include "WindowFixture.h"

namespace {

TEST_F(WindowTest, OperandsBeyondTheMachinesMemoryEndWithError7) {
    // A machine with 1 GB to spare; A + B of 32766 x 32766 asks for 26 GB.
    const auto report = std::filesystem::temp_directory_path() / "kelvara-meminfo-window";
    std::ofstream(report) << "MemAvailable: 1048576 kB\nSwapFree: 0 kB\n";
    const MemoryCheck::Sources saved = MemoryCheck::CurrentSources();
    MemoryCheck::CurrentSources() = {report.string(), "", ""};
    window->Text1->setText("32766");
    window->Text2->setText("32766");
    window->mnuComp->trigger();
    MemoryCheck::CurrentSources() = saved;
    std::filesystem::remove(report);
    ASSERT_EQ(platform.Count("EndOnRuntimeError"), 1);
    EXPECT_EQ(platform.errorNumber, 7);
    EXPECT_EQ(platform.errorDescription, "Out of memory");
}

}  // namespace
