// Search for the start code prefix 00 00 01; see the header.

#include "videoheader/StartCode.h"

#include <stddef.h>
#include <string.h>

#if defined(__SSE2__)
#include <emmintrin.h>

#include <bit>
#endif

namespace quorv {

const uint8_t *find_start_code_portable(const uint8_t *begin, const uint8_t *end) {
    const uint8_t *one = begin;
    // The 01 of a start code lies at least two bytes after `begin`, and three after a 01 that was not one.
    for (ptrdiff_t ahead = 2; end - one > ahead; ahead = 3) {
        one += ahead;
        one = static_cast<const uint8_t *>(memchr(one, 1, static_cast<size_t>(end - one)));
        if (one == nullptr) return end;
        if (one[-1] == 0 && one[-2] == 0) return one - 2;
    }
    return end;
}

#if defined(__SSE2__)

namespace {

constexpr ptrdiff_t kVector = 16;
constexpr ptrdiff_t kBlock = 2 * kVector;

__m128i load(const uint8_t *p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
}

// 0 in every byte where two zero bytes begin.
__m128i pair_at(const uint8_t *p) {
    return _mm_or_si128(load(p), load(p + 1));
}

bool has_zero_byte(__m128i v) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) != 0;
}

// One bit for each of 16 positions at which a start code begins.
uint32_t start_code_mask(const uint8_t *p) {
    const __m128i zeros = _mm_cmpeq_epi8(pair_at(p), _mm_setzero_si128());
    const __m128i ones = _mm_cmpeq_epi8(load(p + 2), _mm_set1_epi8(1));
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_and_si128(zeros, ones)));
}

}  // namespace

const uint8_t *find_start_code(const uint8_t *begin, const uint8_t *end) {
    const uint8_t *p = begin;
    // Two zeros in a row are rare in compressed data, so a block is first tested for them as a whole.
    for (; end - p >= kBlock + 2; p += kBlock) {
        if (!has_zero_byte(_mm_min_epu8(pair_at(p), pair_at(p + kVector)))) continue;
        const uint32_t mask = start_code_mask(p) | start_code_mask(p + kVector) << kVector;
        if (mask != 0) return p + std::countr_zero(mask);
    }
    return find_start_code_portable(p, end);
}

#else

const uint8_t *find_start_code(const uint8_t *begin, const uint8_t *end) {
    return find_start_code_portable(begin, end);
}

#endif

}  // namespace quorv
