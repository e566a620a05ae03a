#pragma once
// Splitting independent work between the processor's cores. The engine's results never
// depend on how the work is split: every element is computed by exactly one worker, with
// the same operations in the same order as on one core.

#include <algorithm>
#include <cstddef>
#include <system_error>
#include <thread>
#include <vector>

namespace Parallel {

// How many workers the machine offers (at least 1, at most 8).
inline unsigned Workers() {
    static const unsigned workers = std::clamp(std::thread::hardware_concurrency(), 1u, 8u);
    return workers;
}

// Runs body(begin, end) over contiguous parts of [first, last), one part per worker, each
// part starting at a multiple of `grain` from first. `work` estimates the floating-point
// operations of the whole range: below about a million, a second thread costs more than it
// saves and the range runs on the calling thread. The body must not throw.
template <class Body>
void ForRange(std::ptrdiff_t first, std::ptrdiff_t last, std::ptrdiff_t grain, double work,
              Body&& body) {
    const std::ptrdiff_t count = last - first;
    if (count <= 0) return;
    grain = std::max<std::ptrdiff_t>(grain, 1);
    const std::ptrdiff_t units = (count + grain - 1) / grain;
    std::ptrdiff_t parts = std::min<std::ptrdiff_t>(Workers(), units);
    if (work < 1.0e6) parts = 1;
    if (parts <= 1) {
        body(first, last);
        return;
    }
    std::vector<std::thread> helpers;
    helpers.reserve(std::size_t(parts - 1));
    auto bound = [&](std::ptrdiff_t part) {
        return std::min(last, first + (units * part / parts) * grain);
    };
    std::ptrdiff_t inlineFrom = first;
    for (std::ptrdiff_t part = 1; part < parts; ++part) {
        const std::ptrdiff_t begin = bound(part), end = bound(part + 1);
        try {
            helpers.emplace_back([&body, begin, end] { body(begin, end); });
        } catch (const std::system_error&) {
            body(begin, end);  // no thread to be had: do the part here
        }
    }
    body(inlineFrom, bound(1));
    for (auto& helper : helpers)
        helper.join();
}

}  // namespace Parallel
