// Four values side by side, for WebAssembly with SIMD; see Lane1.h for what the functions do.
#ifndef QUORV_SRC_MP3DEC_KERNELS_LANESWASM_H
#define QUORV_SRC_MP3DEC_KERNELS_LANESWASM_H

#include <stddef.h>
#include <stdint.h>
#include <wasm_simd128.h>
#include <type_traits>

#include "mp3dec/kernels/Columns.h"

namespace quorv {
namespace {

struct Lane4 {
    v128_t value;

    static constexpr uint32_t kCount = 4;
};

inline Lane4 operator+(Lane4 a, Lane4 b) {
    return {wasm_i32x4_add(a.value, b.value)};
}

inline Lane4 operator-(Lane4 a, Lane4 b) {
    return {wasm_i32x4_sub(a.value, b.value)};
}

inline Lane4 operator-(Lane4 a) {
    return {wasm_i32x4_neg(a.value)};
}

inline Lane4 half(Lane4 a) {
    return {wasm_i32x4_shr(a.value, 1)};
}

// Products of 64 bits, two lanes at a time, whose words from bit 31 on are the rounded ones.

inline v128_t rounded(v128_t products) {
    return wasm_u64x2_shr(wasm_i64x2_add(products, wasm_i64x2_const_splat(int64_t{1} << 30)), 31);
}

inline Lane4 mul(Lane4 a, Lane4 factors) {
    const v128_t low = rounded(wasm_i64x2_extmul_low_i32x4(a.value, factors.value));
    const v128_t high = rounded(wasm_i64x2_extmul_high_i32x4(a.value, factors.value));
    return {wasm_i32x4_shuffle(low, high, 0, 2, 4, 6)};
}

inline Lane4 mul(Lane4 a, int32_t factor) {
    return mul(a, Lane4{wasm_i32x4_splat(factor)});
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
inline Lane4 add_windowed(std::bool_constant<large> /*kind*/, Lane4 sum, Lane4 a, int32_t factor) {
    return mul_add(sum, a, factor);
}

template <bool large>
inline Lane4 subtract_windowed(std::bool_constant<large> /*kind*/, Lane4 sum, Lane4 a, int32_t factor) {
    return mul_add(sum, a, factor);
}

inline void rotate(Lane4 a, Lane4 b, Lane4 c, Lane4 s, Lane4 *p, Lane4 *q) {
    *p = mul(a, c) + mul(b, s);
    *q = mul(a, s) + mul(b, -c);
}

inline void rotate(Lane4 a, Lane4 b, int32_t c, int32_t s, Lane4 *p, Lane4 *q) {
    *p = mul(a, c) + mul(b, s);
    *q = mul(a, s) + mul(b, -c);
}

inline Lane4 reverse(Lane4 a) {
    return {wasm_i32x4_shuffle(a.value, a.value, 3, 2, 1, 0)};
}

struct LaneSums4 {
    v128_t value;
};

template <uint32_t N>
inline LaneSums4 sum_magnitudes(const Lane4 *x) {
    v128_t sum = wasm_i32x4_const_splat(0);
#pragma GCC unroll 32
    for (uint32_t k = 0; k < N; ++k) {
        const v128_t magnitudes = wasm_v128_xor(x[k].value, wasm_i32x4_shr(x[k].value, 31));
        sum = wasm_i32x4_add(sum, wasm_u32x4_shr(magnitudes, 16));
    }
    return {sum};
}

inline uint32_t lanes_above(LaneSums4 sums, uint32_t limit) {
    return wasm_i32x4_bitmask(wasm_i32x4_gt(sums.value, wasm_i32x4_splat(static_cast<int32_t>(limit))));
}

inline uint32_t total_of(LaneSums4 sums) {
    const v128_t pairs = wasm_i32x4_add(sums.value, wasm_i32x4_shuffle(sums.value, sums.value, 2, 3, 0, 1));
    return static_cast<uint32_t>(wasm_i32x4_extract_lane(pairs, 0) + wasm_i32x4_extract_lane(pairs, 1));
}

// Four rows of four become four columns.
inline void transpose(Lane4 x[4]) {
    const v128_t a = wasm_i32x4_shuffle(x[0].value, x[1].value, 0, 4, 1, 5),
                 b = wasm_i32x4_shuffle(x[0].value, x[1].value, 2, 6, 3, 7);
    const v128_t c = wasm_i32x4_shuffle(x[2].value, x[3].value, 0, 4, 1, 5),
                 d = wasm_i32x4_shuffle(x[2].value, x[3].value, 2, 6, 3, 7);
    x[0].value = wasm_i64x2_shuffle(a, c, 0, 2);
    x[1].value = wasm_i64x2_shuffle(a, c, 1, 3);
    x[2].value = wasm_i64x2_shuffle(b, d, 0, 2);
    x[3].value = wasm_i64x2_shuffle(b, d, 1, 3);
}

inline Lane4 load_lanes(Lane4 /*kind*/, const int32_t *from) {
    return {wasm_v128_load(from)};
}

inline void store_lanes(int32_t *to, Lane4 a) {
    wasm_v128_store(to, a.value);
}

// Changes the sign of every second lane.
inline Lane4 negate_odd(Lane4 a) {
    const v128_t odd = wasm_i32x4_const(0, -1, 0, -1);
    return {wasm_i32x4_sub(wasm_v128_xor(a.value, odd), odd)};
}

}  // namespace
}  // namespace quorv

#endif
