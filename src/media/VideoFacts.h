// What the codec data of H.264 and MPEG-4 Part 2 tells of a video track's pictures.
#ifndef QUORV_SRC_MEDIA_VIDEOFACTS_H
#define QUORV_SRC_MEDIA_VIDEOFACTS_H

#include <quorv/quorv.h>

#include "media/TrackTexts.h"
#include "splitter/Code.h"

namespace quorv {

// Sets scan, pixel_aspect and the texts of a video track whose framing and codec data are set; leaves alone
// what nothing is told of. Code::NoMemory.
Code describe_pictures(QuorvTrack *track, TrackTexts *texts);

}  // namespace quorv

#endif
