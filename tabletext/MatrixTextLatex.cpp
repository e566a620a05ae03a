// LaTeX matrices: the environments pmatrix, bmatrix, Bmatrix, vmatrix, Vmatrix, matrix,
// smallmatrix and array (with its column format), cells split at "&" and rows at "\\"; and
// tables in tabular, as papers and pandas write them, without their headings and labels.
#include <algorithm>
#include <string>

#include "MatrixTextParts.h"

namespace MatrixText::Parts {

namespace {

constexpr std::string_view kEnvironments[] = {"pmatrix",  "bmatrix",  "Bmatrix",     "vmatrix",
                                              "Vmatrix",  "matrix",   "smallmatrix", "array",
                                              "pmatrix*", "bmatrix*", "tabular"};

// The argument in braces that starts at pos (after blanks), with nested braces; answers
// the position after it, or npos when there is none.
std::size_t SkipGroup(std::string_view text, std::size_t pos, char open, char close) {
    while (pos < text.size() && IsBlank(text[pos]))
        ++pos;
    if (pos >= text.size() || text[pos] != open) return std::string_view::npos;
    int depth = 0;
    for (; pos < text.size(); ++pos) {
        if (text[pos] == open) ++depth;
        if (text[pos] == close && --depth == 0) return pos + 1;
    }
    return std::string_view::npos;
}

// The text with the part from begin to end replaced (built anew: GCC 12 misreads the
// in-place replace as an overlapping copy).
std::string Spliced(std::string_view text, std::size_t begin, std::size_t end,
                    std::string_view replacement) {
    std::string out;
    out.reserve(text.size() + replacement.size());
    out.append(text.substr(0, begin));
    out.append(replacement);
    out.append(text.substr(end));
    return out;
}

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size()))
        text = Spliced(text, at, at + from.size(), to);
}

// Removes a command together with its braced argument (\phantom{-}), or only the command
// name, keeping the argument (\mathbf{2}).
void DropCommand(std::string& text, std::string_view command, bool withArgument) {
    for (std::size_t at = text.find(command); at != std::string::npos;
         at = text.find(command, at)) {
        std::size_t end = at + command.size();
        if (withArgument) {
            const std::size_t group = SkipGroup(text, end, '{', '}');
            if (group != std::string_view::npos) end = group;
        }
        text.erase(at, end - at);
    }
}

// One cell's text as an entry: spacing, math shifts and fonts dropped, \frac{1}{2} as 1/2.
std::string CellText(std::string_view raw) {
    std::string cell(raw);
    for (std::string_view space : {"\\,", "\\;", "\\!", "\\:", "\\quad", "\\qquad", "~", "$"})
        ReplaceAll(cell, space, " ");
    ReplaceAll(cell, "{,}", ",");
    ReplaceAll(cell, "\\infty", "Inf");
    for (std::string_view hidden : {"\\phantom", "\\hphantom", "\\vphantom"})
        DropCommand(cell, hidden, true);
    for (std::string_view font : {"\\mathbf", "\\mathrm", "\\textbf", "\\text", "\\mathit",
                                  "\\boldsymbol", "\\bm", "\\displaystyle"})
        DropCommand(cell, font, false);
    for (std::string_view fraction : {"\\dfrac", "\\tfrac", "\\frac"}) {
        for (std::size_t at = cell.find(fraction); at != std::string::npos;
             at = cell.find(fraction, at)) {
            const std::size_t top = SkipGroup(cell, at + fraction.size(), '{', '}');
            const std::size_t bottom =
                top == std::string::npos ? top : SkipGroup(cell, top, '{', '}');
            if (bottom == std::string::npos) break;
            std::string quotient = cell.substr(at + fraction.size(), top - at - fraction.size());
            quotient.push_back('/');
            quotient.append(cell, top, bottom - top);
            cell = Spliced(cell, at, bottom, quotient);
        }
    }
    std::erase(cell, '{');
    std::erase(cell, '}');
    std::string compact = cell;
    std::erase_if(compact, [](char c) { return IsBlank(c) || c == '\n' || c == '\r'; });
    if (IsNumber(compact) || IsDecimalCommaNumber(compact)) return compact;
    return std::string(Trim(cell));
}

