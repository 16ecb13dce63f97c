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
// Streams of samples smaller than this are read in pieces of so many samples.
constexpr uint32_t kLargeSample = 32;
constexpr uint32_t kSamplesPerPiece = 1024;

// The first entry whose chunk begins no earlier. A track's entries stand in the order of its chunks.
uint32_t first_entry_from(const AviIndexArray &index, int64_t position) {
    uint32_t begin = 0, end = index.count;
    while (begin < end) {
        const uint32_t middle = begin + (end - begin) / 2;
        if (index.entries[middle].pos < position) {
            begin = middle + 1;
        } else {
            end = middle;
        }
    }
    return begin;
}

// Where the search for the track's next chunk starts. In a file that is not interleaved the index says it,
// and also how many frames it has no chunk for before that.
int64_t search_start(const AviContext &context, const AviTrack &track, int64_t *skipped) {
    *skipped = 0;
    if (!context.non_interleaved) return track.read_position;
    const uint32_t place = first_entry_from(track.index, track.read_position);
    if (place == track.index.count) return track.read_position;
    const AviIndexEntry &next = track.index.entries[place];
    *skipped = std::max<int64_t>(next.timestamp - track.state->frame_offset, 0);
    return next.pos;
}

bool index_ends_before(const AviIndexArray &index, int64_t chunk_position) {
    return index.count == 0 || index.entries[index.count - 1].pos < chunk_position;
}

uint32_t key_flag(AviTrack *track) {
    if (track->type != SPLITER_TRACK_VIDEO) return kAviPacketKeyFrame;
    const AviIndexArray &index = track->index;
    const int64_t timestamp = track->state->frame_offset;
    if (index.count == 0) return timestamp == 0 ? kAviPacketKeyFrame : 0;
    // Time stamps in the index are unique, so the entry behind the latest one needs no search when it fits.
    uint32_t place = track->next_entry;
    if (place >= index.count || index.entries[place].timestamp != timestamp) {
        const int32_t found =
            avi_index_search_timestamp(&index, timestamp, kAviSearchForward | kAviSearchAnyFrame);
        if (found < 0) return 0;
        place = static_cast<uint32_t>(found);
    }
    track->next_entry = place + 1;
    const AviIndexEntry &entry = index.entries[place];
    return entry.timestamp == timestamp && avi_is_key_entry(entry) ? kAviPacketKeyFrame : 0;
}

// What the caller's buffer must hold for a piece. A chunk too large for one piece is reported whole.
uint64_t needed_capacity(const AviStreamState &state, uint32_t piece) {
    const uint64_t payload = piece == kMaxPiece ? state.bytes_left : piece;
    return payload + (state.palette_changed ? kAviPaletteBytes : 0);
}

uint32_t read_piece(AviContext *context, AviStreamState *state, AviPacket *packet) {
    const uint32_t size = avi_piece_size(*state);
    const uint64_t needed = needed_capacity(*state, size);
    const uint64_t available = size + (state->palette_changed ? uint64_t{kAviPaletteBytes} : 0);
    if (packet->size < 0 || static_cast<uint64_t>(packet->size) < available) {
        packet->size = static_cast<int32_t>(saturate_to_u32(needed));
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

uint32_t avi_find_chunk(AviContext *context, AviTrack *track, AviIndexGrowth growth,
                        int64_t *empty_duration) {
    *empty_duration = 0;
    if (avi_in_chunk(*track)) return SPLITER_OK;
    AviStreamState &state = *track->state;
    AviChunkSearch search(context, track, search_start(*context, *track, empty_duration));
    AviChunk chunk = {};
    for (;;) {
        const uint32_t code = search.next(&chunk);
        if (code != SPLITER_OK) return code;
        if (chunk.size != 0) break;
        *empty_duration += avi_piece_duration(state, 0);
    }
    track->chunk_state = static_cast<int32_t>(track->stream_number);
    state.data_position = chunk.data_position;
    state.bytes_left = chunk.size;

    if (growth == AviIndexGrowth::Allowed && !track->has_opendml_index && avi_index_pending(*context) &&
        index_ends_before(track->index, chunk.data_position - 8)) {
        // The frame is there whether its index entry can be read or not.
        avi_load_index(context);
    }
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
    packet->flags = key_flag(track);
    packet->stream_index = static_cast<int32_t>(track_index);
    const int64_t duration = avi_piece_duration(state, avi_piece_size(state)) / divisor;
    packet->duration = static_cast<int32_t>(std::min<int64_t>(duration, INT32_MAX));
    avi_take_piece(track);
    return SPLITER_OK;
}

}  // namespace quorv
