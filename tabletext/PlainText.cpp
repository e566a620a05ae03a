#include "PlainText.h"

#include "BracketMatrix.h"
#include "DelimitedText.h"
#include "MatrixText.h"
#include "NumberShape.h"

namespace TableText {

namespace {

// Whether the text's commas all stand between digits, as decimal commas do.
bool OnlyDecimalCommas(std::string_view text) {
    const auto digit = [&](std::size_t at) { return text[at] >= '0' && text[at] <= '9'; };
    for (std::size_t at = text.find(','); at != std::string_view::npos; at = text.find(',', at + 1))
        if (at == 0 || at + 1 == text.size() || !digit(at - 1) || !digit(at + 1)) return false;
    return true;
}

// Whether delimited text read with every line's fields counted is a table: the same number
// of fields on every line, two lines of two fields at least, or one line of three. Counting
// the lines beyond the bound too keeps cropping from changing how the text is taken.
bool IsDelimitedTable(const TextTable& table) {
    const int fields = table.ColsRead();
    return table.EvenRows() && fields >= 2 && (table.RowsRead() >= 2 || fields >= 3);
}

}  // namespace

TextTable ParsePlainText(std::string_view text, TableBound bound, char decimalSeparator) {
    // A matrix as a program prints it or a paper writes it: one entry per cell.
    if (TextTable matrix = MatrixText::Parse(text, bound);
        matrix.RowsRead() > 0 || matrix.IsRefused())
        return matrix;
    const std::string_view trimmed = Trim(text);
    if (trimmed.starts_with('[') && trimmed.ends_with(']')) {
        // Bracketed text that is no matrix is taken as it stands.
        TextTable matrix = ParseBracketMatrix(trimmed, bound);
        return matrix.IsEmpty() ? ParseTsv(text, bound) : matrix;
    }
    const bool tabs = text.find('\t') != std::string_view::npos;
    if (!tabs && text.find(';') != std::string_view::npos &&
        text.find_first_of("0123456789") != std::string_view::npos && OnlyDecimalCommas(text)) {
        if (TextTable values = ParseSemicolonText(text, bound, decimalSeparator);
            IsDelimitedTable(values))
            return values;
    }
    // One line with a single comma reads as one value (a decimal comma, say).
    if (!tabs && text.find(',') != std::string_view::npos) {
        if (TextTable csv = ParseCsv(text, bound); IsDelimitedTable(csv)) return csv;
    }
    return ParseTsv(text, bound);
}

}  // namespace TableText
