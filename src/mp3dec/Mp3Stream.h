// What reading an MPEG audio stream through the platform's streams needs.
#ifndef QUORV_SRC_MP3DEC_MP3STREAM_H
#define QUORV_SRC_MP3DEC_MP3STREAM_H

#include <quorv/platform/stream.h>

namespace quorv {

// Passes over an ID3v2 tag at the position; without one the position stays. Its bytes with its header, 0
// without one; -1 when fewer than 10 bytes are there or the stream cannot be positioned.
intptr_t mp3_skip_tag(MStream stream);

}  // namespace quorv

#endif
