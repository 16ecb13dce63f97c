// Joint stereo of Layer III (ISO/IEC 11172-3, 2.4.3.4.9; ISO/IEC 13818-3, 2.4.3.2).
#ifndef QUORV_SRC_MP3DEC_MP3STEREO_H
#define QUORV_SRC_MP3DEC_MP3STEREO_H

#include "mp3dec/Mp3Requantize.h"

namespace quorv {

// The last band with a coded value that is not zero, -1 for none: of long blocks or the long part of mixed
// ones, and of each window of short ones. Intensity stereo is behind them.
struct Mp3LastBands {
    int32_t last_long;
    int32_t last_short[3];
};

// Of a spectrum as it was decoded.
Mp3LastBands mp3_last_bands(const Mp3FrameHeader &header, const Mp3Granule &granule,
                            const Mp3Spectrum &spectrum);

// Makes left and right of the two requantised channels. `right` has the right channel's scale factors, which
// are the intensity positions, and `last` its last bands; both count with intensity stereo only.
void mp3_stereo(const Mp3FrameHeader &header, const Mp3Granule &right_granule, const Mp3ScaleFactors &right,
                const Mp3LastBands &last, Mp3Spectrum spectra[2]);

}  // namespace quorv

#endif
