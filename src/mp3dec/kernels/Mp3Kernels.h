// The decoder's inner loops, one set of functions for each instruction set.
#ifndef QUORV_SRC_MP3DEC_KERNELS_MP3KERNELS_H
#define QUORV_SRC_MP3DEC_KERNELS_MP3KERNELS_H

#include <stdint.h>

#include "mp3dec/Mp3Channel.h"

namespace quorv {

// The windows that a granule uses, scaled to take off the extra bits of its spectrum. Bits that it lacks are
// put back by shifting what comes out.
struct Mp3Windows {
    int32_t normal[36];  // of the two lowest subbands of mixed blocks
    int32_t block[36];
    bool is_short;
    bool mixed;
    bool large;  // factors of a half and more are where they were before scaling; none of those is left else
    int lacking_bits;
};

// What a granule's lines tell.
struct Mp3Loudness {
    uint32_t subbands;  // a bit for each that may need more than 32 bits
    uint32_t sum;       // of the magnitudes of all lines, in units of 2^16
};

struct Mp3Kernels {
    const char *name;
    uint32_t lanes;  // subbands that imdct() does at once

    // Replaces values of -15 to 15 by their powers, shifted right and rounded: halves go up. `powers` points
    // at that of 0; the shift is 1 to 30.
    void (*requantize)(int32_t *lines, uint32_t count, const int32_t *powers, int shift);
    // Multiplies all subbands by their factors in units of 2^-32, rounded: halves go up. Factors are even and
    // not negative, samples up to 2^30 in size.
    void (*dequantize)(Mp3Slot *slots, uint32_t count, const int32_t factors[kMp3Subbands]);

    // Alias reduction at the lower edges of subbands 1 to `edges`.
    void (*reduce_alias)(int32_t *spectrum, uint32_t edges);
    // Transforms the lowest subbands, a multiple of `lanes`, into 18 slots of samples from `slot` on.
    Mp3Loudness (*imdct)(Mp3Channel *channel, const Mp3Windows &windows, uint32_t subbands, uint32_t slot);
    // Replaces each slot by its DCT-II.
    void (*dct32)(Mp3Slot *slots, uint32_t count);
    // Makes samples of the transformed slots of as many channels, interleaved, and keeps what the next frame
    // needs of them.
    void (*window)(Mp3Channel *channels, uint32_t count, uint32_t slots, int16_t *pcm);
};

inline constexpr uint32_t kMp3MaxKernelSets = 3;

// The sets that the processor can run, the slowest first. Returns how many.
uint32_t mp3_kernel_sets(Mp3Kernels sets[kMp3MaxKernelSets]);

// The fastest of them.
Mp3Kernels mp3_best_kernels();

Mp3Kernels mp3_portable_kernels();
Mp3Kernels mp3_sse2_kernels();
Mp3Kernels mp3_avx2_kernels();
Mp3Kernels mp3_neon_kernels();

}  // namespace quorv

#endif
