// Fixed-point arithmetic of the decoder.
//
// 1.0 is full scale. Subband samples have kSampleBits fractional bits; a spectrum has kSpectrumBits and, by
// granule, up to kMaxExtraBits more where its loudest line leaves room for them, or fewer where it takes that
// room. What is so far over full scale that sums may need more than 32 bits is found before they are made,
// transformed lower and then saturated at 16.0. Additions wrap, so that nothing in a stream can cause
// undefined behaviour. Factors below 1 have 31 fractional bits; every product is rounded once.
#ifndef QUORV_SRC_MP3DEC_FIXEDPOINT_H
#define QUORV_SRC_MP3DEC_FIXEDPOINT_H

#include <stdint.h>

namespace quorv {

inline constexpr int kSpectrumBits = 27;
inline constexpr int32_t kMaxExtraBits = 3;
inline constexpr int kSampleBits = 27;

inline int32_t wrap_add(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t wrap_sub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

// The nearest value up to the limit in size.
inline int32_t saturate(int64_t value, int32_t limit = INT32_MAX) {
    return value > limit ? limit : value < -int64_t{limit} ? -limit : static_cast<int32_t>(value);
}

// a * factor / 2^bits, rounded.
template <int bits>
inline int32_t mul_shift(int32_t a, int32_t factor) {
    return static_cast<int32_t>((int64_t{a} * factor + (int64_t{1} << (bits - 1))) >> bits);
}

// One value at a time, for the kernels that are written for several at once, too.
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

// a * factor; the factor has 31 fractional bits and is not -1.
inline Lane1 mul(Lane1 a, int32_t factor) {
    return {mul_shift<31>(a.value, factor)};
}

// a * c + b * s and a * s - b * c for c and s of at least 0 with c * c + s * s not above 1.
inline void rotate(Lane1 a, Lane1 b, int32_t c, int32_t s, Lane1 *p, Lane1 *q) {
    constexpr int64_t kHalf = int64_t{1} << 30;
    p->value = static_cast<int32_t>((int64_t{a.value} * c + int64_t{b.value} * s + kHalf) >> 31);
    q->value = static_cast<int32_t>((int64_t{a.value} * s - int64_t{b.value} * c + kHalf) >> 31);
}

// How large sums of N values may become: their magnitudes, rounded down to units of 2^16, added up.
template <uint32_t N>
inline int32_t sum_magnitudes(const Lane1 *x) {
    int32_t sum = 0;
    for (uint32_t k = 0; k < N; ++k)
        sum += (x[k].value ^ x[k].value >> 31) >> 16;
    return sum;
}

// A bit for each lane whose sum is above the limit.
inline uint32_t lanes_above(int32_t sum, uint32_t limit) {
    return static_cast<uint32_t>(sum) > limit ? 1 : 0;
}

// The sums of all lanes.
inline uint32_t total_of(int32_t sum) {
    return static_cast<uint32_t>(sum);
}

// a * c - b * s for c and s of at least 0.
inline Lane1 mul_sub(Lane1 a, int32_t c, Lane1 b, int32_t s) {
    constexpr int64_t kHalf = int64_t{1} << 30;
    return {static_cast<int32_t>((int64_t{a.value} * c - int64_t{b.value} * s + kHalf) >> 31)};
}

}  // namespace quorv

#endif
