// The windowed sum at the end of the polyphase synthesis: what all sets of kernels have to do.
//
// Each time slot brings t[0..31], the DCT-II of its 32 subband samples. With A[j] = t[16 + j] (A[16] = 0) and
// B[j] = -t[16 - j], for j from 0 to 16, the standard's V vector of a slot is A, then A mirrored and negated,
// then B, then B mirrored. With the standard's window D, the output samples of slot n are sums over eight
// pairs (p from 0 to 7) of A of one slot and B of the slot before it, every second slot back:
//
//   out[j]      = sum of  D[j + 64p]      A[j] of n - 2p + D[j + 32 + 64p] B[j] of n - 2p - 1
//   out[32 - m] = sum of -D[32 - m + 64p] A[m] of n - 2p + D[64 - m + 64p] B[m] of n - 2p - 1
//
// for j from 0 to 15 and m from 1 to 16. The sums are exact. They are rounded to 24 bits, these to 16, as in
// the decoder that the standard's streams are checked with, and saturated.
#ifndef QUORV_SRC_MP3DEC_KERNELS_WINDOW_H
#define QUORV_SRC_MP3DEC_KERNELS_WINDOW_H

#include "mp3dec/FixedPoint.h"
#include "mp3dec/Mp3Channel.h"

namespace quorv {

inline constexpr uint32_t kMp3WindowPairs = 8;  // of an output sample
// From subband samples times window to 16-bit PCM.
inline constexpr int kMp3OutputShift = kSampleBits + 16 - 15;
// Both roundings in one, before the shift.
inline constexpr int32_t kMp3OutputRounding = (1 << (kMp3OutputShift - 1)) + (1 << (kMp3OutputShift - 9));
// The same for taps in units of 2^-20: the high word is the sample.
inline constexpr uint32_t kMp3WindowRounding = uint32_t{kMp3OutputRounding} << 4;
static_assert(kMp3OutputShift + 4 == 32);
// Nearly 16.0, the largest transformed value. What is added to round a value must not wrap.
inline constexpr int32_t kMp3MaxT = INT32_MAX - (1 << 16);

}  // namespace quorv

#endif
