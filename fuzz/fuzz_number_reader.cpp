// The number readers on any text: NumericValue and ReadDimension end in a number or in
// run-time error 6, never anything else, and a text that the exports take for a number
// reads as the same finite value in the engine. A text that the sheet would show as it
// stands is the very text the sheet writes for its value.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "NumberShape.h"
#include "NumberText.h"
#include "NumericValue.h"
#include "RuntimeError.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    double value = 0;
    bool overflow = false;
    try {
        value = NumericValue(text);
        if (!std::isfinite(value)) std::abort();
    } catch (const RuntimeError& error) {
        if (error.Number() != RuntimeError::Overflow) std::abort();
        overflow = true;
    }
    for (const char separator : {'.', ','}) {
        bool numberText = false;
        try {
            if (NumericValue(text, separator, numberText) != value || overflow) std::abort();
        } catch (const RuntimeError&) {
            if (!overflow) std::abort();
        }
        if (numberText != IsNumberText(text, separator)) std::abort();
        if (numberText && NumberToText(value, separator) != text) std::abort();
    }
    try {
        const std::int16_t count = ReadDimension(text);
        if (overflow || count != std::floor(value)) std::abort();
    } catch (const RuntimeError& error) {
        if (error.Number() != RuntimeError::Overflow) std::abort();
    }
    if (const auto number = CellNumber(text)) {
        if (!std::isfinite(*number)) std::abort();
        // A plain decimal number without blanks inside reads alike in both.
        if (text.find_first_of(" \t\n\r\v\fdD") == std::string_view::npos &&
            (overflow || value != *number))
            std::abort();
    }
    return 0;
}
