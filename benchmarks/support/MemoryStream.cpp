// The callbacks of the stream over memory; see the header.

#include "support/MemoryStream.h"

#include <algorithm>
#include <cstring>

namespace quorv::bench {

uint32_t MemoryStream::open(SplitterStream *stream, uint32_t /*mode*/) {
    ++counts.opens;
    *stream = positions_.size();
    positions_.push_back(0);
    return 0;
}

uint32_t MemoryStream::close(SplitterStream /*stream*/) {
    ++counts.closes;
    return 0;
}

uint32_t MemoryStream::read(SplitterStream stream, void *buffer, uint32_t *count) {
    uint64_t &at = positions_[stream];
    const uint64_t left = at < bytes_.size() ? bytes_.size() - at : 0;
    *count = static_cast<uint32_t>(std::min<uint64_t>(*count, left));
    memcpy(buffer, bytes_.data() + at, *count);
    at += *count;
    ++counts.reads;
    counts.bytes += *count;
    return 0;
}

uint32_t MemoryStream::seek(SplitterStream stream, uint16_t origin, int64_t offset) {
    ++counts.seeks;
    uint64_t &at = positions_[stream];
    const int64_t target = origin == SPLITER_ORIGIN_START ? offset : static_cast<int64_t>(at) + offset;
    if (target < 0 || static_cast<uint64_t>(target) > bytes_.size()) return SPLITER_ERR_IO;
    at = static_cast<uint64_t>(target);
    return 0;
}

uint32_t MemoryStream::tell(SplitterStream stream, int64_t *position) {
    ++counts.tells;
    *position = static_cast<int64_t>(positions_[stream]);
    return 0;
}

uint32_t MemoryStream::size(SplitterStream /*stream*/, int64_t *length) {
    ++counts.sizes;
    *length = static_cast<int64_t>(bytes_.size());
    return 0;
}

}  // namespace quorv::bench
