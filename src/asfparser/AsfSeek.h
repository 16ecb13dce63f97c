// Moving along a track by time.
#ifndef QUORV_SRC_ASFPARSER_ASFSEEK_H
#define QUORV_SRC_ASFPARSER_ASFSEEK_H

#include "asfparser/AsfContext.h"

namespace quorv {

// Of a track that is video or audio.
Code asf_seek(AsfContext *context, uint32_t track, uint32_t *time, SeekDirection direction);
// The time of the first video key frame behind the read position.
Code asf_next_key_frame_time(AsfContext *context, uint32_t *time);

}  // namespace quorv

#endif
