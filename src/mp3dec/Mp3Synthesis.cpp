// The polyphase synthesis filter bank; see the header.

#include "mp3dec/Mp3Synthesis.h"

#include <quorv/platform/memory.h>

#include "mp3dec/CosineTransforms.h"
#include "mp3dec/Lanes.h"
#include "mp3dec/Mp3Frame.h"
#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3Stores.h"
#include "mp3dec/tables/SynthesisTables.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace quorv {

namespace {

constexpr uint32_t kPresets = sizeof equalizerGain / sizeof equalizerGain[0];

void equalize(int32_t (*samples)[kMp3MaxSlots], uint32_t slots, const int32_t gains[kMp3Subbands]) {
    constexpr int kGainBits = 28;
    constexpr int64_t kHalf = int64_t{1} << (kGainBits - 1);
    for (uint32_t sb = 0; sb < kMp3Subbands; ++sb) {
        for (uint32_t slot = 0; slot < slots; ++slot)
            samples[sb][slot] = saturate((int64_t{samples[sb][slot]} * gains[sb] + kHalf) >> kGainBits);
    }
}

// The upper half of the spectrum would fold into the lower one.
void drop_upper_subbands(int32_t (*samples)[kMp3MaxSlots]) {
    MMemSet(samples[kMp3Subbands / 2], 0, kMp3Subbands / 2 * sizeof samples[0]);
}

constexpr int kLoudShift = 5;  // makes every slot safe

// Turns down those slots, of as many as there are lanes, that may need more than 32 bits. A bit for each.
uint32_t lower_loud(int32_t (*samples)[kMp3MaxSlots], uint32_t slot) {
    Lanes x[kMp3Subbands];
    for (uint32_t sb = 0; sb < kMp3Subbands; ++sb)
        x[sb] = load_lanes(&samples[sb][slot]);
    const uint32_t loud = lanes_above(sum_magnitudes<kMp3Subbands>(x), kMp3SafeSum);
    for (uint32_t i = 0; i < Lanes::kCount; ++i) {
        if ((loud >> i & 1) == 0) continue;
        for (uint32_t sb = 0; sb < kMp3Subbands; ++sb)
            samples[sb][slot + i] = mul_shift<kLoudShift>(samples[sb][slot + i], 1);
    }
    return loud;
}

void raise_loud(uint32_t loud, int32_t (*t)[kMp3Subbands]) {
    for (uint32_t i = 0; i < Lanes::kCount; ++i) {
        if ((loud >> i & 1) == 0) continue;
        for (uint32_t k = 0; k < kMp3Subbands; ++k)
            t[i][k] = saturate(int64_t{t[i][k]} << kLoudShift, kMp3MaxT);
    }
}

void transform(int32_t (*samples)[kMp3MaxSlots], uint32_t slots, bool may_be_loud,
               Mp3WindowHistory *history) {
    for (uint32_t slot = 0; slot < slots; slot += Lanes::kCount) {
        const uint32_t loud = may_be_loud ? lower_loud(samples, slot) : 0;
        Lanes x[kMp3Subbands];
        for (uint32_t sb = 0; sb < kMp3Subbands; ++sb)
            x[sb] = load_lanes(&samples[sb][slot]);
        dct2<kMp3Subbands>(x);
        int32_t t[Lanes::kCount][kMp3Subbands];
        store_columns<kMp3Subbands>(x, t[0], kMp3Subbands);
        if (loud != 0) raise_loud(loud, t);
        // The lanes behind the last slot hold nothing of meaning.
        for (uint32_t i = 0; i < Lanes::kCount && slot + i < slots; ++i)
            window_enter(history, slot + i, t[i]);
    }
}

void put_mono(const int16_t *samples, uint32_t step, int16_t *pcm) {
    for (uint32_t i = 0; i < kMp3Subbands; i += step)
        *pcm++ = samples[i];
}

void put_stereo(const int16_t *left, const int16_t *right, uint32_t step, uint32_t *pcm) {
    uint32_t i = 0;
#if defined(__SSE2__)
    for (; step == 1 && i < kMp3Subbands; i += 8, pcm += 8) {
        const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i *>(left + i)),
                      r = _mm_loadu_si128(reinterpret_cast<const __m128i *>(right + i));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(pcm), _mm_unpacklo_epi16(l, r));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(pcm + 4), _mm_unpackhi_epi16(l, r));
    }
#endif
    for (; i < kMp3Subbands; i += step)
        *pcm++ = static_cast<uint16_t>(left[i]) | static_cast<uint32_t>(static_cast<uint16_t>(right[i]))
                                                      << 16;
}

}  // namespace

int32_t synth_init_zev(Mp3Synthesis *synthesis, uint32_t /*highest_layer*/, uint32_t ratio) {
    synthesis->half_rate = ratio >= kMp3HalfRate;
    synthesis->pcm = static_cast<Mp3PcmStore *>(MMemAlloc(nullptr, sizeof(Mp3PcmStore)));
    if (synthesis->pcm == nullptr) return -1;
    MMemSet(synthesis->pcm, 0, sizeof *synthesis->pcm);
    return 0;
}

void synth_close(Mp3Synthesis *synthesis) {
    MMemFree(nullptr, synthesis->pcm);
    synthesis->pcm = nullptr;
}

void mp3_subsynth(Mp3Frame *frame, uint32_t slots, Mp3Synthesis *synthesis) {
    Mp3Stores *const stores = frame->stores;
    Mp3PcmStore *const pcm = synthesis->pcm;
    const uint32_t channels = mp3_channels(frame->header);
    const uint32_t step = synthesis->half_rate ? 2 : 1;
    for (uint32_t ch = 0; ch < channels; ++ch) {
        const uint32_t preset = frame->equalizer_enabled ? frame->equalizer_value : 0;
        const bool equalized = preset != 0 && preset < kPresets;
        if (equalized) equalize(stores->samples[ch], slots, equalizerGain[preset]);
        if (synthesis->half_rate) drop_upper_subbands(stores->samples[ch]);
        const bool may_be_loud = stores->is_loud[ch] != 0 || equalized;
        transform(stores->samples[ch], slots, may_be_loud, &stores->history[ch]);
        stores->is_loud[ch] = 0;
    }
    const uint32_t count = kMp3Subbands / step;
    for (uint32_t slot = 0; slot < slots; ++slot) {
        int16_t samples[2][kMp3Subbands];
        for (uint32_t ch = 0; ch < channels; ++ch)
            window_sum(stores->history[ch], slot, samples[ch]);
        if (channels == 1)
            put_mono(samples[0], step, pcm->mono + size_t{slot} * count);
        else
            put_stereo(samples[0], samples[1], step, pcm->stereo + size_t{slot} * count);
    }
    for (uint32_t ch = 0; ch < channels; ++ch)
        window_advance(&stores->history[ch], slots);
    pcm->channels = channels;
    pcm->samples = slots * count;
}

void synth_frame(Mp3Frame *frame, Mp3Synthesis *synthesis) {
    mp3_subsynth(frame, mp3_samples_per_frame(frame->header) / kMp3Subbands, synthesis);
}

}  // namespace quorv
