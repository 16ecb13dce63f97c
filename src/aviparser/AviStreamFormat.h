// The chunks of a stream list that describe its format: "strf" and "strd".
#ifndef QUORV_SRC_AVIPARSER_AVISTREAMFORMAT_H
#define QUORV_SRC_AVIPARSER_AVISTREAMFORMAT_H

#include "aviparser/AviContext.h"

namespace quorv {

// Both return Code::Io for a failed read, and Code::NoMemory. Where in the chunk they leave the
// stream is open.

// Reads a "strf" chunk of `size` bytes by the track's type.
Code avi_read_stream_format(AviContext *context, AviTrack *track, uint32_t size);

// Takes the Huffman tables of a motion-JPEG track from its "strd" chunk; Code::BufferTooSmall for
// more than 2048 bytes of them.
Code avi_read_stream_data(AviContext *context, AviTrack *track, uint32_t size);

}  // namespace quorv

#endif
