// Products of which the high word is wanted, and sums of 64-bit products.
//
// 32-bit ARM has instructions for them that compilers do not find, or in an order that keeps registers free.
#ifndef QUORV_SRC_MP3DEC_KERNELS_PRODUCTS_H
#define QUORV_SRC_MP3DEC_KERNELS_PRODUCTS_H

#include "mp3dec/FixedPoint.h"

namespace quorv {
namespace {

#if defined(__arm__) && defined(__ARM_FEATURE_DSP) && defined(__thumb2__)

// sum + a * b / 2^32, rounded.
inline int32_t add_high_product(int32_t sum, int32_t a, int32_t b) {
    int32_t result;
    __asm__("smmlar %0, %1, %2, %3" : "=r"(result) : "r"(a), "r"(b), "r"(sum));
    return result;
}

// sum - a * b / 2^32, rounded: a tie upwards, as well.
inline int32_t subtract_high_product(int32_t sum, int32_t a, int32_t b) {
    int32_t result;
    __asm__("smmlsr %0, %1, %2, %3" : "=r"(result) : "r"(a), "r"(b), "r"(sum));
    return result;
}

inline int32_t high_product(int32_t a, int32_t b) {
    int32_t result;
    __asm__("smmulr %0, %1, %2" : "=r"(result) : "r"(a), "r"(b));
    return result;
}

// A sum of products.
struct LongSum {
    uint32_t low;
    int32_t high;

    explicit LongSum(uint32_t start) : low(start), high(0) {}

    void add(int32_t a, int32_t b) {
        __asm__("smlal %0, %1, %2, %3" : "+r"(low), "+r"(high) : "r"(a), "r"(b));
    }

    // In units of 2^32, saturated.
    int16_t high_as_16_bits() const {
        int32_t result;
        __asm__("ssat %0, #16, %1" : "=r"(result) : "r"(high));
        return static_cast<int16_t>(result);
    }
};

inline void load_two(const int32_t *from, int32_t *first, int32_t *second) {
    using Two [[gnu::may_alias]] = int64_t;
    __asm__("ldrd %0, %1, %2" : "=r"(*first), "=r"(*second) : "m"(*reinterpret_cast<const Two *>(from)));
}

#else

inline int32_t add_high_product(int32_t sum, int32_t a, int32_t b) {
    return wrap_add(sum, mul_shift<32>(a, b));
}

inline int32_t subtract_high_product(int32_t sum, int32_t a, int32_t b) {
    return wrap_add(sum, static_cast<int32_t>(((int64_t{1} << 31) - int64_t{a} * b) >> 32));
}

inline int32_t high_product(int32_t a, int32_t b) {
    return mul_shift<32>(a, b);
}

struct LongSum {
    int64_t sum;

    explicit LongSum(uint32_t start) : sum(start) {}

    void add(int32_t a, int32_t b) { sum += int64_t{a} * b; }

    int16_t high_as_16_bits() const {
        const int64_t high = sum >> 32;
        return static_cast<int16_t>(high > INT16_MAX ? INT16_MAX : high < INT16_MIN ? INT16_MIN : high);
    }
};

inline void load_two(const int32_t *from, int32_t *first, int32_t *second) {
    *first = from[0];
    *second = from[1];
}

#endif

}  // namespace
}  // namespace quorv

#endif
