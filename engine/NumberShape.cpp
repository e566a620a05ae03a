#include "NumberShape.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string>

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Checks the shape of a number text before std::from_chars reads it: from_chars on its own
// would also take "inf", "nan" and "infinity".
bool HasNumberShape(std::string_view s, char separator) {
    std::size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    bool digits = false;
    bool separatorSeen = false;
    for (; i < s.size(); ++i) {
        if (IsDigit(s[i])) {
            digits = true;
        } else if ((s[i] == '.' || s[i] == separator) && !separatorSeen) {
            separatorSeen = true;
        } else {
            break;
        }
    }
    if (!digits) return false;
    if (i == s.size()) return true;
    if (s[i] != 'E' && s[i] != 'e') return false;
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    if (i == s.size()) return false;
    for (; i < s.size(); ++i) {
        if (!IsDigit(s[i])) return false;
    }
    return true;
}

}  // namespace

std::optional<double> CellNumber(std::string_view utf8, char decimalSeparator) {
    while (!utf8.empty() && IsBlank(utf8.front()))
        utf8.remove_prefix(1);
    while (!utf8.empty() && IsBlank(utf8.back()))
        utf8.remove_suffix(1);
    if (!HasNumberShape(utf8, decimalSeparator == ',' ? ',' : '.')) return std::nullopt;
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
