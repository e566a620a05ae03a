#include "PlainText.h"

#include "BracketMatrix.h"
#include "DelimitedText.h"
#include "MatrixText.h"
#include "NumberShape.h"

namespace TableText {

TextTable ParsePlainText(std::string_view text, TableBound bound) {
    // A matrix as a program prints it or a paper writes it: one entry per cell.
    if (TextTable matrix = MatrixText::Parse(text, bound); matrix.RowsRead() > 0) return matrix;
    const std::string_view trimmed = Trim(text);
    if (trimmed.starts_with('[') && trimmed.ends_with(']')) {
        // Bracketed text that is no matrix is taken as it stands.
        TextTable matrix = ParseBracketMatrix(trimmed, bound);
        return matrix.IsEmpty() ? ParseTsv(text, bound) : matrix;
    }
    if (text.find('\t') == std::string_view::npos && text.find(',') != std::string_view::npos) {
        // The lines are counted as read, those beyond the bound included, so that cropping
        // does not change how the text is taken.
        TextTable csv = ParseCsv(text, bound);
        const int fields = csv.ColsRead();
        // One line with a single comma reads as one value (a decimal comma, say).
        if (csv.EvenRows() && fields >= 2 && (csv.RowsRead() >= 2 || fields >= 3)) return csv;
    }
    return ParseTsv(text, bound);
}

}  // namespace TableText
