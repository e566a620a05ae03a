#pragma once
// The pieces that the matrix-text parsers share: typography, numbers, lines and tokens,
// and the parser of each family of printed or written matrices, which MatrixText::Parse
// tries in turn. Every family parser answers an empty table when the text is not its own.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "NumberShape.h"  // IsBlank and Trim, which every family parser uses
#include "TextTable.h"

namespace MatrixText::Parts {

// Typographic forms rewritten as plain ASCII: dashes and minus signs as "-", spaces of
// other widths as " ", exponents written "×10^-3", "·10⁻³" or "*^-3" as "E-3", and the
// pieces of Unicode bracket art as "[" and "]". Nothing when the text has none of them.
std::optional<std::string> NormaliseTypography(std::string_view text);

// A number as a printed matrix writes one (PrintedNumberSyntax with a decimal point: an
// exponent E, D or Julia's f, or Inf, NaN and NA); also a fraction of two integers (-1/2).
bool IsNumber(std::string_view token);
// The same with a comma between digits as the decimal separator (1,5).
bool IsDecimalCommaNumber(std::string_view token);

// Why an entry cannot be read exactly, as the one sentence the user is shown: it stands for
// entries a shortened printout leaves out ("...", "..", "…", "⋮"), it is complex (1+2i,
// 1.5-0.5j, (1+2j), 1 + 2im), or it is no finite number (Inf, -Inf, NaN, R's NA). Empty
// when the entry can be read.
std::string_view Unreadable(std::string_view token);
bool IsElision(std::string_view token);
bool IsComplex(std::string_view token);
extern const std::string_view kShortened;  // the sentence for a shortened printout

// Appends one entry as a cell: fractions become their decimal value, a decimal comma and
// Julia's "f" exponent their usual forms; factor, unless 1, multiplies the number. An entry
// that cannot be read exactly is noted on the table (TextTable::NoteRefusal).
void AddEntry(TextTable& table, std::string_view token, double factor = 1.0);
// Whether a family parser recognised its text (the bound may have kept none of it).
inline bool Recognised(const TextTable& table) {
    return table.RowsRead() > 0 || table.IsRefused();
}

bool StartsWith(std::string_view text, std::string_view prefix);
// The lines of a text, without their line ends ("\n", "\r\n" or "\r").
std::vector<std::string_view> Lines(std::string_view text);
// The tokens of a line separated by runs of blanks.
std::vector<std::string_view> Tokens(std::string_view line);

// Rows of cell texts as entries: the heading rows above the first entry dropped, and a
// first column of labels, or of a frame's index under an empty top-left heading. Empty
// unless every other cell is an entry, or empty, and there are two entries at least.
TextTable EntriesOfRows(const std::vector<std::vector<std::string>>& rows, TableBound bound);

// The family parsers, each building a table with the given bound.
TextTable ParseLatex(std::string_view text, TableBound bound);       // \begin{pmatrix}
TextTable ParseRuledTable(std::string_view text, TableBound bound);  // Markdown, ASCII art
TextTable ParseNestedList(std::string_view text, TableBound bound);  // [[1, 2]], array()
TextTable ParseColumns(std::string_view text, TableBound bound);     // columns, printouts

}  // namespace MatrixText::Parts
