// The polyphase synthesis filter bank (ISO/IEC 11172-3, figure A.2): subband samples to PCM.
#ifndef QUORV_SRC_MP3DEC_MP3SYNTHESIS_H
#define QUORV_SRC_MP3DEC_MP3SYNTHESIS_H

#include <stdint.h>

namespace quorv {

inline constexpr uint32_t kMp3Subbands = 32;
inline constexpr uint32_t kMp3MaxSamples = 1152;  // of one channel in a frame
// Ratio of the stream's rate to the output's, in 1/128, from which on the synthesis runs at half rate.
inline constexpr uint32_t kMp3HalfRate = 256;

// Decoded samples of one frame on their way to the caller.
struct Mp3PcmStore {
    uint32_t channels;  // 1 or 2
    uint32_t samples;   // held, of each channel; half as many a frame at half rate
    union {
        int16_t mono[kMp3MaxSamples];
        uint32_t stereo[kMp3MaxSamples];  // left in the low 16 bits, right in the high ones
    };
};

// What lasts over the whole stream beside the filter's history, which is with the frame's working stores.
struct Mp3Synthesis {
    Mp3PcmStore *pcm;  // owned
    bool half_rate;    // the lower 16 subbands only, every second sample
};

struct Mp3Frame;

// Allocates the PCM store. `highest_layer` is a value of the decoder's configuration and not used: the store
// has room for every layer. `ratio` is that of the rates in 1/128. 0 or -1.
int32_t synth_init_zev(Mp3Synthesis *synthesis, uint32_t highest_layer, uint32_t ratio);

// Synthesises the first `slots` time slots of all channels, an even number, from the subband samples in the
// frame's working stores into the PCM store. The subband samples are changed.
void mp3_subsynth(Mp3Frame *frame, uint32_t slots, Mp3Synthesis *synthesis);

// Synthesises a Layer I or II frame, whose decoder leaves subband samples only, into the PCM store.
void synth_frame(Mp3Frame *frame, Mp3Synthesis *synthesis);

// Frees the PCM store.
void synth_close(Mp3Synthesis *synthesis);

}  // namespace quorv

#endif
