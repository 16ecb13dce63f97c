// Memory of the AVI splitter.
#ifndef QUORV_SRC_AVIPARSER_AVIMEMORY_H
#define QUORV_SRC_AVIPARSER_AVIMEMORY_H

#include <quorv/platform/memory.h>
#include <stdint.h>

namespace quorv {

// Zeroed bytes behind codec data and packet payloads, for bit readers that read ahead.
inline constexpr uint32_t kAviSpareBytes = 8;

// Frees what *pointer points to and nulls it.
template <typename T>
void avi_freep(T **pointer) {
    MMemFree(nullptr, *pointer);
    *pointer = nullptr;
}

}  // namespace quorv

#endif
