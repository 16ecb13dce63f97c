// Moves a track by time.
#ifndef QUORV_SRC_AVIPARSER_AVISEEK_H
#define QUORV_SRC_AVIPARSER_AVISEEK_H

#include "aviparser/AviContext.h"

namespace quorv {

// AVI_SPLITER_Seek for a track that exists. *time is written only on success.
uint32_t avi_seek_track(AviContext *context, AviTrack *track, uint32_t *time, uint32_t mode);

// Puts the track at the start of the media data; cannot fail.
void avi_rewind_track(AviContext *context, AviTrack *track);

// The place of the track's first key frame at or after a time stamp (which counts bytes for streams with a
// sample size), or with `backward` the last one at or before it; reads on in the legacy index as far as that
// takes. -1 when there is none; *code is then what ended the search.
int32_t avi_find_key_frame(AviContext *context, AviTrack *track, int64_t timestamp, bool backward,
                           uint32_t *code);

}  // namespace quorv

#endif
