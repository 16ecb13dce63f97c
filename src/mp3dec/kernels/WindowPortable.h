// The windowed sum at the end of the polyphase synthesis, one output sample of three slots at a time; see
// Window.h.
#ifndef QUORV_SRC_MP3DEC_KERNELS_WINDOWPORTABLE_H
#define QUORV_SRC_MP3DEC_KERNELS_WINDOWPORTABLE_H

#include <stddef.h>
#include <string.h>

#include "mp3dec/kernels/Products.h"
#include "mp3dec/kernels/Window.h"
#include "mp3dec/tables/SynthesisTables.h"

namespace quorv {
namespace {

// Sums of every second slot, the oldest first: each value they need serves all three.
struct ThreeSums {
    LongSum sums[3] = {LongSum(kMp3WindowRounding), LongSum(kMp3WindowRounding), LongSum(kMp3WindowRounding)};

    // t is of the first sum's newest slot.
    void add(const int32_t *t, const int32_t taps[kMp3WindowPairs]) {
        constexpr ptrdiff_t kBack = ptrdiff_t{2} * kMp3Subbands;
        int32_t newest = t[2 * kBack], newer = t[kBack];
#pragma GCC unroll 4
        for (ptrdiff_t p = 0; p < static_cast<ptrdiff_t>(kMp3WindowPairs); p += 2) {
            int32_t first = 0, second = 0;
            load_two(taps + p, &first, &second);
            const int32_t old = t[-p * kBack];
            sums[2].add(newest, first);
            sums[1].add(newer, first);
            sums[0].add(old, first);
            const int32_t oldest = t[(-p - 1) * kBack];
            sums[2].add(newer, second);
            sums[1].add(old, second);
            sums[0].add(oldest, second);
            newest = old;
            newer = oldest;
        }
    }

    // `step` is the distance of two slots.
    void put(int16_t *pcm, size_t step) const {
        for (size_t i = 0; i < 3; ++i)
            pcm[i * step] = sums[i].high_as_16_bits();
    }
};

// Three slots, every second one, of one channel of `count`.
inline void sum_three_slots(const Mp3Slot *oldest, uint32_t count, int16_t *pcm) {
    const size_t step = size_t{2} * kMp3Subbands * count;
    const int32_t *a = oldest[0] + 16, *b = oldest[-1] + 16;
    for (ptrdiff_t j = 0; j < 16; ++j) {
        ThreeSums sums;
        sums.add(a + j, kSynthesisWindow[0][j]);
        sums.add(b - j, kSynthesisWindow[0][j] + kMp3WindowPairs);
        sums.put(pcm + static_cast<size_t>(j) * count, step);
    }
    for (ptrdiff_t m = 1; m < 16; ++m) {
        ThreeSums sums;
        sums.add(a + m, kSynthesisWindow[1][m - 1]);
        sums.add(b - m, kSynthesisWindow[1][m - 1] + kMp3WindowPairs);
        sums.put(pcm + static_cast<size_t>(32 - m) * count, step);
    }
    ThreeSums middle;
    middle.add(oldest[-1], kSynthesisWindow[1][15] + kMp3WindowPairs);
    middle.put(pcm + size_t{16} * count, step);
}

// Makes the last slots of a frame the past of the next one.
inline void keep_past(Mp3Channel *channel, uint32_t slots) {
    memmove(channel->slots, channel->slots + slots, sizeof(Mp3Slot) * kMp3PastSlots);
}

inline void window_by_threes(Mp3Channel *channels, uint32_t count, uint32_t slots, int16_t *pcm) {
    for (uint32_t ch = 0; ch < count; ++ch) {
        for (uint32_t slot = 0; slot < slots; slot += slot % 2 == 0 ? 1u : 5u) {
            sum_three_slots(channels[ch].samples() + slot, count,
                            pcm + size_t{slot} * kMp3Subbands * count + ch);
        }
        keep_past(&channels[ch], slots);
    }
}

}  // namespace
}  // namespace quorv

#endif
