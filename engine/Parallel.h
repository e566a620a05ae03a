#pragma once
// Splitting independent work between the processor's cores. The engine's results never
// depend on how the work is split: every element is computed by exactly one worker, with
// the same operations in the same order as on one core.
//
// The workers are threads started once, on first use, and kept waiting for work for the
// life of the program, so a split costs a wake-up rather than a thread start.

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace Parallel {

// How many workers the machine offers, the calling thread included (at least 1, at most 8).
unsigned Workers();

// Limits the workers used from now on to `count` (0 restores the machine's number). Results
// are the same for every count; tests compare them.
void LimitWorkers(unsigned count);

// Whether a task of `operations` floating-point operations is worth sharing out, `least`
// being the smallest task for which sharing pays. A task of no operations never is.
bool WorthSharing(double operations, double least);

// Shares out every task that has operations, however small; for tests, so that small
// matrices take the paths that large ones take.
void ShareEverything(bool on);

// Runs task(context, part) for part = 0 .. parts - 1, part 0 on the calling thread and the
// others on the waiting workers, and returns when all are done. A call made while the
// workers are busy (from inside a task, or from a second thread) runs every part on the
// calling thread. The task must not throw.
void RunParts(std::ptrdiff_t parts, void (*task)(void* context, std::ptrdiff_t part),
              void* context);

// Runs body(begin, end) over contiguous parts of [first, last), one part per worker, each
// part starting at a multiple of `grain` from first and the parts as equal as the grain
// allows. `work` estimates the floating-point operations of the whole range: below about a
// million, waking a worker costs more than it saves and the range runs on the
// calling thread. The body must not throw.
template <class Body>
void ForRange(std::ptrdiff_t first, std::ptrdiff_t last, std::ptrdiff_t grain, double work,
              Body&& body) {
    const std::ptrdiff_t count = last - first;
    if (count <= 0) return;
    grain = std::max<std::ptrdiff_t>(grain, 1);
    const std::ptrdiff_t units = (count + grain - 1) / grain;
    std::ptrdiff_t parts = std::min<std::ptrdiff_t>(Workers(), units);
    if (!WorthSharing(work, 1.0e6)) parts = 1;
    if (parts <= 1) {
        body(first, last);
        return;
    }
    struct Split {
        std::ptrdiff_t first, last, grain, units, parts;
        Body* body;
        std::ptrdiff_t Bound(std::ptrdiff_t part) const {
            return std::min(last, first + (units * part / parts) * grain);
        }
    } split{first, last, grain, units, parts, &body};
    RunParts(
        parts,
        [](void* context, std::ptrdiff_t part) {
            const Split& s = *static_cast<const Split*>(context);
            (*s.body)(s.Bound(part), s.Bound(part + 1));
        },
        &split);
}

// Produces batches of items on every core and consumes them in order on the calling thread:
// while the calling thread consumes batch k, the workers produce batch k + 1, and the calling
// thread joins them once it is done. produce(batch, item) is called once for each item
// 0 .. size(batch) - 1, from any thread; consume(batch) on the calling thread once all items
// of that batch are produced. At most two batches are in hand at a time, so the caller can
// keep them in two slots (batch % 2). `workPerItem` estimates an item's floating-point
// operations, as for ForRange. Neither function may throw.
template <class Size, class Produce, class Consume>
void Pipeline(std::ptrdiff_t batches, Size size, double workPerItem, Produce&& produce,
              Consume&& consume) {
    if (batches <= 0) return;
    ForRange(0, size(0), 1, workPerItem * double(size(0)),
             [&](std::ptrdiff_t first, std::ptrdiff_t last) {
                 for (std::ptrdiff_t item = first; item < last; ++item)
                     produce(0, item);
             });
    for (std::ptrdiff_t batch = 0; batch + 1 < batches; ++batch) {
        const std::ptrdiff_t next = batch + 1, count = size(next);
        std::atomic<std::ptrdiff_t> taken{0};  // the first item of `next` no thread has taken
        auto part = [&](std::ptrdiff_t index) {
            if (index == 0) consume(batch);
            for (std::ptrdiff_t item; (item = taken.fetch_add(1)) < count;)
                produce(next, item);
        };
        if (WorthSharing(workPerItem * double(count), 1.0e6)) {
            RunParts(
                Workers(),
                [](void* context, std::ptrdiff_t index) {
                    (*static_cast<decltype(part)*>(context))(index);
                },
                &part);
        } else {
            part(0);
        }
    }
    consume(batches - 1);
}

}  // namespace Parallel
