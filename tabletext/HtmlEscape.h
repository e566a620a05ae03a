#pragma once
// Text escaped for HTML and XML: character data and attribute values alike.

#include <string>
#include <string_view>

namespace TableText {

// How line breaks are written.
enum class LineBreaks {
    Kept,  // as they are: an LF stays, a CR becomes &#13; (which markup would drop)
    AsBr,  // each CR LF, lone CR and lone LF as one <br>, so a browser shows it
};

// Appends text with &, <, > and " escaped and line breaks written as chosen; control
// characters other than tab, LF and CR, and U+FFFE and U+FFFF, which XML 1.0 cannot hold,
// become U+FFFD.
void AppendHtmlEscaped(std::string& out, std::string_view text,
                       LineBreaks lineBreaks = LineBreaks::Kept);

}  // namespace TableText
