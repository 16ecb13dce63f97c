// Fixed-point arithmetic of the decoder.
//
// 1.0 is full scale. Subband samples have kSampleBits fractional bits; a spectrum has kSpectrumBits and, by
// granule, up to kMaxExtraBits more where its loudest line leaves room for them, or fewer where it takes that
// room. What is so far over full scale that sums may need more than 32 bits is found before they are made,
// transformed lower and then saturated at 16.0. Additions wrap, so that nothing in a stream can cause
// undefined behaviour. Factors below 1 have 31 fractional bits.
//
// All functions are static: kernels are compiled for more than every processor has, and no other code may end
// up with their copy of a function.
#ifndef QUORV_SRC_MP3DEC_FIXEDPOINT_H
#define QUORV_SRC_MP3DEC_FIXEDPOINT_H

#include <stdint.h>

namespace quorv {

inline constexpr int kSpectrumBits = 27;
inline constexpr int32_t kMaxExtraBits = 3;
inline constexpr int kSampleBits = 27;

static inline int32_t wrap_add(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

static inline int32_t wrap_sub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

// The nearest value up to the limit in size.
static inline int32_t saturate(int64_t value, int32_t limit = INT32_MAX) {
    return value > limit ? limit : value < -int64_t{limit} ? -limit : static_cast<int32_t>(value);
}

// a * factor / 2^bits, rounded.
template <int bits>
static inline int32_t mul_shift(int32_t a, int32_t factor) {
    return static_cast<int32_t>((int64_t{a} * factor + (int64_t{1} << (bits - 1))) >> bits);
}

}  // namespace quorv

#endif
