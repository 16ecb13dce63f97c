// The portable kernels: what all other sets must agree with, to the last bit.

#include "mp3dec/kernels/HybridKernel.h"
#include "mp3dec/kernels/Lane1.h"
#include "mp3dec/kernels/SynthesisKernel.h"
#include "mp3dec/kernels/WindowPortable.h"

namespace quorv {

namespace {

void requantize(int32_t *lines, uint32_t count, const int32_t *powers, int shift) {
    const int32_t rounding = 1 << (shift - 1);
#pragma GCC unroll 4
    for (uint32_t i = 0; i < count; ++i)
        lines[i] = (powers[lines[i]] + rounding) >> shift;
}

void dequantize(Mp3Slot *slots, uint32_t count, const int32_t factors[kMp3Subbands]) {
    for (uint32_t sb = 0; sb < kMp3Subbands; ++sb) {
        const int32_t factor = factors[sb];
#pragma GCC unroll 4
        for (uint32_t slot = 0; slot < count; ++slot)
            slots[slot][sb] = high_product(slots[slot][sb], factor);
    }
}

// Line after line instead of edge after edge: two factors are all that is needed at a time.
void reduce_alias_of_lines(int32_t *spectrum, uint32_t edges) {
#pragma GCC unroll 8
    for (uint32_t i = 0; i < 8; ++i) {
        for (uint32_t edge = 1; edge <= edges; ++edge) {
            int32_t *upper = spectrum + size_t{edge} * kLines;
            Lane1 p, q;
            rotate(Lane1{upper[-1 - static_cast<int32_t>(i)]}, Lane1{upper[i]}, mp3dec_cs[i], mp3dec_ca[i],
                   &p, &q);
            upper[-1 - static_cast<int32_t>(i)] = p.value;
            upper[i] = (-q).value;
        }
    }
}

}  // namespace

Mp3Kernels mp3_portable_kernels() {
    return {"portable",   Lane1::kCount, requantize,      dequantize, reduce_alias_of_lines,
            imdct<Lane1>, dct32<Lane1>,  window_by_threes};
}

}  // namespace quorv
