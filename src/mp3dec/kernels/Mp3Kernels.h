// The decoder's inner loops, one set of functions for each instruction set. Which set runs is chosen when a
// decoder is made. All give the same samples, to the last bit; the portable one says which.
//
// WORDS
//
// All values are 32-bit integers with a fixed number of fractional bits (FixedPoint.h), 1.0 is full scale.
//
//   lines of a spectrum    kSpectrumBits, and by granule up to kMaxExtraBits more; below 2^30
//   overlap, samples       kSampleBits
//   transformed slots      kSampleBits; up to kMp3MaxT in size, nearly 16.0
//   factors                31; 0 to 1. A negative one is another operation.
//   scale factors          32, of Layers I and II; even, 0 to 1/2
//   taps of the window     20 as words; 16 as pairs of 16-bit parts
//   output samples         15, 16 bits wide
//
// ARITHMETIC
//
//   sums           wrap. The code around the kernels sees to it that those of real streams need no more bits.
//   halves         are rounded down.
//   products       with factors: each is rounded to the bits of the value on its own, before anything is
//   added, and a
//                  tie goes upwards: (2 a f + 2^31) >> 32. So it is one instruction on ARM: SMMLAR, of 2 f
//                  or, from a half on, of 2 f - 2^32 together with a itself; with NEON VQRDMULH. To take a
//                  product off is to add that of the negative factor, which decides ties: SMMLSR.
//   requantising   (power + 2^(shift - 1)) >> shift.
//   magnitudes     for bounds of loudness: those of negative values are smaller by 1, and each is rounded
//   down to units
//                  of 2^16. Sums may saturate at INT16_MAX, which is loud.
//   window         the sum of 16 products is exact and rounded once, by kMp3OutputRounding (Window.h), then
//   saturated.
//
// Which products there are is what CosineTransforms.h and HybridKernel.h say, for lanes of any number. These
// headers and the tables are the same for all sets.
//
// ANOTHER SET
//
// 1. Write Lanes<Set>.h: a type of lanes with the functions of Lane1.h, all in an unnamed namespace. A
// function that
//    other files could share must be a template of that type: compiled for more than every processor has, it
//    could take the place of theirs.
// 2. Write <Set>.cpp: it instantiates the kernels and has what is better written by hand, mostly the window.
// Its function
//    returns the set; there is no table, which would need relocation.
// 3. Name the file and its compiler flags in mp3dec/CMakeLists.txt, and the processor's sign of it in
// Mp3Kernels.cpp;
//    raise kMp3MaxKernelSets if need be.
//
// The tests of kernels find it there and compare it with the portable set.
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
Mp3Kernels mp3_wasm_simd128_kernels();

}  // namespace quorv

#endif
