// The windowed sum at the end of the polyphase synthesis, with 16-bit products; see Window.h.
//
// A value v is kept as high * 2^16 + low, a tap as 4 q + r where it needs more than 16 bits, so that the sum
// is exact in 32 bits: sum = 2^16 * (4 hq + hr) + 4 lq + lr.
//
// Words are types of words side by side, Four is the one of four of them: WordsSse2.h says what they must
// have.
#ifndef QUORV_SRC_MP3DEC_KERNELS_WINDOWPAIRS_H
#define QUORV_SRC_MP3DEC_KERNELS_WINDOWPAIRS_H

#include <stddef.h>
#include <string.h>

#include "mp3dec/kernels/Window.h"
#include "mp3dec/tables/SynthesisTables.h"

namespace quorv {
namespace {

inline constexpr int kLowBits = 16;
inline constexpr uint32_t kWide = 3;  // pairs 3 and 4 have taps of more than 16 bits

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

// Four pairs of two times four values: their rounded high parts, and their low parts.
template <class Four>
inline void enter_pairs(Mp3SplitSlot *to, size_t first, Four a, Four b) {
    const Four rounding = all_words(Four{}, 1 << (kLowBits - 1));
    store_words(to->high[first], upper_pairs(a + rounding, b + rounding));
    store_words(to->low[first], lower_pairs(a, b));
}

// Enters a slot, behind another one.
template <class Four>
inline void window_enter(Mp3SplitSlot *to, const Mp3Slot &before, const Mp3Slot &t) {
    for (uint32_t j = 0; j < 16; j += 4)
        enter_pairs(to, j, load_words(Four{}, t + 16 + j),
                    -reverse_words(load_words(Four{}, before + 13 - j)));
    enter_pairs(to, 16, all_words(Four{}, 0), -first_word(Four{}, before[0]));
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

template <class Four>
inline void put_stereo(const int16_t *left, const int16_t *right, int16_t *pcm) {
    for (uint32_t i = 0; i < kMp3Subbands; i += 8, pcm += 16) {
        const Four l = load_words(Four{}, left + i), r = load_words(Four{}, right + i);
        store_words(pcm, interleave_first(l, r));
        store_words(pcm + 8, interleave_last(l, r));
    }
}

template <class Four>
inline void enter_slots(Mp3Channel *channel, uint32_t slots) {
    const Mp3Slot *t = channel->samples();
    for (uint32_t slot = 0; slot < slots; ++slot)
        window_enter<Four>(split_slot(&channel->split, slot), t[static_cast<int32_t>(slot) - 1], t[slot]);
}

// Makes the last slots of a frame the past of the next one.
inline void advance(Mp3Channel *channel, uint32_t slots) {
    for (auto &parity : channel->split.slots)
        memmove(parity, parity + slots / 2, kMp3PastSlots / 2 * sizeof(parity[0]));
    memcpy(channel->slots[kMp3PastSlots - 1], channel->samples()[slots - 1], sizeof(Mp3Slot));
}

template <class Words, class Four>
inline void window(Mp3Channel *channels, uint32_t count, uint32_t slots, int16_t *pcm) {
    for (uint32_t ch = 0; ch < count; ++ch)
        enter_slots<Four>(&channels[ch], slots);
    for (uint32_t slot = 0; slot < slots; ++slot, pcm += size_t{kMp3Subbands} * count) {
        if (count == 1) {
            window_sum<Words>(split_slot(&channels[0].split, slot), pcm);
            continue;
        }
        int16_t left[kMp3Subbands], right[kMp3Subbands];
        window_sum<Words>(split_slot(&channels[0].split, slot), left);
        window_sum<Words>(split_slot(&channels[1].split, slot), right);
        put_stereo<Four>(left, right, pcm);
    }
    for (uint32_t ch = 0; ch < count; ++ch)
        advance(&channels[ch], slots);
}

}  // namespace
}  // namespace quorv

#endif
