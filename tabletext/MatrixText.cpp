// The one place that decides how a text showing a matrix is read: the families are tried
// from the most to the least distinctive, and the first that recognises the text wins.
#include "MatrixText.h"

#include <algorithm>

#include "MatrixTextParts.h"

namespace MatrixText {

using namespace Parts;

namespace {

// The lines an interactive session shows before a printout (">>> a", "julia> A",
// "octave:1> A", ">> A", "In [3]: a", R's "> m") and the label before the value
// ("Out[3]:", "Out[1]=").
std::string_view WithoutPrompt(std::string_view text) {
    static constexpr std::string_view kPrompts[] = {
        ">>> ", ">> ", "julia> ", "octave:", "In [", "In[", "> ", "? "};
    for (;;) {
        const bool prompt = std::any_of(std::begin(kPrompts), std::end(kPrompts),
                                        [&](std::string_view p) { return StartsWith(text, p); });
        const std::size_t lineEnd = text.find('\n');
        if (!prompt || lineEnd == std::string_view::npos) break;
        text = Trim(text.substr(lineEnd + 1));
    }
    if (StartsWith(text, "Out[")) {
        const std::size_t close = text.find(']');
        if (close != std::string_view::npos && close + 1 < text.size() &&
            (text[close + 1] == ':' || text[close + 1] == '='))
            text = Trim(text.substr(close + 2));
    }
    return text;
}

// Octave's and MATLAB's display of a single value on its one line: "a = 3.2500",
// "ans = -1.5000e-03", "r = 1/3" (format rat), "z = 1 + 2i" (an identifier, "=", one value).
TextTable ParseNamedValue(std::string_view text, TableBound bound) {
    if (text.find_first_of("\r\n") != std::string_view::npos) return TextTable();
    const std::size_t equals = text.find(" = ");
    if (equals == std::string_view::npos) return TextTable();
    const std::string_view name = Trim(text.substr(0, equals));
    const std::string_view value = Trim(text.substr(equals + 3));
    const bool identifier = !name.empty() && !(name.front() >= '0' && name.front() <= '9') &&
                            std::all_of(name.begin(), name.end(), [](char c) {
                                return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                                       (c >= '0' && c <= '9') || c == '_';
                            });
    if (!identifier) return TextTable();
    const bool single = value.find_first_of(" \t") == std::string_view::npos;
    if (!(single && IsNumber(value)) && !IsComplex(value)) return TextTable();
    TextTable table(bound);
    AddEntry(table, value);
    return table;
}

// A recognised table as it is handed on: refused, holding no cells, when an entry could not
// be read exactly.
TextTable Finished(TextTable table) {
    return table.IsRefused() ? TextTable::Refused(table.Refusal()) : table;
}

}  // namespace

TextTable Parse(std::string_view text, TableBound bound) {
    const std::string_view trimmed = Trim(text);
    if (trimmed.empty()) return TextTable();
    // Tab-separated text is a spreadsheet's own; only a form that brackets or environments
    // delimit is read from text holding tabs (an indented literal, say).
    const bool hasTab = text.find('\t') != std::string_view::npos;
    const char first = trimmed.front();
    const bool bracketed = first == '[' || first == '{' || first == '\\' || first == '$' ||
                           (first >= 'A' && first <= 'Z') || (first >= 'a' && first <= 'z');
    if (hasTab && !bracketed) return TextTable();

    const std::optional<std::string> plain = NormaliseTypography(trimmed);
    const std::string_view view = WithoutPrompt(plain ? std::string_view(*plain) : trimmed);
    if (view.empty()) return TextTable();

    if (view.find("\\begin{") != std::string_view::npos) {
        if (TextTable table = ParseLatex(view, bound); Recognised(table)) return Finished(table);
    }
    if (TextTable table = ParseNestedList(view, bound); Recognised(table)) return Finished(table);
    if (hasTab) return TextTable();
    const bool ruled = view.find('|') != std::string_view::npos ||
                       view.find("+-") != std::string_view::npos ||
                       view.find("\xE2\x94") != std::string_view::npos ||  // box drawing
                       view.find("\xE2\x95") != std::string_view::npos;
    if (ruled) {
        if (TextTable table = ParseRuledTable(view, bound); Recognised(table))
            return Finished(table);
    }
    if (TextTable table = ParseColumns(view, bound); Recognised(table)) return Finished(table);
    if (TextTable table = ParseNamedValue(view, bound); Recognised(table)) return Finished(table);
    // A single number shown with a minus sign or a power of ten: written the plain way.
    if (plain && IsNumber(view) && view.find_first_of(" /") == std::string_view::npos) {
        TextTable table(bound);
        AddEntry(table, view);
        return table;
    }
    return TextTable();
}

}  // namespace MatrixText
