#pragma once
// Text escaped for HTML and XML: character data and attribute values alike.

#include <string>
#include <string_view>

namespace TableText {

// Appends text with &, <, > and " escaped and a CR written as &#13;; control characters
// other than tab, LF and CR, and U+FFFE and U+FFFF, which XML 1.0 cannot hold, become U+FFFD.
void AppendHtmlEscaped(std::string& out, std::string_view text);

}  // namespace TableText
