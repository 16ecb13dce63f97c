// The windowed sum at the end of the polyphase synthesis; see the header.

#include "mp3dec/Mp3Window.h"

#include <quorv/platform/memory.h>

#include "mp3dec/tables/SynthesisTables.h"

namespace quorv {

#if !defined(__SSE2__)

namespace {

Mp3WindowSlot *slot_at(Mp3WindowHistory *history, uint32_t slot) {
    return &history->slots[slot % 2][kMp3PastSlots + slot / 2];
}

int64_t sum_of_pairs(const Mp3WindowSlot *newest, uint32_t j, const int32_t taps[kMp3WindowPairs][2]) {
    int64_t sum = 0;
    for (uint32_t p = 0; p < kMp3WindowPairs; ++p) {
        const int32_t *const pair = newest[-static_cast<int32_t>(p)].pairs[j];
        sum += int64_t{pair[0]} * taps[p][0] + int64_t{pair[1]} * taps[p][1];
    }
    return sum;
}

int16_t to_pcm(int64_t sum) {
    const int64_t rounded = (sum + (int64_t{1} << (kMp3OutputShift - 1))) >> kMp3OutputShift;
    return static_cast<int16_t>(rounded > INT16_MAX ? INT16_MAX : rounded < INT16_MIN ? INT16_MIN : rounded);
}

}  // namespace

void window_enter(Mp3WindowHistory *history, uint32_t slot, const int32_t t[kMp3Subbands]) {
    Mp3WindowSlot *const to = slot_at(history, slot);
    for (uint32_t j = 0; j <= 16; ++j) {
        to->pairs[j][0] = j < 16 ? t[16 + j] : 0;
        to->pairs[j][1] = history->last_b[j];
        history->last_b[j] = wrap_sub(0, t[16 - j]);
    }
}

void window_sum(const Mp3WindowHistory &history, uint32_t slot, int16_t output[kMp3Subbands]) {
    const Mp3WindowSlot *const newest = &history.slots[slot % 2][kMp3PastSlots + slot / 2];
    for (uint32_t j = 0; j < 16; ++j) {
        output[j] = to_pcm(sum_of_pairs(newest, j, synthesisWindow[0][j]));
        output[31 - j] = to_pcm(sum_of_pairs(newest, j + 1, synthesisWindow[1][j]));
    }
}

#endif

void window_advance(Mp3WindowHistory *history, uint32_t slots) {
    for (auto &parity : history->slots)
        MMemMove(parity, parity + slots / 2, kMp3PastSlots * sizeof parity[0]);
}

}  // namespace quorv
