// Loading the index and looking up key frames; see the header.

#include "asfparser/CASFSimpleIndexObjectParser.h"

#include <algorithm>

#include "splitter/ByteOrder.h"

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

// Leaves the reader behind the object's header. *size does not exceed what the stream holds.
Code find_object(StreamSource *reader, uint64_t position, uint64_t end, uint64_t *size) {
    Code size_code = Code::Ok;
    if (end == 0) end = CASFBase::GetStreamSize(reader, &size_code);
    if (size_code != Code::Ok) return size_code;
    for (uint32_t i = 0; i < kMaxObjects; ++i) {
        if (position > end || end - position < kIndexHeader) break;
        Code code = CASFBase::MoveTo(reader, position);
        if (code != Code::Ok) return code;
        AsfGuid guid = {};
        code = CASFBase::ReadGUID(reader, &guid);
        if (code != Code::Ok) return code;
        code = CASFBase::ReadInteger(reader, sizeof(*size), size);
        if (code != Code::Ok) return code;
        if (*size < kAsfObjectHeaderBytes || *size > end - position) break;
        if (CASFBase::CompareGUID(guid, kAsfSimpleIndexObject)) return Code::Ok;
        position += *size;
    }
    return Code::Unsupported;
}

// What stands in front of the entries.
struct IndexFields {
    uint64_t interval;  // milliseconds
    uint32_t entry_count;
};

Code read_fields(StreamSource *reader, IndexFields *fields) {
    Code code = CASFBase::SkipNBytes(reader, kAsfGuidBytes);  // file identifier
    if (code != Code::Ok) return code;
    uint64_t units = 0;
    code = CASFBase::ReadInteger(reader, sizeof(units), &units);
    if (code != Code::Ok) return code;
    code = CASFBase::SkipNBytes(reader, 4);  // maximum packet count
    if (code != Code::Ok) return code;
    fields->interval = units / kAsfUnitsPerMillisecond;
    return CASFBase::ReadDWORD(reader, &fields->entry_count);
}

}  // namespace

CASFSimpleIndexObjectParser::~CASFSimpleIndexObjectParser() = default;

Code CASFSimpleIndexObjectParser::LoadIndex(StreamSource *reader, uint64_t data_end, uint64_t stream_size,
                                            uint32_t time_offset) {
    if (IsLoaded()) return Code::Ok;
    time_offset_ = time_offset;
    const Code code = load(reader, data_end, stream_size);
    if (code == Code::Ok) return code;
    entries_.reset();
    entry_count_ = 0;
    // What has not arrived yet may still be there.
    if (code != Code::DataPending) key_frame_count_ = kUnknownCount;
    return code;
}

Code CASFSimpleIndexObjectParser::load(StreamSource *reader, uint64_t data_end, uint64_t stream_size) {
    uint64_t size = 0;
    Code code = find_object(reader, data_end, stream_size, &size);
    if (code != Code::Ok) return code;
    code = read_entries(reader, size);
    if (code != Code::Ok) return code;
    return count_key_frames();
}

Code CASFSimpleIndexObjectParser::read_entries(StreamSource *reader, uint64_t object_size) {
    IndexFields fields = {};
    Code code = read_fields(reader, &fields);
    if (code != Code::Ok) return code;
    const uint64_t bytes = uint64_t{fields.entry_count} * kEntryBytes;
    const bool usable = fields.interval > 0 && fields.interval <= UINT32_MAX && fields.entry_count >= 2 &&
                        bytes <= UINT32_MAX && object_size >= kIndexHeader &&
                        bytes <= object_size - kIndexHeader;
    if (!usable) return Code::Unsupported;
    entries_ = make_array<uint8_t>(bytes);
    if (entries_ == nullptr) return Code::NoMemory;
    uint32_t delivered = 0;
    code = CASFBase::ReadData(reader, entries_.get(), static_cast<uint32_t>(bytes), &delivered);
    if (code != Code::Ok) return code;
    if (delivered < bytes) return Code::Unsupported;
    interval_ = static_cast<uint32_t>(fields.interval);
    entry_count_ = fields.entry_count;
    return Code::Ok;
}

uint32_t CASFSimpleIndexObjectParser::packet_at(uint32_t entry) const {
    return load_le32(entries_.get() + size_t{entry} * kEntryBytes);
}

// The different packets among those that the file has.
Code CASFSimpleIndexObjectParser::count_key_frames() {
    const auto numbers = make_array<uint32_t>(entry_count_);
    if (numbers == nullptr) return Code::NoMemory;
    uint32_t *packets = numbers.get();
    for (uint32_t i = 0; i < entry_count_; ++i)
        packets[i] = packet_at(i);
    uint32_t *end = packets + entry_count_;
    if (!std::is_sorted(packets, end)) {
        // Rare enough for the sort that is short: the module of the web package counts its bytes.
        std::make_heap(packets, end);
        std::sort_heap(packets, end);
    }
    const auto packet_count = static_cast<uint32_t>(packets_.packet_count());
    uint32_t *present_end = std::lower_bound(packets, end, packet_count);
    const auto count = static_cast<uint32_t>(std::unique(packets, present_end) - packets);
    key_frame_count_ = count != 0 ? count : kUnknownCount;
    return Code::Ok;
}

// Times behind the end of the index are searched for from its last entry on.
uint32_t CASFSimpleIndexObjectParser::packet_for(uint32_t time) const {
    const uint64_t entry = (uint64_t{time} + time_offset_) / interval_;
    return packet_at(static_cast<uint32_t>(std::min<uint64_t>(entry, entry_count_ - 1)));
}

// The index only saves the search: what it leads to is checked, since there are files whose index is wrong.
Code CASFSimpleIndexObjectParser::FindKeyFrame(AsfSeekTarget target, AsfObjectStart *start) const {
    AsfObjectSearch search(&packets_, packets_.layout().video_stream, AsfObjectSearch::Wanted::KeyFrames);
    const uint32_t packet = IsLoaded() ? packet_for(target.time) : UINT32_MAX;
    if (packet < static_cast<uint32_t>(packets_.packet_count())) {
        std::optional<AsfObjectStart> found;
        const Code code = search.find_from(static_cast<int32_t>(packet), target, &found);
        if (code != Code::Ok) return code;
        if (found) {
            *start = *found;
            return Code::Ok;
        }
    }
    const Code code = search.find(target, start);
    if (code != Code::EndOfStream || target.direction == SeekDirection::Forward) return code;
    // In front of the first key frame, that one is meant.
    return search.find({target.time, SeekDirection::Forward}, start);
}

}  // namespace quorv
