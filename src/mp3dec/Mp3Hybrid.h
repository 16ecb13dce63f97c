// The hybrid filter bank of Layer III (ISO/IEC 11172-3, 2.4.3.4.10): alias reduction, IMDCT with windows and
// overlap, frequency inversion.
#ifndef QUORV_SRC_MP3DEC_MP3HYBRID_H
#define QUORV_SRC_MP3DEC_MP3HYBRID_H

#include "mp3dec/kernels/Mp3Kernels.h"
#include "mp3dec/Mp3SideInfo.h"

namespace quorv {

// What is known of a spectrum: the lines up to the last that is not zero, and its fractional bits beyond
// kSpectrumBits, below 0 for fewer. Lines stay below 2^30.
struct Mp3Extent {
    uint32_t count;
    int32_t extra_bits;
};

// Turns a granule of one channel into subband samples, saturated: 18 slots from `slot` on.
void mp3_imdct(const Mp3Kernels &kernels, Mp3Channel *channel, const Mp3Granule &granule, Mp3Extent extent,
               uint32_t slot);

}  // namespace quorv

#endif
