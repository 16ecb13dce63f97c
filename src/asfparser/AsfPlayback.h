// Reading the frames of a track.
#ifndef QUORV_SRC_ASFPARSER_ASFPLAYBACK_H
#define QUORV_SRC_ASFPARSER_ASFPLAYBACK_H

#include "asfparser/AsfContext.h"

namespace quorv {

// Looks at the first packets once: for the frame intervals that the header does not give, and because the
// lowest time in them is what all times count from. Fails only with what may pass; then it was not done.
Code asf_prime(AsfContext *context);

// The next frame of a track that is video or audio, with what goes in front of it. Code::BufferTooSmall
// leaves the size that is needed.
Code asf_read_object(AsfContext *context, uint32_t track, uint8_t *buffer, uint32_t size, AsfObject *object);
// The same as callers see it; *frame comes zeroed.
Code asf_read_frame(AsfContext *context, uint32_t track, uint8_t *buffer, uint32_t size,
                    SplitterFrameInfo *frame);

void asf_rewind(AsfContext *context);

}  // namespace quorv

#endif
