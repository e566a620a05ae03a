// Nested lists and bracketed literals: JSON and Python lists, NumPy's array(...) and its
// printout, Mathematica's {{1, 2}, {3, 4}}, Maxima's matrix([1, 2], [3, 4]), and the
// literals [1 2; 3 4] of Octave, MATLAB and Julia with "..." continuation lines.
#include "MatrixTextParts.h"

namespace MatrixText::Parts {

namespace {

// A list as read: rows split at ";" and line breaks at its own level, each a sequence of
// items, an item being a text or a list.
struct Item {
    std::string_view atom;
    std::vector<std::vector<Item>> rows;
    bool isList = false;
};

constexpr int kDeepest = 3;  // a matrix needs two levels; one more is read, then refused

class ListReader {
public:
    explicit ListReader(std::string_view text) : text_(text) {}

    // Reads the list that starts at the reader's position; false when the text is not one.
    bool ReadList(Item& list, int depth) {
        if (depth > kDeepest || pos_ >= text_.size()) return false;
        const char open = text_[pos_];
        const char close = open == '[' ? ']' : open == '{' ? '}' : '\0';
        if (close == '\0') return false;
        ++pos_;
        list.isList = true;
        list.rows.emplace_back();
        for (;;) {
            if (!SkipSeparators(list)) return false;
            if (pos_ >= text_.size()) return false;
            const char c = text_[pos_];
            if (c == close) {
                ++pos_;
                return true;
            }
            Item item;
            if (c == '[' || c == '{') {
                if (!ReadList(item, depth + 1)) return false;
            } else if (!ReadAtom(item)) {
                return false;
            }
            list.rows.back().push_back(std::move(item));
        }
    }

    std::size_t Position() const { return pos_; }
    // Whether an elision stood for entries left out (NumPy's summary of a large array).
    bool Elided() const { return elided_; }

private:
    // Blanks and commas between items; ";" and line breaks start a new row; "..." at the end
    // of a line continues the row on the next; comments run to the end of the line.
    bool SkipSeparators(Item& list) {
        while (pos_ < text_.size()) {
            const char c = text_[pos_];
            if (IsBlank(c) || c == ',') {
                ++pos_;
            } else if (c == ';' || c == '\n' || c == '\r') {
                ++pos_;
                if (!list.rows.back().empty()) list.rows.emplace_back();
            } else if (c == '%' || c == '#') {
                SkipToLineEnd();
            } else if (text_.substr(pos_, 3) == "...") {
                // An elision (NumPy's summary of a large array) leaves entries out.
                pos_ += 3;
                std::size_t after = pos_;
                while (after < text_.size() && IsBlank(text_[after]))
                    ++after;
                // "..." ends a line of MATLAB and Octave after entries, a comment may follow;
                // an elision is followed by more entries, or stands alone on its line.
                std::size_t before = pos_ - 3;
                while (before > 0 && IsBlank(text_[before - 1]))
                    --before;
                if ((after < text_.size() &&
                     std::string_view("0123456789+-.,[").find(text_[after]) !=
                         std::string_view::npos) ||
                    before == 0 || text_[before - 1] == '\n' || text_[before - 1] == '\r') {
                    elided_ = true;
                    continue;
                }
                SkipToLineEnd();
                if (pos_ < text_.size() && text_[pos_] == '\r') ++pos_;
                if (pos_ < text_.size() && text_[pos_] == '\n') ++pos_;
            } else {
                break;
            }
        }
        return true;
    }

    void SkipToLineEnd() {
        while (pos_ < text_.size() && text_[pos_] != '\n' && text_[pos_] != '\r')
            ++pos_;
    }

    bool ReadAtom(Item& item) {
        const std::size_t start = pos_;
        const char c = text_[pos_];
        if (c == '(') {
            // Python's complex numbers: (1+2j).
            const std::size_t end = text_.find(')', pos_);
            if (end == std::string_view::npos ||
                text_.substr(pos_ + 1, end - pos_ - 1).find_first_of("[]{}(\r\n") !=
                    std::string_view::npos)
                return false;
            pos_ = end + 1;
            item.atom = text_.substr(start, pos_ - start);
            return true;
        }
        if (c == '"' || c == '\'') {
            const std::size_t end = text_.find(c, pos_ + 1);
            if (end == std::string_view::npos) return false;
            item.atom = text_.substr(start + 1, end - start - 1);
            pos_ = end + 1;
            return pos_ >= text_.size() || IsBlank(text_[pos_]) ||
                   std::string_view(",;]}\r\n").find(text_[pos_]) != std::string_view::npos;
        }
        while (pos_ < text_.size() && !IsBlank(text_[pos_]) &&
               std::string_view(",;[]{}()\r\n\"'").find(text_[pos_]) == std::string_view::npos)
            ++pos_;
        if (pos_ == start) return false;
        item.atom = text_.substr(start, pos_ - start);
        return true;
    }

