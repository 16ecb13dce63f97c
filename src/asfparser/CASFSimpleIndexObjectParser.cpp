// Loading the index and looking up key frames; see the header.

#include "asfparser/CASFSimpleIndexObjectParser.h"

#include <algorithm>

namespace quorv {

namespace {

// The object's header and fields, in front of the entries.
constexpr uint32_t kIndexHeader = 56;
// A 32-bit packet number and a 16-bit packet count.
constexpr uint32_t kEntryBytes = 6;
// What is reported when the number of key frames is not known.
constexpr uint32_t kUnknownCount = 1000;
// Files have a handful of objects behind the media data.
constexpr uint32_t kMaxObjects = 1000;

}  // namespace

CASFSimpleIndexObjectParser::~CASFSimpleIndexObjectParser() {
    MMemFree(nullptr, entries_);
}

uint32_t CASFSimpleIndexObjectParser::LoadIndex(StreamSource *reader, uint64_t data_end,
                                                uint32_t time_offset) {
    if (IsLoaded()) return SPLITER_OK;
    time_offset_ = time_offset;
    uint64_t size = 0;
    uint32_t code = find_object(reader, data_end, &size);
    if (code == SPLITER_OK) code = read_entries(reader, size);
    if (code == SPLITER_OK) code = count_key_frames();
    if (code == SPLITER_OK) return code;
    MMemFree(nullptr, entries_);
    entries_ = nullptr;
    entry_count_ = 0;
    // What has not arrived yet may still be there.
    if (code != SPLITER_ERR_DATA_PENDING) key_frame_count_ = kUnknownCount;
    return code;
}

// Leaves the reader behind the object's header. *size does not exceed what the stream holds.
uint32_t CASFSimpleIndexObjectParser::find_object(StreamSource *reader, uint64_t position,
                                                  uint64_t *size) const {
    uint32_t size_code = SPLITER_OK;
    const uint64_t end = base_->GetStreamSize(reader, &size_code);
    if (size_code != SPLITER_OK) return size_code;
    for (uint32_t i = 0; i < kMaxObjects; ++i) {
        if (position > end || end - position < kIndexHeader) break;
        uint32_t code = reader->move_to(static_cast<int64_t>(position));
        AsfGuid guid = {};
        if (code == SPLITER_OK) code = base_->ReadGUID(reader, &guid);
        uint32_t low = 0, high = 0;
        if (code == SPLITER_OK) code = base_->ReadQWORD(reader, &low, &high);
        if (code != SPLITER_OK) return code;
        *size = uint64_t{high} << 32 | low;
        if (*size < kAsfObjectHeaderBytes || *size > end - position) break;
        if (CASFBase::CompareGUID(guid, kAsfSimpleIndexObject)) return SPLITER_OK;
        position += *size;
    }
    return SPLITER_ERR_UNSUPPORTED;
}

uint32_t CASFSimpleIndexObjectParser::read_entries(StreamSource *reader, uint64_t object_size) {
    uint32_t code = base_->SkipNBytes(reader, kAsfGuidBytes);  // file identifier
    uint32_t low = 0, high = 0, count = 0;
    if (code == SPLITER_OK) code = base_->ReadQWORD(reader, &low, &high);
    if (code == SPLITER_OK) code = base_->SkipNBytes(reader, 4);  // maximum packet count
    if (code == SPLITER_OK) code = base_->ReadDWORD(reader, &count);
    if (code != SPLITER_OK) return code;
    const uint64_t interval = (uint64_t{high} << 32 | low) / kAsfUnitsPerMillisecond;
    const uint64_t bytes = uint64_t{count} * kEntryBytes;
    const bool usable = interval > 0 && interval <= UINT32_MAX && count >= 2 && bytes <= UINT32_MAX &&
                        object_size >= kIndexHeader && bytes <= object_size - kIndexHeader;
    if (!usable) return SPLITER_ERR_UNSUPPORTED;
    entries_ = static_cast<uint8_t *>(MMemAlloc(nullptr, static_cast<size_t>(bytes)));
    if (entries_ == nullptr) return SPLITER_ERR_NO_MEMORY;
    uint32_t delivered = 0;
    code = base_->ReadData(reader, entries_, static_cast<uint32_t>(bytes), &delivered);
    if (code != SPLITER_OK) return code;
    if (delivered < bytes) return SPLITER_ERR_UNSUPPORTED;
    interval_ = static_cast<uint32_t>(interval);
    entry_count_ = count;
    return SPLITER_OK;
}

uint32_t CASFSimpleIndexObjectParser::packet_at(uint32_t entry) const {
    uint32_t packet = 0;
    CASFBase::ReadFromMemByType(entries_ + size_t{entry} * kEntryBytes, &packet, 3);
    return packet;
}

// The different packets among those that the file has.
uint32_t CASFSimpleIndexObjectParser::count_key_frames() {
    auto *packets = static_cast<uint32_t *>(MMemAlloc(nullptr, size_t{entry_count_} * sizeof(uint32_t)));
    if (packets == nullptr) return SPLITER_ERR_NO_MEMORY;
    for (uint32_t i = 0; i < entry_count_; ++i)
        packets[i] = packet_at(i);
    uint32_t *const end = packets + entry_count_;
    if (!std::is_sorted(packets, end)) std::sort(packets, end);
    const auto packet_count = static_cast<uint32_t>(data_parser_->PacketCount());
    uint32_t *const present_end = std::lower_bound(packets, end, packet_count);
    const auto count = static_cast<uint32_t>(std::unique(packets, present_end) - packets);
    key_frame_count_ = count != 0 ? count : kUnknownCount;
    MMemFree(nullptr, packets);
    return SPLITER_OK;
}

// Times behind the end of the index are searched for from its last entry on.
uint32_t CASFSimpleIndexObjectParser::packet_for(uint32_t time) const {
    const uint64_t entry = (uint64_t{time} + time_offset_) / interval_;
    return packet_at(static_cast<uint32_t>(std::min<uint64_t>(entry, entry_count_ - 1)));
}

// The index only saves the search: what it leads to is checked, since there are files whose index is wrong.
uint32_t CASFSimpleIndexObjectParser::FindKeyFrame(uint32_t time, AsfSeekDirection direction,
                                                   AsfObjectStart *start) const {
    AsfObjectSearch search(data_parser_, data_parser_->Layout().video_stream,
                           AsfObjectSearch::Wanted::KeyFrames);
    const uint32_t packet = IsLoaded() ? packet_for(time) : UINT32_MAX;
    if (packet < static_cast<uint32_t>(data_parser_->PacketCount())) {
        bool found = false;
        const uint32_t code =
            search.find_from(static_cast<int32_t>(packet), {time, direction}, start, &found);
        if (code != SPLITER_OK || found) return code;
    }
    const uint32_t code = search.find({time, direction}, start);
    // In front of the first key frame, that one is meant.
    return code == SPLITER_ERR_END_OF_STREAM && direction == AsfSeekDirection::Backward
               ? search.find({time, AsfSeekDirection::Forward}, start)
               : code;
}

}  // namespace quorv
