// Files of several RIFF segments: where the media data goes on behind the first one.
#ifndef QUORV_SRC_AVIPARSER_AVISEGMENTS_H
#define QUORV_SRC_AVIPARSER_AVISEGMENTS_H

#include "aviparser/AviContext.h"
#include "splitter/Code.h"

namespace quorv {

// Sets up the search behind the first segment; a local source's segments are all found at once, as far as
// they can be read.
void avi_find_segments(AviContext *context);

// Moves the end of the media data to the end of the next segment's "movi" list, if there is one. A callback's
// code, when the segment's header cannot be read: asked again, it looks again.
Code avi_extend_media(AviContext *context, Found *extended);

// Whether a further RIFF segment begins at this position. A callback's code when that cannot be read.
Code avi_is_segment(AviContext *context, int64_t position, Found *segment);

}  // namespace quorv

#endif
