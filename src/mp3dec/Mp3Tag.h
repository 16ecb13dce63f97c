// The ID3v2 tag that may stand in front of an MPEG audio stream.
#ifndef QUORV_SRC_MP3DEC_MP3TAG_H
#define QUORV_SRC_MP3DEC_MP3TAG_H

#include <quorv/platform/stream.h>

namespace quorv {

// Passes over a tag at the position; without one the position stays. Returns its bytes with its header, 0
// without one; -1 when fewer than 10 bytes are there or the stream cannot be positioned.
intptr_t mp3_skip_tag(MStream stream);

}  // namespace quorv

#endif
