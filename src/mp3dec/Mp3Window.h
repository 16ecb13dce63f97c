// The windowed sum at the end of the polyphase synthesis.
//
// Each time slot brings t[0..31], the DCT-II of its 32 subband samples. With A[j] = t[16 + j] (A[16] = 0) and
// B[j] = -t[16 - j], for j from 0 to 16, the standard's V vector of a slot is A, then A mirrored and negated,
// then B, then B mirrored. With the standard's window D, the output samples of slot n are sums over eight
// pairs (p from 0 to 7) of A of one slot and B of the slot before it, every second slot back:
//
//   out[j]      = sum of  D[j + 64p]      A[j] of n - 2p + D[j + 32 + 64p] B[j] of n - 2p - 1
//   out[32 - m] = sum of -D[32 - m + 64p] A[m] of n - 2p + D[64 - m + 64p] B[m] of n - 2p - 1
//
// for j from 0 to 15 and m from 1 to 16. Slots are therefore kept as such pairs, even and odd slots apart, so
// that the eight lie side by side.
#ifndef QUORV_SRC_MP3DEC_MP3WINDOW_H
#define QUORV_SRC_MP3DEC_MP3WINDOW_H

#include <stdint.h>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/Mp3Synthesis.h"

namespace quorv {

inline constexpr uint32_t kMp3MaxSlots = 36;    // of a frame; every frame has an even number
inline constexpr uint32_t kMp3WindowPairs = 8;  // of an output sample
inline constexpr uint32_t kMp3PastSlots = kMp3WindowPairs - 1;
// From subband samples times window to 16-bit PCM.
inline constexpr int kMp3OutputShift = kSampleBits + 16 - 15;

// [j][A, B] for j from 0 to 16.
struct Mp3WindowSlot {
#if defined(__SSE2__)
    int16_t high[20][2];  // in two parts, and padding
    int16_t low[20][2];
#else
    int32_t pairs[17][2];
#endif
};

struct Mp3WindowHistory {
    // Of even and odd slots: the last seven before the frame, then those of the frame.
    Mp3WindowSlot slots[2][kMp3PastSlots + kMp3MaxSlots / 2];
    int32_t last_b[17];  // B of the slot before the frame's first
};

// Nearly 16.0. What is added to round a value must not wrap.
inline constexpr int32_t kMp3MaxT = INT32_MAX - (1 << 16);

// Enters a slot: t with kSampleBits fractional bits, up to kMp3MaxT in size.
void window_enter(Mp3WindowHistory *history, uint32_t slot, const int32_t t[kMp3Subbands]);

// The 32 output samples of a slot, rounded and saturated.
void window_sum(const Mp3WindowHistory &history, uint32_t slot, int16_t output[kMp3Subbands]);

// Makes the last slots of a frame the past of the next one.
void window_advance(Mp3WindowHistory *history, uint32_t slots);

}  // namespace quorv

#endif
