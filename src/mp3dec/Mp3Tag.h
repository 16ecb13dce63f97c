// Tags in an MPEG audio stream: ID3v2, ID3v1 and APE.
#ifndef QUORV_SRC_MP3DEC_MP3TAG_H
#define QUORV_SRC_MP3DEC_MP3TAG_H

#include <quorv/platform/stream.h>
#include <stddef.h>
#include <stdint.h>

namespace quorv {

inline constexpr size_t kMp3TagHead = 32;  // bytes that tell how long a tag is

// Whether the bytes at a position, 8 or more, can be the first ones of a tag.
bool mp3_begins_like_tag(const uint8_t *bytes);

// The length of the tag that begins with these kMp3TagHead bytes, all of it; 0 when they are not well-formed.
uint64_t mp3_tag_length(const uint8_t *bytes);

// Passes over an ID3v2 tag at the position; without one the position stays. Returns its bytes with its
// header, 0 without one; -1 when fewer than 10 bytes are there or the stream cannot be positioned.
intptr_t mp3_skip_tag(MStream stream);

}  // namespace quorv

#endif
