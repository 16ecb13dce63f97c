// Requantisation of Layer III (ISO/IEC 11172-3, 2.4.3.4.7) and reordering of short blocks (2.4.3.4.8).
#ifndef QUORV_SRC_MP3DEC_MP3REQUANTIZE_H
#define QUORV_SRC_MP3DEC_MP3REQUANTIZE_H

#include "mp3dec/kernels/Mp3Kernels.h"
#include "mp3dec/Mp3ScaleFactors.h"
#include "mp3dec/Mp3SideInfo.h"
#include "mp3dec/Mp3Spectrum.h"

namespace quorv {

// Redundant sign bits of the largest line that is put up with: the sum of two channels, rotated, stays within
// 32 bits.
inline constexpr int32_t kMp3LineHeadroom = 2;

// How many fractional bits beyond kSpectrumBits the channel's spectrum may have without its largest line
// coming near the limits, 0 to kMaxExtraBits. -1: it may have to have fewer than none.
int32_t mp3_extra_bits(const Mp3FrameHeader &header, const Mp3Granule &granule, const Mp3Spectrum &spectrum);

// Requantises a coded value to kSpectrumBits fractional bits: magnitude^(4/3) * 2^(-exponent / 4), saturated,
// with its sign.
int32_t mp3_requantize_value(int32_t value, int32_t exponent);

// The same with small coded values side by side.
void mp3_requantize_band(const Mp3Kernels &kernels, int32_t *lines, uint32_t count, int32_t exponent);

// Requantises the spectrum of a granule and channel, sqrt(2) louder than the standard: frames with
// middle/side stereo need that factor, and so all others get it, too. Both channels of a granule get the same
// extra bits.
void mp3_requantize(const Mp3Kernels &kernels, const Mp3FrameHeader &header, const Mp3Granule &granule,
                    const Mp3ScaleFactors &factors, int32_t extra_bits, Mp3Spectrum *spectrum);

// Redundant sign bits of the largest line, 31 when all are zero.
int32_t mp3_headroom(const Mp3Spectrum &spectrum);

}  // namespace quorv

#endif
