// Finds a frame where none is known to begin.
#ifndef QUORV_SRC_MP3DEC_MP3FRAMESEARCH_H
#define QUORV_SRC_MP3DEC_MP3FRAMESEARCH_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "mp3dec/Mp3Error.h"
#include "mp3dec/Mp3InputBuffer.h"

namespace quorv {

// Searches from the read position on. A frame counts only when two more sync words follow it at the distances
// that the headers tell. Results as those of header_decode; 0 sets the state in sync.
Mp3Error mp3_search_frame(Mp3FrameHeader *header, Mp3InputBuffer *state);

// Whether a frame of this length that begins at the frame start is there, with the look-ahead behind it.
inline bool mp3_fits(const Mp3InputBuffer &state, uint32_t length) {
    const size_t left = buffer_left(state, state.frame_start);
    return left >= kMp3LookAhead && left - kMp3LookAhead >= length;
}

}  // namespace quorv

#endif
