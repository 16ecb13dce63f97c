// Fast cosine transforms out of rotations, for one value (Lane1) or several side by side.
//
//   DCT-II  of N:  y[m] = sum over k of x[k] cos(pi m (2k + 1) / 2N)
//   DCT-IV  of N:  y[m] = sum over k of x[k] cos(pi (2m + 1) (2k + 1) / 4N)
//
// A DCT-II splits into a DCT-II of the sums x[k] + x[N-1-k] and a DCT-IV of the differences; a DCT-IV into
// two DCT-II of half the size, behind rotations of x[k] and x[N-1-k]. Rotations neither amplify rounding
// errors nor need headroom, as factors of 1/cos would. A DCT-II of 32 takes 23 rotations and 11 single
// products of a value and a factor.
#ifndef QUORV_SRC_MP3DEC_KERNELS_COSINETRANSFORMS_H
#define QUORV_SRC_MP3DEC_KERNELS_COSINETRANSFORMS_H

#include <stddef.h>
#include <stdint.h>

#include "mp3dec/tables/TransformTables.h"

namespace quorv {
namespace {

// cos and sin of the angles (2k + 1) pi / 4N in turn.
template <uint32_t N>
constexpr const int32_t *rotation_table() {
    static_assert(N == 2 || N == 4 || N == 6 || N == 8 || N == 16 || N == 18);
    if constexpr (N == 2) return kRotation2;
    if constexpr (N == 4) return kRotation4;
    if constexpr (N == 6) return kRotation6;
    if constexpr (N == 8) return kRotation8;
    if constexpr (N == 16) return kRotation16;
    return kRotation18;
}

// cos of 10 to 80 degrees.
inline constexpr int32_t kCos10 = 2114858546;
inline constexpr int32_t kCos20 = 2017974537;
inline constexpr int32_t kCos30 = 1859775393;
inline constexpr int32_t kCos40 = 1645067915;
inline constexpr int32_t kCos45 = 1518500250;
inline constexpr int32_t kCos50 = 1380375881;
inline constexpr int32_t kCos70 = 734482665;
inline constexpr int32_t kCos80 = 372906622;

template <class Lanes>
inline void dct2_of_3(Lanes *x) {
    const Lanes sum = x[0] + x[2];
    const Lanes difference = mul(x[0] - x[2], kCos30);
    x[2] = half(sum) - x[1];
    x[0] = sum + x[1];
    x[1] = difference;
}

// The cosines of multiples of 20 and of 10 degrees come in threes of which one is the sum of the others.
template <class Lanes>
inline void dct2_of_9(Lanes *x) {
    const Lanes s0 = x[0] + x[8], s1 = x[1] + x[7], s2 = x[2] + x[6], s3 = x[3] + x[5];
    const Lanes d0 = x[0] - x[8], d1 = x[1] - x[7], d2 = x[2] - x[6], d3 = x[3] - x[5];
    const Lanes middle = half(s1) - x[4];
    const Lanes even4 = mul_sub(mul(s0 - s2, kCos20), s0 - s3, kCos80);
    const Lanes even8 = mul_sub(mul(s0 - s3, kCos20), s0 - s2, kCos40);
    const Lanes side = mul(d1, kCos30);
    const Lanes odd5 = mul_sub(mul(d0 + d3, kCos10), d0 + d2, kCos70);
    const Lanes odd7 = mul_sub(mul(d0 + d2, kCos10), d0 + d3, kCos50);
    const Lanes outer = s0 + s2 + s3, inner = s1 + x[4];
    x[0] = outer + inner;
    x[1] = side + odd5 + odd7;
    x[2] = middle + even4 + even8;
    x[3] = mul(d0 - d2 - d3, kCos30);
    x[4] = even4 - middle;
    x[5] = odd5 - side;
    x[6] = half(outer) - inner;
    x[7] = odd7 - side;
    x[8] = even8 - middle;
}

template <uint32_t N, class Lanes>
inline void dct4(Lanes *x);

// In place.
template <uint32_t N, class Lanes>
inline void dct2(Lanes *x) {
    if constexpr (N == 3) {
        dct2_of_3(x);
    } else if constexpr (N == 9) {
        dct2_of_9(x);
    } else if constexpr (N == 2) {
        const Lanes difference = x[0] - x[1];
        x[0] = x[0] + x[1];
        x[1] = mul(difference, kCos45);
    } else if constexpr (N > 2) {
        Lanes sums[N / 2], differences[N / 2];
#pragma GCC unroll 16
        for (uint32_t k = 0; k < N / 2; ++k) {
            sums[k] = x[k] + x[N - 1 - k];
            differences[k] = x[k] - x[N - 1 - k];
        }
        dct2<N / 2>(sums);
        dct4<N / 2>(differences);
#pragma GCC unroll 16
        for (size_t k = 0; k < N / 2; ++k) {
            x[2 * k] = sums[k];
            x[2 * k + 1] = differences[k];
        }
    }
}

// In place.
template <uint32_t N, class Lanes>
inline void dct4(Lanes *x) {
    constexpr uint32_t kHalf = N / 2;
    constexpr const int32_t *kAngles = rotation_table<N>();
    Lanes p[kHalf], q[kHalf];
#pragma GCC unroll 16
    for (size_t k = 0; k < kHalf; ++k) {
        rotate(x[k], x[N - 1 - k], kAngles[2 * k], kAngles[2 * k + 1], &p[k], &q[k]);
        if (k % 2 != 0) q[k] = -q[k];
    }
    dct2<kHalf>(p);
    dct2<kHalf>(q);
    x[0] = p[0];
    x[N - 1] = q[0];
#pragma GCC unroll 16
    for (size_t m = 1; m < kHalf; ++m) {
        x[2 * m] = p[m] - q[kHalf - m];
        x[2 * m - 1] = p[m] + q[kHalf - m];
    }
}

}  // namespace
}  // namespace quorv

#endif
