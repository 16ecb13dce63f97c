// One value at a time: the lane type of the portable kernels, and what all others must agree with.
#ifndef QUORV_SRC_MP3DEC_KERNELS_LANE1_H
#define QUORV_SRC_MP3DEC_KERNELS_LANE1_H

#include <stddef.h>
#include <type_traits>

#include "mp3dec/kernels/Products.h"

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

// Factors count twice in a high product. From a half on they wrap and are then off by the value itself.
inline int32_t twice(int32_t factor) {
    return static_cast<int32_t>(static_cast<uint32_t>(factor) << 1);
}

inline constexpr int32_t kHalf = 1 << 30;

// sum + a * factor, which is at least 0.
inline Lane1 mul_add(Lane1 sum, Lane1 a, int32_t factor) {
    return {add_high_product((factor < kHalf ? sum : sum + a).value, a.value, twice(factor))};
}

// sum + a * -factor, which is at least 0.
inline Lane1 mul_sub(Lane1 sum, Lane1 a, int32_t factor) {
    return {subtract_high_product((factor < kHalf ? sum : sum - a).value, a.value, twice(factor))};
}

// a * factor, rounded, a tie upwards. The factor has 31 fractional bits and is at least 0.
inline Lane1 mul(Lane1 a, int32_t factor) {
    if (factor < kHalf) return {high_product(a.value, twice(factor))};
    return mul_add({0}, a, factor);
}

// The factors of a block's window as the functions behind take them; `large` is whether it is a half or more.
inline int32_t added_factor(Lane1 /*kind*/, int32_t factor) {
    return twice(factor);
}

inline int32_t subtracted_factor(Lane1 /*kind*/, int32_t factor) {
    return twice(factor);
}

template <bool large>
inline Lane1 add_windowed(std::bool_constant<large> /*kind*/, Lane1 sum, Lane1 a, int32_t factor) {
    return {add_high_product((large ? sum + a : sum).value, a.value, factor)};
}

template <bool large>
inline Lane1 subtract_windowed(std::bool_constant<large> /*kind*/, Lane1 sum, Lane1 a, int32_t factor) {
    return {subtract_high_product((large ? sum - a : sum).value, a.value, factor)};
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
