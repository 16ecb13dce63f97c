// Loading and storing columns of rows for sets of kernels with several lanes, by way of transpose(Lanes *).
#ifndef QUORV_SRC_MP3DEC_KERNELS_COLUMNS_H
#define QUORV_SRC_MP3DEC_KERNELS_COLUMNS_H

#include <stddef.h>
#include <stdint.h>

namespace quorv {
namespace {

// The columns of rows that lie `stride` apart: x[k] has column k of as many rows as there are lanes. The last
// block of columns may overlap the one before.
template <uint32_t columns, class Lanes>
inline void load_columns(const int32_t *from, size_t stride, Lanes *x) {
    constexpr uint32_t kCount = Lanes::kCount;
#pragma GCC unroll 8
    for (uint32_t k = 0; k < columns; k += kCount) {
        const uint32_t first = k + kCount <= columns ? k : columns - kCount;
        Lanes block[kCount];
        for (uint32_t row = 0; row < kCount; ++row)
            block[row] = load_lanes(Lanes{}, from + row * stride + first);
        transpose(block);
        for (uint32_t i = 0; i < kCount; ++i)
            x[first + i] = block[i];
    }
}

template <uint32_t columns, class Lanes>
inline void store_columns(const Lanes *x, int32_t *to, size_t stride) {
    constexpr uint32_t kCount = Lanes::kCount;
    static_assert(columns % kCount == 0);
#pragma GCC unroll 8
    for (uint32_t k = 0; k < columns; k += kCount) {
        Lanes block[kCount];
        for (uint32_t i = 0; i < kCount; ++i)
            block[i] = x[k + i];
        transpose(block);
        for (uint32_t row = 0; row < kCount; ++row)
            store_lanes(to + row * stride + k, block[row]);
    }
}

}  // namespace
}  // namespace quorv

#endif
