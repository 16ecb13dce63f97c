// The callbacks of the stream over memory; see the header.

#include "support/MemoryStream.h"

#include <algorithm>
#include <cstring>

namespace quorv::bench {
namespace {

MemoryStream &self(void *user_context) {
    return *static_cast<MemoryStream *>(user_context);
}

}  // namespace

uint32_t MemoryStream::read(uint64_t &at, void *buffer, uint32_t *count) {
    const uint64_t left = at < bytes_.size() ? bytes_.size() - at : 0;
    *count = static_cast<uint32_t>(std::min<uint64_t>(*count, left));
    memcpy(buffer, bytes_.data() + at, *count);
    at += *count;
    ++counts.reads;
    counts.bytes += *count;
    return 0;
}

uint32_t MemoryStream::seek(uint64_t &at, uint16_t origin, int64_t offset) {
    ++counts.seeks;
    const int64_t target = origin == SPLITER_ORIGIN_START ? offset : static_cast<int64_t>(at) + offset;
    if (target < 0 || static_cast<uint64_t>(target) > bytes_.size()) return SPLITER_ERR_IO;
    at = static_cast<uint64_t>(target);
    return 0;
}

SplitterStreamSource MemoryStream::record() {
    SplitterStreamSource source = {};
    source.user_context = this;
    source.source_kind = SPLITER_SOURCE_LOCAL;
    source.open = [](void *user, SplitterStream *stream, uint32_t) -> uint32_t {
        ++self(user).counts.opens;
        *stream = self(user).positions_.size();
        self(user).positions_.push_back(0);
        return 0;
    };
    source.close = [](void *user, SplitterStream) -> uint32_t {
        ++self(user).counts.closes;
        return 0;
    };
    source.read = [](void *user, SplitterStream stream, void *buffer, uint32_t *count) -> uint32_t {
        return self(user).read(self(user).position_of(stream), buffer, count);
    };
    source.seek = [](void *user, SplitterStream stream, uint16_t origin, int64_t offset) -> uint32_t {
        return self(user).seek(self(user).position_of(stream), origin, offset);
    };
    source.tell = [](void *user, SplitterStream stream, int64_t *position) -> uint32_t {
        ++self(user).counts.tells;
        *position = static_cast<int64_t>(self(user).position_of(stream));
        return 0;
    };
    source.size = [](void *user, SplitterStream, int64_t *length) -> uint32_t {
        ++self(user).counts.sizes;
        *length = static_cast<int64_t>(self(user).bytes_.size());
        return 0;
    };
    return source;
}

}  // namespace quorv::bench
