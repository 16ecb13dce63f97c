// The DCT of the polyphase synthesis for any number of lanes: time slots side by side.
#ifndef QUORV_SRC_MP3DEC_KERNELS_SYNTHESISKERNEL_H
#define QUORV_SRC_MP3DEC_KERNELS_SYNTHESISKERNEL_H

#include "mp3dec/kernels/CosineTransforms.h"
#include "mp3dec/kernels/Mp3Kernels.h"

namespace quorv {
namespace {

template <class Lanes>
void dct32(Mp3Slot *slots, uint32_t count) {
    for (uint32_t slot = 0; slot < count; slot += Lanes::kCount) {
        // The last group may overlap the one before: its slots wait until then.
        Lanes x[kMp3Subbands];
        load_columns<kMp3Subbands>(slots[slot], kMp3Subbands, x);
        dct2<kMp3Subbands>(x);
        store_columns<kMp3Subbands>(x, slots[slot], kMp3Subbands);
    }
}

}  // namespace
}  // namespace quorv

#endif
