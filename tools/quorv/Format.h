// Tells from its first bytes what a file is that the library does not read.
#ifndef QUORV_TOOLS_QUORV_FORMAT_H
#define QUORV_TOOLS_QUORV_FORMAT_H

#include <cstdint>
#include <span>
#include <string>

namespace quorv::tool {

// Elementary video streams without a container, a tag with nothing known behind it, and text.
enum class Format { Unknown, H264, Mpeg4, Tagged, Text };

Format find_format(std::span<const uint8_t> head);

// Whether it is MPEG audio, or has a tag as such files do.
bool begins_as_mpeg_audio(std::span<const uint8_t> head);

// Of a file that begins like one of the library's formats and has no tracks: what is missing.
std::string why_no_tracks(std::span<const uint8_t> head, uint64_t file_size);

// Whether the library might read it. For what it surely does not, it need not be asked.
bool may_be_media(std::span<const uint8_t> head);

}  // namespace quorv::tool

#endif
