// The heap as a large computation meets it: the first computation finds its pages already
// backed, what one computation frees the next reuses without fresh pages from the system,
// and large blocks lie where large pages may back them.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
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

std::size_t BlockSize(std::size_t i) {
    return i < 3 ? 8u << 20 : 1u << 20;
}

// Blocks shaped like a 1000 x 1000 computation's: operands and result of 8 MB each and a
// sheet's worth of 1 MB text blocks.
void Allocate(std::vector<std::unique_ptr<char[]>>& blocks) {
    for (std::size_t i = 0; i < 27; ++i)
        blocks.push_back(std::make_unique_for_overwrite<char[]>(BlockSize(i)));
}

// Writes every block in full and answers the page faults that took.
long Write(std::vector<std::unique_ptr<char[]>>& blocks) {
    const long before = ThreadPageFaults();
    for (std::size_t i = 0; i < blocks.size(); ++i)
        std::memset(blocks[i].get(), int(i), BlockSize(i));
    return ThreadPageFaults() - before;
}

// The process's resident memory, from /proc/self/statm (counted in pages).
std::size_t ResidentBytes() {
    std::size_t size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * std::size_t(sysconf(_SC_PAGESIZE));
}

// Whether every page of the blocks is backed by memory.
bool Resident(const std::vector<std::unique_ptr<char[]>>& blocks) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const auto start = reinterpret_cast<std::uintptr_t>(blocks[i].get()) & ~(page - 1);
        const auto end = reinterpret_cast<std::uintptr_t>(blocks[i].get()) + BlockSize(i);
        std::vector<unsigned char> pages((end - start + page - 1) / page);
        if (mincore(reinterpret_cast<void*>(start), end - start, pages.data()) != 0) return false;
        for (const unsigned char p : pages)
            if (!(p & 1)) return false;
    }
    return true;
}

TEST(WorkingMemoryTest, ComputationsFindTheirPagesInHandInLargePageRange) {
    WorkingMemory::Prepare();
    if (WorkingMemory::PreparedBytes() == 0) GTEST_SKIP() << "the allocator is not glibc's own";

    std::vector<std::unique_ptr<char[]>> blocks;
    Allocate(blocks);
    // The first computation's memory comes in while the program starts, on a thread of its
    // own; by the time the operands are typed it is there and writing it takes no faults.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!Resident(blocks) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_LT(Write(blocks), 8);
    // The operands lie in the range the system may back with large pages ("hg"); only the
    // range's first 2 MB, up to its first large-page boundary, are left out.
    EXPECT_NE(MappingFlags(blocks[1].get()).find(" hg"), std::string::npos);
    blocks.clear();
    // 48 MB written again: 12,288 faults if the heap had handed them back, 24 even in
    // large pages.
    Allocate(blocks);
    EXPECT_LT(Write(blocks), 8);
    blocks.clear();

    // A helper thread's buffers (the product's packed blocks) come from the same memory.
    long helperFaults = -1;
    std::thread([&] {
        blocks.push_back(std::make_unique_for_overwrite<char[]>(BlockSize(0)));
        helperFaults = Write(blocks);
    }).join();
    EXPECT_LT(helperFaults, 8);
    blocks.clear();

    // When the machine runs short, what the heap keeps goes back to the system.
    const std::size_t kept = ResidentBytes();
    WorkingMemory::Release();
    EXPECT_LT(ResidentBytes() + (64u << 20), kept);
}

}  // namespace
