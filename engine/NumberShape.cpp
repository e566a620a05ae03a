#include "NumberShape.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](char x, char y) { return (x | 0x20) == (y | 0x20); });
}

bool IsNamedValue(std::string_view text) {
    if (text == "NA") return true;  // R's missing value, never signed
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
    return EqualsNoCase(text, "inf") || EqualsNoCase(text, "infinity") || EqualsNoCase(text, "nan");
}

}  // namespace

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\f' || c == '\v';
}

std::string_view Trim(std::string_view text) {
    const auto space = [](char c) { return IsBlank(c) || c == '\n' || c == '\r'; };
    while (!text.empty() && space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && space(text.back()))
        text.remove_suffix(1);
    return text;
}

bool HasNumberShape(std::string_view text, const NumberSyntax& syntax) {
    if (syntax.namedValues && IsNamedValue(text)) return true;
    const std::size_t n = text.size();
    std::size_t i = 0;
    const auto sign = [&] {
        if (i < n && (text[i] == '+' || text[i] == '-')) ++i;
    };
    const auto digits = [&] {
        const std::size_t from = i;
        while (i < n && IsDigit(text[i]))
            ++i;
        return i - from;
    };
    sign();
    std::size_t mantissa = digits();
    if (i < n && syntax.decimalSeparators.find(text[i]) != std::string_view::npos) {
        ++i;
        mantissa += digits();
    }
    if (mantissa == 0) return false;
    if (i < n && syntax.exponentLetters.find(text[i]) != std::string_view::npos) {
        ++i;
        sign();
        if (digits() == 0) return false;
    }
    return i == n;
}

std::optional<double> CellNumber(std::string_view utf8, char decimalSeparator) {
    while (!utf8.empty() && IsBlank(utf8.front()))
        utf8.remove_prefix(1);
    while (!utf8.empty() && IsBlank(utf8.back()))
        utf8.remove_suffix(1);
    // std::from_chars on its own would also take "inf", "nan" and "infinity".
    if (!HasNumberShape(utf8, {decimalSeparator == ',' ? ".," : ".", "Ee"})) return std::nullopt;
    // from_chars takes neither a leading "+" nor a "," separator: hand it a cleaned copy
    // when needed (a long text of hundreds of digits goes through a string).
    if (utf8.front() == '+') utf8.remove_prefix(1);
    const char* first = utf8.data();
    std::array<char, 64> local{};
    std::string copy;
    if (const std::size_t comma = utf8.find(','); comma != std::string_view::npos) {
        char* target = local.data();
        if (utf8.size() > local.size()) {
            copy.assign(utf8);
            target = copy.data();
        } else {
            utf8.copy(target, utf8.size());
        }
        target[comma] = '.';
        first = target;
    }
    double value = 0;
    const auto [end, error] = std::from_chars(first, first + utf8.size(), value);
    // A value beyond the range of a double is out of range, and it is not a finite number.
    if (error != std::errc() || end != first + utf8.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}
