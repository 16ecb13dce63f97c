// Working stores of a stream that last from frame to frame, and the data of the frame in work.
#ifndef QUORV_SRC_MP3DEC_MP3STORES_H
#define QUORV_SRC_MP3DEC_MP3STORES_H

#include <stdint.h>

#include "mp3dec/Lanes.h"
#include "mp3dec/Mp3Window.h"

namespace quorv {

inline constexpr uint32_t kMp3GranuleLines = 576;
inline constexpr uint32_t kMp3GranuleSlots = 18;  // samples of a subband in a granule
// A slot whose subband samples have magnitudes that add up to more, in units of 2^16, may need more than 32
// bits in the synthesis.
inline constexpr uint32_t kMp3SafeSum = INT16_MAX - kMp3Subbands - 1;

struct Mp3Stores {
    // One granule's lines by channel: sign and magnitude as decoded, then signed, with kSpectrumBits
    // fractional bits or more.
    alignas(16) int32_t spectrum[2][kMp3GranuleLines];
    // By channel and group of subbands: what the last granule adds to the next one.
    alignas(16) int32_t overlap[2][kMp3Subbands / Lanes::kCount][kMp3GranuleSlots][Lanes::kCount];
    // By channel, subband and time slot, with kSampleBits fractional bits: a whole frame.
    alignas(16) int32_t samples[2][kMp3Subbands][kMp3MaxSlots];
    // By channel: what the synthesis needs of the slots before.
    alignas(16) Mp3WindowHistory history[2];
    // By channel: groups of subbands from here on have no overlap.
    uint32_t overlap_groups[2];
    // By channel, a bit for each subband: whether adding to its overlap may take more than 32 bits.
    uint32_t loud_overlaps[2];
    // By channel: a bound of one slot's overlap, all subbands together, in units of 2^16.
    uint32_t overlap_sum[2];
    // By channel: not 0 when a slot's samples may add up to more than kMp3SafeSum.
    uint32_t is_loud[2];
};

}  // namespace quorv

#endif
