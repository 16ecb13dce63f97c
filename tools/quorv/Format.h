// Tells the format of a file from its first bytes.
#ifndef QUORV_TOOLS_QUORV_FORMAT_H
#define QUORV_TOOLS_QUORV_FORMAT_H

#include <cstdint>
#include <span>

namespace quorv::tool {

// The last two are elementary streams without a container.
enum class Format { Unknown, Avi, Asf, Mp3, H264, Mpeg4 };

Format find_format(std::span<const uint8_t> head);

// Whether all bytes are ones that text files hold.
bool looks_like_text(std::span<const uint8_t> head);

}  // namespace quorv::tool

#endif
