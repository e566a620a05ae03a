#include "Parallel.h"

#include <atomic>
#include <condition_variable>
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

// Threads that wait for parts of a split. One split runs at a time; the thread that posts
// it takes part 0 and whatever parts no worker has claimed yet.
class Pool {
public:
    static Pool& Instance() {
        static Pool pool;
        return pool;
    }

    ~Pool() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stop_ = true;
        }
        wake_.notify_all();
        for (auto& thread : threads_)
            thread.join();
    }

    void Run(std::ptrdiff_t parts, void (*task)(void*, std::ptrdiff_t), void* context) {
        std::unique_lock<std::mutex> busy(busy_, std::try_to_lock);
        if (!busy.owns_lock() || threads_.empty()) {
            for (std::ptrdiff_t part = 0; part < parts; ++part)
                task(context, part);
            return;
        }
        {
            std::lock_guard<std::mutex> lock(mutex_);
            task_ = task;
            context_ = context;
            next_ = 1;
            parts_ = parts;
            remaining_ = parts - 1;
        }
        wake_.notify_all();
        task(context, 0);
        std::unique_lock<std::mutex> lock(mutex_);
        while (next_ < parts_) {
            const std::ptrdiff_t part = next_++;
            lock.unlock();
            task(context, part);
            lock.lock();
            --remaining_;
        }
        done_.wait(lock, [this] { return remaining_ == 0; });
        parts_ = 0;
    }

private:
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
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            wake_.wait(lock, [this] { return stop_ || next_ < parts_; });
            if (stop_) return;
            const std::ptrdiff_t part = next_++;
            auto* task = task_;
            void* context = context_;
            lock.unlock();
            task(context, part);
            lock.lock();
            if (--remaining_ == 0) done_.notify_one();
        }
    }

    std::mutex busy_;  // held by the thread whose split is running
    std::mutex mutex_;
    std::condition_variable wake_, done_;
    std::vector<std::thread> threads_;
    void (*task_)(void*, std::ptrdiff_t) = nullptr;
    void* context_ = nullptr;
    std::ptrdiff_t next_ = 0, parts_ = 0, remaining_ = 0;
    bool stop_ = false;
};

}  // namespace

unsigned Workers() {
    const unsigned chosen = limit.load(std::memory_order_relaxed);
    return chosen == 0 ? MachineWorkers() : std::min(chosen, MachineWorkers());
}

void LimitWorkers(unsigned count) {
    limit.store(count, std::memory_order_relaxed);
}

void RunParts(std::ptrdiff_t parts, void (*task)(void*, std::ptrdiff_t), void* context) {
    if (parts <= 1) {
        if (parts == 1) task(context, 0);
        return;
    }
    Pool::Instance().Run(parts, task, context);
}

}  // namespace Parallel
