// Ranges in order; see the header.

#include "splitter/ByteRanges.h"

#include <string.h>

#include <algorithm>

namespace quorv {

void ByteRanges::add(int64_t begin, int64_t end) {
    if (begin >= end) return;
    Range *ranges = ranges_.get();
    // Those from `from` up to `to` touch the new one.
    const auto ends_before = [](const Range &range, int64_t place) { return range.end < place; };
    const auto from =
        static_cast<uint32_t>(std::lower_bound(ranges, ranges + size_, begin, ends_before) - ranges);
    uint32_t to = from;
    Range joined = {begin, end};
    count_ += static_cast<uint64_t>(end - begin);
    for (; to < size_ && ranges[to].begin <= end; ++to) {
        const int64_t both = std::min(ranges[to].end, end) - std::max(ranges[to].begin, begin);
        count_ -= static_cast<uint64_t>(both);
        joined = {std::min(joined.begin, ranges[to].begin), std::max(joined.end, ranges[to].end)};
    }
    if (from != to) {
        ranges[from] = joined;
        erase(from + 1, to);
        return;
    }
    if (!make_room()) {
        // It can only become part of one that is there.
        if (size_ == 0) {
            count_ = 0;
            return;
        }
        Range &near = ranges[from == size_ ? from - 1 : from];
        near = {std::min(near.begin, begin), std::max(near.end, end)};
        return;
    }
    ranges = ranges_.get();
    memmove(ranges + from + 1, ranges + from, (size_ - from) * sizeof(Range));
    ranges[from] = joined;
    ++size_;
    if (size_ > kMaxRanges) join_closest();
}

void ByteRanges::add(const ByteRanges &other) {
    for (uint32_t i = 0; i < other.size_; ++i)
        add(other.ranges_[i].begin, other.ranges_[i].end);
}

bool ByteRanges::make_room() {
    if (size_ < capacity_) return true;
    const uint32_t wanted = std::max(2 * capacity_, uint32_t{8});
    if (!resize_array(&ranges_, wanted)) return false;
    capacity_ = wanted;
    return true;
}

void ByteRanges::join_closest() {
    uint32_t closest = 0;
    const auto gap = [&](uint32_t i) { return ranges_[i + 1].begin - ranges_[i].end; };
    for (uint32_t i = 1; i + 1 < size_; ++i) {
        if (gap(i) < gap(closest)) closest = i;
    }
    ranges_[closest].end = ranges_[closest + 1].end;
    erase(closest + 1, closest + 2);
}

void ByteRanges::erase(uint32_t from, uint32_t to) {
    memmove(ranges_.get() + from, ranges_.get() + to, (size_ - to) * sizeof(Range));
    size_ -= to - from;
}

}  // namespace quorv
