// Files of several RIFF segments: where the media data goes on behind the first one.
#ifndef QUORV_SRC_AVIPARSER_AVISEGMENTS_H
#define QUORV_SRC_AVIPARSER_AVISEGMENTS_H

#include "aviparser/AviContext.h"

namespace quorv {

// Sets up the search behind the first segment; a local source's segments are all found at once, as far as
// they can be read.
void avi_find_segments(AviContext *context);

// Moves the end of the media data to the end of the next segment's "movi" list; *extended is false when there
// is none. A callback's code, when the segment's header cannot be read: asked again, it looks again.
uint32_t avi_extend_media(AviContext *context, bool *extended);

// Whether a further RIFF segment begins at this position. A callback's code when that cannot be read.
uint32_t avi_is_segment(AviContext *context, int64_t position, bool *is_segment);

}  // namespace quorv

#endif
