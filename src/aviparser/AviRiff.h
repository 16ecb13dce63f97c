// What RIFF files are made of: tags, little-endian integers, chunks and their padding.
#ifndef QUORV_SRC_AVIPARSER_AVIRIFF_H
#define QUORV_SRC_AVIPARSER_AVIRIFF_H

#include <stdint.h>

namespace quorv {

// A tag as it stands in the file, read as a little-endian integer.
constexpr uint32_t avi_tag(const char (&text)[5]) {
    return uint32_t{static_cast<uint8_t>(text[3])} << 24 | uint32_t{static_cast<uint8_t>(text[2])} << 16 |
           uint32_t{static_cast<uint8_t>(text[1])} << 8 | uint32_t{static_cast<uint8_t>(text[0])};
}

// Little-endian integers in memory.
constexpr uint32_t avi_le16(const uint8_t *bytes) {
    return bytes[0] | uint32_t{bytes[1]} << 8;
}

constexpr uint32_t avi_le32(const uint8_t *bytes) {
    return avi_le16(bytes) | avi_le16(bytes + 2) << 16;
}

constexpr uint64_t avi_le64(const uint8_t *bytes) {
    return avi_le32(bytes) | uint64_t{avi_le32(bytes + 4)} << 32;
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
