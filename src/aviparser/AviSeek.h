// Moves a track by time.
#ifndef QUORV_SRC_AVIPARSER_AVISEEK_H
#define QUORV_SRC_AVIPARSER_AVISEEK_H

#include <optional>

#include "aviparser/AviContext.h"

namespace quorv {

// AVI_SPLITER_Seek for a track that exists. *time is written only on success.
Code avi_seek_track(AviContext *context, AviTrack *track, uint32_t *time, uint32_t mode);

// Puts the track at the start of the media data; cannot fail.
void avi_rewind_track(const AviContext &context, AviTrack *track);

// The track's first key frame at or after a time stamp (which counts bytes for streams with a sample size),
// or backward the last one at or before it; nothing when there is none. Reads on in the legacy index as far
// as that takes, and fails when that does.
Code avi_find_key_frame(AviContext *context, const AviTrack &track, int64_t timestamp,
                        SeekDirection direction, std::optional<AviIndexEntry> *found);

}  // namespace quorv

#endif
