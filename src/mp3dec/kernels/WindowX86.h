// The windowed sum at the end of the polyphase synthesis, with 16-bit products; see Window.h.
//
// A value v is kept as high * 2^16 + low, a tap as 4 q + r where it needs more than 16 bits, so that the sum
// is exact in 32 bits: sum = 2^16 * (4 hq + hr) + 4 lq + lr.
#ifndef QUORV_SRC_MP3DEC_KERNELS_WINDOWX86_H
#define QUORV_SRC_MP3DEC_KERNELS_WINDOWX86_H

#include <emmintrin.h>
#include <quorv/platform/memory.h>
#include <stddef.h>

#include "mp3dec/kernels/Window.h"
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
    constexpr ptrdiff_t kBack = sizeof(Mp3SplitSlot) / sizeof *pairs;
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
inline __m128i four_samples(const Mp3SplitSlot *newest, uint32_t first, const SynthesisTaps &taps) {
    const Sum high = sum_of_pairs(newest->high + first, taps), low = sum_of_pairs(newest->low + first, taps);
    const __m128i rounding = _mm_set1_epi32(kMp3OutputRounding);
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

// Where a slot of the frame is.
Mp3SplitSlot *split_slot(Mp3SplitHistory *history, uint32_t slot) {
    return &history->slots[slot % 2][kMp3PastSlots / 2 + slot / 2];
}

// Enters a slot, behind another one.
void window_enter(Mp3SplitSlot *to, const Mp3Slot &before, const Mp3Slot &t) {
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
void window_sum(const Mp3SplitSlot *newest, int16_t output[kMp3Subbands]) {
    for (uint32_t group = 0; group < 4; group += 2) {
        const uint32_t j = 4 * group;
        const auto &upper = synthesisTaps[0], &lower = synthesisTaps[1];
        store(output + j, _mm_packs_epi32(four_samples(newest, j, upper[group]),
                                          four_samples(newest, j + 4, upper[group + 1])));
        store(output + 24 - j, reverse16(_mm_packs_epi32(four_samples(newest, j + 1, lower[group]),
                                                         four_samples(newest, j + 5, lower[group + 1]))));
    }
}

void put_stereo(const int16_t *left, const int16_t *right, int16_t *pcm) {
    for (uint32_t i = 0; i < kMp3Subbands; i += 8, pcm += 16) {
        const __m128i l = load(left + i), r = load(right + i);
        store(pcm, _mm_unpacklo_epi16(l, r));
        store(pcm + 8, _mm_unpackhi_epi16(l, r));
    }
}

void enter_slots(Mp3Channel *channel, uint32_t slots) {
    const Mp3Slot *const t = channel->samples();
    for (uint32_t slot = 0; slot < slots; ++slot)
        window_enter(split_slot(&channel->split, slot), t[static_cast<int32_t>(slot) - 1], t[slot]);
}

// Makes the last slots of a frame the past of the next one.
void advance(Mp3Channel *channel, uint32_t slots) {
    for (auto &parity : channel->split.slots)
        MMemMove(parity, parity + slots / 2, kMp3PastSlots / 2 * sizeof parity[0]);
    MMemCpy(channel->slots[kMp3PastSlots - 1], channel->samples()[slots - 1], sizeof(Mp3Slot));
}

void window(Mp3Channel *channels, uint32_t count, uint32_t slots, int16_t *pcm) {
    for (uint32_t ch = 0; ch < count; ++ch)
        enter_slots(&channels[ch], slots);
    for (uint32_t slot = 0; slot < slots; ++slot, pcm += kMp3Subbands * count) {
        if (count == 1) {
            window_sum(split_slot(&channels[0].split, slot), pcm);
            continue;
        }
        int16_t left[kMp3Subbands], right[kMp3Subbands];
        window_sum(split_slot(&channels[0].split, slot), left);
        window_sum(split_slot(&channels[1].split, slot), right);
        put_stereo(left, right, pcm);
    }
    for (uint32_t ch = 0; ch < count; ++ch)
        advance(&channels[ch], slots);
}

}  // namespace
}  // namespace quorv

#endif
