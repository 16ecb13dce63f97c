// Frames as callers get them: packets without what became codec data, from a picture on that can be decoded.
#ifndef QUORV_SRC_AVIPARSER_AVIFRAME_H
#define QUORV_SRC_AVIPARSER_AVIFRAME_H

#include "aviparser/AviContext.h"
#include "aviparser/AviPacketRecord.h"

namespace quorv {

// Reads the next frame that the track may hand out, as avi_read_packet does. An MPEG-4 track that does not
// begin with its headers begins with the first key frame, which must have them; without them the track ends.
Code avi_read_frame(AviContext *context, AviTrack *track, AviPacket *packet);

// The packet's time in milliseconds.
uint32_t avi_time_stamp_ms(const AviTrack &track, const AviPacket &packet);

}  // namespace quorv

#endif
