#include "HtmlEscape.h"

namespace TableText {

namespace {
constexpr std::string_view Replacement = "\xEF\xBF\xBD";  // U+FFFD
}

void AppendHtmlEscaped(std::string& out, std::string_view text, LineBreaks lineBreaks) {
    const bool breaksAsBr = lineBreaks == LineBreaks::AsBr;
    std::size_t run = 0;  // start of the stretch that needs no escaping
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        std::string_view replacement;
        std::size_t skip = 1;
        if (c == '&') {
            replacement = "&amp;";
        } else if (c == '<') {
            replacement = "&lt;";
        } else if (c == '>') {
            replacement = "&gt;";
        } else if (c == '"') {
            replacement = "&quot;";
        } else if (c == '\n') {
            if (!breaksAsBr) continue;
            replacement = "<br>";
        } else if (c == '\r') {
            replacement = breaksAsBr ? "<br>" : "&#13;";
            if (breaksAsBr && i + 1 < text.size() && text[i + 1] == '\n') skip = 2;
        } else if (c < 0x20 && c != '\t') {
            replacement = Replacement;
        } else if (c == 0xEF && i + 2 < text.size() && text[i + 1] == '\xBF' &&
                   (text[i + 2] == '\xBE' || text[i + 2] == '\xBF')) {
            replacement = Replacement;  // U+FFFE and U+FFFF are not XML characters either
            skip = 3;
        } else {
            continue;
        }
        out.append(text.substr(run, i - run));
        out.append(replacement);
        i += skip - 1;
        run = i + 1;
    }
    out.append(text.substr(run));
}

}  // namespace TableText
