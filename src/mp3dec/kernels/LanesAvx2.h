// Eight values side by side, for processors with AVX2; see Lane1.h for what the functions do.
#ifndef QUORV_SRC_MP3DEC_KERNELS_LANESAVX2_H
#define QUORV_SRC_MP3DEC_KERNELS_LANESAVX2_H

#include <immintrin.h>
#include <stddef.h>
#include <stdint.h>
#include <type_traits>

#include "mp3dec/kernels/Columns.h"

namespace quorv {
namespace {

struct Lane8 {
    __m256i value;

    static constexpr uint32_t kCount = 8;
};

inline Lane8 operator+(Lane8 a, Lane8 b) {
    return {_mm256_add_epi32(a.value, b.value)};
}

inline Lane8 operator-(Lane8 a, Lane8 b) {
    return {_mm256_sub_epi32(a.value, b.value)};
}

inline Lane8 operator-(Lane8 a) {
    return {_mm256_sub_epi32(_mm256_setzero_si256(), a.value)};
}

inline Lane8 half(Lane8 a) {
    return {_mm256_srai_epi32(a.value, 1)};
}

inline __m256i odd_lanes(__m256i a) {
    return _mm256_shuffle_epi32(a, _MM_SHUFFLE(3, 3, 1, 1));
}

// The high words of products, rounded, a tie upwards. Products of odd lanes have them in place.
inline Lane8 high_words(__m256i even_products, __m256i odd_products) {
    const __m256i rounding = _mm256_set1_epi64x(int64_t{1} << 31);
    const __m256i even = _mm256_srli_epi64(_mm256_add_epi64(even_products, rounding), 32);
    return {_mm256_blend_epi32(even, _mm256_add_epi64(odd_products, rounding), 0xAA)};
}

inline Lane8 high_products(Lane8 a, int32_t factor) {
    const __m256i f = _mm256_set1_epi32(factor);
    return high_words(_mm256_mul_epi32(a.value, f), _mm256_mul_epi32(odd_lanes(a.value), f));
}

// Factors count twice in a high product. From a half on they wrap and are then off by the value itself.
inline Lane8 mul(Lane8 a, int32_t factor) {
    const Lane8 product = high_products(a, static_cast<int32_t>(static_cast<uint32_t>(factor) << 1));
    return factor < 1 << 30 ? product : product + a;
}

inline Lane8 mul_add(Lane8 sum, Lane8 a, int32_t factor) {
    return sum + mul(a, factor);
}

inline Lane8 mul_sub(Lane8 sum, Lane8 a, int32_t factor) {
    const Lane8 product = high_products(a, static_cast<int32_t>(0 - (static_cast<uint32_t>(factor) << 1)));
    return (factor <= 1 << 30 ? sum : sum - a) + product;
}

inline int32_t added_factor(Lane8 /*kind*/, int32_t factor) {
    return factor;
}

inline int32_t subtracted_factor(Lane8 /*kind*/, int32_t factor) {
    return -factor;
}

inline Lane8 high_products_of_twice(Lane8 a, __m256i factor) {
    const __m256i even = _mm256_mul_epi32(a.value, factor),
                  odd = _mm256_mul_epi32(odd_lanes(a.value), factor);
    return high_words(_mm256_add_epi64(even, even), _mm256_add_epi64(odd, odd));
}

template <bool large>
inline Lane8 add_windowed(std::bool_constant<large> /*kind*/, Lane8 sum, Lane8 a, int32_t factor) {
    return sum + high_products_of_twice(a, _mm256_set1_epi32(factor));
}

template <bool large>
inline Lane8 subtract_windowed(std::bool_constant<large> /*kind*/, Lane8 sum, Lane8 a, int32_t factor) {
    return sum + high_products_of_twice(a, _mm256_set1_epi32(factor));
}

inline void rotate(Lane8 a, Lane8 b, int32_t c, int32_t s, Lane8 *p, Lane8 *q) {
    *p = mul_add(mul(a, c), b, s);
    *q = mul_sub(mul(a, s), b, c);
}

inline Lane8 mul(Lane8 a, Lane8 factors) {
    const __m256i even = _mm256_mul_epi32(a.value, factors.value),
                  odd = _mm256_mul_epi32(odd_lanes(a.value), odd_lanes(factors.value));
    return high_words(_mm256_add_epi64(even, even), _mm256_add_epi64(odd, odd));
}

inline void rotate(Lane8 a, Lane8 b, Lane8 c, Lane8 s, Lane8 *p, Lane8 *q) {
    *p = mul(a, c) + mul(b, s);
    *q = mul(a, s) + mul(b, -c);
}

inline Lane8 reverse(Lane8 a) {
    return {_mm256_permutevar8x32_epi32(a.value, _mm256_set_epi32(0, 1, 2, 3, 4, 5, 6, 7))};
}

// Sums of magnitudes: in the upper halves of lanes, saturated. The lower halves mean nothing.
struct LaneSums8 {
    __m256i value;
};

template <uint32_t N>
inline LaneSums8 sum_magnitudes(const Lane8 *x) {
    __m256i sum = _mm256_setzero_si256();
#pragma GCC unroll 32
    for (uint32_t k = 0; k < N; ++k)
        sum = _mm256_adds_epi16(sum, _mm256_xor_si256(x[k].value, _mm256_srai_epi16(x[k].value, 15)));
    return {sum};
}

inline uint32_t lanes_above(LaneSums8 sums, uint32_t limit) {
    const __m256i above = _mm256_cmpgt_epi16(sums.value, _mm256_set1_epi16(static_cast<int16_t>(limit)));
    return static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(above)));
}

