// Key frames of AVI files: by the frames' own headers, else by the index.
#ifndef QUORV_SRC_MEDIA_AVIKEYFRAMES_H
#define QUORV_SRC_MEDIA_AVIKEYFRAMES_H

#include <quorv/quorv.h>

#include "aviparser/AviDetails.h"

namespace quorv {

// Whether decoding can begin with a frame of video that was read; the record is that of the track.
bool avi_is_key_frame(const AviTrack &track, const QuorvTrack &record, const uint8_t *data,
                      const AviFrameDetails &frame);

// Moves a video track to the last key frame at or before the time, or to the first one at or after it. Some
// writers mark every frame in the index: frames that say of themselves that they are none are passed over, as
// long as there are others on that side, and at most a thousand. Every failure leaves the track where it was.
Code avi_seek_key_frame(AviContext *context, AviTrack *track, const QuorvTrack &record, int64_t time_us,
                        bool before, int64_t *reached_us);

}  // namespace quorv

#endif
