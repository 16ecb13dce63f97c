// Text as it goes into a page.
#ifndef QUORV_TOOLS_QUORV_HTML_H
#define QUORV_TOOLS_QUORV_HTML_H

#include <string>
#include <string_view>

namespace quorv::tool {

// Safe between tags and in attributes, whatever it holds: what is not UTF-8 or a control character becomes
// U+FFFD. More than the length in bytes is cut off, with an ellipsis.
std::string html(std::string_view text, size_t length = 400);

}  // namespace quorv::tool

#endif
