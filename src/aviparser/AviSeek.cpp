// Moves a track by time; see the header.

#include "aviparser/AviSeek.h"

#include <string.h>

#include "aviparser/AviIndex.h"
#include "aviparser/AviIndexArray.h"
#include "aviparser/AviMath.h"
#include "aviparser/AviPacket.h"

namespace quorv {

namespace {

// What makes up how far a track has been read.
struct ReadingState {
    int64_t read_position, frame_offset, data_position;
    uint32_t bytes_left;
    int32_t chunk_state;
};

ReadingState remember(const AviTrack &track) {
    const AviStreamState &state = *track.state;
    return {track.read_position, state.frame_offset, state.data_position, state.bytes_left,
            track.chunk_state};
}

void restore(AviTrack *track, const ReadingState &saved) {
    AviStreamState &state = *track->state;
    track->read_position = saved.read_position;
    track->chunk_state = saved.chunk_state;
    state.frame_offset = saved.frame_offset;
    state.data_position = saved.data_position;
    state.bytes_left = saved.bytes_left;
}

void move_track(AviTrack *track, int64_t position, int64_t frame_offset) {
    track->read_position = position;
    track->chunk_state = kAviNoChunk;
    track->state->bytes_left = 0;
    track->state->frame_offset = frame_offset;
    track->state->palette_changed = false;
    track->vol_search = AviVolSearch::NotNeeded;
}

int64_t saturating_product(int64_t units, int64_t divisor) {
    int64_t product = 0;
    return __builtin_mul_overflow(units, divisor, &product) ? INT64_MAX : product;
}

bool covers(const AviIndexArray &index, int64_t timestamp) {
    return index.count != 0 && index.entries[index.count - 1].timestamp >= timestamp;
}

uint32_t stamp_to_ms(const AviTrack &track, int64_t timestamp) {
    return clamp_to_u32(avi_units_to_ms(track, timestamp / avi_time_stamp_divisor(*track.state)));
}

// Moves a track behind the pieces of its chunk that end at or before the wanted time; there must be one. All
// but the last piece of a chunk are equally long, so a huge chunk needs no walk over all of its pieces.
void take_pieces_before(AviTrack *track, uint32_t wanted) {
    AviStreamState &state = *track->state;
    const uint32_t size = avi_piece_size(state);
    const int64_t duration = avi_piece_duration(state, size);
    uint32_t taken = 1, too_many = (state.bytes_left - 1) / size + 1;
    while (too_many - taken > 1) {
        const uint32_t middle = taken + (too_many - taken) / 2;
        const bool ends_before = stamp_to_ms(*track, state.frame_offset + middle * duration) <= wanted;
        (ends_before ? taken : too_many) = middle;
    }
    // The last of them is taken like any other piece; those in front of it leave the chunk in progress.
    const uint32_t skipped = taken - 1;
    state.frame_offset += skipped * duration;
    state.data_position += int64_t{skipped} * size;
    state.bytes_left -= skipped * size;
    avi_take_piece(track);
}

// A key frame of an audio track may lie well before the wanted time. Moves on over whole pieces as long as
// the next one begins no later than that, and stays on the last piece of the track. Returns the time reached.
uint32_t refine_audio(AviContext *context, AviTrack *track, uint32_t key_time, uint32_t wanted) {
    const ReadingState key_frame = remember(*track);
    AviStreamState &state = *track->state;
    ReadingState piece = key_frame;
    uint32_t piece_time = key_time;
    for (bool first = true;; first = false) {
        const ReadingState before = remember(*track);
        int64_t empty_duration = 0;
        const uint32_t code = avi_find_chunk(context, track, AviIndexGrowth::Forbidden, &empty_duration);
        if (code != SPLITER_OK) {
            const bool at_end = code == SPLITER_ERR_END_OF_STREAM;
            restore(track, at_end ? piece : key_frame);
            return at_end ? piece_time : key_time;
        }
        // What the next read does from here: it meets the empty chunks in front of this piece again.
        piece = before;
        const int64_t start = state.frame_offset + empty_duration;
        const int64_t end = start + avi_piece_duration(state, avi_piece_size(state));
        const uint32_t end_time = stamp_to_ms(*track, end);
        piece_time = stamp_to_ms(*track, start);
        const bool near = first && wanted - key_time <= 2 * uint64_t{end_time - piece_time};
        if (near || end_time > wanted) {
            restore(track, piece);
            return piece_time;
        }
        state.frame_offset = start;
        take_pieces_before(track, wanted);
    }
}

}  // namespace

void avi_rewind_track(AviContext *context, AviTrack *track) {
    move_track(track, context->media_start, 0);
    memset(track->state->palette, 0, sizeof(track->state->palette));
}

int32_t avi_find_key_frame(AviContext *context, AviTrack *track, int64_t timestamp, bool backward,
                           uint32_t *code) {
    *code = SPLITER_OK;
    const uint32_t flags = backward ? kAviSearchBackward : kAviSearchForward;
    const bool grows = !track->has_opendml_index;
    while (grows && !covers(track->index, timestamp) && avi_load_more_index(context, code)) {
    }
    for (;;) {
        if (*code != SPLITER_OK) return -1;
        const int32_t number = avi_index_search_timestamp(&track->index, timestamp, flags);
        // Entries still to be read lie behind all others: no use to a search that goes backward.
        if (number >= 0 || backward || !grows || !avi_load_more_index(context, code)) return number;
    }
}

uint32_t avi_seek_track(AviContext *context, AviTrack *track, uint32_t *time, uint32_t mode) {
    const uint32_t wanted = *time;
    const int64_t divisor = avi_time_stamp_divisor(*track->state);
    int64_t target = avi_ms_to_units(*track, wanted);
    bool backward = mode != SPLITER_SEEK_FORWARD;
    if (wanted == SPLITER_TIME_NEXT_KEYFRAME) {
        target = track->state->frame_offset / divisor + 1;
        backward = false;
    }
    if (target == 0 || track->time_base.num == 0) {
        avi_rewind_track(context, track);
        *time = 0;
        return SPLITER_OK;
    }

    uint32_t code = SPLITER_OK;
    const int32_t number =
        avi_find_key_frame(context, track, saturating_product(target, divisor), backward, &code);
    if (number < 0) return code != SPLITER_OK ? code : uint32_t{SPLITER_ERR_END_OF_STREAM};
    const AviIndexEntry entry = track->index.entries[number];
    move_track(track, entry.pos, entry.timestamp);
    uint32_t reached = stamp_to_ms(*track, entry.timestamp);
    const bool refine = track->type == SPLITER_TRACK_AUDIO && mode == SPLITER_SEEK_BACKWARD &&
                        wanted != SPLITER_TIME_NEXT_KEYFRAME;
    if (refine && wanted > reached) reached = refine_audio(context, track, reached, wanted);
    *time = reached;
    return SPLITER_OK;
}

}  // namespace quorv
