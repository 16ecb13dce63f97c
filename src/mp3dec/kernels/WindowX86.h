// The windowed sum at the end of the polyphase synthesis, with 16-bit products; see Window.h.
//
// A value v is kept as high * 2^16 + low, a tap as 4 q + r where it needs more than 16 bits, so that the sum
// is exact in 32 bits: sum = 2^16 * (4 hq + hr) + 4 lq + lr.
#ifndef QUORV_SRC_MP3DEC_KERNELS_WINDOWX86_H
#define QUORV_SRC_MP3DEC_KERNELS_WINDOWX86_H

#include <emmintrin.h>
#include <stddef.h>
#include <string.h>

#include "mp3dec/kernels/Window.h"
#include "mp3dec/tables/SynthesisTables.h"

namespace quorv {
namespace {

inline constexpr int kLowBits = 16;
inline constexpr uint32_t kWide = 3;  // pairs 3 and 4 have taps of more than 16 bits

inline __m128i load(const void *from) {
    return _mm_loadu_si128(static_cast<const __m128i *>(from));
}

inline void store(void *to, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i *>(to), value);
}

// Four pairs of high parts out of two times four values.
inline __m128i high_pairs(__m128i a, __m128i b) {
    const __m128i rounding = _mm_set1_epi32(1 << (kLowBits - 1)), upper = _mm_set1_epi32(-(1 << kLowBits));
    return _mm_or_si128(_mm_srli_epi32(_mm_add_epi32(a, rounding), kLowBits),
                        _mm_and_si128(_mm_add_epi32(b, rounding), upper));
}

inline __m128i low_pairs(__m128i a, __m128i b) {
    const __m128i lower = _mm_set1_epi32((1 << kLowBits) - 1);
    return _mm_or_si128(_mm_and_si128(a, lower), _mm_slli_epi32(b, kLowBits));
}

inline __m128i reverse32(__m128i value) {
    return _mm_shuffle_epi32(value, _MM_SHUFFLE(0, 1, 2, 3));
}

// As many 32-bit words side by side as a set of kernels handles at once: four here, eight with AVX2.
struct Words4 {
    __m128i value;

