// The kernels for processors with SSE2.

#include "mp3dec/kernels/DequantizeKernel.h"
#include "mp3dec/kernels/HybridKernel.h"
#include "mp3dec/kernels/LanesSse2.h"
#include "mp3dec/kernels/SynthesisKernel.h"
#include "mp3dec/kernels/WindowPairs.h"
#include "mp3dec/kernels/WordsSse2.h"

namespace quorv {

namespace {

// The powers are looked up one by one.
void requantize(int32_t *lines, uint32_t count, const int32_t *powers, int shift) {
    const __m128i rounding = _mm_set1_epi32(1 << (shift - 1)), bits = _mm_cvtsi32_si128(shift);
    uint32_t i = 0;
    for (; i + 4 <= count; i += 4) {
        int32_t *at = lines + i;
        const __m128i four = _mm_set_epi32(powers[at[3]], powers[at[2]], powers[at[1]], powers[at[0]]);
        store_lanes(at, {_mm_sra_epi32(_mm_add_epi32(four, rounding), bits)});
    }
    for (; i < count; ++i)
        lines[i] = (powers[lines[i]] + (1 << (shift - 1))) >> shift;
}

}  // namespace

Mp3Kernels mp3_sse2_kernels() {
    return {
        "SSE2",       Lane4::kCount,         requantize, dequantize<Lane4>, reduce_alias<Lane4>, imdct<Lane4>,
        dct32<Lane4>, window<Words4, Words4>};
}

}  // namespace quorv
