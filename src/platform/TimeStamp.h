// The arithmetic of millisecond time stamps.
#ifndef QUORV_SRC_PLATFORM_TIMESTAMP_H
#define QUORV_SRC_PLATFORM_TIMESTAMP_H

#include <stdint.h>

namespace quorv {

// Milliseconds, rounded to the nearest and wrapping in 32 bits.
constexpr uint32_t milliseconds_of(int64_t seconds, int64_t microseconds) {
    return static_cast<uint32_t>(static_cast<uint64_t>(seconds) * 1000 +
                                 static_cast<uint64_t>(microseconds + 500) / 1000);
}

}  // namespace quorv

#endif