    static constexpr uint32_t kCount = 4;
};

inline Words4 load_words(Words4 /*kind*/, const int16_t (*from)[2]) {
    return {load(from)};
}

inline void store_words(int16_t *to, Words4 a) {
    store(to, a.value);
}

inline Words4 all_words(Words4 /*kind*/, int32_t value) {
    return {_mm_set1_epi32(value)};
}

inline Words4 operator+(Words4 a, Words4 b) {
    return {_mm_add_epi32(a.value, b.value)};
}

template <int bits>
inline Words4 shift_right(Words4 a) {
    return {_mm_srai_epi32(a.value, bits)};
}

// The sums of the products of both halves.
inline Words4 sum_products(Words4 a, Words4 b) {
    return {_mm_madd_epi16(a.value, b.value)};
}

// Both in order, saturated to 16 bits.
inline Words4 pack(Words4 a, Words4 b) {
    return {_mm_packs_epi32(a.value, b.value)};
}

inline Words4 reverse_halves(Words4 a) {
    constexpr int kReverse = _MM_SHUFFLE(0, 1, 2, 3);
    const __m128i halves = _mm_shufflehi_epi16(_mm_shufflelo_epi16(a.value, kReverse), kReverse);
    return {_mm_shuffle_epi32(halves, _MM_SHUFFLE(1, 0, 3, 2))};
}

template <class Words>
struct WindowSum {
    Words narrow, wide;  // of r and of q
};

// Eight pairs of a slot and the even or odd ones before it, outputs side by side.
template <class Words>
inline WindowSum<Words> sum_of_pairs(const int16_t (*pairs)[2], const SynthesisTaps &taps, size_t column) {
    constexpr ptrdiff_t kBack = sizeof(Mp3SplitSlot) / sizeof(*pairs);
    constexpr Words kKind{};
    WindowSum<Words> sum{sum_products(load_words(kKind, pairs), load_words(kKind, taps.narrow[0] + column)),
                         {}};
#pragma GCC unroll 8
    for (ptrdiff_t p = 1; p < static_cast<ptrdiff_t>(kMp3WindowPairs); ++p) {
        const Words values = load_words(kKind, pairs - p * kBack);
        sum.narrow = sum.narrow + sum_products(values, load_words(kKind, taps.narrow[p] + column));
        if (p == kWide) sum.wide = sum_products(values, load_words(kKind, taps.wide[0] + column));
        if (p == kWide + 1)
            sum.wide = sum.wide + sum_products(values, load_words(kKind, taps.wide[1] + column));
    }
    return sum;
}

// Output samples in 32 bits, rounded but not saturated.
template <class Words>
inline Words wide_samples(const Mp3SplitSlot *newest, uint32_t first, const SynthesisTaps &taps,
                          size_t column) {
    const auto high = sum_of_pairs<Words>(newest->high + first + column, taps, column),
               low = sum_of_pairs<Words>(newest->low + first + column, taps, column);
    const Words rounding = all_words(Words{}, kMp3OutputRounding);
    const Words low_sum = shift_right<kLowBits - 2>(low.wide + shift_right<2>(low.narrow + rounding));
    return shift_right<kMp3OutputShift - kLowBits - 2>(high.wide + shift_right<2>(high.narrow + low_sum));
}

// Where a slot of the frame is.
inline Mp3SplitSlot *split_slot(Mp3SplitHistory *history, uint32_t slot) {
    return &history->slots[slot % 2][kMp3PastSlots / 2 + slot / 2];
}

// Enters a slot, behind another one.
inline void window_enter(Mp3SplitSlot *to, const Mp3Slot &before, const Mp3Slot &t) {
    const __m128i zero = _mm_setzero_si128();
    for (uint32_t j = 0; j < 16; j += 4) {
        const __m128i a = load(t + 16 + j), b = _mm_sub_epi32(zero, reverse32(load(before + 13 - j)));
        store(to->high[j], high_pairs(a, b));
        store(to->low[j], low_pairs(a, b));
    }
    const __m128i last = _mm_sub_epi32(zero, _mm_cvtsi32_si128(before[0]));
    store(to->high[16], high_pairs(zero, last));
    store(to->low[16], low_pairs(zero, last));
}

// The 32 output samples of a slot.
template <class Words>
inline void window_sum(const Mp3SplitSlot *newest, int16_t output[kMp3Subbands]) {
    constexpr size_t kCount = Words::kCount;
    const SynthesisTaps &upper = kSynthesisTaps[0], &lower = kSynthesisTaps[1];
#pragma GCC unroll 2
    for (size_t j = 0; j < kMp3Subbands / 2; j += 2 * kCount) {
        store_words(output + j, pack(wide_samples<Words>(newest, 0, upper, j),
                                     wide_samples<Words>(newest, 0, upper, j + kCount)));
        store_words(output + kMp3Subbands - 2 * kCount - j,
                    reverse_halves(pack(wide_samples<Words>(newest, 1, lower, j),
                                        wide_samples<Words>(newest, 1, lower, j + kCount))));
    }
}

inline void put_stereo(const int16_t *left, const int16_t *right, int16_t *pcm) {
    for (uint32_t i = 0; i < kMp3Subbands; i += 8, pcm += 16) {
        const __m128i l = load(left + i), r = load(right + i);
        store(pcm, _mm_unpacklo_epi16(l, r));
        store(pcm + 8, _mm_unpackhi_epi16(l, r));
    }
}

inline void enter_slots(Mp3Channel *channel, uint32_t slots) {
    const Mp3Slot *t = channel->samples();
    for (uint32_t slot = 0; slot < slots; ++slot)
        window_enter(split_slot(&channel->split, slot), t[static_cast<int32_t>(slot) - 1], t[slot]);
}

// Makes the last slots of a frame the past of the next one.
inline void advance(Mp3Channel *channel, uint32_t slots) {
    for (auto &parity : channel->split.slots)
        memmove(parity, parity + slots / 2, kMp3PastSlots / 2 * sizeof(parity[0]));
    memcpy(channel->slots[kMp3PastSlots - 1], channel->samples()[slots - 1], sizeof(Mp3Slot));
}

template <class Words>
inline void window(Mp3Channel *channels, uint32_t count, uint32_t slots, int16_t *pcm) {
    for (uint32_t ch = 0; ch < count; ++ch)
        enter_slots(&channels[ch], slots);
    for (uint32_t slot = 0; slot < slots; ++slot, pcm += size_t{kMp3Subbands} * count) {
        if (count == 1) {
            window_sum<Words>(split_slot(&channels[0].split, slot), pcm);
            continue;
        }
        int16_t left[kMp3Subbands], right[kMp3Subbands];
        window_sum<Words>(split_slot(&channels[0].split, slot), left);
        window_sum<Words>(split_slot(&channels[1].split, slot), right);
        put_stereo(left, right, pcm);
    }
    for (uint32_t ch = 0; ch < count; ++ch)
        advance(&channels[ch], slots);
}

}  // namespace
}  // namespace quorv

#endif
