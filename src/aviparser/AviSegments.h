// Files of several RIFF segments: where the media data lies, and where it goes on behind the first segment.
#ifndef QUORV_SRC_AVIPARSER_AVISEGMENTS_H
#define QUORV_SRC_AVIPARSER_AVISEGMENTS_H

#include <stdint.h>

#include "splitter/Code.h"

namespace quorv {

struct AviContext;

// Written by the header walk and, behind the first segment, by the functions below.
struct AviMedia {
    int64_t source_size;   // 0 or less when the source does not know
    int64_t file_end;      // the bound for reading
    int64_t riff_end;      // declared end of the first RIFF chunk
    int64_t start;         // position of the list type "movi"
    int64_t movi_end;      // end of the first "movi" list, where the legacy index is looked for
    int64_t end;           // end of the last "movi" list known so far
    int64_t next_segment;  // where a further RIFF chunk may begin; 0 when there is none

    bool size_known() const { return source_size > 0; }
};

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
