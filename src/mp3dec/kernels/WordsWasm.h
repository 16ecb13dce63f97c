// Four 32-bit words side by side, for WebAssembly with SIMD; see WordsSse2.h for what the functions do.
#ifndef QUORV_SRC_MP3DEC_KERNELS_WORDSWASM_H
#define QUORV_SRC_MP3DEC_KERNELS_WORDSWASM_H

#include <stdint.h>
#include <wasm_simd128.h>

namespace quorv {
namespace {

struct Words4 {
    v128_t value;

    static constexpr uint32_t kCount = 4;
};

inline Words4 load_words(Words4 /*kind*/, const void *from) {
    return {wasm_v128_load(from)};
}

inline void store_words(void *to, Words4 a) {
    wasm_v128_store(to, a.value);
}

inline Words4 all_words(Words4 /*kind*/, int32_t value) {
    return {wasm_i32x4_splat(value)};
}

inline Words4 first_word(Words4 /*kind*/, int32_t value) {
    return {wasm_i32x4_make(value, 0, 0, 0)};
}

inline Words4 operator+(Words4 a, Words4 b) {
    return {wasm_i32x4_add(a.value, b.value)};
}

inline Words4 operator-(Words4 a) {
    return {wasm_i32x4_neg(a.value)};
}

template <int bits>
inline Words4 shift_right(Words4 a) {
    return {wasm_i32x4_shr(a.value, bits)};
}

inline Words4 reverse_words(Words4 a) {
    return {wasm_i32x4_shuffle(a.value, a.value, 3, 2, 1, 0)};
}

inline Words4 upper_pairs(Words4 a, Words4 b) {
    return {wasm_i16x8_shuffle(a.value, b.value, 1, 9, 3, 11, 5, 13, 7, 15)};
}

inline Words4 lower_pairs(Words4 a, Words4 b) {
    return {wasm_i16x8_shuffle(a.value, b.value, 0, 8, 2, 10, 4, 12, 6, 14)};
}

inline Words4 sum_products(Words4 a, Words4 b) {
    return {wasm_i32x4_dot_i16x8(a.value, b.value)};
}

inline Words4 pack(Words4 a, Words4 b) {
    return {wasm_i16x8_narrow_i32x4(a.value, b.value)};
}

inline Words4 reverse_halves(Words4 a) {
    return {wasm_i16x8_shuffle(a.value, a.value, 7, 6, 5, 4, 3, 2, 1, 0)};
}

inline Words4 interleave_first(Words4 a, Words4 b) {
    return {wasm_i16x8_shuffle(a.value, b.value, 0, 8, 1, 9, 2, 10, 3, 11)};
}

inline Words4 interleave_last(Words4 a, Words4 b) {
    return {wasm_i16x8_shuffle(a.value, b.value, 4, 12, 5, 13, 6, 14, 7, 15)};
}

}  // namespace
}  // namespace quorv

#endif
