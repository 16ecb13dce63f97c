// Remembers the chunk headers that a reader came by last, so that the next track does not read them again.
#ifndef QUORV_SRC_AVIPARSER_AVIHEADERCACHE_H
#define QUORV_SRC_AVIPARSER_AVIHEADERCACHE_H

#include <stdint.h>
#include <string.h>

#include "aviparser/AviRiff.h"

namespace quorv {

// Every track reads through the interleaved chunks of all others on its own. With tracks that are read side
// by side, most of the headers in its way were just read for another one.
class AviHeaderCache {
public:
    // The eight bytes of the header at this position, or null when they are not known.
    const uint8_t *find(int64_t position) const {
        const Entry &entry = entries_[slot(position)];
        return entry.position == position ? entry.bytes : nullptr;
    }

    void add(int64_t position, const uint8_t *bytes) {
        Entry &entry = entries_[slot(position)];
        entry.position = position;
        memmove(entry.bytes, bytes, kAviChunkHeaderBytes);
    }

private:
    struct Entry {
        // 0 in an empty entry; asked for position 0 it answers with zero bytes, which are no chunk's header.
        int64_t position;
        uint8_t bytes[kAviChunkHeaderBytes];
    };

    static constexpr uint32_t kEntries = 256;

    // Chunks begin at even positions.
    static uint32_t slot(int64_t position) { return static_cast<uint32_t>(position / 2) % kEntries; }

    Entry entries_[kEntries];
};

}  // namespace quorv

#endif
