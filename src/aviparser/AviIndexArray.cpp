// A track's index array; see the header.

#include "aviparser/AviIndexArray.h"

#include <string.h>

#include <algorithm>

#include "aviparser/AviUtils.h"

namespace quorv {

bool avi_fast_realloc(Owned<AviIndexEntry[]> *entries, uint32_t *allocated_bytes, uint64_t needed) {
    if (*allocated_bytes > needed) return true;
    const uint64_t count = (needed * 17 / 16 + 32) / sizeof(AviIndexEntry) + 1;
    const uint64_t bytes = count * sizeof(AviIndexEntry);
    const bool grown = bytes <= UINT32_MAX && resize_array(entries, count);
    *allocated_bytes = grown ? static_cast<uint32_t>(bytes) : 0;
    return grown;
}

int32_t avi_add_index_entry(AviIndexArray *index, int64_t pos, int64_t timestamp, uint32_t size,
                            uint32_t flags) {
    if (index->count + 1 >= kAviMaxIndexEntries) return -1;
    const uint64_t needed = (uint64_t{index->count} + 1) * sizeof(AviIndexEntry);
    if (!avi_fast_realloc(&index->entries, &index->allocated_bytes, needed)) {
        index->lacked_memory = true;
        return -1;
    }

    int32_t place = avi_index_search_timestamp(*index, timestamp, kAviSearchAnyFrame);
    const bool append = place < 0;
    if (append) {
        place = static_cast<int32_t>(index->count);
        ++index->count;
    }
    AviIndexEntry *entry = index->entries.get() + place;
    const bool overwrite = !append && entry->timestamp == timestamp;
    // An empty chunk that takes no time leaves its place to the next one, which may be a key frame.
    if (overwrite && avi_is_key_entry(*entry)) --index->key_frame_count;
    if ((flags & kAviIndexKeyFrame) != 0) ++index->key_frame_count;
    if (append) {
        avi_assert(place == 0 || entry[-1].timestamp < timestamp, "index==0 || ie[-1].timestamp < timestamp",
                   "../../../src/aviparser/AviUtils");
    } else if (!overwrite) {
        // The search went forward, so the entry found is the first one beyond the new time stamp.
        memmove(entry + 1, entry, (index->count - static_cast<uint32_t>(place)) * sizeof(AviIndexEntry));
        ++index->count;
    }
    if (!append || (place > 0 && entry[-1].pos >= pos)) index->out_of_file_order = true;
    *entry = {pos, timestamp, (flags & 3) | size << 2};
    return place;
}

const AviIndexEntry *avi_first_entry_from(const AviIndexArray &index, int64_t position) {
    return std::lower_bound(index.begin(), index.end(), position,
                            [](const AviIndexEntry &entry, int64_t wanted) { return entry.pos < wanted; });
}

int32_t avi_index_search_timestamp(const AviIndexArray &index, int64_t timestamp, uint32_t flags) {
    const AviIndexEntry *entries = index.entries.get();
    const auto count = static_cast<int32_t>(index.count);
    int32_t below = -1, above = count;
    // Entries mostly arrive in order, and so do the questions of a reader at the end of them.
    if (count > 0 && entries[count - 1].timestamp < timestamp) below = count - 1;
    while (above - below > 1) {
        const int32_t middle = below + (above - below) / 2;
        if (entries[middle].timestamp >= timestamp) above = middle;
        if (entries[middle].timestamp <= timestamp) below = middle;
    }

    const bool backward = (flags & kAviSearchBackward) != 0;
    int32_t place = backward ? below : above;
    if ((flags & kAviSearchAnyFrame) == 0) {
        const uint32_t wanted = (flags & kAviSearchStatedKey) != 0 ? kAviIndexStatedKey : kAviIndexKeyFrame;
        while (place >= 0 && place < count && (entries[place].flags_and_size & wanted) == 0)
            place += backward ? -1 : 1;
    }
    return place == count ? -1 : place;
}

}  // namespace quorv
