// The kernels for processors with AVX2.

#include "mp3dec/kernels/DequantizeKernel.h"
#include "mp3dec/kernels/HybridKernel.h"
#include "mp3dec/kernels/LanesAvx2.h"
#include "mp3dec/kernels/SynthesisKernel.h"
#include "mp3dec/kernels/WindowPairs.h"
#include "mp3dec/kernels/WordsSse2.h"

namespace quorv {

namespace {

struct Words8 {
    __m256i value;

    static constexpr uint32_t kCount = 8;
};

inline Words8 load_words(Words8 /*kind*/, const int16_t (*from)[2]) {
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i *>(from))};
}

inline void store_words(int16_t *to, Words8 a) {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), a.value);
}

inline Words8 all_words(Words8 /*kind*/, int32_t value) {
    return {_mm256_set1_epi32(value)};
}

inline Words8 operator+(Words8 a, Words8 b) {
    return {_mm256_add_epi32(a.value, b.value)};
}

template <int bits>
inline Words8 shift_right(Words8 a) {
    return {_mm256_srai_epi32(a.value, bits)};
}

inline Words8 sum_products(Words8 a, Words8 b) {
    return {_mm256_madd_epi16(a.value, b.value)};
}

inline Words8 pack(Words8 a, Words8 b) {
    return {_mm256_permute4x64_epi64(_mm256_packs_epi32(a.value, b.value), _MM_SHUFFLE(3, 1, 2, 0))};
}

inline Words8 reverse_halves(Words8 a) {
    const __m256i order = _mm256_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1, 14, 15, 12,
                                           13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
    return {_mm256_permute4x64_epi64(_mm256_shuffle_epi8(a.value, order), _MM_SHUFFLE(1, 0, 3, 2))};
}

void requantize(int32_t *lines, uint32_t count, const int32_t *powers, int shift) {
    const __m256i rounding = _mm256_set1_epi32(1 << (shift - 1));
    const __m128i bits = _mm_cvtsi32_si128(shift);
    uint32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m256i eight = _mm256_i32gather_epi32(powers, load_lanes(Lane8{}, lines + i).value, 4);
        store_lanes(lines + i, {_mm256_sra_epi32(_mm256_add_epi32(eight, rounding), bits)});
    }
    for (; i < count; ++i)
        lines[i] = (powers[lines[i]] + (1 << (shift - 1))) >> shift;
}

}  // namespace

Mp3Kernels mp3_avx2_kernels() {
    return {
        "AVX2",       Lane8::kCount,         requantize, dequantize<Lane8>, reduce_alias<Lane8>, imdct<Lane8>,
        dct32<Lane8>, window<Words8, Words4>};
}

}  // namespace quorv
