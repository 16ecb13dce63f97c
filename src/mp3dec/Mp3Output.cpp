// The delivery stage; see the header.

#include "mp3dec/Mp3Output.h"

#include <string.h>

#include <algorithm>
#include <bit>

namespace quorv {

namespace {

constexpr uint32_t kSampleBytes = 2;
constexpr uint32_t kStep = 128;  // of the position, a sample

// Byte by byte, as the output may have any alignment.
void put(Mp3OutputRoom *room, int32_t sample) {
    room->next[0] = static_cast<uint8_t>(sample);
    room->next[1] = static_cast<uint8_t>(sample >> 8);
    room->next += kSampleBytes;
    room->left -= kSampleBytes;
}

int32_t sample_of(const Mp3PcmStore &pcm, uint32_t i, uint32_t channel) {
    return pcm.channels == 1 ? pcm.mono[i] : static_cast<int16_t>(pcm.stereo[i] >> 16 * channel);
}

void copy_unchanged(const Mp3PcmStore &pcm, uint32_t first, uint32_t count, Mp3OutputRoom *room) {
    if constexpr (std::endian::native == std::endian::little) {
        // A pair's low half, the left sample, comes first in memory as well.
        const size_t bytes = size_t{count} * pcm.channels * kSampleBytes;
        const void *from =
            pcm.channels == 1 ? static_cast<const void *>(pcm.mono + first) : pcm.stereo + first;
        memcpy(room->next, from, bytes);
        room->next += bytes;
        room->left -= static_cast<uint32_t>(bytes);
    } else {
        for (uint32_t i = first; i < first + count; ++i) {
            for (uint32_t channel = 0; channel < pcm.channels; ++channel)
                put(room, sample_of(pcm, i, channel));
        }
    }
}

// At the rate of the synthesis.
void copy(const Mp3PcmStore &pcm, uint32_t mode, Mp3Delivery *state, Mp3OutputRoom *room) {
    const bool mixes = mode == QU_MP3_CHANNELS_MONO && pcm.channels == 2;
    const bool doubles = mode == QU_MP3_CHANNELS_STEREO && pcm.channels == 1;
    const uint32_t out_channels = mixes ? 1 : doubles ? 2 : pcm.channels;
    const uint32_t count = std::min(pcm.samples - state->next, room->left / (out_channels * kSampleBytes));
    if (count == 0) return;
    const uint32_t first = state->next;
    state->next += count;
    if (!mixes && !doubles) {
        copy_unchanged(pcm, first, count, room);
        return;
    }
    for (uint32_t i = first; i < state->next; ++i) {
        if (mixes) {
            put(room, (sample_of(pcm, i, 0) + sample_of(pcm, i, 1)) >> 1);
        } else {
            put(room, pcm.mono[i]);
            put(room, pcm.mono[i]);
        }
    }
}

// The store with the carried sample in front of it.
class Samples {
public:
    Samples(const Mp3PcmStore &pcm, const Mp3Delivery &state)
        : pcm_(pcm), carried_(state.carried), lead_(state.carried_channels != 0 ? 1 : 0) {}

    uint32_t count() const { return pcm_.samples + lead_; }
    int32_t at(uint32_t i, uint32_t channel) const {
        return i < lead_ ? carried_[channel] : sample_of(pcm_, i - lead_, channel);
    }

private:
    const Mp3PcmStore &pcm_;
    const int16_t *carried_;
    uint32_t lead_;
};

// A stream that changes its channels keeps its last sample in the new form.
void convert_carried(Mp3Delivery *state, uint32_t channels) {
    if (state->carried_channels == 0 || state->carried_channels == channels) return;
    if (channels == 1) state->carried[0] = static_cast<int16_t>((state->carried[0] + state->carried[1]) >> 1);
    state->carried[1] = state->carried[0];
    state->carried_channels = channels;
}

// The next store begins with this one's last sample.
void carry_last(const Samples &samples, uint32_t channels, Mp3Delivery *state) {
    const uint32_t last = samples.count() - 1;
    const int16_t values[] = {static_cast<int16_t>(samples.at(last, 0)),
                              static_cast<int16_t>(samples.at(last, channels - 1))};
    memcpy(state->carried, values, sizeof(values));
    state->carried_channels = channels;
    state->position -= last * kStep;
}

// Linear interpolation. One channel stays one here, whatever the mode.
void downsample(const Mp3PcmStore &pcm, uint32_t ratio, uint32_t mode, Mp3Delivery *state,
                Mp3OutputRoom *room) {
    convert_carried(state, pcm.channels);
    const Samples samples(pcm, *state);
    const bool mixes = pcm.channels == 2 && mode != QU_MP3_CHANNELS_OWN && mode != QU_MP3_CHANNELS_STEREO;
    const uint32_t needed = (pcm.channels == 2 && !mixes ? 2 : 1) * kSampleBytes;
    const uint32_t step = ratio > kMp3HalfRate ? ratio / 2 : ratio;
    while (state->position / kStep + 1 < samples.count()) {
        if (room->left < needed) return;
        const uint32_t i = state->position / kStep;
        const auto f = static_cast<int32_t>(state->position % kStep);
        if (mixes) {
            const int32_t a = samples.at(i, 0) + samples.at(i, 1);
            const int32_t b = samples.at(i + 1, 0) + samples.at(i + 1, 1);
            put(room, (a * 128 + 128 + f * (b - a)) >> 8);
        } else {
            for (uint32_t channel = 0; channel < pcm.channels; ++channel) {
                const int32_t a = samples.at(i, channel), b = samples.at(i + 1, channel);
                put(room, (a * 128 + 64 + f * (b - a)) >> 7);
            }
        }
        state->position += step;
    }
    carry_last(samples, pcm.channels, state);
    state->next = pcm.samples;
}

}  // namespace

uint32_t mp3_output_rate_word(uint32_t stream_rate, const QuMp3OutputRequest *request) {
    if (request == nullptr) return kMp3NoRequest;
    uint64_t ratio = kMp3SameRate;
    const uint32_t wanted = request->sample_rate;
    if (wanted != 0 && wanted <= stream_rate)
        ratio = std::min<uint64_t>((uint64_t{stream_rate} * kStep + wanted / 2) / wanted, 0xFFFF);
    return static_cast<uint32_t>(ratio) | request->channel_mode << 16;
}

bool mp3_deliver(const Mp3PcmStore &pcm, uint32_t rate_word, Mp3Delivery *state, Mp3OutputRoom *room) {
    const uint32_t ratio = mp3_rate_ratio(rate_word), mode = mp3_channel_mode(rate_word);
    if (state->next < pcm.samples) {
        if (ratio == kMp3SameRate || ratio == kMp3HalfRate) {
            copy(pcm, mode, state, room);
        } else {
            downsample(pcm, ratio, mode, state, room);
        }
    }
    return state->next == pcm.samples;
}

}  // namespace quorv
