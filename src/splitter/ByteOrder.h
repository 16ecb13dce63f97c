// Little-endian integers in memory.
#ifndef QUORV_SRC_SPLITTER_BYTEORDER_H
#define QUORV_SRC_SPLITTER_BYTEORDER_H

#include <stdint.h>

namespace quorv {

constexpr uint32_t load_le16(const uint8_t *bytes) {
    return bytes[0] | uint32_t{bytes[1]} << 8;
}

constexpr uint32_t load_le32(const uint8_t *bytes) {
    return load_le16(bytes) | load_le16(bytes + 2) << 16;
}

constexpr uint64_t load_le64(const uint8_t *bytes) {
    return load_le32(bytes) | uint64_t{load_le32(bytes + 4)} << 32;
}

}  // namespace quorv

#endif