inline uint32_t total_of(LaneSums8 sums) {
    const __m256i upper = _mm256_srli_epi32(sums.value, 16);
    const __m128i fours = _mm_add_epi32(_mm256_castsi256_si128(upper), _mm256_extracti128_si256(upper, 1));
    const __m128i pairs = _mm_add_epi32(fours, _mm_unpackhi_epi64(fours, fours));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(pairs, _mm_shuffle_epi32(pairs, 1))));
}

// Eight rows of eight become eight columns.
inline void transpose(Lane8 *x) {
    __m256i pairs[8], fours[8];
#pragma GCC unroll 4
    for (size_t i = 0; i < 4; ++i) {
        pairs[2 * i] = _mm256_unpacklo_epi32(x[2 * i].value, x[2 * i + 1].value);
        pairs[2 * i + 1] = _mm256_unpackhi_epi32(x[2 * i].value, x[2 * i + 1].value);
    }
#pragma GCC unroll 2
    for (size_t i = 0; i < 8; i += 4) {
        fours[i] = _mm256_unpacklo_epi64(pairs[i], pairs[i + 2]);
        fours[i + 1] = _mm256_unpackhi_epi64(pairs[i], pairs[i + 2]);
        fours[i + 2] = _mm256_unpacklo_epi64(pairs[i + 1], pairs[i + 3]);
        fours[i + 3] = _mm256_unpackhi_epi64(pairs[i + 1], pairs[i + 3]);
    }
#pragma GCC unroll 4
    for (size_t i = 0; i < 4; ++i) {
        x[i].value = _mm256_permute2x128_si256(fours[i], fours[i + 4], 0x20);
        x[i + 4].value = _mm256_permute2x128_si256(fours[i], fours[i + 4], 0x31);
    }
}

inline Lane8 load_lanes(Lane8 /*kind*/, const int32_t *from) {
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i *>(from))};
}

inline void store_lanes(int32_t *to, Lane8 a) {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), a.value);
}

// Changes the sign of every second lane.
inline Lane8 negate_odd(Lane8 a) {
    return {_mm256_sign_epi32(a.value, _mm256_set_epi32(-1, 1, -1, 1, -1, 1, -1, 1))};
}

}  // namespace
}  // namespace quorv

#endif
