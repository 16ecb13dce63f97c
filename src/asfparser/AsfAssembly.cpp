// The state of a frame in progress; see the header.

#include "asfparser/AsfAssembly.h"

#include <string.h>

#include <algorithm>

namespace quorv {

void AsfAssembly::start(const ASF_DataObjectEntry &entry, int32_t expected_pts) {
    started_ = true;
    object_number_ = entry.object_number;
    pts_ = entry.has_time() ? entry.pts : expected_pts != kAsfNoTime ? expected_pts : 0;
}

bool AsfAssembly::ends_before(const ASF_DataObjectEntry &entry) const {
    // A later time ends a frame; objects of the same or an earlier time are told apart by number and offset.
    if (entry.has_time() && entry.pts > pts_) return true;
    return entry.object_number != object_number_ || (entry.starts_object() && bytes_ > 0);
}

bool AsfAssembly::is_complete() const {
    return started_ && (object_size_ < 0 || bytes_ >= static_cast<uint32_t>(object_size_));
}

uint8_t *AsfAssembly::make_room(const ASF_DataObjectEntry &entry) {
    const auto offset = static_cast<uint32_t>(entry.offset_into_object);
    const auto length = static_cast<uint32_t>(entry.data_length);
    // Both are below 2^31.
    if (offset + length > capacity_) {
        const int32_t stated = std::max({entry.object_size, object_size_, 0});
        needed_size_ = std::max(offset + length, static_cast<uint32_t>(stated));
        return nullptr;
    }
    if (offset > written_end_) memset(buffer_ + written_end_, 0, offset - written_end_);
    return buffer_ + offset;
}

void AsfAssembly::add(const ASF_DataObjectEntry &entry) {
    const auto end = static_cast<uint32_t>(entry.offset_into_object + entry.data_length);
    if (first_offset_ < 0) {
        first_offset_ = static_cast<int64_t>(entry.file_offset);
    } else {
        in_pieces_ = true;
    }
    bytes_ += static_cast<uint32_t>(entry.data_length);
    written_end_ = std::max(written_end_, end);
    // Later fragments need not repeat it.
    if (entry.object_size >= 0) object_size_ = entry.object_size;
    key_frame_ = entry.key_frame != 0;
}

uint32_t AsfAssembly::size() const {
    const auto written = static_cast<uint32_t>(std::min<uint64_t>(bytes_, written_end_));
    return object_size_ > 0 ? std::min(written, static_cast<uint32_t>(object_size_)) : written;
}

}  // namespace quorv
