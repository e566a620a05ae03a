// Large allocations are weighed against what the machine reports before they are made.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "EngineTestSupport.h"
#include "Matrix.h"
#include "MemoryCheck.h"
#include "WorkingMemory.h"

namespace {

TEST(MemoryCheck, ReadsTheSystemsReports) {
    const char* meminfo =
        "MemTotal:       24000000 kB\nMemFree:         2000000 kB\n"
        "MemAvailable:   16000000 kB\nBuffers:           10000 kB\nSwapTotal: 4000000 kB\n"
        "SwapFree:        1000000 kB\n";
    EXPECT_EQ(MemoryCheck::FromMeminfo(meminfo), std::size_t(17000000) * 1024);
    EXPECT_EQ(MemoryCheck::FromMeminfo(""), SIZE_MAX);
    EXPECT_EQ(MemoryCheck::FromCgroup("max\n", "123\n"), SIZE_MAX);
    EXPECT_EQ(MemoryCheck::FromCgroup("", ""), SIZE_MAX);
    EXPECT_EQ(MemoryCheck::FromCgroup("1000000\n", "400000\n"), 600000u);
    EXPECT_EQ(MemoryCheck::FromCgroup("1000\n", "4000\n"), 0u);
    EXPECT_GT(MemoryCheck::AvailableBytes(), std::size_t(64) << 20);  // this machine
}

// A matrix larger than the machine can give raises 7 and stays unsized; one that fits is
// made as usual. The limit of a control group counts as well as the system's report.
TEST(MemoryCheck, MatrixBeyondTheMachineRaises7) {
    const auto dir = std::filesystem::temp_directory_path();
    std::ofstream(dir / "kelvara-meminfo") << "MemAvailable: 300000 kB\nSwapFree: 0 kB\n";
    std::ofstream(dir / "kelvara-cgroup-max") << "200000000\n";
    std::ofstream(dir / "kelvara-cgroup-current") << "50000000\n";
    const MemoryCheck::Sources saved = MemoryCheck::CurrentSources();
    for (const bool cgroup : {false, true}) {
        MemoryCheck::CurrentSources() = {(dir / "kelvara-meminfo").string(),
                                         cgroup ? (dir / "kelvara-cgroup-max").string() : "",
                                         (dir / "kelvara-cgroup-current").string()};
        Matrix m;
        m.Resize(3, 3);
        ExpectRuntimeError(7, [&] { m.Resize(10000, 4000); });  // 320 MB
        EXPECT_EQ(m.Rows(), 0);
        if (cgroup) {
            ExpectRuntimeError(7, [&] { m.Resize(5000, 3000); });  // 120 MB of 150
        } else {
            m.Resize(5000, 3000);
            EXPECT_EQ(m.At(5000, 3000), 0.0);
        }
    }
    MemoryCheck::CurrentSources() = saved;
    for (const char* name : {"kelvara-meminfo", "kelvara-cgroup-max", "kelvara-cgroup-current"})
        std::filesystem::remove(dir / name);
}

// Memory the process keeps for later is handed back before a request is refused: the
// request is weighed again against what the system reports after that.
TEST(MemoryCheck, KeptMemoryIsGivenBackBeforeRefusing) {
    static const auto report = std::filesystem::temp_directory_path() / "kelvara-meminfo-kept";
    static int releases;
    std::ofstream(report) << "MemAvailable: 100000 kB\nSwapFree: 0 kB\n";
    const MemoryCheck::Sources saved = MemoryCheck::CurrentSources();
    MemoryCheck::CurrentSources() = {report.string(), "", ""};
    releases = 0;
    MemoryCheck::SetRelease([] {
        ++releases;
        std::ofstream(report) << "MemAvailable: 300000 kB\nSwapFree: 0 kB\n";
    });
    Matrix m;
    m.Resize(200, 200);  // small requests are not weighed
    EXPECT_EQ(releases, 0);
    m.Resize(5000, 3000);  // 120 MB: fits once the kept memory is back
    EXPECT_EQ(releases, 1);
    ExpectRuntimeError(7, [&] { m.Resize(10000, 4000); });  // 320 MB fits in no case
    EXPECT_EQ(releases, 2);
    MemoryCheck::SetRelease(nullptr);
    MemoryCheck::CurrentSources() = saved;
    std::filesystem::remove(report);
}

// Memory for a coming computation is backed on a thread of its own while other threads
// allocate and write; a fallen need drops what is still pending, and a new one starts again.
TEST(WorkingMemory, BackingRunsBesideAllocationsAndStopsWhenTheNeedFalls) {
    constexpr std::size_t kMB = std::size_t(1) << 20;
    WorkingMemory::Prepare();
    std::thread writer([] {
        for (int i = 0; i < 32; ++i) {
            std::vector<char> block(kMB);
            std::memset(block.data(), i, block.size());
        }
    });
    WorkingMemory::Expect(48 * kMB);
    EXPECT_EQ(WorkingMemory::Ready(), 48 * kMB);
    WorkingMemory::Expect(0);
    EXPECT_FALSE(WorkingMemory::Backing());
    EXPECT_EQ(WorkingMemory::Ready(), 0u);
    WorkingMemory::Expect(32 * kMB);
    writer.join();
    WorkingMemory::WaitForBacking();
    EXPECT_FALSE(WorkingMemory::Backing());
    EXPECT_EQ(WorkingMemory::Ready(), 32 * kMB);
    WorkingMemory::Release();
    EXPECT_EQ(WorkingMemory::Ready(), 0u);
}

}  // namespace
