// What a frame's header and an encoder's own frame tell of MPEG audio, in words.
#ifndef QUORV_SRC_MEDIA_MPEGAUDIOFACTS_H
#define QUORV_SRC_MEDIA_MPEGAUDIOFACTS_H

#include "media/TrackTexts.h"
#include "media/XingHeader.h"

namespace quorv {

// The texts must be empty; `xing` is null where there is none.
void describe_mpeg_audio(const Mp3FrameHeader &header, const XingHeader *xing, TrackTexts *texts);

}  // namespace quorv

#endif
