// Layer III.
#ifndef QUORV_SRC_MP3DEC_MP3LAYER3_H
#define QUORV_SRC_MP3DEC_MP3LAYER3_H

#include "mp3dec/Mp3Frame.h"

namespace quorv {

// Decodes the frame behind the header reader into the output's PCM store. 0, or -1 with state->error; then
// nothing is put out, and the reservoir is what the next frame needs all the same.
int32_t layer3_decode(Mp3InputBuffer *state, Mp3Frame *frame, Mp3Synthesis *output);

}  // namespace quorv

#endif
