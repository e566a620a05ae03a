#include "NumericValue.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

#include "PlainDecimal.h"
#include "RuntimeError.h"

// The number is gathered, without the skipped blanks, into a compact text that
// std::from_chars then converts with correct rounding (and independently of the locale).
//
// Decisions on texts that stop early (each reads "the number so far", which is 0 when no
// digit has been read):
//   "-", "+", ".", "-.", "E5", "&", "&X"  -> 0        (no digit of a number)
//   "1e", "1E+", "1D-"                    -> 1        (an exponent without digits is ignored)
//   "&H", "&O", "&H G", "&O9"             -> 0        (no hexadecimal or octal digit)
//   "-&H10"                               -> 0        (only a text that begins with "&H"
//                                                      or "&O" is read as hex or octal)
//   "-0", "0E-400", "-1E-400"             -> 0        (zero is always +0; a number too small
//                                                      for a double underflows to 0 silently)
// Hexadecimal and octal numbers are read as non-negative integers of any size ("&HFFFF" is
// 65535), so they are beyond the range of a double only from 2^1024 on.

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads the characters of the text one by one, skipping blanks, tabs and line feeds.
class Reader {
public:
    explicit Reader(std::string_view text) : p_(text.data()), end_(text.data() + text.size()) {}

    // The next character that is not skipped, or '\0' at the end of the text.
    char Peek() {
        while (p_ != end_ && IsBlank(*p_))
            ++p_;
        return p_ == end_ ? '\0' : *p_;
    }
    void Next() { ++p_; }

private:
    const char* p_;
    const char* end_;
};

// Where the gathered characters go: a buffer on the stack for every ordinary text, the
// heap only for a text longer than it.
class Gathered {
public:
    explicit Gathered(std::size_t textLength) {
        if (textLength > sizeof inline_) {
            heap_.resize(textLength);
            data_ = heap_.data();
        }
    }
    Gathered(const Gathered&) = delete;
    Gathered& operator=(const Gathered&) = delete;
    void Append(char c) { data_[size_++] = c; }
    // Makes the text `size` characters of '0', to be written in place through data().
    void Zeros(std::size_t size) {
        std::fill(data_, data_ + size, '0');
        size_ = size;
    }
    char* data() { return data_; }
    const char* begin() const { return data_; }
    const char* end() const { return data_ + size_; }
    std::size_t size() const { return size_; }
    void Truncate(std::size_t size) { size_ = size; }

private:
    char inline_[128];
    std::string heap_;
    char* data_ = inline_;
    std::size_t size_ = 0;
};

[[noreturn]] void RaiseOverflow() {
    throw RuntimeError(RuntimeError::Overflow);
}

int DigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 99;
}

// Converts hexadecimal digits (leading zeros already dropped) with correct rounding.
double HexadecimalDigitsValue(const Gathered& digits) {
    if (digits.size() <= 16) {
        unsigned long long value = 0;
        for (char c : digits)
            value = value * 16 + unsigned(DigitValue(c));
        return double(value);
    }
    double value = 0.0;
    const auto result =
        std::from_chars(digits.begin(), digits.end(), value, std::chars_format::hex);
    if (result.ec != std::errc()) RaiseOverflow();
    return value;
}

// "&H" or "&O" and the digits after it; the reader stands after the "&".
double RadixInteger(Reader& reader, std::size_t textLength) {
    const char kind = reader.Peek();
    int radix;
    if (kind == 'H' || kind == 'h') {
        radix = 16;
    } else if (kind == 'O' || kind == 'o') {
        radix = 8;
    } else {
        return 0.0;
    }
    reader.Next();
    Gathered digits(textLength);
    for (char c = reader.Peek(); DigitValue(c) < radix; c = reader.Peek()) {
        if (digits.size() != 0 || c != '0') digits.Append(c);
        reader.Next();
    }
    if (radix == 16) return HexadecimalDigitsValue(digits);
    if (digits.size() <= 21) {  // at most 63 bits
        unsigned long long value = 0;
        for (char c : digits)
            value = value * 8 + unsigned(c - '0');
        return double(value);
    }
    // A longer octal number: its bits regrouped into hexadecimal digits, from the right.
    static constexpr char hexDigits[] = "0123456789abcdef";
    Gathered hex(textLength);
    hex.Zeros((3 * digits.size() + 3) / 4);
    char* out = hex.data() + hex.size();
    unsigned bits = 0;
    int bitCount = 0;
    for (const char* p = digits.end(); p != digits.begin();) {
        bits |= unsigned(*--p - '0') << bitCount;
        bitCount += 3;
        if (bitCount >= 4) {
            *--out = hexDigits[bits & 15];
            bits >>= 4;
            bitCount -= 4;
        }
    }
    if (bitCount > 0) *--out = hexDigits[bits];
    return HexadecimalDigitsValue(hex);
}

}  // namespace

