// The delivery stage: from decoded samples to the caller's output, with rate and channel conversion.
#ifndef QUORV_SRC_MP3DEC_MP3OUTPUT_H
#define QUORV_SRC_MP3DEC_MP3OUTPUT_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "mp3dec/Mp3Synthesis.h"

namespace quorv {

// The output-rate word: the ratio of the stream's rate to the output's in 1/128 in the low half, one of
// QU_MP3_CHANNELS_* in the high half.
inline constexpr uint32_t kMp3NoRequest = 0xFFFFFFFF;
inline constexpr uint32_t kMp3SameRate = 128;

uint32_t mp3_output_rate_word(uint32_t stream_rate, const QuMp3OutputRequest *request);

inline uint32_t mp3_rate_ratio(uint32_t word) {
    return word == kMp3NoRequest ? kMp3SameRate : word & 0xFFFF;
}
inline uint32_t mp3_channel_mode(uint32_t word) {
    return word == kMp3NoRequest ? uint32_t{QU_MP3_CHANNELS_OWN} : word >> 16;
}

// What is kept between deliveries.
struct Mp3Delivery {
    uint32_t next;      // of the stored samples, the first that is not delivered
    uint32_t position;  // of the next output sample in 1/128, counted from the carried sample if there is one
    // The last sample of the store before: the interpolation needs it as the neighbour of this store's first.
    uint32_t carried_channels;  // 0: none
    int16_t carried[2];
};

// Where samples go.
struct Mp3OutputRoom {
    uint8_t *next;
    uint32_t left;  // bytes
};

// Delivers as many samples of the store as there is room for. True when all are delivered.
bool mp3_deliver(const Mp3PcmStore &pcm, uint32_t rate_word, Mp3Delivery *state, Mp3OutputRoom *room);

}  // namespace quorv

#endif
