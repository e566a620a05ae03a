// The text a number is shown as: worked examples, the layout boundaries, and a randomized
// comparison with printf's "%.15G", which follows the same rule but for "-0".

#include <cfloat>
#include <cstdio>
#include <string>

#include "EngineTestSupport.h"
#include "NumberText.h"
#include "NumericValue.h"

namespace {

TEST(NumberToText, WorkedExamplesAndBoundaries) {
    // clang-format off
    const std::pair<double, const char*> examples[] = {
        {1.0 / 3.0, "0.333333333333333"}, {2.0 / 3.0, "0.666666666666667"}, {0.1 + 0.2, "0.3"},
        {123456789012345.0, "123456789012345"}, {1E15, "1E+15"},
        {1234567890123456.0, "1.23456789012346E+15"}, {0.0001, "0.0001"}, {0.00001, "1E-05"},
        {-2.5, "-2.5"}, {3.0, "3"},
        // Zeros, signs and the exponent's width.
        {0.0, "0"}, {-0.0, "0"}, {-1.0 / 3.0, "-0.333333333333333"}, {1E100, "1E+100"},
        {-1.5E-100, "-1.5E-100"}, {1E-10, "1E-10"}, {DBL_MAX, "1.79769313486232E+308"},
        {DBL_MIN, "2.2250738585072E-308"},
        // Subnormals: their spacing is coarser than 15 digits, yet the digits are exact.
        {4.9406564584124654E-324, "4.94065645841247E-324"}, {1E-310, "9.99999999999997E-311"},
        // Positional up to exponent 14, with the integer part padded with zeros.
        {100.0, "100"}, {1E14, "100000000000000"}, {999999999999999.0, "999999999999999"},
        {120.5, "120.5"}, {0.00012345, "0.00012345"},
        // Rounding that carries into a new leading digit, and so into the next exponent.
        {99999999999999990.0, "1E+17"}, {0.9999999999999999, "1"}, {999999999999999.9, "1E+15"},
        {0.00009999999999999999, "0.0001"},
        // Exact ties at the 16th digit round to even, like printf.
        {1000000000000005.0, "1E+15"}, {1000000000000015.0, "1.00000000000002E+15"},
        {1000000000000025.0, "1.00000000000002E+15"},
        // The longest texts.
        {-1.23456789012345E-300, "-1.23456789012345E-300"},
        {-0.000123456789012345, "-0.000123456789012345"}, {-123456789012345.6, "-123456789012346"}};
    // clang-format on
    char buffer[NumberTextCapacity];
    for (const auto& [value, text] : examples) {
        EXPECT_EQ(NumberToText(value), text) << std::hexfloat << value;
        // With another decimal separator, also in the allocation-free form.
        std::string comma = text;
        std::replace(comma.begin(), comma.end(), '.', ',');
        EXPECT_EQ(NumberToText(value, ','), comma);
        const std::size_t length = NumberToChars(value, buffer, ',');
        ASSERT_LE(length, NumberTextCapacity);
        EXPECT_EQ(std::string(buffer, length), comma);
    }
}

void ExpectSameAsPrintf(double v) {
    char buffer[64];
    const int n = std::snprintf(buffer, sizeof buffer, "%.15G", v);
    ASSERT_EQ(NumberToText(v), v == 0.0 ? "0" : std::string(buffer, std::size_t(n)))
        << "for the double " << std::hexfloat << v;
}

TEST(NumberToText, AgreesWithPrintf) {
    // Random bit patterns.
    std::mt19937_64 random(20261122);
    for (int k = 0; k < 200000; ++k) {
        const std::uint64_t bits = random();
        double v;
        std::memcpy(&v, &bits, sizeof v);
        if (std::isfinite(v)) ExpectSameAsPrintf(v);
    }
    // Everyday values: decimals of every size, quotients and sums of small numbers.
    std::uniform_real_distribution<double> mantissa(1.0, 10.0);
    std::uniform_int_distribution<int> exponent(-20, 20), small(-1000, 1000);
    for (int k = 0; k < 100000; ++k) {
        ExpectSameAsPrintf(mantissa(random) * std::pow(10.0, exponent(random)));
        const int a = small(random), b = small(random);
        if (b != 0) ExpectSameAsPrintf(double(a) / double(b));
        ExpectSameAsPrintf(double(a) * 0.1 + double(b) * 0.01);
        // Few decimals, across the change to scientific form at 10^-4.
        ExpectSameAsPrintf(double(a) / 1024.0 + double(b));
        ExpectSameAsPrintf(double(a) * 1e-7);
    }
    // Doubles on and beside the midpoints between neighbouring 15-digit decimals, where a
    // rounding shortcut would go wrong first.
    std::uniform_int_distribution<std::int64_t> digits(100000000000000, 999999999999999);
    for (int k = 0; k < 50000; ++k) {
        char text[64];
        std::snprintf(text, sizeof text, "%lld5E%d", static_cast<long long>(digits(random)),
                      exponent(random) * 3 / 2);
        const double midpoint = std::strtod(text, nullptr);
        ExpectSameAsPrintf(midpoint);
        ExpectSameAsPrintf(std::nextafter(midpoint, 0.0));
        ExpectSameAsPrintf(std::nextafter(midpoint, HUGE_VAL));
    }
    // Around each power of ten, and around 9.99999999999999500, where the 15 digits carry
    // into the next power: the decimal exponent of the digits changes there.
    for (int e = -11; e <= 17; ++e) {
        for (const char* form : {"1E%d", "9.999999999999995E%d", "9.9999999999999949E%d"}) {
            char text[64];
            std::snprintf(text, sizeof text, form, e);
            double v = std::strtod(text, nullptr);
            for (int step = 0; step < 3; ++step)
                v = std::nextafter(v, 0.0);
            for (int step = 0; step < 7; ++step, v = std::nextafter(v, HUGE_VAL))
                ExpectSameAsPrintf(v);
        }
    }
    // Integers below 2^53 are exact, so these are true ties.
    for (std::int64_t m = 1000000000000005; m < 9007199254740992; m += 1000000000000010)
        ExpectSameAsPrintf(double(m));
}

// A cell text the sheet can show as it stands must be the sheet's own text for its value;
// and every positional text with at most 15 decimals that the sheet writes must be
// recognised, or typed cells would never be shown as typed.
TEST(IsNumberText, HoldsExactlyForTheSheetsOwnTexts) {
    for (const char* text : {"0", "7", "-7", "0.5", "-0.0001", "123456789012345", "1.25",
                             "-99999999999999.9", "0.00012345678901"})
        EXPECT_TRUE(IsNumberText(text)) << text;
    for (const char* text : {"",
                             "-",
                             "-0",
                             "00",
                             "01",
                             ".5",
                             "5.",
                             "1.50",
                             "+1",
                             " 1",
                             "1 ",
                             "1e5",
                             "0.00001",
                             "1234567890123456",
                             "1.234567890123456",
                             "1,5",
                             "0.0",
                             "-0.0",
                             "1..2",
                             "--1"})
        EXPECT_FALSE(IsNumberText(text)) << text;
    EXPECT_TRUE(IsNumberText("12", ','));
    EXPECT_FALSE(IsNumberText("1.5", ','));

    std::mt19937_64 random(20261125);
    std::uniform_int_distribution<int> length(0, 18), digit(0, 9), coin(0, 3);
    for (int k = 0; k < 300000; ++k) {
        std::string text = coin(random) == 0 ? "-" : "";
        for (int n = length(random); n > 0; --n)
            text += char('0' + (coin(random) == 0 ? 0 : digit(random)));
        if (coin(random) != 0) {
            text += '.';
            for (int n = length(random); n > 0; --n)
                text += char('0' + (coin(random) == 0 ? 0 : digit(random)));
        }
        const std::string shown = NumberToText(NumericValue(text));
        if (IsNumberText(text)) {
            ASSERT_EQ(shown, text);
        }
        const std::size_t point = shown.find('.');
        if (shown.find('E') == std::string::npos &&
            (point == std::string::npos || shown.size() - point - 1 <= 15)) {
            ASSERT_TRUE(IsNumberText(shown)) << shown;
        }
    }
}

}  // namespace
