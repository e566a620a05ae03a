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

inline PlainDecimal ReadPlainDecimal(std::string_view text) {
    PlainDecimal d;
    const char* p = text.data();
    const char* const end = p + text.size();
    d.negative = p != end && *p == '-';
    if (d.negative) ++p;
    const char* const first = p;
    const char* point = nullptr;
    int significant = 0;
    for (; p != end; ++p) {
        if (*p >= '0' && *p <= '9') {
            if (d.digits != 0 || *p != '0') ++significant;
            d.digits = d.digits * 10 + unsigned(*p - '0');
            if (point != nullptr) ++d.decimals;
            if (significant > 15 || d.decimals > 15) return {};
        } else if (*p == '.' && point == nullptr) {
            point = p;
        } else {
            return {};
        }
    }
    const std::ptrdiff_t wholeDigits = (point != nullptr ? point : end) - first;
    if (wholeDigits + d.decimals == 0) return {};  // no digit
    d.plain = true;
    d.point = point != nullptr;
    // Zero is written "0"; otherwise one digit in front of the separator, not a zero unless
    // it is the only one, at least one decimal after it, the last not a zero, and at most
    // three zeros between the separator and the first significant digit.
    if (d.digits == 0) {
        d.numberText = !d.negative && !d.point && wholeDigits == 1;
    } else {
        d.numberText = wholeDigits >= 1 && (wholeDigits == 1 || *first != '0') &&
                       (!d.point || (d.decimals > 0 && end[-1] != '0')) &&
                       (*first != '0' || d.decimals - significant <= 3);
    }
    return d;
}
