// Typography, numbers, lines and tokens shared by the matrix-text parsers.
#include <algorithm>
#include <charconv>
#include <cmath>

#include "MatrixTextParts.h"
#include "NumberShape.h"
#include "NumberText.h"
#include "Utf8.h"

namespace MatrixText::Parts {

namespace {

// The plain character a typographic one stands for, or 0 when it stands for itself.
char PlainFor(char32_t code) {
    switch (code) {
        case 0x2010:  // hyphen
        case 0x2011:  // non-breaking hyphen
        case 0x2012:  // figure dash
        case 0x2013:  // en dash
        case 0x2014:  // em dash
        case 0x2212:  // minus sign
        case 0xFE63:  // small hyphen-minus
        case 0xFF0D:  // fullwidth hyphen-minus
            return '-';
        case 0xFF0B:
            return '+';
        case 0x00A0:
        case 0x202F:
        case 0x205F:
        case 0x3000:
            return ' ';
        case 0x23A1:  // the left pieces of tall brackets and parentheses
        case 0x23A2:
        case 0x23A3:
        case 0x239B:
        case 0x239C:
        case 0x239D:
            return '[';
        case 0x23A4:
        case 0x23A5:
        case 0x23A6:
        case 0x239E:
        case 0x239F:
        case 0x23A0:
            return ']';
        default:
            return code >= 0x2000 && code <= 0x200A ? ' ' : '\0';
    }
}

int SuperscriptDigit(char32_t code) {
    switch (code) {
        case 0x2070:
            return 0;
        case 0x00B9:
            return 1;
        case 0x00B2:
            return 2;
        case 0x00B3:
            return 3;
        default:
            return code >= 0x2074 && code <= 0x2079 ? static_cast<int>(code - 0x2070) : -1;
    }
}

bool IsTimesSign(char32_t code) {
    return code == 0xD7 || code == 0xB7 || code == 0x22C5 || code == 0x2219 || code == '*' ||
           code == 'x';
}

// Reads the exponent of a power of ten written after a multiplication sign: blanks, "10",
// then "^" with the exponent (in braces or parentheses, or not), or the exponent in
// superscript digits. Answers where the match ends (0 when there is none) and the exponent.
std::size_t MatchPowerOfTen(std::string_view text, std::size_t at, bool afterCaret,
                            std::string& exponent) {
    std::size_t length = 0;
    const auto skipBlanks = [&] {
        while (at < text.size()) {
            const char32_t code = Utf8::Decode(text, at, length);
            if (code != ' ' && PlainFor(code) != ' ') break;
            at += length;
        }
    };
    exponent.clear();
    if (!afterCaret) {
        skipBlanks();
        if (text.substr(at, 2) != "10") return 0;
        at += 2;
        if (at < text.size() && text[at] != '^') {
            // Superscript exponent: ⁻³
            while (at < text.size()) {
                const char32_t code = Utf8::Decode(text, at, length);
                const int digit = SuperscriptDigit(code);
                if (digit >= 0)
                    exponent.push_back(static_cast<char>('0' + digit));
                else if (exponent.empty() && (code == 0x207B || code == 0x207A))
                    exponent.push_back(code == 0x207B ? '-' : '+');
                else
                    break;
                at += length;
            }
            return exponent.empty() || exponent.back() < '0' ? 0 : at;
        }
        if (at >= text.size()) return 0;
        ++at;  // the caret
    }
    char close = '\0';
    if (at < text.size() && (text[at] == '{' || text[at] == '(')) {
        close = text[at] == '{' ? '}' : ')';
        ++at;
    }
    if (at < text.size()) {
        const char32_t code = Utf8::Decode(text, at, length);
        if (code == '+' || code == '-' || PlainFor(code) == '-') {
            exponent.push_back(code == '+' ? '+' : '-');
            at += length;
        }
    }
    const std::size_t digits = at;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9')
        exponent.push_back(text[at++]);
    if (at == digits) return 0;
    if (close != '\0') {
        if (at >= text.size() || text[at] != close) return 0;
        ++at;
    }
    return at;
}

// -1/2: an integer over an integer.
bool SplitFraction(std::string_view token, std::string_view& top, std::string_view& bottom) {
    const std::size_t slash = token.find('/');
    if (slash == std::string_view::npos || slash == 0 || slash + 1 == token.size()) return false;
    top = token.substr(0, slash);
    bottom = token.substr(slash + 1);
    const auto integer = [](std::string_view text, bool sign) {
        if (sign && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
        return !text.empty() &&
               std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    };
    return integer(top, true) && integer(bottom, false);
}

double ToDouble(std::string_view text) {
    std::string plain(text);
    for (char& c : plain) {
        if (c == ',') c = '.';
        if (c == 'd' || c == 'D' || c == 'f') c = 'e';
    }
    const char* first = plain.data();
    if (!plain.empty() && plain.front() == '+') ++first;
    double value = 0;
    const auto result = std::from_chars(first, plain.data() + plain.size(), value);
    if (result.ec != std::errc()) return std::nan("");
    return value;
}

void AddNumber(TextTable& table, double value, std::string_view otherwise) {
    if (!std::isfinite(value)) {
        table.AddCell(otherwise);
        return;
    }
    char buffer[NumberTextCapacity];
    table.AddCell(std::string_view(buffer, NumberToChars(value, buffer)));
}

}  // namespace

std::optional<std::string> NormaliseTypography(std::string_view text) {
    const bool needed = std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x80 || c == '^' || c == '\\';
    });
    if (!needed) return std::nullopt;
    std::string out;
    out.reserve(text.size());
    std::string exponent;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t length = 0;
        char32_t code = Utf8::Decode(text, at, length);
        if (code == '\\' && (text.substr(at, 6) == "\\times" || text.substr(at, 5) == "\\cdot")) {
            code = 0xD7;
            length = text[at + 1] == 't' ? 6 : 5;
        }
        // A power of ten after a number's digits becomes its exponent.
        if (IsTimesSign(code)) {
            std::size_t mantissaEnd = out.size();
            while (mantissaEnd > 0 && out[mantissaEnd - 1] == ' ')
                --mantissaEnd;
            const char last = mantissaEnd > 0 ? out[mantissaEnd - 1] : '\0';
            const bool caret = code == '*' && at + 1 < text.size() && text[at + 1] == '^' &&
                               mantissaEnd == out.size();
            const std::size_t end =
                ((last >= '0' && last <= '9') || last == '.')
                    ? MatchPowerOfTen(text, at + length + (caret ? 1 : 0), caret, exponent)
                    : 0;
            if (end != 0) {
                out.resize(mantissaEnd);
                out.push_back('E');
                out.append(exponent);
                at = end;
                continue;
            }
        }
        const char plain = PlainFor(code);
        if (plain != '\0')
            out.push_back(plain);
        else
            out.append(text.substr(at, length));
        at += length;
    }
    return out;
}

