// The portable kernels: what all other sets must agree with, to the last bit.

#include <quorv/platform/memory.h>

#include "mp3dec/kernels/HybridKernel.h"
#include "mp3dec/kernels/Lane1.h"
#include "mp3dec/kernels/SynthesisKernel.h"
#include "mp3dec/kernels/Window.h"
#include "mp3dec/tables/SynthesisTables.h"

namespace quorv {

namespace {

// Line after line instead of edge after edge: two factors are all that is needed at a time.
void reduce_alias_of_lines(int32_t *spectrum, uint32_t edges) {
#pragma GCC unroll 8
    for (uint32_t i = 0; i < 8; ++i) {
        for (uint32_t edge = 1; edge <= edges; ++edge) {
            int32_t *const upper = spectrum + size_t{edge} * kLines;
            Lane1 p, q;
            rotate(Lane1{upper[-1 - static_cast<int32_t>(i)]}, Lane1{upper[i]}, mp3dec_cs[i], mp3dec_ca[i],
                   &p, &q);
            upper[-1 - static_cast<int32_t>(i)] = p.value;
            upper[i] = (-q).value;
        }
    }
}

int16_t to_pcm(int64_t sum) {
    const int64_t rounded = (sum + kMp3OutputRounding) >> kMp3OutputShift;
    return static_cast<int16_t>(rounded > INT16_MAX ? INT16_MAX : rounded < INT16_MIN ? INT16_MIN : rounded);
}

// The sum for the output sample that takes A[j] and B[j].
int16_t sum_of_pairs(const Mp3Slot *newest, uint32_t j, const int32_t taps[kMp3WindowPairs][2]) {
    int64_t sum = 0;
    for (uint32_t p = 0; p < kMp3WindowPairs; ++p) {
        const Mp3Slot *const slot = newest - 2 * static_cast<ptrdiff_t>(p);
        if (j < 16) sum += int64_t{slot[0][16 + j]} * taps[p][0];
        sum -= int64_t{slot[-1][16 - j]} * taps[p][1];
    }
    return to_pcm(sum);
}

void window(Mp3Channel *channels, uint32_t count, uint32_t slots, int16_t *pcm) {
    for (uint32_t ch = 0; ch < count; ++ch) {
        for (uint32_t slot = 0; slot < slots; ++slot) {
            const Mp3Slot *const newest = channels[ch].samples() + slot;
            int16_t *const output = pcm + size_t{slot} * kMp3Subbands * count + ch;
            for (uint32_t j = 0; j < 16; ++j) {
                output[j * count] = sum_of_pairs(newest, j, synthesisWindow[0][j]);
                output[(31 - j) * count] = sum_of_pairs(newest, j + 1, synthesisWindow[1][j]);
            }
        }
        MMemMove(channels[ch].slots, channels[ch].slots + slots, sizeof(Mp3Slot) * kMp3PastSlots);
    }
}

}  // namespace

Mp3Kernels mp3_portable_kernels() {
    return {"portable", Lane1::kCount, reduce_alias_of_lines, imdct<Lane1>, dct32<Lane1>, window};
}

}  // namespace quorv
