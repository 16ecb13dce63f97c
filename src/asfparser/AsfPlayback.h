// Reading the frames of a track, and moving along it.
#ifndef QUORV_SRC_ASFPARSER_ASFPLAYBACK_H
#define QUORV_SRC_ASFPARSER_ASFPLAYBACK_H

#include "asfparser/AsfContext.h"

namespace quorv {

// Looks at the first packets once: for the frame intervals that the header does not give, and because the
// lowest time in them is what all times count from.
uint32_t asf_prime(AsfContext *context);

// The next frame of a track that is video or audio; *frame comes zeroed.
uint32_t asf_read_frame(AsfContext *context, uint32_t track, uint8_t *buffer, uint32_t size,
                        SplitterFrameInfo *frame);

uint32_t asf_seek(AsfContext *context, uint32_t track, uint32_t *time, bool forward);
// The time of the first video key frame behind the read position.
uint32_t asf_next_key_frame_time(AsfContext *context, uint32_t *time);
void asf_rewind(AsfContext *context);

}  // namespace quorv

#endif
