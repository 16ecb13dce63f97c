// Packets into entries, and the base of their times; see the header.

#include "asfparser/AsfPacketParser.h"

#include <algorithm>

namespace quorv {

void AsfPacketParser::set_layout(const AsfDataLayout &layout) {
    layout_ = layout;
    time_base_ = static_cast<int32_t>(std::min<uint32_t>(layout.time_base, INT32_MAX));
    packet_count_ = 0;
    if (AsfPacketBuffer::is_possible(layout.packet_size)) count_packets();
}

Code AsfPacketParser::open(const AsfDataLayout &layout) {
    if (!AsfPacketBuffer::is_possible(layout.packet_size)) return Code::BadFormat;
    Code code = base_.CreateReader(&audio_.reader, StreamAccess::ReadShared);
    if (code != Code::Ok) return code;
    code = base_.CreateReader(&video_.reader, StreamAccess::ReadShared);
    if (code != Code::Ok) {
        CASFBase::DestroyReader(&audio_.reader);
        return code;
    }
    set_layout(layout);
    return Code::Ok;
}

// A live recording does not say how many there are; then the end of the media data tells. A file that was cut
// off has fewer than it says. How much of a download has arrived means nothing.
void AsfPacketParser::count_packets() {
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
    if (!base_.IsLocal() || layout_.stream_size <= layout_.first_packet) return;
    const int32_t present = packets_before(layout_.stream_size);
    is_cut_ |= present < packet_count_;
    packet_count_ = std::min(packet_count_, present);
}

void AsfPacketParser::set_position(uint32_t stream, AsfPosition position) {
    AsfStreamState &state = state_of(stream);
    state.position = position;
    state.parsed_packet = -1;
    state.expected_pts = kAsfNoTime;
}

Code AsfPacketParser::parse(uint32_t stream, int32_t index) {
    if (!is_open()) return Code::NoParser;
    if (index < 0 || index >= packet_count_) return Code::EndOfStream;
    AsfStreamState &state = state_of(stream);
    state.entries.Clear();
    state.parsed_packet = -1;
    const uint64_t position =
        layout_.first_packet + uint64_t{layout_.packet_size} * static_cast<uint32_t>(index);
    Code code = buffer_.load(&state.reader, position, layout_.packet_size);
    if (code != Code::Ok) return code;
    code = collect_entries(stream, &state.entries);
    if (code == Code::BadFormat || state.entries.has_dropped())
        state.damage.places.add(static_cast<int64_t>(buffer_.position()));
    if (code == Code::Ok) {
        state.parsed_packet = index;
    } else {
        state.entries.Clear();
    }
    return code;
}

// Whether it is of a stream that the header does not name.
bool AsfPacketParser::is_stranger(const AsfPayload &payload) const {
    return payload.stream_number < kAsfStreamNumbers && !layout_.streams[payload.stream_number].declared;
}

int32_t AsfPacketParser::relative_time(uint32_t time) const {
    return static_cast<int32_t>(time - static_cast<uint32_t>(time_base_));
}

// The times that are kept count from the base, those of the other stream, too.
void AsfPacketParser::move_time_base(int32_t time_base) {
    const int32_t shift = time_base_ - time_base;
    if (shift == 0) return;
    for (AsfStreamState *state : {&audio_, &video_}) {
        state->entries.ShiftTimes(shift);
        state->expected_pts = asf_shifted_time(state->expected_pts, shift);
    }
    time_base_ = time_base;
}

// The time base is the lowest time seen. All entries of a packet count from the base that holds behind it, so
// that a packet gives the same times whenever it is parsed again.
Code AsfPacketParser::collect_entries(uint32_t stream, CASFDataObjectEntryBlockMgr *entries) {
    AsfPacketWalk walk(buffer_.packet(), layout_.packet_size, stream);
    Code code = walk.read_header();
    if (code != Code::Ok) return code;
    int32_t lowest = time_base_;
    AsfPayload payload = {};
    payload.stream_number = stream;
    bool has_strangers = false;
    while (walk.next(&payload)) {
        const auto time = static_cast<int32_t>(payload.time);
        if (payload.has_replicated_data && time >= 1) lowest = std::min(lowest, time);
        has_strangers |= is_stranger(payload);
        if (payload.stream_number != stream) continue;
        code = add_entries(payload, entries);
        if (code != Code::Ok) return code;
    }
    // Bytes that are no packet often read as one. The payload at which the walk ended counts as well.
    if (has_strangers || is_stranger(payload))
        state_of(stream).damage.places.add(static_cast<int64_t>(buffer_.position()));
    if (walk.code() == Code::Ok) move_time_base(lowest);
    return walk.code();
}

// Entries beyond what a block holds are lost.
Code AsfPacketParser::add_entries(const AsfPayload &payload, CASFDataObjectEntryBlockMgr *entries) const {
    if (payload.offset_into_object > INT32_MAX - payload.data_length) return Code::BadFormat;
    ASF_DataObjectEntry entry = {};
    entry.stream_number = payload.stream_number;
    entry.object_number = payload.object_number;
    entry.key_frame = payload.key_frame ? kAsfKeyFrame : 0;
    if (payload.compressed) return add_objects_of_run(payload, entry, entries);
    const bool known = payload.has_replicated_data;
    entry.offset_into_object = static_cast<int32_t>(payload.offset_into_object);
    entry.object_size = known ? std::max(static_cast<int32_t>(payload.object_size), -1) : -1;
    entry.data_length = static_cast<int32_t>(payload.data_length);
    entry.file_offset = buffer_.position() + payload.data_start;
    entry.pts = known ? relative_time(payload.time) : kAsfNoTime;
    static_cast<void>(entries->AddEntry(entry));
    return Code::Ok;
}

Code AsfPacketParser::add_objects_of_run(const AsfPayload &payload, ASF_DataObjectEntry entry,
                                         CASFDataObjectEntryBlockMgr *entries) const {
    uint32_t time = payload.time;
    const uint32_t end = payload.data_start + payload.data_length;
    for (uint32_t at = payload.data_start; at < end; time += payload.time_delta) {
        const uint32_t length = buffer_.packet()[at++];
        if (end - at < length) return Code::BadFormat;
        entry.data_length = entry.object_size = static_cast<int32_t>(length);
        entry.file_offset = buffer_.position() + at;
        entry.pts = relative_time(time);
        static_cast<void>(entries->AddEntry(entry));
        at += length;
    }
    return Code::Ok;
}

}  // namespace quorv
