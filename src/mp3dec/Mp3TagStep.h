// Stepping over tags, so that what is in them is not taken for frames.
#ifndef QUORV_SRC_MP3DEC_MP3TAGSTEP_H
#define QUORV_SRC_MP3DEC_MP3TAGSTEP_H

#include "mp3dec/Mp3Error.h"
#include "mp3dec/Mp3InputBuffer.h"

namespace quorv {

// Moves the read position over the tags that stand there, where the stream starts or a frame ended. NeedInput
// while a tag goes on or more of it must be seen; frame start and read position are then those of what has to
// come again.
Mp3Error mp3_step_over_tags(Mp3InputBuffer *state);

}  // namespace quorv

#endif
