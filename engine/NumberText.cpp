#include "NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "PlainDecimal.h"

// How the 15 correctly rounded significant digits are found, fast, in three ways tried in
// turn: a value with at most 8 decimals is written from one whole number (ShortDecimal); one
// of decimal exponent -8 to 14 from one exact product with a power of ten
// (RoundedDigitsByProduct); any other from the shortest digits, as follows.
//
// std::to_chars without a precision gives the shortest digits that read back as the same
// double (Ryu), and among the shortest the ones closest to its exact value. For a normal
// double the interval of reals that round to it is narrower (at most 2^-52 of the value)
// than the distance between two 15-digit decimals (at least 10^-15 of the value), so it
// holds at most one 15-digit decimal:
//  - shortest digits of at most 15 significant digits are that decimal, which is then
//    also the exact value's nearest 15-digit decimal: the correctly rounded result;
//  - shortest digits of 16 or 17 significant digits lie on the same side of every
//    midpoint M between two neighbouring 15-digit decimals as the exact value, unless
//    they are M itself (a 16-digit decimal ending in 5). Otherwise M would lie between
//    them and the exact value, inside the interval, and be a 16-digit candidate shorter
//    than 17 digits, or closer than the 16 digits that were chosen. So the shortest
//    digits can be rounded at the 16th digit, except when the digits after the 15th are
//    exactly "5"; then, and for subnormal doubles (whose spacing is coarser than 15
//    digits), std::to_chars with a precision of 14 decimals gives the 15 digits directly.

