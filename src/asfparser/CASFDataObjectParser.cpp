// Packets into entries, and positions among them; see the header. AsfLoadObject.cpp puts frames together.

#include "asfparser/CASFDataObjectParser.h"

#include <algorithm>

#include "asfparser/AsfObjectSearch.h"

namespace quorv {

namespace {

// Flags of 2 bytes, time and duration; a stream number; one byte of data.
constexpr uint32_t kMinPacketSize = 2 + 4 + 2 + 1 + 1;
// Far beyond the packets of writers, which have up to 64 KB.
constexpr uint32_t kMaxPacketSize = uint32_t{64} << 20;
// Packets are kept up to this size in all; of one that is larger, room for so much is made at first.
constexpr uint32_t kBufferBytes = 65536;
constexpr int32_t kIntervalPackets = 100;

bool is_possible(uint32_t packet_size) {
    return packet_size >= kMinPacketSize && packet_size <= kMaxPacketSize;
}

}  // namespace

CASFDataObjectParser::~CASFDataObjectParser() {
    if (packets_ == nullptr) return;
    MMemFree(nullptr, packets_);
    base_->DestroyReader(&audio_.reader);
    base_->DestroyReader(&video_.reader);
}

void CASFDataObjectParser::SetLayout(const AsfDataLayout &layout, uint64_t stream_size) {
    layout_ = layout;
    time_base_ = static_cast<int32_t>(std::min<uint32_t>(layout.time_base, INT32_MAX));
    packet_count_ = 0;
    if (is_possible(layout.packet_size)) count_packets(stream_size);
}

uint32_t CASFDataObjectParser::InitParser(const AsfDataLayout &layout) {
    if (!is_possible(layout.packet_size)) return SPLITER_ERR_BAD_FORMAT;
    uint32_t code = base_->CreateReader(&audio_.reader, StreamAccess::ReadShared);
    if (code != SPLITER_OK) return code;
    code = base_->CreateReader(&video_.reader, StreamAccess::ReadShared);
    if (code == SPLITER_OK) {
        SetLayout(layout, base_->GetStreamSize(&video_.reader));
        if (allocate_packets()) {
            Reset();
            return SPLITER_OK;
        }
        base_->DestroyReader(&video_.reader);
        code = SPLITER_ERR_NO_MEMORY;
    }
    base_->DestroyReader(&audio_.reader);
    return code;
}

// Room for one packet at least, but for none that the file is too short to hold.
bool CASFDataObjectParser::allocate_packets() {
    const auto fitting = static_cast<int32_t>(std::max(kBufferBytes / layout_.packet_size, 1u));
    buffered_count_ = std::min({fitting, kMaxBufferedPackets, packet_count_});
    std::fill_n(buffered_, kMaxBufferedPackets, -1);
    const uint64_t size = static_cast<uint64_t>(buffered_count_) * layout_.packet_size;
    packets_room_ = static_cast<size_t>(std::clamp<uint64_t>(size, 1, kBufferBytes));
    packets_ = static_cast<uint8_t *>(MMemAlloc(nullptr, packets_room_));
    return packets_ != nullptr;
}

// One read, but for a packet that is larger than the room there is. The header alone says how large that is,
// so room is made as the bytes come.
uint32_t CASFDataObjectParser::fill_packet(StreamState *state, size_t start) {
    uint32_t done = 0;
    while (done < layout_.packet_size) {
        const uint32_t missing = layout_.packet_size - done;
        if (packets_room_ - start == done) {
            const size_t room = packets_room_ + std::min(missing, done);
            void *grown = MMemRealloc(nullptr, packets_, room);
            if (grown == nullptr) return SPLITER_ERR_NO_MEMORY;
            packets_ = static_cast<uint8_t *>(grown);
            packets_room_ = room;
        }
        const auto step = static_cast<uint32_t>(std::min<size_t>(missing, packets_room_ - start - done));
        uint32_t delivered = 0;
        const uint32_t code = base_->ReadData(&state->reader, packets_ + start + done, step, &delivered);
        if (code == SPLITER_SOURCE_AT_END) return SPLITER_ERR_END_OF_STREAM;
        if (code != SPLITER_OK) return code;
        if (delivered < step) return SPLITER_ERR_END_OF_STREAM;
        done += step;
    }
    return SPLITER_OK;
}

// A live recording does not say how many there are; then the end of the media data tells. A file that was cut
// off has fewer than it says. How much of a download has arrived means nothing.
void CASFDataObjectParser::count_packets(uint64_t stream_size) {
    const auto packets_before = [this](uint64_t end) {
        const uint64_t packets = (end - layout_.first_packet) / layout_.packet_size;
        return static_cast<int32_t>(std::min<uint64_t>(packets, INT32_MAX));
    };
    packet_count_ = INT32_MAX;
    is_cut_ = false;
    if (layout_.total_packets > 0 && layout_.total_packets <= INT32_MAX) {
        packet_count_ = static_cast<int32_t>(layout_.total_packets);
    } else if (layout_.data_end > layout_.first_packet) {
        packet_count_ = packets_before(layout_.data_end);
        is_cut_ = layout_.is_cut;
    }
    if (!base_->IsLocal() || stream_size <= layout_.first_packet) return;
    const int32_t present = packets_before(stream_size);
    is_cut_ |= present < packet_count_;
    packet_count_ = std::min(packet_count_, present);
}

void CASFDataObjectParser::Reset() {
    ResetAudio();
    ResetVideo();
}

void CASFDataObjectParser::SetPosition(uint32_t stream, AsfPosition position) {
    StreamState &state = state_of(stream);
    state.position = position;
    state.parsed_packet = -1;
    state.expected_pts = kAsfNoTime;
}

uint32_t CASFDataObjectParser::ParseOnePacket(uint32_t stream, int32_t index) {
    if (!IsReady()) return SPLITER_ERR_NO_PARSER;
    if (index < 0 || index >= packet_count_) return SPLITER_ERR_END_OF_STREAM;
    StreamState &state = state_of(stream);
    state.entries.Clear();
    state.parsed_packet = -1;
    uint32_t code = read_packet(&state, index);
    if (code == SPLITER_OK) code = collect_entries(stream, &state.entries);
    if (code == SPLITER_OK) {
        state.parsed_packet = index;
    } else {
        state.entries.Clear();
    }
    return code;
}

uint32_t CASFDataObjectParser::read_packet(StreamState *state, int32_t index) {
    const int32_t slot = index % buffered_count_;
    const size_t start = static_cast<size_t>(slot) * layout_.packet_size;
    packet_offset_ = layout_.first_packet + uint64_t{layout_.packet_size} * static_cast<uint32_t>(index);
    // The other stream may have read it.
    if (buffered_[slot] != index) {
        buffered_[slot] = -1;
        if (packet_offset_ > INT64_MAX) return SPLITER_ERR_END_OF_STREAM;
        uint32_t code = state->reader.move_to(static_cast<int64_t>(packet_offset_));
        if (code == SPLITER_OK) code = fill_packet(state, start);
        if (code != SPLITER_OK) return code;
        buffered_[slot] = index;
    }
    packet_ = packets_ + start;
    return SPLITER_OK;
}

int32_t CASFDataObjectParser::relative_time(uint32_t time) const {
    return static_cast<int32_t>(time - static_cast<uint32_t>(time_base_));
}

// What is kept of times counts from the base, that of the other stream, too.
void CASFDataObjectParser::MoveTimeBase(int32_t time_base) {
    const int32_t shift = time_base_ - time_base;
    if (shift == 0) return;
    for (StreamState *state : {&audio_, &video_}) {
        state->entries.ShiftTimes(shift);
        state->expected_pts = asf_shifted_time(state->expected_pts, shift);
    }
    time_base_ = time_base;
}

// The time base is the lowest time seen. All entries of a packet count from the base that holds behind it, so
// that a packet gives the same times whenever it is parsed again.
uint32_t CASFDataObjectParser::collect_entries(uint32_t stream, CASFDataObjectEntryBlockMgr *entries) {
    AsfPacketWalk walk(packet_, layout_.packet_size, stream);
    uint32_t code = walk.read_header();
    if (code != SPLITER_OK) return code;
    int32_t lowest = time_base_;
    AsfPayload payload;
    while (walk.next(&payload, &code)) {
        const auto time = static_cast<int32_t>(payload.time);
        if (payload.has_replicated_data && time >= 1) lowest = std::min(lowest, time);
        if (payload.stream_number == stream && !add_entries(payload, entries)) return SPLITER_ERR_BAD_FORMAT;
    }
    if (code != SPLITER_OK) return code;
    MoveTimeBase(lowest);
    return SPLITER_OK;
}

// False when the payload is damaged. Entries beyond what a block holds are lost.
bool CASFDataObjectParser::add_entries(const AsfPayload &payload,
                                       CASFDataObjectEntryBlockMgr *entries) const {
    if (payload.offset_into_object > INT32_MAX - payload.data_length) return false;
    ASF_DataObjectEntry entry = {};
    entry.stream_number = payload.stream_number;
    entry.object_number = payload.object_number;
    entry.key_frame = payload.key_frame ? kAsfKeyFrame : 0;
    if (payload.compressed) return add_objects_of_run(payload, entry, entries);
    const bool known = payload.has_replicated_data;
    entry.offset_into_object = static_cast<int32_t>(payload.offset_into_object);
    entry.object_size = known ? std::max(static_cast<int32_t>(payload.object_size), -1) : -1;
    entry.data_length = static_cast<int32_t>(payload.data_length);
    entry.file_offset = packet_offset_ + payload.data_start;
    entry.pts = known ? relative_time(payload.time) : kAsfNoTime;
    entries->AddEntry(entry);
    return true;
}

bool CASFDataObjectParser::add_objects_of_run(const AsfPayload &payload, ASF_DataObjectEntry entry,
                                              CASFDataObjectEntryBlockMgr *entries) const {
    uint32_t time = payload.time;
    const uint32_t end = payload.data_start + payload.data_length;
    for (uint32_t at = payload.data_start; at < end; time += payload.time_delta) {
        const uint32_t length = packet_[at++];
        if (end - at < length) return false;
        entry.data_length = entry.object_size = static_cast<int32_t>(length);
        entry.file_offset = packet_offset_ + at;
        entry.pts = relative_time(time);
        entries->AddEntry(entry);
        at += length;
    }
    return true;
}

uint32_t CASFDataObjectParser::GetObjectInterval(uint32_t stream, uint32_t *interval) {
    *interval = 0;
    const int32_t base_before = time_base_;
    const int32_t packets = std::min(kIntervalPackets, packet_count_);
    bool has_first = false;
    int32_t first = 0;
    uint32_t code = SPLITER_OK;
    for (int32_t packet = 0; packet < packets && *interval == 0; ++packet) {
        code = ParseOnePacket(stream, packet);
        if (code == SPLITER_ERR_BAD_FORMAT) {
            // Objects may be lost with it, so what comes behind it is not measured from what came before.
            code = SPLITER_OK;
            has_first = false;
        }
        if (code != SPLITER_OK) break;
        ASF_DataObjectEntry entry;
        for (int32_t i = 0; state_of(stream).entries.GetEntry(&entry, &i) == SPLITER_OK; ++i) {
            if (!entry.starts_object() || !entry.has_time()) continue;
            // The base may have dropped between two packets.
            const auto time =
                static_cast<int32_t>(static_cast<uint32_t>(entry.pts) + static_cast<uint32_t>(time_base_));
            if (has_first && time != first) {
                *interval =
                    static_cast<uint32_t>(time > first ? int64_t{time} - first : int64_t{first} - time);
                break;
            }
            first = time;
            has_first = true;
        }
    }
    if (code != SPLITER_OK) MoveTimeBase(base_before);
    state_of(stream).parsed_packet = -1;
    return code;
}

uint32_t CASFDataObjectParser::SeekAudio(uint32_t *time) {
    AsfObjectSearch search(this, layout_.audio_stream, AsfObjectSearch::Wanted::AnyObject);
    const int32_t base_before = time_base_;
    AsfObjectStart start = {};
    uint32_t code = search.find({*time, AsfSeekDirection::Backward}, &start);
    if (code == SPLITER_ERR_END_OF_STREAM) code = search.find({*time, AsfSeekDirection::Forward}, &start);
    if (code != SPLITER_OK) {
        MoveTimeBase(base_before);
        state_of(layout_.audio_stream).parsed_packet = -1;
        return code;
    }
    SetPosition(layout_.audio_stream, start.position);
    *time = asf_reported_time(start.pts);
    return SPLITER_OK;
}

}  // namespace quorv