bool IsNumber(std::string_view token) {
    std::string_view top, bottom;
    return HasNumberShape(token, PrintedNumberSyntax('.')) || SplitFraction(token, top, bottom);
}

bool IsDecimalCommaNumber(std::string_view token) {
    return token.find(',') != std::string_view::npos &&
           HasNumberShape(token, PrintedNumberSyntax(','));
}

const std::string_view kShortened =
    "The copied matrix was printed shortened, with \"...\" in place of some entries: print "
    "it in full and copy it again.";

bool IsElision(std::string_view token) {
    return token == "..." || token == ".." || token == "\u2026" || token == "\u22ee" ||
           token == "\u22ef" || token == "\u22f1";
}

bool IsComplex(std::string_view token) {
    if (token.size() < 2) return false;
    const char last = token.back();
    if (last != 'i' && last != 'j' && last != 'm' && last != ')') return false;
    std::string compact;  // Octave and Julia print "1 + 2i", Python "(1+2j)"
    for (char c : token)
        if (!IsBlank(c)) compact.push_back(c);
    if (compact.size() > 2 && compact.front() == '(' && compact.back() == ')')
        compact = compact.substr(1, compact.size() - 2);
    if (compact.ends_with("im")) compact.pop_back();
    if (compact.empty() || (compact.back() != 'i' && compact.back() != 'j')) return false;
    compact.pop_back();
    const std::string_view number = compact;
    if (HasNumberShape(number, PrintedNumberSyntax('.'))) return true;  // 2i, -0.5j
    // The real part, then the imaginary one with its sign: 1+2i, 1.-2.j, 1e-3+4e+2i.
    for (std::size_t at = number.size(); at-- > 1;) {
        if ((number[at] == '+' || number[at] == '-') && number[at - 1] != 'e' &&
            number[at - 1] != 'E')
            return HasNumberShape(number.substr(0, at), PrintedNumberSyntax('.')) &&
                   HasNumberShape(number.substr(at), PrintedNumberSyntax('.'));
    }
    return false;
}

std::string_view Unreadable(std::string_view token) {
    if (IsElision(token)) return kShortened;
    if (IsComplex(token))
        return "The copied matrix has complex entries, and Kelvara's matrices hold real numbers "
               "only.";
    const bool digits = token.find_first_of("0123456789") != std::string_view::npos;
    if (!digits && HasNumberShape(token, PrintedNumberSyntax('.')))
        return "The copied matrix has entries that are no finite number (Inf, NaN or NA), which "
               "a cell would read as something else.";
    return {};
}

void AddEntry(TextTable& table, std::string_view token, double factor) {
    if (const std::string_view why = Unreadable(token); !why.empty()) table.NoteRefusal(why);
    if (factor == 1.0 && token.find_first_of(",f/") == std::string_view::npos) {
        table.AddCell(token);
        return;
    }
    std::string_view top, bottom;
    if (SplitFraction(token, top, bottom)) {
        const double denominator = ToDouble(bottom);
        if (denominator == 0) {
            table.AddCell(token);
            return;
        }
        AddNumber(table, ToDouble(top) / denominator * factor, token);
        return;
    }
    const bool decimalComma = IsDecimalCommaNumber(token);
    if (!decimalComma && !HasNumberShape(token, PrintedNumberSyntax('.'))) {
        table.AddCell(token);
        return;
    }
    if (factor != 1.0) {
        AddNumber(table, ToDouble(token) * factor, token);
        return;
    }
    // Julia's Float32 exponent (1.5f-3) follows a digit; the f of Inf stays.
    char previous = '\0';
    for (char c : token) {
        const bool exponent = c == 'f' && ((previous >= '0' && previous <= '9') || previous == '.');
        table.Append(c == ',' ? '.' : exponent ? 'E' : c);
        previous = c;
    }
    table.EndCell();
}

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t pos = 0;
    while (pos <= text.size()) {
        const std::size_t end = std::min(text.find_first_of("\r\n", pos), text.size());
        lines.push_back(text.substr(pos, end - pos));
        if (end == text.size()) break;
        pos = end + (text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n' ? 2 : 1);
    }
    return lines;
}

std::vector<std::string_view> Tokens(std::string_view line) {
    std::vector<std::string_view> tokens;
    std::size_t pos = 0;
    while (pos < line.size()) {
        while (pos < line.size() && IsBlank(line[pos]))
            ++pos;
        const std::size_t start = pos;
        while (pos < line.size() && !IsBlank(line[pos]))
            ++pos;
        if (pos > start) tokens.push_back(line.substr(start, pos - start));
    }
    return tokens;
}

}  // namespace MatrixText::Parts
