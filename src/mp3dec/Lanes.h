// `Lanes`, the widest group of values that the transforms handle at once, and its loading and storing.
//
// The results are the same on every machine, to the last bit.
#ifndef QUORV_SRC_MP3DEC_LANES_H
#define QUORV_SRC_MP3DEC_LANES_H

#include "mp3dec/FixedPoint.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace quorv {

#if defined(__SSE2__)

struct Lane4 {
    __m128i value;

    static constexpr uint32_t kCount = 4;
};

inline Lane4 operator+(Lane4 a, Lane4 b) {
    return {_mm_add_epi32(a.value, b.value)};
}

inline Lane4 operator-(Lane4 a, Lane4 b) {
    return {_mm_sub_epi32(a.value, b.value)};
}

inline Lane4 operator-(Lane4 a) {
    return {_mm_sub_epi32(_mm_setzero_si128(), a.value)};
}

inline Lane4 half(Lane4 a) {
    return {_mm_srai_epi32(a.value, 1)};
}

// Products. There are only unsigned ones, of the even lanes: values become unsigned by an offset of 2^31,
// which adds a multiple of 2^31 to the product and is taken off behind the shift.

// A value with the offset, for the even and for the odd lanes.
struct OffsetLanes {
    __m128i even, odd;
};

inline OffsetLanes with_offset(Lane4 a) {
    const __m128i offset = _mm_xor_si128(a.value, _mm_set1_epi32(INT32_MIN));
    return {offset, _mm_srli_epi64(offset, 32)};
}

// The sums of products of the even and the odd lanes, rounded and shifted by 31, without the offset's part.
inline Lane4 merge_products(__m128i even, __m128i odd, __m128i factors) {
    const __m128i rounding = _mm_set1_epi64x(int64_t{1} << 30);
    even = _mm_srli_epi64(_mm_add_epi64(even, rounding), 31);
    odd = _mm_srli_epi64(_mm_add_epi64(odd, rounding), 31);
    // The low halves of both, then in turn; there is a shuffle of two operands for floats only.
    const __m128 halves =
        _mm_shuffle_ps(_mm_castsi128_ps(even), _mm_castsi128_ps(odd), _MM_SHUFFLE(2, 0, 2, 0));
    const __m128i merged = _mm_shuffle_epi32(_mm_castps_si128(halves), _MM_SHUFFLE(3, 1, 2, 0));
    return {_mm_sub_epi32(merged, factors)};
}

inline Lane4 mul(Lane4 a, int32_t factor) {
    const OffsetLanes x = with_offset(a);
    const __m128i f = _mm_set1_epi32(factor);
    return merge_products(_mm_mul_epu32(x.even, f), _mm_mul_epu32(x.odd, f), f);
}

// Factors for the even and for the odd lanes.
struct LaneFactors {
    __m128i even, odd, all;
};

inline LaneFactors factors_of(int32_t factor) {
    const __m128i f = _mm_set1_epi32(factor);
    return {f, f, f};
}

inline LaneFactors factors_of(Lane4 factors) {
    return {factors.value, _mm_srli_epi64(factors.value, 32), factors.value};
}

inline Lane4 sum_of_products(const OffsetLanes &x, const LaneFactors &c, const OffsetLanes &y,
                             const LaneFactors &s) {
    return merge_products(_mm_add_epi64(_mm_mul_epu32(x.even, c.even), _mm_mul_epu32(y.even, s.even)),
                          _mm_add_epi64(_mm_mul_epu32(x.odd, c.odd), _mm_mul_epu32(y.odd, s.odd)),
                          _mm_add_epi32(c.all, s.all));
}

inline Lane4 difference_of_products(const OffsetLanes &x, const LaneFactors &c, const OffsetLanes &y,
                                    const LaneFactors &s) {
    return merge_products(_mm_sub_epi64(_mm_mul_epu32(x.even, c.even), _mm_mul_epu32(y.even, s.even)),
                          _mm_sub_epi64(_mm_mul_epu32(x.odd, c.odd), _mm_mul_epu32(y.odd, s.odd)),
                          _mm_sub_epi32(c.all, s.all));
}

inline Lane4 mul_sub(Lane4 a, int32_t c, Lane4 b, int32_t s) {
    return difference_of_products(with_offset(a), factors_of(c), with_offset(b), factors_of(s));
}

// The factors are numbers or lanes of them.
template <class Factor>
inline void rotate(Lane4 a, Lane4 b, Factor c, Factor s, Lane4 *p, Lane4 *q) {
    const OffsetLanes x = with_offset(a), y = with_offset(b);
    const LaneFactors fc = factors_of(c), fs = factors_of(s);
    *p = sum_of_products(x, fc, y, fs);
    *q = difference_of_products(x, fs, y, fc);
}

// Sums of magnitudes: in the upper halves of lanes, saturated. The lower halves mean nothing.
struct LaneSums {
    __m128i value;
};

