// Layer III.
#ifndef QUORV_SRC_MP3DEC_MP3LAYER3_H
#define QUORV_SRC_MP3DEC_MP3LAYER3_H

#include "mp3dec/kernels/Mp3Kernels.h"
#include "mp3dec/Mp3Error.h"
#include "mp3dec/Mp3InputBuffer.h"
#include "mp3dec/Mp3Reservoir.h"

namespace quorv {

// Decodes the frame behind the header reader into the channels' subband samples. After an error there are
// none of this frame, and the reservoir is what the next frame needs all the same.
Mp3Error layer3_decode(Mp3InputBuffer *input, Mp3Reservoir *reservoir, const Mp3Kernels &kernels,
                       Mp3FrameHeader *header, Mp3Channel *channels);

}  // namespace quorv

#endif
