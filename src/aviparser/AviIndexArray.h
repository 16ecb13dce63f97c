// A track's index array: insertion in time-stamp order and search by time stamp.
#ifndef QUORV_SRC_AVIPARSER_AVIINDEXARRAY_H
#define QUORV_SRC_AVIPARSER_AVIINDEXARRAY_H

#include <stdint.h>

#include "platform/MemoryOwner.h"

namespace quorv {

struct AviIndexEntry {
    int64_t pos;              // of the chunk's header in the stream
    int64_t timestamp;        // in time-base units; bytes for streams with a sample size
    uint32_t flags_and_size;  // bits 0-1: flags, bits 2-31: size of the chunk's data
};

inline constexpr uint32_t kAviIndexKeyFrame = 1;   // as the interface reports it
inline constexpr uint32_t kAviIndexStatedKey = 2;  // as the file says

constexpr bool avi_is_key_entry(const AviIndexEntry &entry) {
    return (entry.flags_and_size & kAviIndexKeyFrame) != 0;
}

// Of the chunk's data.
constexpr uint32_t avi_entry_bytes(const AviIndexEntry &entry) {
    return entry.flags_and_size >> 2;
}

// How far an index has been filled. Entries that turn out to be of no use are taken back by assigning what
// this was before them.
struct AviIndexFill {
    uint32_t count;
    uint32_t key_frame_count;
    int64_t next_timestamp;   // of what follows the last entry
    bool out_of_file_order;   // some entry's chunk lies before that of an earlier entry
    bool has_dropped_frames;  // time stamps count frames that have no chunk
};

// Kept sorted by time stamp.
struct AviIndexArray : AviIndexFill {
    Owned<AviIndexEntry[]> entries;
    uint32_t allocated_bytes;
    bool lacked_memory;  // some entry has been lost for want of it

    AviIndexFill &fill() { return *this; }
    const AviIndexEntry *begin() const { return entries.get(); }
    const AviIndexEntry *end() const { return entries.get() + count; }
    const AviIndexEntry &last() const { return entries[count - 1]; }  // there must be one
};

// One more entry and the array's bytes would not fit in 32 bits.
inline constexpr uint32_t kAviMaxIndexEntries = 178956970;

enum AviSearchFlags : uint32_t {
    kAviSearchForward = 0,   // the entry at or after the time stamp
    kAviSearchBackward = 1,  // the entry at or before it
    kAviSearchAnyFrame = 4,  // not only key frames
    kAviSearchStatedKey = 8  // only those that are key frames by the file's own word
};

// Inserts an entry, or overwrites the one with the same time stamp. Returns its place, or -1 when the array
// is full or there is no memory.
int32_t avi_add_index_entry(AviIndexArray *index, int64_t pos, int64_t timestamp, uint32_t size,
                            uint32_t flags);

// Returns the place of the entry that the flags ask for, or -1.
int32_t avi_index_search_timestamp(const AviIndexArray &index, int64_t timestamp, uint32_t flags);

// The first entry whose chunk begins no earlier, or the end; for an index in file order.
const AviIndexEntry *avi_first_entry_from(const AviIndexArray &index, int64_t position);

// Makes room for `needed` bytes of entries, with some to spare for later growth. False when there is no
// memory: the entries are then as they were and *allocated_bytes is 0.
bool avi_fast_realloc(Owned<AviIndexEntry[]> *entries, uint32_t *allocated_bytes, uint64_t needed);

}  // namespace quorv

#endif
