// Four values side by side, for processors with NEON; see Lane1.h for what the functions do.
#ifndef QUORV_SRC_MP3DEC_KERNELS_LANESNEON_H
#define QUORV_SRC_MP3DEC_KERNELS_LANESNEON_H

#include <arm_neon.h>
#include <stddef.h>
#include <stdint.h>
#include <type_traits>

#include "mp3dec/kernels/Columns.h"

namespace quorv {
namespace {

struct Lane4 {
    int32x4_t value;

    static constexpr uint32_t kCount = 4;
};

inline Lane4 operator+(Lane4 a, Lane4 b) {
    return {vaddq_s32(a.value, b.value)};
}

inline Lane4 operator-(Lane4 a, Lane4 b) {
    return {vsubq_s32(a.value, b.value)};
}

inline Lane4 operator-(Lane4 a) {
    return {vnegq_s32(a.value)};
}

inline Lane4 half(Lane4 a) {
    return {vshrq_n_s32(a.value, 1)};
}

// The doubling product is just what is wanted. Constants come in pairs, as registers do.

inline Lane4 mul(Lane4 a, int32_t factor) {
    const int32x2_t f = {factor, factor};
    return {vqrdmulhq_lane_s32(a.value, f, 0)};
}

inline Lane4 mul(Lane4 a, Lane4 factors) {
    return {vqrdmulhq_s32(a.value, factors.value)};
}

inline Lane4 mul_add(Lane4 sum, Lane4 a, int32_t factor) {
    return sum + mul(a, factor);
}

inline Lane4 mul_sub(Lane4 sum, Lane4 a, int32_t factor) {
    return sum + mul(a, -factor);
}

inline int32_t added_factor(Lane4 /*kind*/, int32_t factor) {
    return factor;
}

inline int32_t subtracted_factor(Lane4 /*kind*/, int32_t factor) {
    return -factor;
}

template <bool large>
inline Lane4 add_windowed(std::bool_constant<large> /*kind*/, Lane4 sum, Lane4 a, const int32_t &factor) {
    return {vaddq_s32(sum.value, vqrdmulhq_s32(a.value, vld1q_dup_s32(&factor)))};
}

template <bool large>
inline Lane4 subtract_windowed(std::bool_constant<large> /*kind*/, Lane4 sum, Lane4 a,
                               const int32_t &factor) {
    return add_windowed(std::bool_constant<large>{}, sum, a, factor);
}

inline void rotate(Lane4 a, Lane4 b, int32_t c, int32_t s, Lane4 *p, Lane4 *q) {
    const int32x2_t f = {c, s}, g = {-c, -c};
    *p = {vaddq_s32(vqrdmulhq_lane_s32(a.value, f, 0), vqrdmulhq_lane_s32(b.value, f, 1))};
    *q = {vaddq_s32(vqrdmulhq_lane_s32(a.value, f, 1), vqrdmulhq_lane_s32(b.value, g, 0))};
}

inline void rotate(Lane4 a, Lane4 b, Lane4 c, Lane4 s, Lane4 *p, Lane4 *q) {
    *p = {vaddq_s32(vqrdmulhq_s32(a.value, c.value), vqrdmulhq_s32(b.value, s.value))};
    *q = {vaddq_s32(vqrdmulhq_s32(a.value, s.value), vqrdmulhq_s32(b.value, vnegq_s32(c.value)))};
}

inline Lane4 reverse(Lane4 a) {
    const int32x4_t pairs = vrev64q_s32(a.value);
    return {vcombine_s32(vget_high_s32(pairs), vget_low_s32(pairs))};
}

struct LaneSums4 {
    int32x4_t value;
};

template <uint32_t N>
inline LaneSums4 sum_magnitudes(const Lane4 *x) {
    int32x4_t sum = vdupq_n_s32(0);
#pragma GCC unroll 32
    for (uint32_t k = 0; k < N; ++k)
        sum = vsraq_n_s32(sum, veorq_s32(x[k].value, vshrq_n_s32(x[k].value, 31)), 16);
    return {sum};
}

inline uint32_t total_of(LaneSums4 sums) {
    const int32x2_t pairs = vadd_s32(vget_low_s32(sums.value), vget_high_s32(sums.value));
    return static_cast<uint32_t>(vget_lane_s32(vpadd_s32(pairs, pairs), 0));
}

inline uint32_t lanes_above(LaneSums4 sums, uint32_t limit) {
    const uint32x4_t above = vcgtq_s32(sums.value, vdupq_n_s32(static_cast<int32_t>(limit)));
    const uint32x4_t bits = {1, 2, 4, 8};
    return total_of({vreinterpretq_s32_u32(vandq_u32(above, bits))});
}

// Four rows of four become four columns.
inline void transpose(Lane4 *x) {
    const int32x4x2_t a = vtrnq_s32(x[0].value, x[1].value), b = vtrnq_s32(x[2].value, x[3].value);
    x[0].value = vcombine_s32(vget_low_s32(a.val[0]), vget_low_s32(b.val[0]));
    x[1].value = vcombine_s32(vget_low_s32(a.val[1]), vget_low_s32(b.val[1]));
    x[2].value = vcombine_s32(vget_high_s32(a.val[0]), vget_high_s32(b.val[0]));
    x[3].value = vcombine_s32(vget_high_s32(a.val[1]), vget_high_s32(b.val[1]));
}

inline Lane4 load_lanes(Lane4 /*kind*/, const int32_t *from) {
    return {vld1q_s32(from)};
}

inline void store_lanes(int32_t *to, Lane4 a) {
    vst1q_s32(to, a.value);
}

// Changes the sign of every second lane.
inline Lane4 negate_odd(Lane4 a) {
    const int32x4_t odd = {0, -1, 0, -1};
    return {vsubq_s32(veorq_s32(a.value, odd), odd)};
}

}  // namespace
}  // namespace quorv

#endif
