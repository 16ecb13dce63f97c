// The polyphase synthesis filter bank (ISO/IEC 11172-3, figure A.2): subband samples to PCM.
#ifndef QUORV_SRC_MP3DEC_MP3SYNTHESIS_H
#define QUORV_SRC_MP3DEC_MP3SYNTHESIS_H

#include <stdint.h>

#include "mp3dec/kernels/Mp3Kernels.h"
#include "platform/MemoryOwner.h"

namespace quorv {

inline constexpr uint32_t kMp3MaxSamples = 1152;  // of one channel in a frame
// Ratio of the stream's rate to the output's, in 1/128, from which on the synthesis runs at half rate.
inline constexpr uint32_t kMp3HalfRate = 256;

// Decoded samples of one frame on their way to the caller.
struct Mp3PcmStore {
    uint32_t channels;  // 1 or 2
    uint32_t samples;   // held, of each channel; half as many a frame at half rate
    union {
        int16_t mono[kMp3MaxChannels * kMp3MaxSamples];  // the channels in turn
        uint32_t stereo[kMp3MaxSamples];                 // left comes first in memory
    };
};

// What lasts over the whole stream beside the filter's history, which the channels keep.
struct Mp3Synthesis {
    Owned<Mp3PcmStore> pcm;
    bool half_rate;  // the lower 16 subbands only, every second sample
};

// What to synthesise.
struct Mp3SynthesisJob {
    uint32_t channels;
    uint32_t slots;        // an even number
    const int32_t *gains;  // of the equaliser by subband; null for none
};

// The gains of an equaliser preset; null for those that are flat or not there.
const int32_t *mp3_equalizer_gains(uint32_t preset);

// Allocates the PCM store. `highest_layer` is a value of the decoder's configuration and not used: the store
// has room for every layer. `ratio` is that of the rates in 1/128. 0 or -1.
int32_t synth_init_zev(Mp3Synthesis *synthesis, uint32_t highest_layer, uint32_t ratio);

// Synthesises the subband samples of the channels, which are changed, into the PCM store.
void mp3_subsynth(const Mp3Kernels &kernels, Mp3Channel *channels, const Mp3SynthesisJob &job,
                  Mp3Synthesis *synthesis);

// Frees the PCM store.
void synth_close(Mp3Synthesis *synthesis);

}  // namespace quorv

#endif
