// Search for the start code prefix 00 00 01 that MPEG-4 Part 2 and H.264 byte streams share.
#ifndef QUORV_SRC_VIDEOHEADER_STARTCODE_H
#define QUORV_SRC_VIDEOHEADER_STARTCODE_H

#include <stdint.h>

namespace quorv {

constexpr uint32_t kStartCodePrefixBytes = 3;

// Returns the first byte of the first complete 00 00 01 in [begin, end), or end. In 00 00 00 01 that is the
// second byte.
const uint8_t *find_start_code(const uint8_t *begin, const uint8_t *end);

// The same for processors without a vector unit.
const uint8_t *find_start_code_portable(const uint8_t *begin, const uint8_t *end);

}  // namespace quorv

#endif
