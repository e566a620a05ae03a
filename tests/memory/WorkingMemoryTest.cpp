// The heap as the program meets it: nothing backed at rest, memory for a coming computation
// backed in the background so that the computation writes it without page faults, and given
// back once the need has fallen.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <vector>

#include "WorkingMemory.h"

namespace {

constexpr std::size_t kMB = std::size_t(1) << 20;

long PageFaults() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_minflt;
}

// The process's resident memory, from /proc/self/statm (counted in pages).
std::size_t ResidentBytes() {
    std::size_t size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * std::size_t(sysconf(_SC_PAGESIZE));
}

// Blocks shaped like a 1000 x 1000 computation's, 48 MB in all: operands and result of 8 MB
// each and a sheet's worth of 1 MB text blocks, written in full. Answers the page faults.
long WriteComputation(std::vector<std::unique_ptr<char[]>>& blocks) {
    const long before = PageFaults();
    for (std::size_t i = 0; i < 27; ++i) {
        const std::size_t size = i < 3 ? 8 * kMB : kMB;
        blocks.push_back(std::make_unique_for_overwrite<char[]>(size));
        std::memset(blocks.back().get(), int(i), size);
    }
    return PageFaults() - before;
}

TEST(WorkingMemoryTest, BackedOnlyForAComingComputationAndGivenBackAfter) {
    const std::size_t atStart = ResidentBytes();
    WorkingMemory::Prepare();
    EXPECT_FALSE(WorkingMemory::Backing());
    EXPECT_LT(ResidentBytes(), atStart + 4 * kMB);
    // Needs of a few megabytes are not worth a thread.
    WorkingMemory::Expect(8 * kMB);
    EXPECT_FALSE(WorkingMemory::Backing());
    EXPECT_EQ(WorkingMemory::Ready(), 0u);

    // Operands of 1000 x 1000 arrive: 64 MB come in while the user goes on.
    WorkingMemory::Expect(64 * kMB);
    WorkingMemory::WaitForBacking();
    EXPECT_EQ(WorkingMemory::Ready(), 64 * kMB);
    EXPECT_GT(ResidentBytes(), atStart + 56 * kMB);
    // The computation then writes its 48 MB without faulting in 12,288 fresh pages, and so
    // does the next one in what the first freed.
    std::vector<std::unique_ptr<char[]>> blocks;
    EXPECT_LT(WriteComputation(blocks), 64);
    blocks.clear();
    EXPECT_LT(WriteComputation(blocks), 64);
    blocks.clear();
    WorkingMemory::Expect(64 * kMB);  // the same need again keeps what is in hand
    EXPECT_GT(ResidentBytes(), atStart + 56 * kMB);

    // A paste took 64 MB more for a while: asked again, the heap holds the need ready, not
    // the paste's leftovers on top of it, which would only raise the computation's peak.
    {
        std::vector<std::unique_ptr<char[]>> pasted;
        for (int i = 0; i < 128; ++i) {
            pasted.push_back(std::make_unique_for_overwrite<char[]>(kMB));
            std::memset(pasted.back().get(), i, kMB);
        }
    }
    WorkingMemory::Expect(64 * kMB);
    WorkingMemory::WaitForBacking();
    EXPECT_GT(ResidentBytes(), atStart + 56 * kMB);
    EXPECT_LT(ResidentBytes(), atStart + 88 * kMB);

    // Back to small operands: the memory goes back to the system.
    WorkingMemory::Expect(kMB);
    EXPECT_LE(WorkingMemory::Ready(), kMB);
    EXPECT_LT(ResidentBytes(), atStart + 16 * kMB);
}

}  // namespace
