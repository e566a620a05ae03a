#include "WorkingMemory.h"

#include <sys/mman.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "Matrix.h"
#include "MemoryCheck.h"

// A sanitizer brings an allocator of its own, which the heap's settings do not reach. The
// backing thread still runs there: it only asks the system to back address ranges.
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
#define KELVARA_GLIBC_HEAP 1
#endif

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23  // Linux 5.14; older systems answer EINVAL and nothing happens
#endif

namespace WorkingMemory {

namespace {

constexpr std::size_t kMegabyte = std::size_t(1) << 20;
#ifdef KELVARA_GLIBC_HEAP
// The largest block glibc's heap serves itself (its ceiling for M_MMAP_THRESHOLD on 64-bit
// systems); larger ones get a mapping of their own, returned to the system when freed.
constexpr std::size_t kLargestHeapBlock = 32 * kMegabyte;
#endif
// The heap's free memory is gathered for a coming computation in blocks of this size: small
// enough to take up the free blocks a paste leaves behind before the heap grows.
constexpr std::size_t kPiece = kMegabyte;
// Needs below this are not prepared: their pages come in within a few milliseconds.
constexpr std::size_t kLeast = 16 * kMegabyte;
// Never prepared beyond this, nor beyond half of what the machine has left.
constexpr std::size_t kMost = 1024 * kMegabyte;
// Free memory kept beyond twice the need before any is given back, so that a computation a
// little smaller than the last finds its memory still in hand.
constexpr std::size_t kSlack = 16 * kMegabyte;
// The backing thread works in steps of this size; dropping pending work waits for one step.
constexpr std::size_t kStep = 2 * kMegabyte;
// Ranges at most this far apart are backed as one.
constexpr std::uintptr_t kJoinGap = 16384;

struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
};

// Has the system back address ranges of the heap's free memory, on a thread that ends when
// there is nothing left to do. Backing writes nothing: the memory may be handed out and
// written meanwhile, and the system keeps what is written. Used from one thread only (the
// window's); the lock orders it with the backing thread.
class Backer {
public:
    ~Backer() { Drop(); }

    void Add(const std::vector<Range>& ranges) {
        std::unique_lock lock(mutex_);
        pending_.insert(pending_.end(), ranges.begin(), ranges.end());
        if (running_ || pending_.empty()) return;
        running_ = true;
        lock.unlock();
        // A thread that found nothing more to do is ending: wait for it before the next.
        if (thread_.joinable()) thread_.join();
        try {
            thread_ = std::thread([this] { Run(); });
        } catch (const std::system_error&) {
            // No thread to be had: the pages then come in as they are first used.
            lock.lock();
            pending_.clear();
            running_ = false;
        }
    }

    // Forgets what is still to be backed and waits for the step under way.
    void Drop() {
        {
            std::lock_guard lock(mutex_);
            pending_.clear();
        }
        if (thread_.joinable()) thread_.join();
    }

    bool Running() {
        std::lock_guard lock(mutex_);
        return running_;
    }

    void Wait() {
        if (thread_.joinable()) thread_.join();
    }

private:
    void Run() {
        for (;;) {
            Range step{};
            {
                std::lock_guard lock(mutex_);
                if (pending_.empty()) {
                    running_ = false;
                    return;
                }
                Range& front = pending_.front();
                step = {front.begin, std::min(front.end, front.begin + kStep)};
                front.begin = step.end;
                if (front.begin >= front.end) pending_.pop_front();
            }
            madvise(reinterpret_cast<void*>(step.begin), step.end - step.begin,
                    MADV_POPULATE_WRITE);
        }
    }