double NumericValue(std::string_view text) {
    // The common case: N / 10^k with both exact doubles, so the one correctly rounded
    // division is the value the general path finds.
    if (const PlainDecimal plain = ReadPlainDecimal(text); plain.plain) return plain.Value();
    Reader reader(text);
    char c = reader.Peek();
    if (c == '&') {
        reader.Next();
        return RadixInteger(reader, text.size());
    }

    bool negative = false;
    if (c == '+' || c == '-') {
        negative = c == '-';
        reader.Next();
        c = reader.Peek();
    }

    // Digits with at most one decimal point. For telling an overflow from an underflow
    // later: the number of digits before the point once leading zeros are dropped, and
    // the zeros after the point before the first nonzero digit.
    Gathered number(text.size());
    long long integerDigits = 0;
    long long leadingFractionZeros = 0;
    bool anyDigit = false;
    bool point = false;
    bool nonzeroSeen = false;
    for (;; reader.Next(), c = reader.Peek()) {
        if (IsDigit(c)) {
            anyDigit = true;
            if (c != '0') nonzeroSeen = true;
            if (!point && nonzeroSeen) ++integerDigits;
            if (point && !nonzeroSeen) ++leadingFractionZeros;
            number.Append(c);
        } else if (c == '.' && !point) {
            point = true;
            number.Append(c);
        } else {
            break;
        }
    }
    if (!anyDigit) return 0.0;

    // The exponent: "E" or "D" in either case, a sign, digits; ignored without digits.
    long long exponent = 0;
    if (c == 'E' || c == 'e' || c == 'D' || c == 'd') {
        const std::size_t mantissaSize = number.size();
        number.Append('e');
        reader.Next();
        c = reader.Peek();
        bool negativeExponent = false;
        if (c == '+' || c == '-') {
            negativeExponent = c == '-';
            number.Append(c);
            reader.Next();
            c = reader.Peek();
        }
        bool exponentDigit = false;
        for (; IsDigit(c); reader.Next(), c = reader.Peek()) {
            exponentDigit = true;
            number.Append(c);
            if (exponent < 1000000000) exponent = exponent * 10 + (c - '0');
        }
        if (!exponentDigit) number.Truncate(mantissaSize);
        if (negativeExponent) exponent = -exponent;
    }

    double value = 0.0;
    const auto result = std::from_chars(number.begin(), number.end(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Either beyond the range of a double or too small for one: the decimal exponent
        // of the first significant digit tells which (at least 309 against at most -323).
        const long long magnitude =
            (integerDigits > 0 ? integerDigits : -leadingFractionZeros) + exponent;
        if (magnitude > 0) RaiseOverflow();
        return 0.0;
    }
    if (value == 0.0) return 0.0;
    return negative ? -value : value;
}

double NumericValue(std::string_view text, char decimalSeparator, bool& numberText) {
    const PlainDecimal plain = ReadPlainDecimal(text);
    numberText = plain.numberText && (decimalSeparator == '.' || !plain.point);
    return plain.plain ? plain.Value() : NumericValue(text);
}

std::int16_t ReadDimension(std::string_view text) {
    const double value = std::floor(NumericValue(text));
    if (!(value >= -32768.0 && value <= 32767.0)) RaiseOverflow();
    return static_cast<std::int16_t>(value);
}
