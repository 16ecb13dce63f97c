// Dequantisation of Layers I and II for any number of lanes: subbands side by side.
#ifndef QUORV_SRC_MP3DEC_KERNELS_DEQUANTIZEKERNEL_H
#define QUORV_SRC_MP3DEC_KERNELS_DEQUANTIZEKERNEL_H

#include "mp3dec/kernels/Mp3Kernels.h"

namespace quorv {
namespace {

template <class Lanes>
void dequantize(Mp3Slot *slots, uint32_t count, const int32_t factors[kMp3Subbands]) {
    for (uint32_t sb = 0; sb < kMp3Subbands; sb += Lanes::kCount) {
        const Lanes halves = half(load_lanes(Lanes{}, factors + sb));
        for (uint32_t slot = 0; slot < count; ++slot)
            store_lanes(&slots[slot][sb], mul(load_lanes(Lanes{}, &slots[slot][sb]), halves));
    }
}

}  // namespace
}  // namespace quorv

#endif
