// The kernels for processors with NEON.

#include <string.h>

#include "mp3dec/kernels/DequantizeKernel.h"
#include "mp3dec/kernels/HybridKernel.h"
#include "mp3dec/kernels/LanesNeon.h"
#include "mp3dec/kernels/SynthesisKernel.h"
#include "mp3dec/kernels/Window.h"
#include "mp3dec/tables/SynthesisTables.h"

namespace quorv {

namespace {

// Four output samples side by side, of three slots, every second one: each value loaded serves all three.
struct ThreeSums {
    int64x2_t low[3], high[3];

    ThreeSums() {
        for (uint32_t i = 0; i < 3; ++i)
            low[i] = high[i] = vdupq_n_s64(kMp3WindowRounding);
    }

    void add(uint32_t i, int32x4_t values, int32x4_t taps) {
        low[i] = vmlal_s32(low[i], vget_low_s32(values), vget_low_s32(taps));
        high[i] = vmlal_s32(high[i], vget_high_s32(values), vget_high_s32(taps));
    }

    int16x4_t samples(uint32_t i) const {
        return vqmovn_s32(vcombine_s32(vshrn_n_s64(low[i], 32), vshrn_n_s64(high[i], 32)));
    }
};

// As they are in memory, or with their order reversed.
template <bool reversed>
inline int32x4_t load_four(const int32_t *from) {
    const int32x4_t values = vld1q_s32(from);
    if constexpr (!reversed) return values;
    const int32x4_t pairs = vrev64q_s32(values);
    return vcombine_s32(vget_high_s32(pairs), vget_low_s32(pairs));
}

// t is of the newest slot of all.
template <bool reversed>
inline void add_pairs(ThreeSums *sums, const int32_t *t, const int32_t *taps) {
    constexpr ptrdiff_t kBack = ptrdiff_t{2} * kMp3Subbands;
    int32x4_t newest = load_four<reversed>(t), newer = load_four<reversed>(t - kBack);
    t -= 2 * kBack;
#pragma GCC unroll 8
    for (uint32_t p = 0; p < kMp3WindowPairs; ++p) {
        const int32x4_t old = load_four<reversed>(t), tap = vld1q_s32(taps);
        t -= kBack;
        taps += kMp3Subbands / 2;
        sums->add(2, newest, tap);
        sums->add(1, newer, tap);
        sums->add(0, old, tap);
        newest = newer;
        newer = old;
    }
}

// Three slots, every second one, of one channel.
void sum_three_slots(const Mp3Slot *newest, int16_t (*output)[kMp3Subbands]) {
    for (uint32_t j = 0; j < kMp3Subbands / 2; j += 4) {
        ThreeSums upper;
        add_pairs<false>(&upper, newest[0] + 16 + j, kSynthesisWindowLanes[0][0][0] + j);
        add_pairs<true>(&upper, newest[-1] + 13 - j, kSynthesisWindowLanes[0][1][0] + j);
        for (uint32_t i = 0; i < 3; ++i)
            vst1_s16(output[2 * i] + j, upper.samples(i));
        ThreeSums lower;
        add_pairs<false>(&lower, newest[0] + 17 + j, kSynthesisWindowLanes[1][0][0] + j);
        add_pairs<true>(&lower, newest[-1] + 12 - j, kSynthesisWindowLanes[1][1][0] + j);
        for (uint32_t i = 0; i < 3; ++i)
            vst1_s16(output[2 * i] + 28 - j, vrev64_s16(lower.samples(i)));
    }
}

void sum_slots(const Mp3Slot *slots, uint32_t count, int16_t (*output)[kMp3Subbands]) {
    for (uint32_t slot = 0; slot < count; slot += slot % 2 == 0 ? 1u : 5u)
        sum_three_slots(slots + slot + 4, output + slot);
}

void put_stereo(const int16_t *left, const int16_t *right, uint32_t count, int16_t *pcm) {
    for (uint32_t i = 0; i < count; i += 8)
        vst2q_s16(pcm + size_t{2} * i, {{vld1q_s16(left + i), vld1q_s16(right + i)}});
}

void window(Mp3Channel *channels, uint32_t count, uint32_t slots, int16_t *pcm) {
    constexpr uint32_t kSix = 6;
    for (uint32_t slot = 0; slot < slots; slot += kSix) {
        int16_t output[kMp3MaxChannels][kSix][kMp3Subbands];
        for (uint32_t ch = 0; ch < count; ++ch)
            sum_slots(channels[ch].samples() + slot, kSix, output[ch]);
        int16_t *to = pcm + size_t{slot} * kMp3Subbands * count;
        if (count == 1)
            memcpy(to, output[0], sizeof(output[0]));
        else
            put_stereo(output[0][0], output[1][0], kSix * kMp3Subbands, to);
    }
    for (uint32_t ch = 0; ch < count; ++ch)
        memmove(channels[ch].slots, channels[ch].slots + slots, sizeof(Mp3Slot) * kMp3PastSlots);
}

// The powers are looked up one by one.
void requantize(int32_t *lines, uint32_t count, const int32_t *powers, int shift) {
    const int32x4_t bits = vdupq_n_s32(-shift);
    uint32_t i = 0;
    for (; i + 4 <= count; i += 4) {
        int32_t *at = lines + i;
        const int32x4_t four = {powers[at[0]], powers[at[1]], powers[at[2]], powers[at[3]]};
        vst1q_s32(at, vrshlq_s32(four, bits));
    }
    for (; i < count; ++i)
        lines[i] = (powers[lines[i]] + (1 << (shift - 1))) >> shift;
}

}  // namespace

Mp3Kernels mp3_neon_kernels() {
    return {"NEON",       Lane4::kCount, requantize, dequantize<Lane4>, reduce_alias<Lane4>,
            imdct<Lane4>, dct32<Lane4>,  window};
}

}  // namespace quorv
