// A set of places in a file, of which nothing counts twice.
#ifndef QUORV_SRC_SPLITTER_BYTERANGES_H
#define QUORV_SRC_SPLITTER_BYTERANGES_H

#include <quorv/media_records.h>
#include <stdint.h>

#include "platform/MemoryOwner.h"

namespace quorv {

// Ranges that touch become one. Memory is bounded: beyond kMaxRanges, or without memory for more, the two
// that lie closest become one, and what lies between them is taken for known and never counted. So a count
// may be too low after very many ranges, and never too high.
class ByteRanges {
public:
    static constexpr uint32_t kMaxRanges = 1024;

    void add(int64_t begin, int64_t end);
    void add(int64_t place) { add(place, place + 1); }
    void add(const ByteRanges &other);

    // How many bytes, or places, have been added.
    uint64_t count() const { return count_; }
    // The lowest of them, -1 when there is none.
    int64_t first() const { return size_ != 0 ? ranges_[0].begin : -1; }
    // Valid until something is added.
    QuorvRanges all() const { return {ranges_.get(), size_}; }

private:
    using Range = QuorvRange;

    bool make_room();
    void join_closest();
    void erase(uint32_t from, uint32_t to);

    Owned<Range[]> ranges_;  // in order; neither touching nor overlapping
    uint32_t size_ = 0, capacity_ = 0;
    uint64_t count_ = 0;
};

}  // namespace quorv

#endif
