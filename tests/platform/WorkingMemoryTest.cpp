// The heap as a large computation meets it: what one computation frees, the next reuses
// without fresh pages from the system, and large blocks lie where large pages may back them.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "WorkingMemory.h"

namespace {

long ThreadPageFaults() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_minflt;
}

// The VmFlags of the mapping that holds `address`, as /proc/self/smaps lists them.
std::string MappingFlags(const void* address) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream smaps("/proc/self/smaps");
    std::string line;
    bool inside = false;
    while (std::getline(smaps, line)) {
        std::uintptr_t low = 0, high = 0;
        char dash = 0;
        std::istringstream range(line);
        if (range >> std::hex >> low >> dash >> high && dash == '-') {
            inside = low <= at && at < high;
        } else if (inside && line.rfind("VmFlags:", 0) == 0) {
            return line;
        }
    }
    return {};
}

// Blocks shaped like a 1000 x 1000 computation's: operands and result of 8 MB each and a
// sheet's worth of 1 MB text blocks, each written in full. Answers the page faults taken.
long Compute(std::vector<std::unique_ptr<char[]>>& blocks) {
    blocks.reserve(27);
    const long before = ThreadPageFaults();
    for (int i = 0; i < 27; ++i) {
        const std::size_t size = i < 3 ? 8u << 20 : 1u << 20;
        blocks.push_back(std::make_unique_for_overwrite<char[]>(size));
        std::memset(blocks.back().get(), i, size);
    }
    return ThreadPageFaults() - before;
}

TEST(WorkingMemoryTest, LaterComputationsReuseTheFirstOnesPagesInLargePageRange) {
    WorkingMemory::Prepare();
    if (WorkingMemory::PreparedBytes() == 0) GTEST_SKIP() << "the allocator is not glibc's own";

    std::vector<std::unique_ptr<char[]>> blocks;
    Compute(blocks);
    // The operands lie in the range the system may back with large pages ("hg"); only the
    // range's first 2 MB, up to its first large-page boundary, are left out.
    EXPECT_NE(MappingFlags(blocks[1].get()).find(" hg"), std::string::npos);
    blocks.clear();
    // 48 MB written again: 12,288 faults if the heap had handed them back, 24 even in
    // large pages.
    EXPECT_LT(Compute(blocks), 8);
}

}  // namespace
