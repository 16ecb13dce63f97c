// The chunks of a stream list that describe its format: "strf" and "strd".
#ifndef QUORV_SRC_AVIPARSER_AVISTREAMFORMAT_H
#define QUORV_SRC_AVIPARSER_AVISTREAMFORMAT_H

#include "aviparser/AviContext.h"

namespace quorv {

// Both return SPLITER_ERR_IO for a failed read, and SPLITER_ERR_NO_MEMORY. Where in the chunk they leave the
// stream is open.

// Reads a "strf" chunk of `size` bytes by the track's type.
uint32_t avi_read_stream_format(AviContext *context, AviTrack *track, uint32_t size);

// Takes the Huffman tables of a motion-JPEG track from its "strd" chunk; SPLITER_ERR_BUFFER_TOO_SMALL for
// more than 2048 bytes of them.
uint32_t avi_read_stream_data(AviContext *context, AviTrack *track, uint32_t size);

}  // namespace quorv

#endif
