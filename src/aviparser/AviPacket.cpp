// Reads the media data of one track; see the header.

#include "aviparser/AviPacket.h"

#include <string.h>

#include <algorithm>

#include "aviparser/AviChunkSearch.h"
#include "aviparser/AviIndex.h"
#include "aviparser/AviIndexArray.h"
#include "aviparser/AviMath.h"

namespace quorv {

namespace {

constexpr uint32_t kMaxPiece = INT32_MAX;
// Samples from this size on are pieces of their own; smaller ones are read several at a time.
constexpr uint32_t kLargeSample = 32;
constexpr uint32_t kSamplesPerPiece = 1024;

// The first entry whose chunk begins no earlier.
uint32_t first_entry_from(const AviIndexArray &index, int64_t position) {
    const AviIndexEntry *begin = index.entries, *end = begin + index.count;
    const auto begins_before = [](const AviIndexEntry &entry, int64_t wanted) { return entry.pos < wanted; };
    return static_cast<uint32_t>(std::lower_bound(begin, end, position, begins_before) - begin);
}

// Where the search for the track's next chunk starts. In a file that is not interleaved the index says it.
// The index also says how many frames have no chunk before that.
int64_t search_start(const AviContext &context, const AviTrack &track, int64_t *skipped) {
    *skipped = 0;
    const bool follows_index = context.non_interleaved || track.has_dropped_frames;
    if (!follows_index || track.index.out_of_file_order) return track.read_position;
    const uint32_t number = first_entry_from(track.index, track.read_position);
    if (number == track.index.count) return track.read_position;
    const AviIndexEntry &next = track.index.entries[number];
    *skipped = std::max<int64_t>(next.timestamp - track.state->frame_offset, 0);
    return context.non_interleaved ? next.pos : track.read_position;
}

// How far the time stamp moves up to a chunk that was found behind damage: chunks may have been lost with the
// bytes that were passed over. The index tells when the chunk is due; where it does not know the chunk, what
// was counted on the way holds.
int64_t duration_behind_damage(const AviTrack &track, int64_t chunk_position, int64_t counted) {
    const AviIndexArray &index = track.index;
    if (index.out_of_file_order) return counted;
    const uint32_t number = first_entry_from(index, chunk_position);
    const bool known = number < index.count && index.entries[number].pos == chunk_position;
    return known ? index.entries[number].timestamp - track.state->frame_offset : counted;
}

bool index_ends_before(const AviIndexArray &index, int64_t chunk_position) {
    return index.count == 0 || index.entries[index.count - 1].pos < chunk_position;
}

// Reads on in the legacy index until it knows the chunk.
void grow_index(AviContext *context, const AviTrack &track, int64_t chunk_position) {
    // The frame is there whether its index entry can be read or not.
    uint32_t ignored = SPLITER_OK;
    while (index_ends_before(track.index, chunk_position) && avi_load_more_index(context, &ignored)) {
    }
}

bool is_exhausted(const AviContext &context, const AviTrack &track) {
    return track.exhausted_to == context.media_end && track.exhausted_from == track.read_position &&
           context.next_segment == 0 && track.exhausted_to != 0;
}

uint32_t key_flag(const AviTrack &track) {
    if (track.type != SPLITER_TRACK_VIDEO) return kAviPacketKeyFrame;
    const int64_t timestamp = track.state->frame_offset;
    if (track.index.count == 0) return timestamp == 0 ? kAviPacketKeyFrame : 0;
    const int32_t number =
        avi_index_search_timestamp(&track.index, timestamp, kAviSearchForward | kAviSearchAnyFrame);
    if (number < 0) return 0;
    const AviIndexEntry &entry = track.index.entries[number];
    return entry.timestamp == timestamp && avi_is_key_entry(entry) ? kAviPacketKeyFrame : 0;
}

uint32_t read_piece(AviContext *context, AviStreamState *state, AviPacket *packet) {
    const uint32_t size = avi_piece_size(*state);
    const uint64_t appended = state->palette_changed ? kAviPaletteBytes : 0;
    if (packet->size < 0 || static_cast<uint64_t>(packet->size) < size + appended) {
        // A chunk too large for one piece is reported whole.
        const uint32_t payload = size == kMaxPiece ? state->bytes_left : size;
        packet->size = static_cast<int32_t>(saturate_to_u32(payload + appended));
        return SPLITER_ERR_BUFFER_TOO_SMALL;
    }
    uint32_t delivered = 0;
    uint32_t code = context->source.move_to(state->data_position);
    if (code == 0) code = context->source.read_fully(packet->data, size, &delivered);
    if (code != 0) return code;
    // A chunk that the source ends in is not handed out half empty.
    if (delivered < size) return SPLITER_ERR_END_OF_STREAM;
    packet->size = static_cast<int32_t>(size);
    packet->position = state->data_position;
    if (state->palette_changed) {
        memcpy(packet->data + size, state->palette, kAviPaletteBytes);
        packet->size += static_cast<int32_t>(kAviPaletteBytes);
        state->palette_changed = false;
    }
    return SPLITER_OK;
}

}  // namespace

uint32_t avi_piece_size(const AviStreamState &state) {
    uint64_t limit = kMaxPiece;
    if (state.sample_size >= kLargeSample) {
        limit = state.sample_size;
    } else if (state.sample_size >= 2) {
        limit = uint64_t{state.sample_size} * kSamplesPerPiece;
    }
    return static_cast<uint32_t>(std::min({limit, uint64_t{state.bytes_left}, uint64_t{kMaxPiece}}));
}

uint32_t avi_find_chunk(AviContext *context, AviTrack *track, AviIndexGrowth growth, int64_t *empty_duration,
                        uint32_t *reads_left) {
    *empty_duration = 0;
    if (avi_in_chunk(*track)) return SPLITER_OK;
    if (is_exhausted(*context, *track)) return SPLITER_ERR_END_OF_STREAM;
    AviStreamState &state = *track->state;
    AviChunkSearch search(context, track, search_start(*context, *track, empty_duration), reads_left);
    AviChunk chunk = {};
    for (;;) {
        const uint32_t code = search.next(&chunk);
        if (search.reached_end()) {
            track->exhausted_from = track->read_position;
            track->exhausted_to = context->media_end;
        }
        if (code != SPLITER_OK) return code;
        if (chunk.size != 0) break;
        *empty_duration += avi_piece_duration(state, 0);
    }
    track->chunk_state = static_cast<int32_t>(track->stream_number);
    state.data_position = chunk.data_position;
    state.bytes_left = chunk.size;

    const int64_t position = chunk.data_position - kAviChunkHeaderBytes;
    if (growth == AviIndexGrowth::Allowed && !track->has_opendml_index) grow_index(context, *track, position);
    if (search.passed_bytes()) *empty_duration = duration_behind_damage(*track, position, *empty_duration);
    return SPLITER_OK;
}

void avi_take_piece(AviTrack *track) {
    AviStreamState &state = *track->state;
    const uint32_t size = avi_piece_size(state);
    state.frame_offset += avi_piece_duration(state, size);
    state.data_position += size;
    state.bytes_left -= size;
    track->read_position = state.data_position;
    if (state.bytes_left == 0) track->chunk_state = kAviNoChunk;
}

uint32_t avi_read_packet(AviContext *context, uint32_t track_index, AviPacket *packet) {
    AviTrack *track = context->tracks[track_index];
    AviStreamState &state = *track->state;
    const bool new_chunk = !avi_in_chunk(*track);
    int64_t empty_duration = 0;
    uint32_t code = avi_find_chunk(context, track, AviIndexGrowth::Allowed, &empty_duration);
    if (code != SPLITER_OK) return code;
    code = read_piece(context, &state, packet);
    if (code != SPLITER_OK) {
        // The next call finds the chunk, and the empty ones in front of it, once more.
        if (new_chunk) track->chunk_state = kAviNoChunk;
        return code;
    }
    const int64_t divisor = avi_time_stamp_divisor(state);
    state.frame_offset += empty_duration;
    packet->pts = packet->dts = state.frame_offset / divisor;
    packet->flags = key_flag(*track);
    packet->stream_index = static_cast<int32_t>(track_index);
    const int64_t duration = avi_piece_duration(state, avi_piece_size(state)) / divisor;
    packet->duration = static_cast<int32_t>(std::min<int64_t>(duration, INT32_MAX));
    avi_take_piece(track);
    return SPLITER_OK;
}

}  // namespace quorv
