// Tells from its first bytes what a file is that the library does not read.
#ifndef QUORV_TOOLS_QUORV_FORMAT_H
#define QUORV_TOOLS_QUORV_FORMAT_H

#include <cstdint>
#include <span>

namespace quorv::tool {

// Elementary video streams without a container, a tag with nothing known behind it, and text.
enum class Format { Unknown, H264, Mpeg4, Tagged, Text };

Format find_format(std::span<const uint8_t> head);

// Whether the library might read it. For what it surely does not, it need not be asked.
bool may_be_media(std::span<const uint8_t> head);

}  // namespace quorv::tool

#endif
