// One value at a time: the lane type of the portable kernels, and what all others must agree with.
#ifndef QUORV_SRC_MP3DEC_KERNELS_LANE1_H
#define QUORV_SRC_MP3DEC_KERNELS_LANE1_H

#include <stddef.h>

#include "mp3dec/FixedPoint.h"

namespace quorv {
namespace {

struct Lane1 {
    int32_t value;

    static constexpr uint32_t kCount = 1;
};

inline Lane1 operator+(Lane1 a, Lane1 b) {
    return {wrap_add(a.value, b.value)};
}

inline Lane1 operator-(Lane1 a, Lane1 b) {
    return {wrap_sub(a.value, b.value)};
}

inline Lane1 operator-(Lane1 a) {
    return {wrap_sub(0, a.value)};
}

inline Lane1 half(Lane1 a) {
    return {a.value >> 1};
}

#if defined(__arm__) && defined(__ARM_FEATURE_DSP)

// (sum * 2^32 + a * b + 2^31) >> 32 in one instruction, which compilers do not find themselves.
inline int32_t high_product_add(int32_t a, int32_t b, int32_t sum) {
    int32_t result;
    __asm__("smmlar %0, %1, %2, %3" : "=r"(result) : "r"(a), "r"(b), "r"(sum));
    return result;
}

inline int32_t high_product(int32_t a, int32_t b) {
    int32_t result;
    __asm__("smmulr %0, %1, %2" : "=r"(result) : "r"(a), "r"(b));
    return result;
}

// The factor counts twice in a high product, which wraps from a half on and is then off by the value itself.
inline Lane1 mul_add(Lane1 sum, Lane1 a, int32_t factor) {
    const int32_t twice = static_cast<int32_t>(static_cast<uint32_t>(factor) << 1);
    if (factor >= 1 << 30) return {high_product_add(a.value, twice, wrap_add(sum.value, a.value))};
    if (factor < -(1 << 30)) return {high_product_add(a.value, twice, wrap_sub(sum.value, a.value))};
    return {high_product_add(a.value, twice, sum.value)};
}

inline Lane1 mul(Lane1 a, int32_t factor) {
    const int32_t twice = static_cast<int32_t>(static_cast<uint32_t>(factor) << 1);
    if (factor >= 1 << 30) return {high_product_add(a.value, twice, a.value)};
    if (factor < -(1 << 30)) return {high_product_add(a.value, twice, wrap_sub(0, a.value))};
    return {high_product(a.value, twice)};
}

#else

// a * factor, rounded; a tie upwards. The factor has 31 fractional bits and is not -1.
inline Lane1 mul(Lane1 a, int32_t factor) {
    return {mul_shift<31>(a.value, factor)};
}

inline Lane1 mul_add(Lane1 sum, Lane1 a, int32_t factor) {
    return sum + mul(a, factor);
}

#endif

// sum + a * -factor; the factor is at least 0.
inline Lane1 mul_sub(Lane1 sum, Lane1 a, int32_t factor) {
    return mul_add(sum, a, -factor);
}

// a * c + b * s and a * s - b * c for factors of at least 0.
inline void rotate(Lane1 a, Lane1 b, int32_t c, int32_t s, Lane1 *p, Lane1 *q) {
    *p = mul_add(mul(a, c), b, s);
    *q = mul_sub(mul(a, s), b, c);
}

inline Lane1 load_lanes(Lane1 /*kind*/, const int32_t *from) {
    return {*from};
}

inline void store_lanes(int32_t *to, Lane1 a) {
    *to = a.value;
}

// The columns of rows that lie `stride` apart: x[k] has column k of as many rows as there are lanes.
template <uint32_t columns>
inline void load_columns(const int32_t *from, size_t /*stride*/, Lane1 x[columns]) {
#pragma GCC unroll 32
    for (uint32_t k = 0; k < columns; ++k)
        x[k].value = from[k];
}

template <uint32_t columns>
inline void store_columns(const Lane1 x[columns], int32_t *to, size_t /*stride*/) {
#pragma GCC unroll 32
    for (uint32_t k = 0; k < columns; ++k)
        to[k] = x[k].value;
}

// Changes the sign of the lanes with odd numbers; `first` is the number of the first.
inline Lane1 negate_odd(Lane1 a, uint32_t first) {
    return first % 2 != 0 ? -a : a;
}

// Lanes with the numbers 0 and 1 of a, the others of b.
inline Lane1 first_two(Lane1 a, Lane1 b, uint32_t first) {
    return first < 2 ? a : b;
}

// The sum of the magnitudes in units of 2^16, each rounded down.
struct LaneSum1 {
    uint32_t value;
};

template <uint32_t N>
inline LaneSum1 sum_magnitudes(const Lane1 *x) {
    uint32_t sum = 0;
    for (uint32_t k = 0; k < N; ++k)
        sum += static_cast<uint32_t>((x[k].value ^ x[k].value >> 31) >> 16);
    return {sum};
}

// A bit for each lane whose sum is above the limit.
inline uint32_t lanes_above(LaneSum1 sum, uint32_t limit) {
    return sum.value > limit ? 1 : 0;
}

// The sums of all lanes.
inline uint32_t total_of(LaneSum1 sum) {
    return sum.value;
}

}  // namespace
}  // namespace quorv

#endif
