// Layers I and II (ISO/IEC 11172-3, 2.4.1.5, 2.4.1.6, 2.4.3.2 and 2.4.3.3; ISO/IEC 13818-3, 2.4.3.1).
#ifndef QUORV_SRC_MP3DEC_MP3LAYER12_H
#define QUORV_SRC_MP3DEC_MP3LAYER12_H

#include "mp3dec/Mp3Frame.h"

namespace quorv {

// Decode the frame behind the header reader into the subband samples of the working stores. Return 0, or -1
// with state->error.
int32_t layer1_decode(Mp3InputBuffer *state, Mp3Frame *frame);
int32_t layer2_decode(Mp3InputBuffer *state, Mp3Frame *frame);

}  // namespace quorv

#endif
