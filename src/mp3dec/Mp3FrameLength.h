// How long a frame is. A header of free format does not say it: there the distance to the next one is
// measured.
#ifndef QUORV_SRC_MP3DEC_MP3FRAMELENGTH_H
#define QUORV_SRC_MP3DEC_MP3FRAMELENGTH_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "mp3dec/Mp3Error.h"
#include "mp3dec/Mp3InputBuffer.h"

namespace quorv {

// The length in bytes of the frame at the frame start, behind whose header the header reader stands. Gives a
// free-format header its bit rate.
Mp3Error mp3_frame_length(Mp3FrameHeader *header, Mp3InputBuffer *state, uint32_t *length);

}  // namespace quorv

#endif
