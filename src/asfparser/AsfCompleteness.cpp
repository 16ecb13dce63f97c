// Walks the outermost objects; see the header.

#include "asfparser/AsfCompleteness.h"

#include <algorithm>
#include <iterator>

#include "asfparser/AsfGuids.h"
#include "splitter/ByteOrder.h"

namespace quorv {

namespace {

// Files have a header, the media data and a few indexes.
constexpr uint32_t kMaxObjects = 1000;
constexpr uint32_t kHeaderAndData = 2;

bool is_index(const uint8_t *guid) {
    return std::find(std::begin(kAsfIndexGroups), std::end(kAsfIndexGroups), load_le32(guid)) !=
           std::end(kAsfIndexGroups);
}

}  // namespace

Code asf_count_missing_bytes(AsfContext *context, int64_t *missing) {
    *missing = 0;
    StreamSource &source = context->reader;
    const uint64_t size = CASFBase::GetStreamSize(&source);
    uint64_t end = 0;
    uint32_t objects = 0;
    for (; objects < kMaxObjects && end < size && size - end >= kAsfObjectHeaderBytes; ++objects) {
        uint8_t bytes[kAsfObjectHeaderBytes] = {};
        Code code = CASFBase::MoveTo(&source, end);
        if (code == Code::Ok) code = CASFBase::ReadData(&source, bytes, sizeof(bytes));
        if (code != Code::Ok) return code;
        const uint64_t object_size = load_le64(bytes + kAsfGuidBytes);
        // A live recording leaves it open.
        if (object_size < kAsfObjectHeaderBytes || object_size > uint64_t{INT64_MAX} - end) return Code::Ok;
        // Behind the media data anything may have been added, which misses nothing.
        if (objects >= kHeaderAndData && object_size > size - end && !is_index(bytes)) return Code::Ok;
        end += object_size;
    }
    if (end > size)
        *missing = static_cast<int64_t>(end - size);
    else if (objects == 1)
        *missing = -1;  // even the media data's size is cut short
    return Code::Ok;
}

}  // namespace quorv
