#include "Parallel.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace Parallel {

namespace {

unsigned MachineWorkers() {
    static const unsigned workers = std::clamp(std::thread::hardware_concurrency(), 1u, 8u);
    return workers;
}

std::atomic<unsigned> limit{0};
std::atomic<bool> shareEverything{false};

// Threads that wait for parts of a split. One split runs at a time; the thread that posts
// it takes part 0 and whatever parts no worker has claimed yet.
//
// The elimination routines post a split for every block of steps, often a few dozen
// microseconds apart. A worker that has just finished therefore keeps watching for the next
// split for a short while before it sleeps, and the posting thread watches for the last
// parts to finish instead of sleeping on them: a futex wake-up costs more than such a wait.
class Pool {
public:
    static Pool& Instance() {
        static Pool pool;
        return pool;
    }

    ~Pool() {
        stop_.store(true);
        Publish(Ticket(Generation(ticket_.load()) + 1, kClosed));
        for (auto& thread : threads_)
            thread.join();
    }

    void Run(std::ptrdiff_t parts, void (*task)(void*, std::ptrdiff_t), void* context) {
        std::unique_lock<std::mutex> busy(busy_, std::try_to_lock);
        if (!busy.owns_lock() || threads_.empty() || Workers() < 2 ||
            parts >= std::ptrdiff_t(kClosed)) {
            for (std::ptrdiff_t part = 0; part < parts; ++part)
                task(context, part);
            return;
        }
        // Close the previous split's ticket before the new split's details change, so that
        // a worker still holding the old ticket cannot claim a part with the new details.
        const std::uint64_t generation = Generation(ticket_.load()) + 1;
        ticket_.store(Ticket(generation, kClosed));
        task_.store(task, std::memory_order_release);
        context_.store(context, std::memory_order_release);
        parts_.store(std::uint64_t(parts), std::memory_order_release);
        finished_.store(0, std::memory_order_relaxed);
        Publish(Ticket(generation, 1));
        task(context, 0);
        std::uint64_t ticket = ticket_.load();
        while (Generation(ticket) == generation && Next(ticket) < std::uint64_t(parts)) {
            if (ticket_.compare_exchange_weak(ticket, ticket + 1)) {
                task(context, std::ptrdiff_t(Next(ticket)));
                finished_.fetch_add(1, std::memory_order_release);
                ticket = ticket_.load();
            }
        }
        for (unsigned spins = 0; finished_.load(std::memory_order_acquire) < parts - 1; ++spins)
            Pause(spins);
    }

private:
    static constexpr std::uint64_t kClosed = 0xFFFFFFFF;  // a ticket with no part to claim
    static std::uint64_t Ticket(std::uint64_t generation, std::uint64_t next) {
        return generation << 32 | next;
    }
    static std::uint64_t Generation(std::uint64_t ticket) { return ticket >> 32; }
    static std::uint64_t Next(std::uint64_t ticket) { return ticket & kClosed; }

    // A short busy wait, then giving the core away, for waits that turn out long.
    static void Pause(unsigned spins) {
        if (spins < 4096)
            __builtin_ia32_pause();
        else
            std::this_thread::yield();
    }

    void Publish(std::uint64_t ticket) {
        ticket_.store(ticket);
        if (sleepers_.load() > 0) {
            wakeups_.fetch_add(1);
            wakeups_.notify_all();
        }
    }

    Pool() {
        const unsigned helpers = MachineWorkers() - 1;
        for (unsigned i = 0; i < helpers; ++i) {
            try {
                threads_.emplace_back([this] { Serve(); });
            } catch (const std::system_error&) {
                break;  // fewer helpers; the posting thread takes the parts left over
            }
        }
    }

    void Serve() {
        using Clock = std::chrono::steady_clock;
        std::uint64_t ticket = ticket_.load();
        for (;;) {
            if (stop_.load()) return;
            const std::uint64_t parts = parts_.load(std::memory_order_acquire);
            if (Next(ticket) < parts) {
                auto* task = task_.load(std::memory_order_acquire);
                void* context = context_.load(std::memory_order_acquire);
                // The claim succeeds only while the ticket is the one the details were
                // read under: a new split closes the ticket before changing them.
                if (ticket_.compare_exchange_weak(ticket, ticket + 1)) {
                    task(context, std::ptrdiff_t(Next(ticket)));
                    finished_.fetch_add(1, std::memory_order_release);
                    ticket = ticket_.load();
                }
                continue;
            }
            // Nothing to claim: watch for a new ticket for a while, then sleep until one.
            const std::uint64_t seen = ticket;
            const auto until = Clock::now() + std::chrono::microseconds(1000);
            for (unsigned spins = 1; (ticket = ticket_.load()) == seen; ++spins) {
                if (spins % 256 == 0 && Clock::now() > until) {
                    // Registered as asleep before the last look at the ticket: a split
                    // published after that look sees the sleeper and wakes it.
                    const unsigned wakeups = wakeups_.load();
                    sleepers_.fetch_add(1);
                    if (ticket_.load() == seen) wakeups_.wait(wakeups);
                    sleepers_.fetch_sub(1);
                }
            }
        }
    }

    std::mutex busy_;  // held by the thread whose split is running
    std::vector<std::thread> threads_;
    std::atomic<std::uint64_t> ticket_{Ticket(0, kClosed)};  // generation, next part
    std::atomic<void (*)(void*, std::ptrdiff_t)> task_{nullptr};
    std::atomic<void*> context_{nullptr};
    std::atomic<std::uint64_t> parts_{0};
    std::atomic<std::ptrdiff_t> finished_{0};  // parts after the first that have finished
    std::atomic<unsigned> sleepers_{0};
    std::atomic<unsigned> wakeups_{0};  // counts the wake-ups of sleeping workers
    std::atomic<bool> stop_{false};
};

}  // namespace

unsigned Workers() {
    const unsigned chosen = limit.load(std::memory_order_relaxed);
    return chosen == 0 ? MachineWorkers() : std::min(chosen, MachineWorkers());
}

void LimitWorkers(unsigned count) {
    limit.store(count, std::memory_order_relaxed);
}

bool WorthSharing(double operations, double least) {
    return operations > 0 &&
           (operations >= least || shareEverything.load(std::memory_order_relaxed));
}

void ShareEverything(bool on) {
    shareEverything.store(on, std::memory_order_relaxed);
}

void RunParts(std::ptrdiff_t parts, void (*task)(void*, std::ptrdiff_t), void* context) {
    if (parts <= 1) {
        if (parts == 1) task(context, 0);
        return;
    }
    Pool::Instance().Run(parts, task, context);
}

}  // namespace Parallel
