// Moves a track by time; see the header.

#include "aviparser/AviSeek.h"

#include <string.h>

#include "aviparser/AviIndex.h"
#include "aviparser/AviPacket.h"

namespace quorv {

namespace {

int64_t saturating_product(int64_t units, int64_t divisor) {
    int64_t product = 0;
    return __builtin_mul_overflow(units, divisor, &product) ? INT64_MAX : product;
}

// Moves a track behind the pieces of its chunk that end at or before the wanted time; there must be one. All
// but the last piece of a chunk are equally long, so a huge chunk needs no walk over all of its pieces.
void take_pieces_before(AviTrack *track, uint32_t wanted) {
    AviReading &reading = track->reading;
    const uint32_t size = avi_piece_size(*track);
    const int64_t duration = avi_piece_duration(track->sampling, size);
    uint32_t taken = 1, too_many = (reading.bytes_left - 1) / size + 1;
    while (too_many - taken > 1) {
        const uint32_t middle = taken + (too_many - taken) / 2;
        const bool ends_before = avi_stamp_to_ms(*track, reading.frame_offset + middle * duration) <= wanted;
        (ends_before ? taken : too_many) = middle;
    }
    // The last of them is taken like any other piece; those in front of it leave the chunk in progress.
    const uint32_t skipped = taken - 1;
    reading.frame_offset += skipped * duration;
    reading.data_position += int64_t{skipped} * size;
    reading.bytes_left -= skipped * size;
    avi_take_piece(track);
}

// A key frame of an audio track may lie well before the wanted time. Moves on over whole pieces as long as
// the next one begins no later than that, and stays on the last piece of the track. Returns the time reached.
uint32_t refine_audio(AviContext *context, AviTrack *track, uint32_t key_time, uint32_t wanted) {
    const AviReading key_frame = track->reading;
    AviReading piece = key_frame;
    uint32_t piece_time = key_time;
    for (bool first = true;; first = false) {
        const AviReading before = track->reading;
        const Code code = avi_find_chunk(context, track, AviIndexGrowth::Forbidden);
        if (code != Code::Ok) {
            const bool at_end = code == Code::EndOfStream;
            track->reading = at_end ? piece : key_frame;
            return at_end ? piece_time : key_time;
        }
        // What the next read does from here: it meets the empty chunks in front of this piece again.
        piece = before;
        const int64_t start = track->reading.frame_offset;
        const int64_t end = start + avi_piece_duration(track->sampling, avi_piece_size(*track));
        const uint32_t end_time = avi_stamp_to_ms(*track, end);
        piece_time = avi_stamp_to_ms(*track, start);
        const bool near = first && wanted - key_time <= 2 * uint64_t{end_time - piece_time};
        if (near || end_time > wanted) {
            track->reading = piece;
            return piece_time;
        }
        take_pieces_before(track, wanted);
    }
}

}  // namespace

void avi_rewind_track(const AviContext &context, AviTrack *track) {
    avi_move_track(track, context.media.start, 0);
    memset(track->palette.entries, 0, sizeof(track->palette.entries));
}

Code avi_find_key_frame(AviContext *context, const AviTrack &track, int64_t timestamp,
                        SeekDirection direction, std::optional<AviIndexEntry> *found) {
    const AviIndexArray &index = track.index;
    const bool backward = direction == SeekDirection::Backward;
    const auto not_found = [&] {
        const int32_t place =
            avi_index_search_timestamp(index, timestamp, backward ? kAviSearchBackward : kAviSearchForward);
        if (place >= 0) *found = index.entries[static_cast<uint32_t>(place)];
        return place < 0;
    };
    found->reset();
    if (!track.has_opendml_index) {
        const auto not_covered = [&] { return index.count == 0 || index.last().timestamp < timestamp; };
        const Code code = avi_load_index_while(context, not_covered);
        if (code != Code::Ok) return code;
    }
    if (!not_found()) return Code::Ok;
    // Entries still to be read lie behind all others: no use to a search that goes backward.
    if (backward || track.has_opendml_index) return Code::Ok;
    return avi_load_index_while(context, not_found);
}

Code avi_seek_track(AviContext *context, AviTrack *track, uint32_t *time, uint32_t mode) {
    const uint32_t wanted = *time;
    const int64_t divisor = avi_time_stamp_divisor(track->sampling);
    int64_t target = avi_ms_to_units(track->time_base, wanted);
    SeekDirection direction = seek_direction(mode);
    if (wanted == SPLITER_TIME_NEXT_KEYFRAME) {
        target = track->reading.frame_offset / divisor + 1;
        direction = SeekDirection::Forward;
    }
    if (target == 0 || track->time_base.num == 0) {
        avi_rewind_track(*context, track);
        *time = 0;
        return Code::Ok;
    }

    std::optional<AviIndexEntry> entry;
    const Code code =
        avi_find_key_frame(context, *track, saturating_product(target, divisor), direction, &entry);
    if (code != Code::Ok) return code;
    if (!entry) return Code::EndOfStream;
    avi_move_track(track, entry->pos, entry->timestamp);
    context->window.start_anew();
    uint32_t reached = avi_stamp_to_ms(*track, entry->timestamp);
    const bool refine = track->type == SPLITER_TRACK_AUDIO && mode == SPLITER_SEEK_BACKWARD &&
                        wanted != SPLITER_TIME_NEXT_KEYFRAME;
    if (refine && wanted > reached) reached = refine_audio(context, track, reached, wanted);
    *time = reached;
    return Code::Ok;
}

}  // namespace quorv