template <uint32_t N>
inline LaneSums sum_magnitudes(const Lane4 *x) {
    __m128i sum = _mm_setzero_si128();
#pragma GCC unroll 32
    for (uint32_t k = 0; k < N; ++k)
        sum = _mm_adds_epi16(sum, _mm_xor_si128(x[k].value, _mm_srai_epi16(x[k].value, 15)));
    return {sum};
}

inline uint32_t lanes_above(LaneSums sums, uint32_t limit) {
    const __m128i above = _mm_cmpgt_epi16(sums.value, _mm_set1_epi16(static_cast<int16_t>(limit)));
    return static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(above)));
}

inline uint32_t total_of(LaneSums sums) {
    const __m128i upper = _mm_srli_epi32(sums.value, 16);
    const __m128i pairs = _mm_add_epi32(upper, _mm_unpackhi_epi64(upper, upper));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(pairs, _mm_shuffle_epi32(pairs, 1))));
}

inline Lane4 reverse(Lane4 a) {
    return {_mm_shuffle_epi32(a.value, _MM_SHUFFLE(0, 1, 2, 3))};
}

// Four rows of four become four columns.
inline void transpose(Lane4 x[4]) {
    const __m128i a = _mm_unpacklo_epi32(x[0].value, x[1].value),
                  b = _mm_unpackhi_epi32(x[0].value, x[1].value);
    const __m128i c = _mm_unpacklo_epi32(x[2].value, x[3].value),
                  d = _mm_unpackhi_epi32(x[2].value, x[3].value);
    x[0].value = _mm_unpacklo_epi64(a, c);
    x[1].value = _mm_unpackhi_epi64(a, c);
    x[2].value = _mm_unpacklo_epi64(b, d);
    x[3].value = _mm_unpackhi_epi64(b, d);
}

inline Lane4 load_lanes(const int32_t *from) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i *>(from))};
}

inline void store_lanes(int32_t *to, Lane4 a) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to), a.value);
}

// Changes the sign of the odd lanes.
inline Lane4 negate_odd(Lane4 a, uint32_t) {
    const __m128i odd = _mm_set_epi32(-1, 0, -1, 0);
    return {_mm_sub_epi32(_mm_xor_si128(a.value, odd), odd)};
}

// The first two lanes of a, the last two of b.
inline Lane4 first_two(Lane4 a, Lane4 b, uint32_t) {
    const __m128i mask = _mm_set_epi32(0, 0, -1, -1);
    return {_mm_or_si128(_mm_and_si128(mask, a.value), _mm_andnot_si128(mask, b.value))};
}

// The columns of four rows that lie `stride` apart: x[k] has column k of the rows.
template <uint32_t columns>
inline void load_columns(const int32_t *from, size_t stride, Lane4 x[columns]) {
    for (uint32_t k = 0; k < columns; k += 4) {
        // The last block may overlap the one before.
        const uint32_t first = k + 4 <= columns ? k : columns - 4;
        Lane4 block[4];
        for (uint32_t row = 0; row < 4; ++row)
            block[row] = load_lanes(from + row * stride + first);
        transpose(block);
        for (uint32_t i = 0; i < 4; ++i)
            x[first + i] = block[i];
    }
}

template <uint32_t columns>
inline void store_columns(const Lane4 x[columns], int32_t *to, size_t stride) {
    for (uint32_t k = 0; k < columns; k += 4) {
        const uint32_t first = k + 4 <= columns ? k : columns - 4;
        Lane4 block[4] = {x[first], x[first + 1], x[first + 2], x[first + 3]};
        transpose(block);
        for (uint32_t row = 0; row < 4; ++row)
            store_lanes(to + row * stride + first, block[row]);
    }
}

using Lanes = Lane4;

#else

inline Lane1 load_lanes(const int32_t *from) {
    return {*from};
}

inline void store_lanes(int32_t *to, Lane1 a) {
    *to = a.value;
}

inline Lane1 reverse(Lane1 a) {
    return a;
}

inline void rotate(Lane1 a, Lane1 b, Lane1 c, Lane1 s, Lane1 *p, Lane1 *q) {
    rotate(a, b, c.value, s.value, p, q);
}

inline Lane1 negate_odd(Lane1 a, uint32_t index) {
    return index % 2 != 0 ? -a : a;
}

inline Lane1 first_two(Lane1 a, Lane1 b, uint32_t index) {
    return index < 2 ? a : b;
}

template <uint32_t columns>
inline void load_columns(const int32_t *from, uint32_t, Lane1 x[columns]) {
    for (uint32_t k = 0; k < columns; ++k)
        x[k].value = from[k];
}

template <uint32_t columns>
inline void store_columns(const Lane1 x[columns], int32_t *to, uint32_t) {
    for (uint32_t k = 0; k < columns; ++k)
        to[k] = x[k].value;
}

using Lanes = Lane1;

#endif

}  // namespace quorv

#endif
