#pragma once
// The commonest number text, [-]digits[.digits] and nothing else, read in one pass: its value
// and whether it is the very text the sheet writes for that value. Reading cells and showing
// them share it, so both follow the one rule.

#include <string_view>

struct PlainDecimal {
    // The form, with at most 15 significant digits and 15 decimals: the value is
    // digits / 10^decimals, both exact doubles.
    bool plain = false;
    bool negative = false;
    bool point = false;
    unsigned long long digits = 0;
    int decimals = 0;
    // NumberToChars writes exactly this text (with "." as the separator): positional from
    // 1E-04 on, "-" only before a nonzero value, no zeros in front, none after the decimals.
    bool numberText = false;

    double Value() const {
        constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                      1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
        if (digits == 0) return 0.0;  // zero is always +0
        const double value = double(digits) / kPowers[decimals];
        return negative ? -value : value;
    }
};

// Two tight loops, one for each part; the checks come once at the end: N below 10^15 is at
// most 15 significant digits (leading zeros add none), and at most 19 digit characters keep
// N from overflowing on the way (a longer text, leading zeros and all, takes the general path).
inline PlainDecimal ReadPlainDecimal(std::string_view text) {
    constexpr unsigned long long kLimit = 1000000000000000;  // 10^15
    const auto digit = [](char c) { return unsigned(c - '0') < 10; };
    PlainDecimal d;
    const char* p = text.data();
    const char* const end = p + text.size();
    if (end - p > 21) return {};  // sign, point and 19 digits at most
    d.negative = p != end && *p == '-';
    if (d.negative) ++p;
    const char* const first = p;
    unsigned long long n = 0;
    for (; p != end && digit(*p); ++p)
        n = n * 10 + unsigned(*p - '0');
    const std::ptrdiff_t wholeDigits = p - first;
    if (p != end) {
        if (*p != '.') return {};
        const char* const decimals = ++p;
        for (; p != end && digit(*p); ++p)
            n = n * 10 + unsigned(*p - '0');
        if (p != end) return {};
        d.point = true;
        d.decimals = int(p - decimals);
    }
    if (wholeDigits + d.decimals == 0 || n >= kLimit || d.decimals > 15) return {};
    d.plain = true;
    d.digits = n;
    // Zero is written "0"; otherwise one digit in front of the separator, not a zero unless
    // it is the only one, at least one decimal after it, the last not a zero, and at most
    // three zeros between the separator and the first significant digit (N >= 10^(k - 4)
    // for k decimals).
    constexpr unsigned long long kPowers[] = {1,         10,         100,         1000,
                                              10000,     100000,     1000000,     10000000,
                                              100000000, 1000000000, 10000000000, 100000000000};
    if (n == 0) {
        d.numberText = !d.negative && !d.point && wholeDigits == 1;
    } else {
        d.numberText = wholeDigits >= 1 && (wholeDigits == 1 || *first != '0') &&
                       (!d.point || (d.decimals > 0 && end[-1] != '0')) &&
                       (*first != '0' || d.decimals <= 3 || n >= kPowers[d.decimals - 4]);
    }
    return d;
}
