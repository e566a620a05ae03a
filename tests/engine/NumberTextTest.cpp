// The number-to-text rule of Part 2.4: the worked examples, the layout boundaries, and a
// randomized comparison with printf's "%.15G", which applies the same rule (15 correctly
// rounded significant digits, scientific below 1E-4 and from 1E+15, trailing zeros
// dropped, at least two exponent digits).

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "NumberText.h"

namespace {

struct Example {
    double value;
    const char* text;
};

class NumberToTextExamples : public ::testing::TestWithParam<Example> {};

TEST_P(NumberToTextExamples, GivesTheTextOfTheRule) {
    EXPECT_EQ(NumberToText(GetParam().value), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Part24, NumberToTextExamples,
    ::testing::Values(
        // The examples of Part 2.4.
        Example{1.0 / 3.0, "0.333333333333333"}, Example{2.0 / 3.0, "0.666666666666667"},
        Example{0.1 + 0.2, "0.3"}, Example{123456789012345.0, "123456789012345"},
        Example{1E15, "1E+15"}, Example{1234567890123456.0, "1.23456789012346E+15"},
        Example{0.0001, "0.0001"}, Example{0.00001, "1E-05"}, Example{-2.5, "-2.5"},
        Example{3.0, "3"},
        // Zeros, signs and the exponent's width.
        Example{0.0, "0"}, Example{-0.0, "0"}, Example{-1.0 / 3.0, "-0.333333333333333"},
        Example{1E100, "1E+100"}, Example{-1.5E-100, "-1.5E-100"}, Example{1E-10, "1E-10"},
        Example{DBL_MAX, "1.79769313486232E+308"}, Example{DBL_MIN, "2.2250738585072E-308"},
        // Subnormals: their spacing is coarser than 15 digits, yet the digits are exact.
        Example{4.9406564584124654E-324, "4.94065645841247E-324"},
        Example{1E-310, "9.99999999999997E-311"},
        // Positional up to exponent 14, with the integer part padded with zeros.
        Example{100.0, "100"}, Example{1E14, "100000000000000"},
        Example{999999999999999.0, "999999999999999"}, Example{120.5, "120.5"},
        Example{0.00012345, "0.00012345"},
        // Rounding that carries into a new leading digit, and so into the next exponent.
        Example{99999999999999990.0, "1E+17"}, Example{0.9999999999999999, "1"},
        Example{999999999999999.9, "1E+15"}, Example{0.00009999999999999999, "0.0001"},
        // Exact ties at the 16th digit round to even, like printf.
        Example{1000000000000005.0, "1E+15"}, Example{1000000000000015.0, "1.00000000000002E+15"},
        Example{1000000000000025.0, "1.00000000000002E+15"}));

TEST(NumberToText, UsesTheGivenDecimalSeparator) {
    EXPECT_EQ(NumberToText(-2.5, ','), "-2,5");
    EXPECT_EQ(NumberToText(1234567890123456.0, ','), "1,23456789012346E+15");
    EXPECT_EQ(NumberToText(0.0001, ','), "0,0001");
    EXPECT_EQ(NumberToText(3.0, ','), "3");
}

TEST(NumberToText, CharsFormFitsTheCapacityAndMatchesTheText) {
    char buffer[NumberTextCapacity];
    for (double v : {-1.23456789012345E-300, -0.000123456789012345, -123456789012345.6}) {
        const std::size_t length = NumberToChars(v, buffer, ',');
        ASSERT_LE(length, NumberTextCapacity);
        EXPECT_EQ(std::string(buffer, length), NumberToText(v, ','));
    }
}

// printf's "%.15G", the reference; only its "-0" differs from the rule.
std::string Reference(double v) {
    if (v == 0.0) return "0";
    char buffer[64];
    const int n = std::snprintf(buffer, sizeof buffer, "%.15G", v);
    return std::string(buffer, n);
}

void ExpectSameAsPrintf(double v) {
    ASSERT_EQ(NumberToText(v), Reference(v)) << "for the double " << std::hexfloat << v;
}

TEST(NumberToText, AgreesWithPrintfOnRandomBitPatterns) {
    std::mt19937_64 random(20261122);
    for (int k = 0; k < 200000; ++k) {
        std::uint64_t bits = random();
        double v;
        std::memcpy(&v, &bits, sizeof v);
        if (!std::isfinite(v)) continue;
        ExpectSameAsPrintf(v);
    }
}

TEST(NumberToText, AgreesWithPrintfOnEverydayValues) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> mantissa(1.0, 10.0);
    std::uniform_int_distribution<int> exponent(-20, 20);
    std::uniform_int_distribution<int> small(-1000, 1000);
    for (int k = 0; k < 100000; ++k) {
        ExpectSameAsPrintf(mantissa(random) * std::pow(10.0, exponent(random)));
        const int a = small(random), b = small(random);
        if (b != 0) ExpectSameAsPrintf(double(a) / double(b));
        ExpectSameAsPrintf(double(a) * 0.1 + double(b) * 0.01);
    }
}

// Doubles on and beside the midpoints between neighbouring 15-digit decimals, where a
// rounding shortcut would go wrong first.
TEST(NumberToText, AgreesWithPrintfNextToRoundingMidpoints) {
    std::mt19937_64 random(11);
    std::uniform_int_distribution<std::int64_t> digits(100000000000000, 999999999999999);
    std::uniform_int_distribution<int> exponent(-30, 30);
    for (int k = 0; k < 50000; ++k) {
        char text[64];
        std::snprintf(text, sizeof text, "%lld5E%d", static_cast<long long>(digits(random)),
                      exponent(random));
        const double midpoint = std::strtod(text, nullptr);
        ExpectSameAsPrintf(midpoint);
        ExpectSameAsPrintf(std::nextafter(midpoint, 0.0));
        ExpectSameAsPrintf(std::nextafter(midpoint, HUGE_VAL));
    }
    // Integers below 2^53 are exact, so these are true ties.
    for (std::int64_t m = 1000000000000005; m < 9007199254740992; m += 1000000000000010)
        ExpectSameAsPrintf(double(m));
}

}  // namespace