// Rules between rows: \hline, \midrule, \cline{2-3} and the like.
void DropRules(std::string& row) {
    for (std::string_view rule :
         {"\\hline", "\\hdashline", "\\toprule", "\\midrule", "\\bottomrule"})
        DropCommand(row, rule, false);
    DropCommand(row, "\\cline", true);
}

}  // namespace

TextTable ParseLatex(std::string_view text, TableBound bound) {
    for (std::size_t at = text.find("\\begin{"); at != std::string_view::npos;
         at = text.find("\\begin{", at + 1)) {
        const std::size_t nameStart = at + 7;
        const std::size_t nameEnd = text.find('}', nameStart);
        if (nameEnd == std::string_view::npos) return TextTable();
        const std::string_view name = text.substr(nameStart, nameEnd - nameStart);
        if (std::find(std::begin(kEnvironments), std::end(kEnvironments), name) ==
            std::end(kEnvironments))
            continue;
        std::size_t body = nameEnd + 1;
        if (name.ends_with('*'))
            if (const std::size_t after = SkipGroup(text, body, '[', ']');
                after != std::string_view::npos)
                body = after;
        const bool tabular = name == "tabular";
        if (name == "array" || tabular) {
            if (const std::size_t after = SkipGroup(text, body, '[', ']');
                after != std::string_view::npos)
                body = after;
            body = SkipGroup(text, body, '{', '}');  // the column format
            if (body == std::string_view::npos) return TextTable();
        }
        std::string end("\\end{");
        end.append(name);
        end.push_back('}');
        const std::size_t bodyEnd = text.find(end, body);
        if (bodyEnd == std::string_view::npos) return TextTable();
        const std::string_view inner = text.substr(body, bodyEnd - body);
        if (inner.find("\\begin{") != std::string_view::npos) return TextTable();

        // Comments run to the end of their line.
        std::string source;
        for (std::string_view line : Lines(inner)) {
            std::size_t percent = 0;
            while ((percent = line.find('%', percent)) != std::string_view::npos && percent > 0 &&
                   line[percent - 1] == '\\')
                ++percent;
            source.append(line.substr(0, percent));
            source.push_back('\n');
        }
        TextTable table(bound);
        std::vector<std::vector<std::string>> rows;  // a tabular's cells
        std::size_t pos = 0;
        while (pos <= source.size()) {
            std::size_t rowEnd = std::min(source.find("\\\\", pos), source.size());
            std::string row = source.substr(pos, rowEnd - pos);
            pos = rowEnd + 2;
            // An optional space after the row break: \\[2pt]
            if (const std::size_t after = SkipGroup(source, pos, '[', ']');
                after != std::string_view::npos)
                pos = after;
            DropRules(row);
            if (Trim(row).empty()) continue;
            if (tabular)
                rows.emplace_back();
            else
                table.NewRow();
            std::size_t cell = 0;
            for (;;) {
                std::size_t amp = row.find('&', cell);
                while (amp != std::string::npos && amp > 0 && row[amp - 1] == '\\')
                    amp = row.find('&', amp + 1);
                const std::size_t cellEnd = std::min(amp, row.size());
                std::string entry = CellText(std::string_view(row).substr(cell, cellEnd - cell));
                if (tabular)
                    rows.back().push_back(std::move(entry));
                else
                    AddEntry(table, entry);
                if (amp == std::string::npos) break;
                cell = amp + 1;
            }
        }
        return tabular ? EntriesOfRows(rows, bound) : table;
    }
    return TextTable();
}

}  // namespace MatrixText::Parts
