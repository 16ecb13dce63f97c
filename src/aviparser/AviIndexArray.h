// A track's index array: insertion in time-stamp order and search by time stamp.
#ifndef QUORV_SRC_AVIPARSER_AVIINDEXARRAY_H
#define QUORV_SRC_AVIPARSER_AVIINDEXARRAY_H

#include "aviparser/AviContext.h"

namespace quorv {

// One more entry and the array's bytes would not fit in 32 bits.
inline constexpr uint32_t kAviMaxIndexEntries = 178956970;

enum AviSearchFlags : uint32_t {
    kAviSearchForward = 0,   // the entry at or after the time stamp
    kAviSearchBackward = 1,  // the entry at or before it
    kAviSearchAnyFrame = 4,  // not only key frames
};

// Inserts an entry, or overwrites the one with the same time stamp. Returns its place, or -1 when the array
// is full or there is no memory.
int32_t avi_add_index_entry(AviIndexArray *index, int64_t pos, int64_t timestamp, uint32_t size,
                            int32_t distance, uint32_t flags);

// Returns the place of the entry that the flags ask for, or -1.
int32_t avi_index_search_timestamp(const AviIndexArray *index, int64_t timestamp, uint32_t flags);

// Makes room for `needed` bytes, with some to spare for later growth. Null when there is no memory: the
// buffer is then still the caller's and *allocated is 0.
void *avi_fast_realloc(void *buffer, uint32_t *allocated, uint64_t needed);

// Frees the entries and starts again.
void avi_clear_index(AviIndexArray *index);

constexpr bool avi_is_key_entry(const AviIndexEntry &entry) {
    return (entry.flags_and_size & kAviIndexKeyFrame) != 0;
}

}  // namespace quorv

#endif
