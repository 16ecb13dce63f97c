// How numbers and names look to people.
#ifndef QUORV_TOOLS_QUORV_TEXT_H
#define QUORV_TOOLS_QUORV_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

#include "OutputStream.h"

namespace quorv::tool {

// "1:02:03.004"
std::string time_text(uint64_t milliseconds);
// "1.2 MB"
std::string size_text(uint64_t bytes);

// "1 frame", "2 frames"
std::string counted(uint64_t count, std::string_view noun);

// Four characters; "" for 0; as "0x00FFFFFF" when one of them cannot be printed.
std::string fourcc_text(uint32_t fourcc);

// A file's name as it is safe to print: control characters become '?', an empty one becomes ''.
std::string printable(std::string_view name);

// Escape sequences that emphasise text; empty when the output is no terminal, or the user wants none.
struct Style {
    std::string_view strong, faint, end;
};
Style style_for(const OutputStream &out);
// The titles above columns, as a line.
void write_title(OutputStream &out, std::string_view titles);

// "quorv: NAME: REASON" on standard error, as one line.
void complain(std::string_view name, std::string_view reason);

}  // namespace quorv::tool

#endif