namespace {

struct Decimal {
    char digits[24];  // significant digits, the first nonzero, no trailing zeros
    int count;        // number of digits, 1..17
    int exponent;     // value = 0.d1d2d3... x 10^(exponent + 1), i.e. d1.d2d3... x 10^exponent
};

// Parses to_chars' scientific form "d[.ddd]e±XX[X]" (no sign) into digits and exponent,
// without a loop over the characters: the exponent has two or three digits, so the 'e'
// stands 4 or 5 places before the end, and the digits after the point are copied in one
// fixed-size block (the buffer is large enough; what lies past the count is not used).
void ParseScientific(const char* first, const char* last, Decimal& out) {
    const bool threeDigitExponent = last[-4] != 'e';
    const char* e = last - (threeDigitExponent ? 5 : 4);
    int exponent = (last[-2] - '0') * 10 + (last[-1] - '0');
    if (threeDigitExponent) exponent += (last[-3] - '0') * 100;
    out.exponent = e[1] == '-' ? -exponent : exponent;
    out.digits[0] = first[0];
    std::memcpy(out.digits + 1, first + 2, 16);
    int n = e - first == 1 ? 1 : int(e - first) - 1;
    while (n > 1 && out.digits[n - 1] == '0')
        --n;
    out.count = n;
}

// The product a * b exactly, as hi + lo (Dekker's product: each factor split into two halves
// of 26 bits, whose products are exact). The engine is built without contracting a * b + c
// into one fused operation, which would spoil the sums below.
void ExactProduct(double a, double b, double& hi, double& lo) {
    constexpr double kSplitter = 134217729.0;  // 2^27 + 1
    const double ca = kSplitter * a, cb = kSplitter * b;
    const double aHigh = ca - (ca - a), aLow = a - aHigh;
    const double bHigh = cb - (cb - b), bLow = b - bHigh;
    hi = a * b;
    lo = ((aHigh * bHigh - hi) + aHigh * bLow + aLow * bHigh) + aLow * bLow;
}

// The 15 correctly rounded significant digits of the value, for decimal exponents -8 to 14,
// straight from its product with a power of ten: with e the exponent of the first digit,
// X = value x 10^(14 - e) is exact as hi + lo (10^0 .. 10^22 are exact doubles), and X
// rounded to the nearest whole number, a tie to the even one, is the 15 digits. A guess of
// e that leaves X outside 10^14 .. 10^15 is corrected once. Answers false outside the
// exponents, where the general search takes over.
bool RoundedDigitsByProduct(double magnitude, Decimal& out) {
    constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr double kTwo52 = 4503599627370496.0;
    // floor(log10(2^b)) for the binary exponent b: the decimal exponent or one less.
    int e = ((std::ilogb(magnitude) * 78913) >> 18) + 1;
    for (int attempt = 0; attempt < 3; ++attempt) {
        const int k = 14 - e;
        if (k < 0 || k > 22) return false;
        double hi, lo;
        ExactProduct(magnitude, kPowers[k], hi, lo);
        // The exponent is right when 10^14 <= X < 10^15, decided on X itself.
        if (hi < 1e14 || (hi == 1e14 && lo < 0)) {
            --e;
            continue;
        }
        if (hi > 1e15 || (hi == 1e15 && lo >= 0)) {
            ++e;
            continue;
        }
        // hi rounded to a whole number, a tie to the even one; hi - whole is then exact, and
        // lo (at most half of hi's last place) decides only when hi lies halfway.
        double whole = (hi + kTwo52) - kTwo52;
        const double rest = hi - whole;
        if (rest == 0.5 && lo > 0) whole += 1;
        if (rest == -0.5 && lo < 0) whole -= 1;
        auto digits = static_cast<unsigned long long>(whole);
        if (digits == 1000000000000000) {  // 9.99...95 and above round up to the next power
            digits = 1;
            ++e;
        }
        int n = int(std::to_chars(out.digits, out.digits + 16, digits).ptr - out.digits);
        while (n > 1 && out.digits[n - 1] == '0')
            --n;
        out.count = n;
        out.exponent = e;
        return true;
    }
    return false;
}

// The 15 correctly rounded significant digits of a finite, nonzero, non-negative value.
void RoundedDigits(double magnitude, Decimal& out) {
    if (RoundedDigitsByProduct(magnitude, out)) return;
    char text[48];  // "d.dddddddddddddddde-308" and room for the 16-byte copy above
    if (magnitude >= std::numeric_limits<double>::min()) {
        const auto shortest =
            std::to_chars(text, text + sizeof text, magnitude, std::chars_format::scientific);
        ParseScientific(text, shortest.ptr, out);
        if (out.count <= 15) return;
        const bool exactMidpoint = out.count == 16 && out.digits[15] == '5';
        if (!exactMidpoint) {
            // Round the 16- or 17-digit form at the 16th digit: below 5 down, otherwise up
            // (a 16th digit of 5 here always has more nonzero digits after it, or would be
            // the exact midpoint excluded above).
            const bool up = out.digits[15] >= '5';
            int n = 15;
            if (up) {
                int k = 14;
                while (k >= 0 && out.digits[k] == '9')
                    out.digits[k--] = '0';
                if (k < 0) {
                    // 9.99...9 rounded up to 10.00...0: one digit, next exponent.
                    out.digits[0] = '1';
                    out.count = 1;
                    ++out.exponent;
                    return;
                }
                ++out.digits[k];
            }
            while (n > 1 && out.digits[n - 1] == '0')
                --n;
            out.count = n;
            return;
        }
    }
    const auto rounded =
        std::to_chars(text, text + sizeof text, magnitude, std::chars_format::scientific, 14);
    ParseScientific(text, rounded.ptr, out);
}

// Most numbers people type, and sums and products of them, have a few decimals: value x 10^k
// rounds to a whole number N below 10^15 for a small k. Rounding then errs by at most 2^-53
// of the value, less than half the gap between neighbouring 15-digit decimals (at least
// 10^-15 of the value), so N / 10^k is the correctly rounded 15-digit form itself, written
// without the digit search. Answers the text's length, or 0 for a value that is not such a
// decimal, or that is shown in scientific form (below 10^-4).
// The one k tried is the largest up to 8 that keeps N below 10^15: a value with fewer
// decimals has trailing zeros there, and one that misses (a rounding off the whole number)
// takes the digit search, which finds the same digits.
std::size_t ShortDecimal(double value, char* out, char decimalSeparator) {
    constexpr double kPowers[] = {1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
    int k = 8;
    double scaled = value * kPowers[k - 1];
    while (scaled >= 1E15 && k > 1) {
        --k;
        scaled = value * kPowers[k - 1];
    }
    if (scaled >= 1E15 || scaled != std::trunc(scaled)) return 0;
    auto whole = static_cast<unsigned long long>(scaled);
    int decimals = k;
    // The trailing zeros go four, two and one at a time (a whole number has none to lose
    // here: it was written before, so at most seven).
    for (const auto& [zeros, power] :
         {std::pair(4, 10000ull), std::pair(2, 100ull), std::pair(1, 10ull)}) {
        if (decimals >= zeros && whole % power == 0) {
            whole /= power;
            decimals -= zeros;
        }
    }
    char digits[24];
    const int n = int(std::to_chars(digits, digits + sizeof digits, whole).ptr - digits);
    // Positional only from 10^-4 on: "0.000" and the digits.
    if (decimals - n > 3) return 0;
    char* p = out;
    if (n > decimals) {
        std::memcpy(p, digits, std::size_t(n - decimals));
        p += n - decimals;
    } else {
        *p++ = '0';
    }
    if (decimals > 0) {
        *p++ = decimalSeparator;
        if (decimals > n) {
            std::memset(p, '0', std::size_t(decimals - n));
            p += decimals - n;
        }
        const int from = std::max(n - decimals, 0);
        std::memcpy(p, digits + from, std::size_t(n - from));
        p += n - from;
    }
    return std::size_t(p - out);
}

}  // namespace

std::size_t NumberToChars(double value, char* buffer, char decimalSeparator) {
    char* out = buffer;
    if (value == 0.0) {  // negative zero included
        *out = '0';
        return 1;
    }
    if (!std::isfinite(value)) {
        // Never produced by the engine (every computed value is inspected); shown as
        // printf's "%G" shows them.
        const char* text = std::isnan(value) ? "NAN" : (value < 0 ? "-INF" : "INF");
        const std::size_t length = std::strlen(text);
        std::memcpy(out, text, length);
        return length;
    }
    if (value < 0) {
        *out++ = '-';
        value = -value;
    }

    if (value < 1E15) {
        if (value == std::trunc(value)) {
            // A whole number of at most 15 digits is its own rounded value, shown positionally.
            return std::size_t(
                std::to_chars(out, out + 16, static_cast<unsigned long long>(value)).ptr - buffer);
        }
        if (const std::size_t length = ShortDecimal(value, out, decimalSeparator))
            return std::size_t(out - buffer) + length;
    }

    Decimal d;
    RoundedDigits(value, d);
    const int e = d.exponent;
    const int n = d.count;

    if (e >= -4 && e <= 14) {
        if (e >= 0) {
            // Integer part: digits 0..e, padded with zeros when there are fewer digits.
            const int whole = e + 1;
            if (n >= whole) {
                std::memcpy(out, d.digits, whole);
                out += whole;
                if (n > whole) {
                    *out++ = decimalSeparator;
                    std::memcpy(out, d.digits + whole, n - whole);
                    out += n - whole;
                }
            } else {
                std::memcpy(out, d.digits, n);
                out += n;
                std::memset(out, '0', whole - n);
                out += whole - n;
            }
        } else {
            // 0.000ddd: a single zero before the separator, -e - 1 zeros after it.
            *out++ = '0';
            *out++ = decimalSeparator;
            std::memset(out, '0', -e - 1);
            out += -e - 1;
            std::memcpy(out, d.digits, n);
            out += n;
        }
    } else {
        *out++ = d.digits[0];
        if (n > 1) {
            *out++ = decimalSeparator;
            std::memcpy(out, d.digits + 1, n - 1);
            out += n - 1;
        }
        *out++ = 'E';
        int magnitude = e;
        if (magnitude < 0) {
            *out++ = '-';
            magnitude = -magnitude;
        } else {
            *out++ = '+';
        }
        if (magnitude >= 100) {
            *out++ = char('0' + magnitude / 100);
            magnitude %= 100;
        }
        *out++ = char('0' + magnitude / 10);
        *out++ = char('0' + magnitude % 10);
    }
    return std::size_t(out - buffer);
}

std::string NumberToText(double value, char decimalSeparator) {
    char buffer[NumberTextCapacity];
    return std::string(buffer, NumberToChars(value, buffer, decimalSeparator));
}

bool IsNumberText(std::string_view text, char decimalSeparator) {
    const PlainDecimal plain = ReadPlainDecimal(text);
    return plain.numberText && (decimalSeparator == '.' || !plain.point);
}
