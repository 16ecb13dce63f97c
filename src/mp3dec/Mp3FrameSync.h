// Finds frames in the input.
#ifndef QUORV_SRC_MP3DEC_MP3FRAMESYNC_H
#define QUORV_SRC_MP3DEC_MP3FRAMESYNC_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "mp3dec/Mp3Error.h"
#include "mp3dec/Mp3InputBuffer.h"

namespace quorv {

// Steps over tags, finds the next frame from the read position on and reads its header. Frame start and read
// position are then those of the frame and of what is behind it, and the header reader stands behind the
// header. After an error that skips no frame nothing is lost, else the position moved on.
Mp3Error header_decode(Mp3FrameHeader *header, Mp3InputBuffer *state);

}  // namespace quorv

#endif
