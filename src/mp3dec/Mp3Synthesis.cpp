// The polyphase synthesis filter bank; see the header.

#include "mp3dec/Mp3Synthesis.h"

#include <string.h>

#include <iterator>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/kernels/Window.h"
#include "mp3dec/tables/SynthesisTables.h"

namespace quorv {

namespace {

constexpr uint32_t kPresets = std::size(kEqualizerGain);

void equalize(Mp3Slot *samples, uint32_t slots, const int32_t gains[kMp3Subbands]) {
    constexpr int kGainBits = 28;
    constexpr int64_t kHalf = int64_t{1} << (kGainBits - 1);
    for (uint32_t slot = 0; slot < slots; ++slot) {
        for (uint32_t sb = 0; sb < kMp3Subbands; ++sb)
            samples[slot][sb] = saturate((int64_t{samples[slot][sb]} * gains[sb] + kHalf) >> kGainBits);
    }
}

// The upper half of the spectrum would fold into the lower one.
void drop_upper_subbands(Mp3Slot *samples, uint32_t slots) {
    for (uint32_t slot = 0; slot < slots; ++slot)
        memset(samples[slot] + kMp3Subbands / 2, 0, sizeof(samples[slot]) / 2);
}

constexpr int kLoudShift = 5;  // makes every slot safe

bool may_need_more_bits(const Mp3Slot &samples) {
    int32_t sum = 0;
    for (const int32_t sample : samples)
        sum += (sample ^ sample >> 31) >> 16;
    return sum > static_cast<int32_t>(kMp3SafeSum);
}

// Transforms slots some of which may need more than 32 bits; those are turned down for it.
void transform_loud(const Mp3Kernels &kernels, Mp3Slot *slots, uint32_t count) {
    bool loud[kMp3MaxSlots];
    for (uint32_t slot = 0; slot < count; ++slot) {
        loud[slot] = may_need_more_bits(slots[slot]);
        if (!loud[slot]) continue;
        for (int32_t &sample : slots[slot])
            sample = mul_shift<kLoudShift>(sample, 1);
    }
    kernels.dct32(slots, count);
    for (uint32_t slot = 0; slot < count; ++slot) {
        if (!loud[slot]) continue;
        for (int32_t &t : slots[slot])
            t = saturate(int64_t{t} << kLoudShift, kMp3MaxT);
    }
}

void transform(const Mp3Kernels &kernels, Mp3Channel *channel, const Mp3SynthesisJob &job, bool half_rate) {
    Mp3Slot *samples = channel->samples();
    if (job.gains != nullptr) equalize(samples, job.slots, job.gains);
    if (half_rate) drop_upper_subbands(samples, job.slots);
    if (channel->is_loud || job.gains != nullptr)
        transform_loud(kernels, samples, job.slots);
    else
        kernels.dct32(samples, job.slots);
    channel->is_loud = false;
}

// Keeps every second sample.
template <class Sample>
void halve(Sample *samples, uint32_t count) {
    for (uint32_t i = 0; i < count / 2; ++i)
        samples[i] = samples[size_t{2} * i];
}

}  // namespace

const int32_t *mp3_equalizer_gains(uint32_t preset) {
    return preset != 0 && preset < kPresets ? kEqualizerGain[preset] : nullptr;
}

int32_t synth_init_zev(Mp3Synthesis *synthesis, uint32_t /*highest_layer*/, uint32_t ratio) {
    synthesis->half_rate = ratio >= kMp3HalfRate;
    synthesis->pcm = make_owned<Mp3PcmStore>();
    return synthesis->pcm != nullptr ? 0 : -1;
}

void synth_close(Mp3Synthesis *synthesis) {
    synthesis->pcm = nullptr;
}

void mp3_subsynth(const Mp3Kernels &kernels, Mp3Channel *channels, const Mp3SynthesisJob &job,
                  Mp3Synthesis *synthesis) {
    Mp3PcmStore *pcm = synthesis->pcm.get();
    for (uint32_t ch = 0; ch < job.channels; ++ch)
        transform(kernels, &channels[ch], job, synthesis->half_rate);
    kernels.window(channels, job.channels, job.slots, pcm->mono);
    pcm->channels = job.channels;
    pcm->samples = job.slots * kMp3Subbands;
    if (!synthesis->half_rate) return;
    if (job.channels == 1)
        halve(pcm->mono, pcm->samples);
    else
        halve(pcm->stereo, pcm->samples);
    pcm->samples /= 2;
}

}  // namespace quorv
