// Scale factors of Layer III (ISO/IEC 11172-3, 2.4.2.7 and 2.4.3.4.5; ISO/IEC 13818-3, 2.4.3.2).
#ifndef QUORV_SRC_MP3DEC_MP3SCALEFACTORS_H
#define QUORV_SRC_MP3DEC_MP3SCALEFACTORS_H

#include "mp3dec/Mp3BitWindow.h"
#include "mp3dec/Mp3SideInfo.h"

namespace quorv {

inline constexpr uint32_t kMp3LongBands = 22;   // the last one has no scale factor: 0
inline constexpr uint32_t kMp3ShortBands = 13;  // likewise

// The scale factors of one channel; in the right one of intensity stereo they are its positions as well.
struct Mp3ScaleFactors {
    uint8_t long_bands[kMp3LongBands];
    uint8_t short_bands[kMp3ShortBands][3];  // by window
    // The position that stands for "no intensity stereo" in the band.
    uint8_t long_illegal[kMp3LongBands];
    uint8_t short_illegal[kMp3ShortBands];
    bool preflag;  // the pre-emphasis table is added
};

// MPEG-1. scfsi is 0 in the first granule; else its bits keep bands of the granule before.
void mp3_read_scale_factors(Mp3BitWindow *bits, const Mp3Granule &granule, uint32_t scfsi,
                            Mp3ScaleFactors *factors);

// MPEG-2. intensity_right: the right channel of intensity stereo.
void mp3_read_scale_factors_low_rate(Mp3BitWindow *bits, const Mp3Granule &granule, bool intensity_right,
                                     Mp3ScaleFactors *factors);

}  // namespace quorv

#endif
