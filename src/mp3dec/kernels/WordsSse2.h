// Four 32-bit words side by side, for processors with SSE2: pairs of 16-bit parts and sums of their products,
// as WindowPairs.h wants them.
#ifndef QUORV_SRC_MP3DEC_KERNELS_WORDSSSE2_H
#define QUORV_SRC_MP3DEC_KERNELS_WORDSSSE2_H

#include <emmintrin.h>
#include <stdint.h>

namespace quorv {
namespace {

struct Words4 {
    __m128i value;

    static constexpr uint32_t kCount = 4;
};

inline Words4 load_words(Words4 /*kind*/, const void *from) {
    return {_mm_loadu_si128(static_cast<const __m128i *>(from))};
}

inline void store_words(void *to, Words4 a) {
    _mm_storeu_si128(static_cast<__m128i *>(to), a.value);
}

inline Words4 all_words(Words4 /*kind*/, int32_t value) {
    return {_mm_set1_epi32(value)};
}

// The others are 0.
inline Words4 first_word(Words4 /*kind*/, int32_t value) {
    return {_mm_cvtsi32_si128(value)};
}

inline Words4 operator+(Words4 a, Words4 b) {
    return {_mm_add_epi32(a.value, b.value)};
}

inline Words4 operator-(Words4 a) {
    return {_mm_sub_epi32(_mm_setzero_si128(), a.value)};
}

template <int bits>
inline Words4 shift_right(Words4 a) {
    return {_mm_srai_epi32(a.value, bits)};
}

inline Words4 reverse_words(Words4 a) {
    return {_mm_shuffle_epi32(a.value, _MM_SHUFFLE(0, 1, 2, 3))};
}

// Pairs of the upper halves of both, or of the lower ones; a's come first.
inline Words4 upper_pairs(Words4 a, Words4 b) {
    const __m128i upper = _mm_set1_epi32(-0x10000);
    return {_mm_or_si128(_mm_srli_epi32(a.value, 16), _mm_and_si128(b.value, upper))};
}

inline Words4 lower_pairs(Words4 a, Words4 b) {
    const __m128i lower = _mm_set1_epi32(0xFFFF);
    return {_mm_or_si128(_mm_and_si128(a.value, lower), _mm_slli_epi32(b.value, 16))};
}

// The sums of the products of both halves.
inline Words4 sum_products(Words4 a, Words4 b) {
    return {_mm_madd_epi16(a.value, b.value)};
}

// Both in order, saturated to 16 bits.
inline Words4 pack(Words4 a, Words4 b) {
    return {_mm_packs_epi32(a.value, b.value)};
}

inline Words4 reverse_halves(Words4 a) {
    constexpr int kReverse = _MM_SHUFFLE(0, 1, 2, 3);
    const __m128i halves = _mm_shufflehi_epi16(_mm_shufflelo_epi16(a.value, kReverse), kReverse);
    return {_mm_shuffle_epi32(halves, _MM_SHUFFLE(1, 0, 3, 2))};
}

// Halves of both in turn: of the first two words, or of the others.
inline Words4 interleave_first(Words4 a, Words4 b) {
    return {_mm_unpacklo_epi16(a.value, b.value)};
}

inline Words4 interleave_last(Words4 a, Words4 b) {
    return {_mm_unpackhi_epi16(a.value, b.value)};
}

}  // namespace
}  // namespace quorv

#endif
