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
// Code::BufferTooSmall: packet->size is what is needed, as a 32-bit unsigned value. After this and any other
// failure (Code::EndOfStream, a callback's code) the track is where it was.
Code avi_read_packet(AviContext *context, uint32_t track_index, AviPacket *packet);

// Whether a search may read on in the legacy index when it has come to the index's end.
enum class AviIndexGrowth { Allowed, Forbidden };

// Makes sure that a chunk of the track is in progress: the frame offset moves over the empty chunks that were
// met, and those that were lost to damage, the position stays until a piece is taken. *chunks_left,
// unless null, bounds how many chunks the search may meet; when they are used up there is no chunk. A failure
// leaves the track where it was.
Code avi_find_chunk(AviContext *context, AviTrack *track, AviIndexGrowth growth,
                    uint32_t *chunks_left = nullptr);

// The size of the next piece of the chunk in progress.
uint32_t avi_piece_size(const AviTrack &track);

// Moves the track behind that piece.
void avi_take_piece(AviTrack *track);

}  // namespace quorv

#endif
