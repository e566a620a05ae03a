#pragma once
// The arithmetic conventions every routine follows: counts and positions are 16-bit
// signed integers whose every step is checked, and every computed double is inspected
// right after it has been stored.

#include <cmath>
#include <cstdint>

#include "RuntimeError.h"

namespace Checked {

// A 16-bit count or position computed from others: beyond -32768..32767 raises 6.
inline std::int16_t Count(long long value) {
    if (value > 32767 || value < -32768) throw RuntimeError(RuntimeError::Overflow);
    return static_cast<std::int16_t>(value);
}

// Runs body(i) for i = first .. last, like a loop over a 16-bit counter: the step that
// would take the counter past 32767 raises 6 once the last pass is done.
template <class Body>
inline void For(std::int16_t first, std::int16_t last, Body&& body) {
    for (int i = first; i <= last; ++i) {
        body(static_cast<std::int16_t>(i));
        if (i == 32767) throw RuntimeError(RuntimeError::Overflow);
    }
}

// Raises 6 when the counter of a loop ending at `last` would step past 32767; for loops
// whose passes are written without the per-step helper above. Call it after the loop.
inline void StepPast(std::int16_t last) {
    if (last == 32767) throw RuntimeError(RuntimeError::Overflow);
}

// Inspection of a stored sum, difference or product: an invalid operation (NaN) or an
// overflow (infinity) raises 6. Underflow and inexact results pass.
inline void Inspect(double stored) {
    if (!std::isfinite(stored)) throw RuntimeError(RuntimeError::Overflow);
}

// Inspection of a stored quotient n / d: a finite non-zero numerator over zero is a
// division by zero (11); 0 / 0 is an invalid operation and an overflow is an overflow (6).
inline void InspectQuotient(double n, double d, double stored) {
    if (std::isfinite(stored)) return;
    if (d == 0.0 && n != 0.0 && std::isfinite(n)) throw RuntimeError(RuntimeError::DivisionByZero);
    throw RuntimeError(RuntimeError::Overflow);
}

// The engine's negligible test: x counts as zero when 1.0 + |x| == 1.0 exactly.
inline bool Negligible(double x) {
    const double sum = 1.0 + std::fabs(x);
    Inspect(sum);
    return sum == 1.0;
}

}  // namespace Checked
