// Reading numbers from texts: NumericValue and ReadDimension, with the decisions on texts
// that stop early (see NumericValue.cpp); which whole texts each reader takes for a number,
// and the blanks around a text (NumberShape.h).

#include <cstdlib>
#include <optional>
#include <string>

#include "EngineTestSupport.h"
#include "NumberShape.h"
#include "NumericValue.h"

namespace {

TEST(NumericValue, ReadsTheNumberTheTextBeginsWith) {
    // clang-format off
    const std::pair<std::string, double> readings[] = {
        {"abc", 0}, {"2,5", 2}, {"1 2", 12}, {"1E3", 1000}, {"", 0},
        // Blanks, tabs and line feeds anywhere, also inside the exponent.
        {"  \t-1 2.5\n", -12.5}, {"1 e 3", 1000}, {"- 4", -4}, {"1E+ 3", 1000}, {"1\r2", 1},
        // Signs, points and exponents.
        {"+7", 7}, {".5", 0.5}, {"5.", 5}, {"-.25", -0.25}, {"1.5.3", 1.5}, {"2D2", 200},
        {"2d-2", 0.02}, {"2e+2", 200}, {"1E3.5", 1000}, {"12abc", 12}, {"0.1", 0.1},
        {"1.7976931348623157E308", 1.7976931348623157E308},
        // Texts that stop before a number is complete: the number so far.
        {"-", 0}, {"+", 0}, {".", 0}, {"-.", 0}, {"E5", 0}, {"1e", 1}, {"1E+", 1}, {"3D-x", 3},
        {"-0", 0}, {"1E-400", 0}, {"-1E-400", 0}, {"0E99999999999", 0},
        // Hexadecimal and octal integers.
        {"&H1F", 31}, {"&hff", 255}, {" & H 1 0", 16}, {"&HFFFF", 65535}, {"&O17", 15},
        {"&o777", 511}, {"&O78", 7}, {"&H", 0}, {"&O", 0}, {"&HG", 0}, {"&", 0}, {"&X1", 0},
        {"-&H10", 0}, {"&H1.5", 1}, {"&HFFFFFFFFFFFFFFFF", 18446744073709551615.0},
        {"&H00000000000000000000001", 1}, {"&O1777777777777777777777", 18446744073709551615.0},
        {"&O2215053170441257157361", 0x1.234567890abcep+64},
        {"&O7777777777777777777777777", 0x1p75},
        // Longer than the stack buffer, rounded correctly as a whole.
        {"0." + std::string(300, '0') + "1" + std::string(200, '7'),
         std::stod("1.777777777777777777e-301")},
        {std::string(400, ' ') + "42", 42}, {"&H1" + std::string(255, '0'), 0x1p1020}};
    // clang-format on
    for (const auto& [text, expected] : readings) {
        const double value = NumericValue(text);
        EXPECT_EQ(value, expected) << '"' << text << '"';
        EXPECT_FALSE(std::signbit(value) && value == 0.0) << '"' << text << "\": zero is +0";
    }
    // Plain decimals of up to 17 digits, the point anywhere, are read as strtod reads them.
    std::mt19937_64 random(20261125);
    for (int k = 0; k < 20000; ++k) {
        std::string text = std::to_string(random() % 100000000000000000u);
        text.insert(text.size() - std::min<std::size_t>(text.size(), random() % 18), ".");
        if (k % 2) text.insert(0, "-");
        EXPECT_EQ(NumericValue(text), std::strtod(text.c_str(), nullptr)) << text;
    }
}

TEST(ReadDimension, ReadsTheValueRoundedDown) {
    const std::pair<const char*, int> dimensions[] = {
        {"3", 3}, {"2.9", 2},         {"-0.5", -1},       {"", 0},
        {"x", 0}, {"32767.5", 32767}, {"-32768", -32768}, {"&H10", 16}};
    for (const auto& [text, count] : dimensions)
        EXPECT_EQ(ReadDimension(text), count) << '"' << text << '"';
}

TEST(NumericValueAndReadDimension, RaiseOverflowBeyondTheirRange) {
    for (const std::string& text :
         std::vector<std::string>{"1E309", "-1E309", "1.8E308", "1D99999999999999999999",
                                  "0.000001E315", "&H1" + std::string(256, '0')})
        EXPECT_EQ(ErrorOf([&] { NumericValue(text); }), 6) << text;
    for (const char* text : {"32768", "-32768.5", "-32769", "1E10", "1E400"})
        EXPECT_EQ(ErrorOf([&] { ReadDimension(text); }), 6) << text;
}

// A text as a cell's number with "." and with "," as the user's separator (CellNumber: the
// grid's alignment and the exports), and as a printed matrix's entry with "." and with ","
// as its decimal separator (the paste readers).
struct Shape {
    std::string text;
    std::optional<double> point, comma;
    bool printedPoint, printedComma;
};

TEST(NumberShape, EachReaderTakesItsOwnForms) {
    constexpr std::nullopt_t No = std::nullopt;
    // clang-format off
    const Shape shapes[] = {
        {"1E-05", 1e-5, 1e-5, 1, 1}, {"-2.5", -2.5, -2.5, 1, 0}, {"+.5", .5, .5, 1, 0},
        {"5.", 5, 5, 1, 0}, {"1,5", No, 1.5, 0, 1}, {"-1,5e+2", No, -150, 0, 1},
        {"1,5,0", No, No, 0, 0}, {"1.5,0", No, No, 0, 0}, {"1E400", No, No, 1, 1},
        {"0," + std::string(80, '0') + "1", No, 1e-81, 0, 1},  // longer than the stack copy
        // Blanks around a cell's number, but no line breaks; a printed entry is a bare token.
        {" \t\f\v42\t ", 42, 42, 0, 0}, {"42\n", No, No, 0, 0}, {"2 apples", No, No, 0, 0},
        {"", No, No, 0, 0}, {".", No, No, 0, 0}, {"e5", No, No, 0, 0}, {"1e+", No, No, 0, 0},
        {"0x1A", No, No, 0, 0},
        // Fortran's D and Julia's f exponents and the named values: printed matrices only.
        {"1D-3", No, No, 1, 1}, {"1.5f-3", No, No, 1, 0}, {"1F3", No, No, 0, 0},
        {"inf", No, No, 1, 1}, {"-Infinity", No, No, 1, 1}, {"+NaN", No, No, 1, 1},
        {"NA", No, No, 1, 1}, {"-NA", No, No, 0, 0}, {"na", No, No, 0, 0}};
    // clang-format on
    for (const auto& [text, point, comma, printedPoint, printedComma] : shapes) {
        SCOPED_TRACE('"' + text + '"');
        EXPECT_EQ(CellNumber(text, '.'), point);
        EXPECT_EQ(CellNumber(text, ','), comma);
        EXPECT_EQ(HasNumberShape(text, PrintedNumberSyntax('.')), printedPoint);
        EXPECT_EQ(HasNumberShape(text, PrintedNumberSyntax(',')), printedComma);
    }
}

TEST(NumberShape, TrimDropsBlanksAndLineBreaksAtEitherEnd) {
    const std::pair<std::string, std::string> trims[] = {
        {" \t\f\v\r\n1 \t 2\n\r ", "1 \t 2"}, {"\n \n", ""}, {"\xC2\xA0x\x01", "\xC2\xA0x\x01"}};
    for (const auto& [text, trimmed] : trims)
        EXPECT_EQ(Trim(text), trimmed) << '"' << text << '"';
}

}  // namespace
