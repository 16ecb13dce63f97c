// The hybrid filter bank of Layer III (ISO/IEC 11172-3, 2.4.3.4.10): alias reduction, IMDCT with windows and
// overlap, frequency inversion.
#ifndef QUORV_SRC_MP3DEC_MP3HYBRID_H
#define QUORV_SRC_MP3DEC_MP3HYBRID_H

#include "mp3dec/Mp3SideInfo.h"
#include "mp3dec/Mp3Stores.h"

namespace quorv {

// The windowed IMDCT of one subband: 18 lines, or three windows of 6 interleaved, for block type 2. output is
// the first half plus the overlap, which then becomes the second half. For tests; mp3_imdct does all
// subbands.
void mp3_imdct_subband(const int32_t *lines, uint32_t block_type, int32_t *overlap, int32_t *output);

// Turns a granule of one channel into subband samples: 18 slots from `slot` on. count lines are not zero.
void mp3_imdct(Mp3Stores *stores, uint32_t channel, const Mp3Granule &granule, uint32_t count, uint32_t slot);

}  // namespace quorv

#endif
