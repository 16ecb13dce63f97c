// Reads the media data of one track, piece by piece.
//
// Each track reads on its own, from its own position; there is no queue between the tracks. A chunk is one
// piece, but for streams with a sample size, whose chunks are delivered in several.
#ifndef QUORV_SRC_AVIPARSER_AVIPACKET_H
#define QUORV_SRC_AVIPARSER_AVIPACKET_H

#include "aviparser/AviContext.h"
#include "aviparser/AviPacketRecord.h"

namespace quorv {

// Delivers the track's next piece into packet->data, whose capacity is packet->size.
//
// SPLITER_ERR_BUFFER_TOO_SMALL: packet->size is what is needed, as a 32-bit unsigned value. After this and
// any other failure (SPLITER_ERR_END_OF_STREAM, a callback's code) the track is where it was.
uint32_t avi_read_packet(AviContext *context, uint32_t track_index, AviPacket *packet);

// Whether a search may read on in the legacy index when it has come to the index's end.
enum class AviIndexGrowth { Allowed, Forbidden };

// Makes sure that a chunk of the track is in progress. *empty_duration is how far the empty chunks that were
// met, and those that were lost to damage, move its time stamp; it counts when the chunk's first piece is
// taken. *reads_left, unless null, bounds how many chunk headers the search may read; when they are used up
// there is no chunk.
uint32_t avi_find_chunk(AviContext *context, AviTrack *track, AviIndexGrowth growth, int64_t *empty_duration,
                        uint32_t *reads_left = nullptr);

// The size of the next piece of the chunk in progress.
uint32_t avi_piece_size(const AviStreamState &state);

// Moves the track behind that piece.
void avi_take_piece(AviTrack *track);

// Whether a chunk is in progress: delivered in part, or found and not delivered yet.
constexpr bool avi_in_chunk(const AviTrack &track) {
    return track.chunk_state != kAviNoChunk;
}

}  // namespace quorv

#endif
