#include "WorkingMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <system_error>
#include <thread>

// A sanitizer brings an allocator of its own, which these settings do not reach.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KELVARA_OWN_ALLOCATOR 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define KELVARA_OWN_ALLOCATOR 1
#endif
#endif

#if defined(__GLIBC__) && !defined(KELVARA_OWN_ALLOCATOR)
#include <malloc.h>
#include <sys/mman.h>
#define KELVARA_GLIBC_HEAP 1
#endif

namespace WorkingMemory {

namespace {

constexpr std::size_t kMegabyte = std::size_t(1) << 20;
// Blocks from this size on get a mapping of their own, returned to the system when freed.
// Anything smaller (the operands and result of a 1000 x 1000 computation, the sheet's text
// blocks) comes from the heap.
constexpr std::size_t kOwnMapping = 32 * kMegabyte;
// Free memory the heap keeps at its top rather than returning it: enough for the working
// set of several large computations, so the next one reuses pages already in hand.
constexpr std::size_t kKeptFree = 384 * kMegabyte;
// The range at the heap's top that may be backed by large pages.
constexpr std::size_t kPrepared = 256 * kMegabyte;
constexpr std::size_t kLargePage = 2 * kMegabyte;
constexpr std::size_t kSmallPage = 4096;
// The part of the prepared range put in hand at start-up: about what the first computation
// on 1000 x 1000 matrices and its result sheet write.
constexpr std::size_t kInHand = 128 * kMegabyte;

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23  // Linux 5.14; older systems answer EINVAL and nothing happens
#endif

std::size_t prepared = 0;

}  // namespace

void Prepare() {
#ifdef KELVARA_GLIBC_HEAP
    static bool done = false;
    if (done) return;
    done = true;
    mallopt(M_MMAP_THRESHOLD, int(kOwnMapping));
    mallopt(M_TRIM_THRESHOLD, int(kKeptFree));
    // Every thread allocates from the one heap, so the computation's helper threads find
    // their buffers among the pages made ready below rather than in fresh arenas of their
    // own. They allocate once per computation at most, so they hardly ever wait for it.
    mallopt(M_ARENA_MAX, 1);

    // Grow the heap by the prepared range in one step (no separate mapping for this one
    // block), mark its large-page-aligned interior, and give it back to the heap, which
    // keeps it as its free top. Untouched pages cost nothing until used.
    mallopt(M_MMAP_MAX, 0);
    void* block = std::malloc(kPrepared);
    mallopt(M_MMAP_MAX, 65536);
    if (block == nullptr) return;
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t first = (start + kLargePage - 1) & ~std::uintptr_t(kLargePage - 1);
    const std::uintptr_t last = (start + kPrepared) & ~std::uintptr_t(kLargePage - 1);
    if (last <= first) {
        std::free(block);
        return;
    }
    if (madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE) == 0)
        prepared = last - first;
    std::free(block);

    // Fresh memory is dear on a virtual machine: a page the host has not backed yet costs
    // it a fault of its own, and 128 MB then take anything from 10 to 400 ms to come in.
    // A thread of its own has the system back the range's first part while the window
    // starts and the user types, so the first computation finds its pages as the later
    // ones do. This writes nothing: the heap's free top stays as it is and may be handed
    // out meanwhile; should the heap shrink below the range, the call merely fails.
    const std::uintptr_t from = (start + kSmallPage - 1) & ~std::uintptr_t(kSmallPage - 1);
    const std::size_t inHand = std::min(kInHand, last - from);
    try {
        std::thread([from, inHand] {
            madvise(reinterpret_cast<void*>(from), inHand, MADV_POPULATE_WRITE);
        }).detach();
    } catch (const std::system_error&) {
        // No thread to be had: the pages then come in as they are first used.
    }
#endif
}

void Release() {
#ifdef KELVARA_GLIBC_HEAP
    malloc_trim(0);
#endif
}

std::size_t PreparedBytes() {
    return prepared;
}

}  // namespace WorkingMemory
