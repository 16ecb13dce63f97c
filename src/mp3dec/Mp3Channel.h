// What a channel keeps from frame to frame, and its data of the frame in work.
#ifndef QUORV_SRC_MP3DEC_MP3CHANNEL_H
#define QUORV_SRC_MP3DEC_MP3CHANNEL_H

#include <stdint.h>

namespace quorv {

inline constexpr uint32_t kMp3MaxChannels = 2;
inline constexpr uint32_t kMp3Subbands = 32;
inline constexpr uint32_t kMp3GranuleLines = 576;
inline constexpr uint32_t kMp3GranuleSlots = 18;  // samples of a subband in a granule
inline constexpr uint32_t kMp3MaxSlots = 36;      // of a frame; every frame has a multiple of six
// The synthesis of a slot looks back at so many.
inline constexpr uint32_t kMp3PastSlots = 15;
// A slot whose subband samples have magnitudes that add up to more, in units of 2^16, may need more than 32
// bits in the synthesis.
inline constexpr uint32_t kMp3SafeSum = INT16_MAX - kMp3Subbands - 1;

// One time slot: a sample of each subband.
using Mp3Slot = int32_t[kMp3Subbands];

// A transformed slot as pairs of 16-bit parts; only the kernels of WindowPairs.h keep them.
struct Mp3SplitSlot {
    int16_t high[20][2];
    int16_t low[20][2];
};

// Of even and odd slots: those before the frame, then those of the frame.
struct Mp3SplitHistory {
    Mp3SplitSlot slots[2][kMp3PastSlots / 2 + kMp3MaxSlots / 2];
};

struct Mp3Channel {
    // One granule's lines: small coded values (Mp3Spectrum), then amplitudes with kSpectrumBits
    // fractional bits or more.
    int32_t spectrum[kMp3GranuleLines];
    // What the last granule adds to the next one.
    Mp3Slot overlap[kMp3GranuleSlots];
    // The transformed slots before the frame, then the frame's subband samples with kSampleBits fractional
    // bits, which the synthesis transforms in place; eight at a time may reach beyond the last.
    Mp3Slot slots[kMp3PastSlots + kMp3MaxSlots + 4];
#if defined(__x86_64__) || defined(__i386__) || defined(__wasm__)
    Mp3SplitHistory split;
#endif
    // Subbands from here on have no overlap.
    uint32_t overlap_subbands;
    // A bit for each subband: whether adding to its overlap may take more than 32 bits.
    uint32_t loud_overlaps;
    // A bound of one slot's overlap, all subbands together, in units of 2^16.
    uint32_t overlap_sum;
    // Whether a slot's samples may add up to more than kMp3SafeSum.
    bool is_loud;

    // The frame's subband samples. Always inline: kernels are compiled for more than every processor has, and
    // no other code may end up with their copy of a function.
    [[gnu::always_inline]] Mp3Slot *samples() {
        return slots + kMp3PastSlots;
    }
};

}  // namespace quorv

#endif
