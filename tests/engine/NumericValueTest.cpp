// Reading numbers from texts (Overview, Shared types and helpers): NumericValue and
// ReadDimension, with the examples of the description and the decisions on texts that
// stop early (see NumericValue.cpp).

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "NumericValue.h"
#include "RuntimeError.h"

namespace {

struct Reading {
    const char* text;
    double value;
};

void PrintTo(const Reading& r, std::ostream* os) {
    *os << '"' << r.text << '"';
}

class NumericValueReads : public ::testing::TestWithParam<Reading> {};

TEST_P(NumericValueReads, TheNumberTheTextBeginsWith) {
    const double value = NumericValue(GetParam().text);
    EXPECT_EQ(value, GetParam().value);
    EXPECT_FALSE(std::signbit(value) && value == 0.0) << "zero is read as +0";
}

INSTANTIATE_TEST_SUITE_P(
    Examples, NumericValueReads,
    ::testing::Values(
        // The examples of the description.
        Reading{"abc", 0}, Reading{"2,5", 2}, Reading{"1 2", 12}, Reading{"1E3", 1000},
        Reading{"", 0},
        // Blanks, tabs and line feeds anywhere, also inside the exponent.
        Reading{"  \t-1 2.5\n", -12.5}, Reading{"1 e 3", 1000}, Reading{"- 4", -4},
        Reading{"1E+ 3", 1000}, Reading{"1\r2", 1},
        // Signs, points and exponents.
        Reading{"+7", 7}, Reading{".5", 0.5}, Reading{"5.", 5}, Reading{"-.25", -0.25},
        Reading{"1.5.3", 1.5}, Reading{"2D2", 200}, Reading{"2d-2", 0.02}, Reading{"2e+2", 200},
        Reading{"1E3.5", 1000}, Reading{"12abc", 12}, Reading{"0.1", 0.1},
        Reading{"1.7976931348623157E308", 1.7976931348623157E308},
        // Texts that stop before a number is complete: the number so far.
        Reading{"-", 0}, Reading{"+", 0}, Reading{".", 0}, Reading{"-.", 0}, Reading{"E5", 0},
        Reading{"1e", 1}, Reading{"1E+", 1}, Reading{"3D-x", 3}, Reading{"-0", 0},
        Reading{"1E-400", 0}, Reading{"-1E-400", 0}, Reading{"0E99999999999", 0},
        // Hexadecimal and octal integers.
        Reading{"&H1F", 31}, Reading{"&hff", 255}, Reading{" & H 1 0", 16},
        Reading{"&HFFFF", 65535}, Reading{"&O17", 15}, Reading{"&o777", 511}, Reading{"&O78", 7},
        Reading{"&H", 0}, Reading{"&O", 0}, Reading{"&HG", 0}, Reading{"&", 0}, Reading{"&X1", 0},
        Reading{"-&H10", 0}, Reading{"&H1.5", 1},
        Reading{"&HFFFFFFFFFFFFFFFF", 18446744073709551615.0},
        Reading{"&H00000000000000000000001", 1},
        Reading{"&O1777777777777777777777", 18446744073709551615.0},
        Reading{"&O2215053170441257157361", 0x1.234567890abcep+64},
        Reading{"&O7777777777777777777777777", 0x1p75}));

TEST(NumericValue, ReadsLongTextsExactly) {
    // More digits than the stack buffer holds, rounded correctly as a whole.
    const std::string digits = "0." + std::string(300, '0') + "1" + std::string(200, '7');
    EXPECT_EQ(NumericValue(digits), std::stod("1.777777777777777777e-301"));
    EXPECT_EQ(NumericValue(std::string(400, ' ') + "42"), 42);
    EXPECT_EQ(NumericValue("&H1" + std::string(255, '0')), std::ldexp(1.0, 1020));
}

class NumericValueOverflows : public ::testing::TestWithParam<std::string> {};

TEST_P(NumericValueOverflows, BeyondTheRangeOfADouble) {
    try {
        NumericValue(GetParam());
        ADD_FAILURE() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number(), RuntimeError::Overflow);
    }
}

INSTANTIATE_TEST_SUITE_P(Examples, NumericValueOverflows,
                         ::testing::Values("1E309", "-1E309", "1.8E308", "1D99999999999999999999",
                                           "0.000001E315", "&H1" + std::string(256, '0')));

struct Dimension {
    const char* text;
    int count;
};

void PrintTo(const Dimension& d, std::ostream* os) {
    *os << '"' << d.text << '"';
}

class ReadDimensionReads : public ::testing::TestWithParam<Dimension> {};

TEST_P(ReadDimensionReads, TheValueRoundedDown) {
    EXPECT_EQ(ReadDimension(GetParam().text), GetParam().count);
}

INSTANTIATE_TEST_SUITE_P(Examples, ReadDimensionReads,
                         ::testing::Values(Dimension{"3", 3}, Dimension{"2.9", 2},
                                           Dimension{"-0.5", -1}, Dimension{"", 0},
                                           Dimension{"x", 0}, Dimension{"32767.5", 32767},
                                           Dimension{"-32768", -32768}, Dimension{"&H10", 16}));

class ReadDimensionRefuses : public ::testing::TestWithParam<const char*> {};

TEST_P(ReadDimensionRefuses, ACountBeyond16BitsWithOverflow) {
    try {
        ReadDimension(GetParam());
        ADD_FAILURE() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number(), RuntimeError::Overflow);
    }
}

INSTANTIATE_TEST_SUITE_P(Examples, ReadDimensionRefuses,
                         ::testing::Values("32768", "-32768.5", "-32769", "1E10", "1E400"));

}  // namespace
