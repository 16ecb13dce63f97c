// Four values side by side, for processors with SSE2; see Lane1.h for what the functions do.
#ifndef QUORV_SRC_MP3DEC_KERNELS_LANESSSE2_H
#define QUORV_SRC_MP3DEC_KERNELS_LANESSSE2_H

#include <emmintrin.h>
#include <stddef.h>
#include <stdint.h>
#include <type_traits>

#include "mp3dec/kernels/Columns.h"

namespace quorv {
namespace {

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

// Products. There are only unsigned ones, of the even lanes: values become unsigned by an offset of 2^31, of
// which the product then has as much too much as the factor is. Factors are at least 0, negative ones become
// differences.

// A value with the offset, for the even and for the odd lanes.
struct OffsetLanes {
    __m128i even, odd;
};

inline OffsetLanes with_offset(Lane4 a) {
    const __m128i offset = _mm_xor_si128(a.value, _mm_set1_epi32(INT32_MIN));
    return {offset, _mm_srli_epi64(offset, 32)};
}

// The same for factors, which have no offset.
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

// The products with the offset's part, rounded and shifted by 31: of lanes 0, 2, 1 and 3. What will be taken
// off rounds a tie the other way.
template <bool taken_off>
inline __m128i products(const OffsetLanes &x, const LaneFactors &f) {
    const __m128i rounding = _mm_set1_epi64x((int64_t{1} << 30) - (taken_off ? 1 : 0));
    const __m128i even = _mm_srli_epi64(_mm_add_epi64(_mm_mul_epu32(x.even, f.even), rounding), 31);
    const __m128i odd = _mm_srli_epi64(_mm_add_epi64(_mm_mul_epu32(x.odd, f.odd), rounding), 31);
    // There is a shuffle of two operands for floats only.
    return _mm_castps_si128(
        _mm_shuffle_ps(_mm_castsi128_ps(even), _mm_castsi128_ps(odd), _MM_SHUFFLE(2, 0, 2, 0)));
}

inline Lane4 in_order(__m128i lanes) {
    return {_mm_shuffle_epi32(lanes, _MM_SHUFFLE(3, 1, 2, 0))};
}

inline Lane4 mul(Lane4 a, int32_t factor) {
    const LaneFactors f = factors_of(factor);
    return in_order(products<false>(with_offset(a), f)) - Lane4{f.all};
}

// The factors are at least 0.
inline Lane4 mul(Lane4 a, Lane4 factors) {
    return in_order(products<false>(with_offset(a), factors_of(factors))) - factors;
}

inline Lane4 mul_add(Lane4 sum, Lane4 a, int32_t factor) {
    return sum + mul(a, factor);
}

inline Lane4 mul_sub(Lane4 sum, Lane4 a, int32_t factor) {
    const LaneFactors f = factors_of(factor);
    return sum - in_order(products<true>(with_offset(a), f)) + Lane4{f.all};
}

inline int32_t added_factor(Lane4 /*kind*/, int32_t factor) {
    return factor;
}

inline int32_t subtracted_factor(Lane4 /*kind*/, int32_t factor) {
    return factor;
}

template <bool large>
inline Lane4 add_windowed(std::bool_constant<large> /*kind*/, Lane4 sum, Lane4 a, int32_t factor) {
    return mul_add(sum, a, factor);
}

template <bool large>
inline Lane4 subtract_windowed(std::bool_constant<large> /*kind*/, Lane4 sum, Lane4 a, int32_t factor) {
    return mul_sub(sum, a, factor);
}

// a * c + b * s and a * s - b * c. The factors are numbers or lanes of them.
template <class Factor>
inline void rotate(Lane4 a, Lane4 b, Factor c, Factor s, Lane4 *p, Lane4 *q) {
    const OffsetLanes x = with_offset(a), y = with_offset(b);
    const LaneFactors fc = factors_of(c), fs = factors_of(s);
    const __m128i sum = _mm_add_epi32(products<false>(x, fc), products<false>(y, fs));
    const __m128i difference = _mm_sub_epi32(products<false>(x, fs), products<true>(y, fc));
    *p = in_order(sum) - Lane4{_mm_add_epi32(fc.all, fs.all)};
    *q = in_order(difference) - Lane4{_mm_sub_epi32(fs.all, fc.all)};
}

inline Lane4 reverse(Lane4 a) {
    return {_mm_shuffle_epi32(a.value, _MM_SHUFFLE(0, 1, 2, 3))};
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

inline Lane4 load_lanes(Lane4 /*kind*/, const int32_t *from) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i *>(from))};
}

inline void store_lanes(int32_t *to, Lane4 a) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to), a.value);
}

// Changes the sign of every second lane.
inline Lane4 negate_odd(Lane4 a) {
    const __m128i odd = _mm_set_epi32(-1, 0, -1, 0);
    return {_mm_sub_epi32(_mm_xor_si128(a.value, odd), odd)};
}

}  // namespace
}  // namespace quorv

#endif
