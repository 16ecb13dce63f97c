// The windowed sum at the end of the polyphase synthesis, with 16-bit products; see Mp3Window.h.
//
// A value v is kept as high * 2^16 + low, a tap as 4 q + r where it needs more than 16 bits, so that the sum
// is exact in 32 bits: sum = 2^16 * (4 hq + hr) + 4 lq + lr.

#include "mp3dec/Mp3Window.h"

#if defined(__SSE2__)

#include <emmintrin.h>
#include <stddef.h>

#include "mp3dec/tables/SynthesisTables.h"

namespace quorv {

namespace {

constexpr int kLowBits = 16;
constexpr uint32_t kWide = 3;  // pairs 3 and 4 have taps of more than 16 bits

__m128i load(const void *from) {
    return _mm_loadu_si128(static_cast<const __m128i *>(from));
}

void store(void *to, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i *>(to), value);
}

// Four pairs of high parts out of two times four values.
__m128i high_pairs(__m128i a, __m128i b) {
    const __m128i rounding = _mm_set1_epi32(1 << (kLowBits - 1)), upper = _mm_set1_epi32(-(1 << kLowBits));
    return _mm_or_si128(_mm_srli_epi32(_mm_add_epi32(a, rounding), kLowBits),
                        _mm_and_si128(_mm_add_epi32(b, rounding), upper));
}

__m128i low_pairs(__m128i a, __m128i b) {
    const __m128i lower = _mm_set1_epi32((1 << kLowBits) - 1);
    return _mm_or_si128(_mm_and_si128(a, lower), _mm_slli_epi32(b, kLowBits));
}

__m128i reverse32(__m128i value) {
    return _mm_shuffle_epi32(value, _MM_SHUFFLE(0, 1, 2, 3));
}

struct Sum {
    __m128i narrow, wide;  // of r and of q
};

__m128i taps_at(const int16_t (*taps)[2]) {
    return _mm_load_si128(reinterpret_cast<const __m128i *>(taps));
}

// Eight pairs of a slot and the even or odd ones before it, four outputs side by side.
Sum sum_of_pairs(const int16_t (*pairs)[2], const SynthesisTaps &taps) {
    constexpr ptrdiff_t kBack = sizeof(Mp3WindowSlot) / sizeof *pairs;
    Sum sum{_mm_madd_epi16(load(pairs), taps_at(taps.narrow[0])), {}};
    for (uint32_t p = 1; p < kMp3WindowPairs; ++p) {
        const __m128i values = load(pairs - static_cast<ptrdiff_t>(p) * kBack);
        sum.narrow = _mm_add_epi32(sum.narrow, _mm_madd_epi16(values, taps_at(taps.narrow[p])));
        if (p == kWide) sum.wide = _mm_madd_epi16(values, taps_at(taps.wide[0]));
        if (p == kWide + 1) sum.wide = _mm_add_epi32(sum.wide, _mm_madd_epi16(values, taps_at(taps.wide[1])));
    }
    return sum;
}

// Four output samples in 32 bits, rounded but not saturated.
inline __m128i four_samples(const Mp3WindowSlot *newest, uint32_t first, const SynthesisTaps &taps) {
    const Sum high = sum_of_pairs(newest->high + first, taps), low = sum_of_pairs(newest->low + first, taps);
    const __m128i rounding = _mm_set1_epi32(1 << (kMp3OutputShift - 1));
    const __m128i low_sum = _mm_srai_epi32(
        _mm_add_epi32(low.wide, _mm_srai_epi32(_mm_add_epi32(low.narrow, rounding), 2)), kLowBits - 2);
    const __m128i sum = _mm_add_epi32(high.wide, _mm_srai_epi32(_mm_add_epi32(high.narrow, low_sum), 2));
    return _mm_srai_epi32(sum, kMp3OutputShift - kLowBits - 2);
}

__m128i reverse16(__m128i value) {
    constexpr int kReverse = _MM_SHUFFLE(0, 1, 2, 3);
    const __m128i halves = _mm_shufflehi_epi16(_mm_shufflelo_epi16(value, kReverse), kReverse);
    return _mm_shuffle_epi32(halves, _MM_SHUFFLE(1, 0, 3, 2));
}

}  // namespace

void window_enter(Mp3WindowHistory *history, uint32_t slot, const int32_t t[kMp3Subbands]) {
    Mp3WindowSlot *const to = &history->slots[slot % 2][kMp3PastSlots + slot / 2];
    for (uint32_t j = 0; j < 16; j += 4) {
        const __m128i a = load(t + 16 + j), b = load(history->last_b + j);
        store(to->high[j], high_pairs(a, b));
        store(to->low[j], low_pairs(a, b));
        store(history->last_b + j, _mm_sub_epi32(_mm_setzero_si128(), reverse32(load(t + 13 - j))));
    }
    const __m128i zero = _mm_setzero_si128(), last = _mm_cvtsi32_si128(history->last_b[16]);
    store(to->high[16], high_pairs(zero, last));
    store(to->low[16], low_pairs(zero, last));
    history->last_b[16] = wrap_sub(0, t[0]);
}

void window_sum(const Mp3WindowHistory &history, uint32_t slot, int16_t output[kMp3Subbands]) {
    const Mp3WindowSlot *const newest = &history.slots[slot % 2][kMp3PastSlots + slot / 2];
    for (uint32_t group = 0; group < 4; group += 2) {
        const uint32_t j = 4 * group;
        const auto &upper = synthesisTaps[0], &lower = synthesisTaps[1];
        store(output + j, _mm_packs_epi32(four_samples(newest, j, upper[group]),
                                          four_samples(newest, j + 4, upper[group + 1])));
        store(output + 24 - j, reverse16(_mm_packs_epi32(four_samples(newest, j + 1, lower[group]),
                                                         four_samples(newest, j + 5, lower[group + 1]))));
    }
}

}  // namespace quorv

#endif