    std::mutex mutex_;
    std::deque<Range> pending_;
    bool running_ = false;
    std::thread thread_;
};

Backer& TheBacker() {
    static Backer backer;
    return backer;
}

bool prepared = false;
std::size_t ready = 0;

// The heap's free memory (its free top included) plus what the matrices' store keeps.
std::size_t HeldFree() {
    std::size_t held = MatrixStorage::KeptBytes();
#ifdef KELVARA_GLIBC_HEAP
    held += mallinfo2().fordblks;
#endif
    return held;
}

// The heap's free memory in blocks below its top.
std::size_t FreeBelowTop() {
#ifdef KELVARA_GLIBC_HEAP
    const struct mallinfo2 heap = mallinfo2();
    return heap.fordblks - std::min(heap.fordblks, heap.keepcost);
#else
    return 0;
#endif
}

// The page-aligned inside of a block.
Range Inside(const void* block, std::size_t size) {
    constexpr std::uintptr_t kPage = 4096;
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t begin = (start + kPage - 1) & ~(kPage - 1);
    const std::uintptr_t end = (start + size) & ~(kPage - 1);
    return {begin, std::max(begin, end)};
}

// Grows the heap's free memory to `bytes` at least: blocks that together make `bytes` are
// taken from the heap (its free blocks first, then its top) and given back at once.
// Answers where they lay, neighbours joined into one range.
std::vector<Range> FreeRanges(std::size_t bytes) {
    std::vector<void*> blocks;
    for (std::size_t taken = 0; taken < bytes; taken += kPiece) {
        void* block = std::malloc(kPiece);
        if (block == nullptr) break;
        blocks.push_back(block);
    }
    std::vector<Range> ranges;
    for (const void* block : blocks)
        ranges.push_back(Inside(block, kPiece));
    for (auto it = blocks.rbegin(); it != blocks.rend(); ++it)
        std::free(*it);
    // Blocks in a row are a block header apart; backing the header's page too does no harm.
    std::sort(ranges.begin(), ranges.end(),
              [](const Range& a, const Range& b) { return a.begin < b.begin; });
    std::vector<Range> joined;
    for (const Range& range : ranges) {
        if (!joined.empty() && range.begin <= joined.back().end + kJoinGap)
            joined.back().end = std::max(joined.back().end, range.end);
        else
            joined.push_back(range);
    }
    return joined;
}

// The most free memory the heap keeps at its top; past it, freeing a block returns the top
// to the system at once, so that what a large export or copy took comes back by itself.
std::size_t KeptTop(std::size_t need) {
    return std::min<std::size_t>(2 * need + kSlack, INT_MAX);  // mallopt takes an int
}

void GiveBack(std::size_t keep) {
    TheBacker().Drop();
    MatrixStorage::ReleaseKept();
#ifdef KELVARA_GLIBC_HEAP
    malloc_trim(keep);
#else
    (void)keep;
#endif
}

}  // namespace

void Prepare() {
    prepared = true;
#ifdef KELVARA_GLIBC_HEAP
    // Fixed thresholds instead of glibc's sliding ones: blocks up to the ceiling come from
    // the heap, and the heap keeps a free top in proportion to the need (Keep sets it).
    mallopt(M_MMAP_THRESHOLD, int(kLargestHeapBlock));
    mallopt(M_TRIM_THRESHOLD, int(KeptTop(0)));
#endif
}

void Expect(std::size_t bytes) {
    if (!prepared) return;
    const std::size_t need = Keep(bytes);
    // Free memory held beyond the need (what a paste used for a while) would only add to
    // the computation's peak: it goes back first. Trimming also hands back the free blocks
    // below the heap's top, which are made ready anew; so the top keeps only what those
    // blocks do not make up.
    if (HeldFree() > need + kSlack) GiveBack(need - std::min(need, FreeBelowTop()));
    // Asked again, the same need tops up what the operands' cells took meanwhile: the free
    // memory still backed costs the thread next to nothing.
    if (need >= kLeast) {
        TheBacker().Add(FreeRanges(need));
        ready = need;
    }
}

std::size_t Keep(std::size_t bytes) {
    const std::size_t available = MemoryCheck::AvailableBytes();
    const std::size_t need = std::min({bytes, kMost, available / 2});
    if (!prepared) return need;
    if (KeptTop(need) < ready || HeldFree() > KeptTop(need)) {
        GiveBack(need);
        ready = std::min(ready, need);
    }
#ifdef KELVARA_GLIBC_HEAP
    mallopt(M_TRIM_THRESHOLD, int(KeptTop(need)));
#endif
    return need;
}

void Release() {
    GiveBack(0);
    ready = 0;
}

std::size_t Ready() {
    return ready;
}

bool Backing() {
    return TheBacker().Running();
}

void WaitForBacking() {
    TheBacker().Wait();
}

}  // namespace WorkingMemory
