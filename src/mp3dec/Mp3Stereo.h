// Joint stereo of Layer III (ISO/IEC 11172-3, 2.4.3.4.9; ISO/IEC 13818-3, 2.4.3.2).
#ifndef QUORV_SRC_MP3DEC_MP3STEREO_H
#define QUORV_SRC_MP3DEC_MP3STEREO_H

#include "mp3dec/Mp3Requantize.h"

namespace quorv {

// Makes left and right of the two requantised channels. `right` has the right channel's scale factors, which
// are the intensity positions.
void mp3_stereo(const Mp3FrameHeader &header, const Mp3Granule &right_granule, const Mp3ScaleFactors &right,
                Mp3Spectrum spectra[2]);

}  // namespace quorv

#endif
