// Reads the media data of one track; see the header.

#include "aviparser/AviPacket.h"

#include <string.h>

#include <algorithm>

#include "aviparser/AviChunkSearch.h"
#include "aviparser/AviDamage.h"
#include "aviparser/AviIndex.h"
#include "aviparser/AviRiff.h"

namespace quorv {

namespace {

constexpr uint32_t kMaxPiece = INT32_MAX;
// Samples from this size on are pieces of their own; smaller ones are read several at a time.
constexpr uint32_t kLargeSample = 32;
constexpr uint32_t kSamplesPerPiece = 1024;

struct SearchStart {
    int64_t position;
    int64_t skipped;  // the duration of frames that have no chunk before that
};

// Where the search for the track's next chunk starts. In a file that is not interleaved the index says it.
SearchStart search_start(const AviContext &context, const AviTrack &track) {
    const AviReading &reading = track.reading;
    const bool follows_index = context.non_interleaved || track.index.has_dropped_frames;
    if (!follows_index || track.index.out_of_file_order) return {reading.position, 0};
    const AviIndexEntry *next = avi_first_entry_from(track.index, reading.position);
    if (next == track.index.end()) return {reading.position, 0};
    return {context.non_interleaved ? next->pos : reading.position,
            std::max<int64_t>(next->timestamp - reading.frame_offset, 0)};
}

// The time stamp of a chunk that was found behind damage: chunks may have been lost with the bytes that were
// passed over. The index tells when the chunk is due; where it does not know the chunk, what was counted on
// the way holds.
int64_t time_behind_damage(const AviIndexArray &index, int64_t chunk_position, int64_t counted) {
    if (index.out_of_file_order) return counted;
    const AviIndexEntry *entry = avi_first_entry_from(index, chunk_position);
    return entry != index.end() && entry->pos == chunk_position ? entry->timestamp : counted;
}

// Reads on in the legacy index until it knows the chunk.
void grow_index(AviContext *context, const AviIndexArray &index, int64_t chunk_position) {
    const auto ends_before = [&] { return index.count == 0 || index.last().pos < chunk_position; };
    // The frame is there whether its index entry can be read or not.
    static_cast<void>(avi_load_index_while(context, ends_before));
}

bool is_exhausted(const AviContext &context, const AviTrack &track) {
    const AviExhausted &exhausted = track.exhausted;
    return exhausted.to == context.media.end && exhausted.from == track.reading.position &&
           context.media.next_segment == 0 && exhausted.to != 0;
}

uint32_t key_flag(const AviTrack &track) {
    if (track.type != SPLITER_TRACK_VIDEO) return kAviPacketKeyFrame;
    const AviIndexArray &index = track.index;
    const int64_t timestamp = track.reading.frame_offset;
    if (index.count == 0) return timestamp == 0 ? kAviPacketKeyFrame : 0;
    const int32_t number =
        avi_index_search_timestamp(index, timestamp, kAviSearchForward | kAviSearchAnyFrame);
    if (number < 0) return 0;
    const AviIndexEntry &entry = index.entries[static_cast<uint32_t>(number)];
    return entry.timestamp == timestamp && avi_is_key_entry(entry) ? kAviPacketKeyFrame : 0;
}

Code read_piece(AviContext *context, AviTrack *track, AviPacket *packet) {
    const AviReading &reading = track->reading;
    AviPalette &palette = track->palette;
    const uint32_t size = avi_piece_size(*track);
    const uint64_t appended = palette.changed ? kAviPaletteBytes : 0;
    if (packet->size < 0 || static_cast<uint64_t>(packet->size) < size + appended) {
        // A chunk too large for one piece is reported whole.
        const uint32_t payload = size == kMaxPiece ? reading.bytes_left : size;
        packet->size = static_cast<int32_t>(saturate_to_u32(payload + appended));
        return Code::BufferTooSmall;
    }
    uint32_t delivered = 0;
    const Code code = context->source.read_at(reading.data_position, packet->data, size, &delivered);
    if (code != Code::Ok) return code;
    // A chunk that the source ends in is not handed out half empty.
    if (delivered < size) return Code::EndOfStream;
    packet->size = static_cast<int32_t>(size);
    packet->position = reading.data_position;
    if (palette.changed) {
        memcpy(packet->data + size, palette.entries, kAviPaletteBytes);
        packet->size += static_cast<int32_t>(kAviPaletteBytes);
        packet->position = -1;  // it does not lie there in one piece
        palette.changed = false;
    }
    return Code::Ok;
}

Code find_and_read(AviContext *context, AviTrack *track, AviPacket *packet) {
    const Code code = avi_find_chunk(context, track, AviIndexGrowth::Allowed);
    return code == Code::Ok ? read_piece(context, track, packet) : code;
}

}  // namespace

uint32_t avi_piece_size(const AviTrack &track) {
    const uint32_t sample_size = track.sampling.sample_size;
    uint64_t limit = kMaxPiece;
    if (sample_size >= kLargeSample) {
        limit = sample_size;
    } else if (sample_size >= 2) {
        limit = uint64_t{sample_size} * kSamplesPerPiece;
    }
    return static_cast<uint32_t>(std::min({limit, uint64_t{track.reading.bytes_left}, uint64_t{kMaxPiece}}));
}

Code avi_find_chunk(AviContext *context, AviTrack *track, AviIndexGrowth growth, uint32_t *chunks_left) {
    AviReading &reading = track->reading;
    if (reading.in_chunk()) return Code::Ok;
    if (is_exhausted(*context, *track)) return Code::EndOfStream;
    const SearchStart start = search_start(*context, *track);
    int64_t time = reading.frame_offset + start.skipped;
    AviChunkSearch search(context, track, start.position, chunks_left);
    AviMissingChunks missing(context, track, start.position);
    AviChunk chunk = {};
    Code code = search.next(&chunk);
    while (code == Code::Ok && chunk.size == 0) {
        missing.note_chunk(chunk.data_position, chunk.size);
        time += avi_piece_duration(track->sampling, 0);
        code = search.next(&chunk);
    }
    if (search.reached_end()) track->exhausted = {reading.position, context->media.end};
    // Asked again, it looks at what the source has then.
    if (code == Code::EndOfStream) context->window.forget_from(search.chunks_end());
    const bool may_grow = growth == AviIndexGrowth::Allowed && !track->has_opendml_index;
    if (code == Code::EndOfStream && context->detailed && may_grow)
        grow_index(context, track->index, context->media.end);
    if (code == Code::EndOfStream && search.reached_end()) missing.note_end();
    if (code != Code::Ok) return code;

    const int64_t position = chunk.data_position - kAviChunkHeaderBytes;
    if (may_grow) grow_index(context, track->index, position);
    missing.note_chunk(chunk.data_position, chunk.size);
    if (search.passed_bytes()) time = time_behind_damage(track->index, position, time);
    reading = {reading.position, time, chunk.data_position, chunk.size};
    return Code::Ok;
}

void avi_take_piece(AviTrack *track) {
    AviReading &reading = track->reading;
    const uint32_t size = avi_piece_size(*track);
    const int64_t end = reading.data_position + size;
    reading = {end, reading.frame_offset + avi_piece_duration(track->sampling, size), end,
               reading.bytes_left - size};
}

Code avi_read_packet(AviContext *context, uint32_t track_index, AviPacket *packet) {
    AviTrack *track = context->tracks[track_index].get();
    const AviReading before = track->reading;
    const Code code = find_and_read(context, track, packet);
    if (code != Code::Ok) {
        // The next call finds the chunk, and the empty ones in front of it, once more.
        track->reading = before;
        return code;
    }
    const int64_t divisor = avi_time_stamp_divisor(track->sampling);
    packet->pts = packet->dts = track->reading.frame_offset / divisor;
    packet->stream_index = static_cast<int32_t>(track_index);
    // Whoever reads with all details has exact times, and asks the frames themselves.
    if (!context->detailed || track->vol_search == AviVolSearch::Searching) {
        packet->flags = key_flag(*track);
        const int64_t duration = avi_piece_duration(track->sampling, avi_piece_size(*track)) / divisor;
        packet->duration = static_cast<int32_t>(std::min<int64_t>(duration, INT32_MAX));
    }
    avi_take_piece(track);
    return Code::Ok;
}

}  // namespace quorv
