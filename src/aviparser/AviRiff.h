// What RIFF files are made of: tags, chunks and their padding.
#ifndef QUORV_SRC_AVIPARSER_AVIRIFF_H
#define QUORV_SRC_AVIPARSER_AVIRIFF_H

#include <stdint.h>

#include "splitter/ByteOrder.h"

namespace quorv {

// A tag as it stands in the file, read as a little-endian integer.
constexpr uint32_t avi_tag(const char (&text)[5]) {
    return uint32_t{static_cast<uint8_t>(text[3])} << 24 | uint32_t{static_cast<uint8_t>(text[2])} << 16 |
           uint32_t{static_cast<uint8_t>(text[1])} << 8 | uint32_t{static_cast<uint8_t>(text[0])};
}

// A chunk's tag and size.
inline constexpr uint32_t kAviChunkHeaderBytes = 8;

// The length of a chunk's data with its pad byte.
constexpr int64_t avi_padded(uint32_t size) {
    return int64_t{size} + (size & 1);
}

// Positions up to this one leave room to add a chunk's size.
inline constexpr int64_t kAviMaxPosition = INT64_MAX - (int64_t{1} << 34);

}  // namespace quorv

#endif