    std::string_view text_;
    std::size_t pos_ = 0;
    bool elided_ = false;
};

bool IsNameChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.';
}

// "A = ", "a <- ", "m: " and "M := " before the value.
std::string_view WithoutAssignment(std::string_view text) {
    std::size_t pos = 0;
    while (pos < text.size() && IsNameChar(text[pos]))
        ++pos;
    if (pos == 0) return text;
    std::size_t op = pos;
    while (op < text.size() && IsBlank(text[op]))
        ++op;
    for (std::string_view sign : {"<-", ":=", "=", ":"}) {
        if (text.substr(op, sign.size()) == sign) {
            const std::string_view rest = Trim(text.substr(op + sign.size()));
            if (!rest.empty() && rest.front() != '=') return rest;
        }
    }
    return text;
}

// Adds the rows of a list to the table: a list of lists gives a row per inner list, a flat
// list the rows its ";" and line breaks mark. False for ragged nesting or deeper arrays.
bool AddRows(const Item& list, TextTable& table) {
    bool lists = false, atoms = false;
    for (const auto& row : list.rows)
        for (const Item& item : row)
            (item.isList ? lists : atoms) = true;
    if (lists == atoms) return false;  // both, or an empty list
    if (atoms) {
        for (const auto& row : list.rows) {
            if (row.empty()) continue;
            table.NewRow();
            for (const Item& item : row)
                AddEntry(table, item.atom);
        }
        return true;
    }
    for (const auto& row : list.rows) {
        for (const Item& inner : row) {
            table.NewRow();
            bool any = false;
            for (const auto& innerRow : inner.rows) {
                for (const Item& item : innerRow) {
                    if (item.isList) return false;
                    AddEntry(table, item.atom);
                    any = true;
                }
            }
            if (!any) return false;
        }
    }
    return true;
}

// The arguments of a call such as array([[1, 2]], dtype=int32) or matrix([1, 2], [3, 4]):
// the matrix is the one list argument, or the list arguments are its rows.
TextTable ParseCall(std::string_view name, std::string_view arguments, TableBound bound) {
    Item rows;
    rows.isList = true;
    rows.rows.emplace_back();
    std::size_t pos = 0;
    bool elided = false;
    while (pos < arguments.size()) {
        while (pos < arguments.size() && (IsBlank(arguments[pos]) || arguments[pos] == ',' ||
                                          arguments[pos] == '\n' || arguments[pos] == '\r'))
            ++pos;
        if (pos >= arguments.size()) break;
        if (arguments[pos] != '[' && arguments[pos] != '{') {
            // A keyword argument (dtype=float32): to the next comma at this level.
            const std::size_t comma = arguments.find_first_of(",[{(", pos);
            if (comma != std::string_view::npos && arguments[comma] != ',') return TextTable();
            if (arguments.substr(pos, comma - pos).find('=') == std::string_view::npos)
                return TextTable();
            pos = comma;
            continue;
        }
        ListReader argument(arguments.substr(pos));
        Item list;
        if (!argument.ReadList(list, 1)) return TextTable();
        rows.rows.back().push_back(std::move(list));
        pos += argument.Position();
        elided = elided || argument.Elided();
    }
    TextTable table(bound);
    const auto& lists = rows.rows.back();
    if (lists.size() == 1 && name != "matrix") {
        if (!AddRows(lists.front(), table)) return TextTable();
    } else if (!lists.empty() && name == "matrix") {
        // Maxima's matrix([1, 2], [3, 4]) and NumPy's matrix([[1, 2], [3, 4]]).
        if (!AddRows(lists.size() == 1 ? lists.front() : rows, table)) return TextTable();
    } else {
        return TextTable();
    }
    if (elided) table.NoteRefusal(kShortened);
    return table;
}

}  // namespace

TextTable ParseNestedList(std::string_view text, TableBound bound) {
    text = WithoutAssignment(Trim(text));
    // The end of a statement: ";" in Octave, MATLAB and Mathematica, "$" in Maxima.
    while (!text.empty() && (text.back() == ';' || text.back() == '$' || IsBlank(text.back())))
        text.remove_suffix(1);
    if (text.empty()) return TextTable();

    // A call (array(...), np.array(...), matrix(...)) or a typed literal (Float64[1 2]).
    std::size_t nameEnd = 0;
    while (nameEnd < text.size() && IsNameChar(text[nameEnd]))
        ++nameEnd;
    if (nameEnd > 0) {
        std::string_view name = text.substr(0, nameEnd);
        if (nameEnd < text.size() && text[nameEnd] == '(' && text.back() == ')') {
            if (const std::size_t dot = name.rfind('.'); dot != std::string_view::npos)
                name.remove_prefix(dot + 1);
            if (name != "array" && name != "asarray" && name != "matrix" && name != "Matrix")
                return TextTable();
            return ParseCall(name, text.substr(nameEnd + 1, text.size() - nameEnd - 2), bound);
        }
        if (nameEnd < text.size() && text[nameEnd] == '[' &&
            (name.front() < '0' || name.front() > '9'))
            text.remove_prefix(nameEnd);
        else
            return TextTable();
    }
    if (text.front() != '[' && text.front() != '{') return TextTable();

    ListReader reader(text);
    Item list;
    if (!reader.ReadList(list, 1)) return TextTable();
    const std::string_view rest = Trim(text.substr(reader.Position()));
    if (!rest.empty() && rest.front() != '%' && rest.front() != '#') return TextTable();
    TextTable table(bound);
    if (!AddRows(list, table)) return TextTable();
    if (reader.Elided()) table.NoteRefusal(kShortened);
    return table;
}

}  // namespace MatrixText::Parts
