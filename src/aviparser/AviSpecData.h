// Decoder-specific data that the header does not carry: taken from a video track's first frame.
#ifndef QUORV_SRC_AVIPARSER_AVISPECDATA_H
#define QUORV_SRC_AVIPARSER_AVISPECDATA_H

#include "aviparser/AviContext.h"

namespace quorv {

// How many chunks may be met on the way to the first frames of all tracks.
inline constexpr uint32_t kAviSpecDataChunks = 32768;

// For an MPEG-4 Part 2 or H.264 track without codec data: makes codec data of what stands in front of the
// first picture in its first frame, and has it stripped from that frame when it is read. A frame without such
// headers leaves the track without codec data, and so does one that lies too far behind the chunks of others:
// *chunks_left is what is left of kAviSpecDataChunks. Returns a callback's code or Code::NoMemory; the
// track stays at its start.
Code avi_read_specdat(AviContext *context, AviTrack *track, uint32_t *chunks_left);

}  // namespace quorv

#endif
