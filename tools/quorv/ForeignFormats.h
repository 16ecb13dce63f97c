// Names files of well-known formats that the library does not read.
#ifndef QUORV_TOOLS_QUORV_FOREIGNFORMATS_H
#define QUORV_TOOLS_QUORV_FOREIGNFORMATS_H

#include <cstdint>
#include <span>
#include <string_view>

namespace quorv::tool {

// What a file with these first bytes is, as in "a WAV file"; empty when they are none that are known.
std::string_view foreign_format(std::span<const uint8_t> head);

}  // namespace quorv::tool

#endif
