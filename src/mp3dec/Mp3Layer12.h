// Layers I and II (ISO/IEC 11172-3, 2.4.1.5, 2.4.1.6, 2.4.3.2 and 2.4.3.3; ISO/IEC 13818-3, 2.4.3.1).
#ifndef QUORV_SRC_MP3DEC_MP3LAYER12_H
#define QUORV_SRC_MP3DEC_MP3LAYER12_H

#include "mp3dec/kernels/Mp3Kernels.h"
#include "mp3dec/Mp3Error.h"
#include "mp3dec/Mp3InputBuffer.h"

namespace quorv {

// Decode the frame behind the header reader into the channels' subband samples.
Mp3Error layer1_decode(Mp3InputBuffer *input, const Mp3Kernels &kernels, const Mp3FrameHeader &header,
                       Mp3Channel *channels);
Mp3Error layer2_decode(Mp3InputBuffer *input, const Mp3Kernels &kernels, Mp3FrameHeader *header,
                       Mp3Channel *channels);

}  // namespace quorv

#endif
